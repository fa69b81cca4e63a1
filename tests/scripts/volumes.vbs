' Volumes and Volume from VBScript, as a user's script walks the machine's drives: For
' Each, the default member, Item by letter, path, position and unknown key, binding a
' path, the objects a script may create, and the errors it sees. The test session gives
' the prefix the drives v: (a folder) and w: (a letter whose target is missing).
Dim lib, fso, vols, v, w, b, u, n, x, letters, expected, drive, key, own, lone
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
Set vols = lib.Volumes
Check "TypeName of the collection", TypeName(vols), "_Volumes"
Check "the shared collection while it is held", lib.Volumes Is vols, True

' ---- For Each walks the drives in the platform's order
expected = ""
For Each drive In fso.Drives
    expected = expected & LCase(drive.DriveLetter)
Next
n = 0
letters = ""
For Each v In vols
    n = n + 1
    letters = letters & LCase(Left(v.VolumeName, 1))
    Check "VolumeName of a drive " & v.VolumeName, Mid(v.VolumeName, 2), ":\"
Next
Check "For Each visits Count volumes", n, vols.Count
Check "the drives, in order", letters, expected
Check "the test drives are listed", InStr(letters, "v") > 0 And InStr(letters, "w") > 0, True

' ---- Item, the default member
Set v = vols("v")
CheckType "Item gives a volume", v, "_Volume"
Check "Item by letter", v.VolumeName, "V:\"
Check "Item by upper-case letter", vols("V") Is v, True
Check "Item by path", vols.Item("V:\some\folder") Is v, True
Check "Item by position", vols(InStr(letters, "v")) Is v, True
key = "v"
Check "Item by a variable", vols(key) Is v, True
Check "Item of an unknown letter", vols("q") Is Nothing, True
Check "Item of a path on no drive", vols("Q:\data") Is Nothing, True
Check "Item at position 0", vols(0) Is Nothing, True
Check "Item past the end", vols(vols.Count + 1) Is Nothing, True
Check "Item of a share never bound", vols("\\server\share") Is Nothing, True
Check "Item of text that is no path", vols("no such thing") Is Nothing, True

' ---- the data of a real drive, against the FileSystemObject's answer
Check "FileSystemName", v.FileSystemName, fso.GetDrive("v:").FileSystem
Check "SerialNumber", v.SerialNumber, fso.GetDrive("v:").SerialNumber
CheckType "SerialNumber is a Long", v.SerialNumber, "Long"
CheckType "VolumeIsCompressed is a Boolean", v.VolumeIsCompressed, "Boolean"
Check "VolumeType of v:", v.VolumeType, 3
Check "v: is mounted", v.IsMounted, True
Set w = vols("w")
Check "VolumeType of a drive without root", w.VolumeType, 1
Check "a drive without root is not mounted", w.IsMounted, False

' ---- binding
Set b = vols.BindToVolume("v:\deeper\folder")
Check "a bound drive's name", b.VolumeName, "v:\"
Check "the bound volume takes the drive's entry", vols("v") Is b, True
Check "the old entry is gone", vols("v") Is v, False
Check "binding does not add drives", vols.Count, n
Set u = vols.BindToVolume("ftp://Example.com/pub/file.txt")
Check "a URL volume's name", u.VolumeName, "ftp://Example.com"
Check "a URL volume's file system is its protocol", u.FileSystemName, "ftp"
Check "URL volumes are not drives", vols.Count, n

On Error Resume Next
Set b = Nothing
Set b = vols.BindToVolume("Q:\")
CheckError "BindToVolume of no drive", &H80070003, "Volume", ""
Check "nothing came back", b Is Nothing, True
Set b = vols.BindToVolume("no path")
CheckError "BindToVolume of text that is no path", 5, "", "Invalid procedure call or argument"
x = u.VolumeType
CheckError "VolumeType of a URL", 5, "Volume", "Invalid procedure call or argument"
On Error GoTo 0

' ---- objects a script creates
Set own = CreateObject("VOFSL.Volumes")
Check "a created collection is its own", own Is vols, False
Check "a created collection lists the drives", own.Count, n
Set lone = CreateObject("VOFSL.Volume")
Check "a created volume has no name", lone.VolumeName, ""
On Error Resume Next
x = lone.VolumeLabel
CheckError "a created volume has no data", 5, "Volume", "Invalid procedure call or argument"
x = lone.IsMounted
CheckError "a created volume has no type", 5, "Volume", ""
lone.Refresh
CheckError "a created volume cannot refresh", 5, "Volume", ""
On Error GoTo 0

Done
