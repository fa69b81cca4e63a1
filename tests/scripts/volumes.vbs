' Volumes and Volume from VBScript, as a user's script walks the machine's drives: For
' Each, the default member, Item by letter, path, position and unknown key, binding a
' path, the objects a script may create, and the errors it sees. The test session gives
' the prefix the drives v: (a folder) and w: (a letter whose target is missing).
Dim lib, fso, vols, v, w, b, u, n, x, letters, expected, drive, key, own, lone
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
Set vols = lib.Volumes
Check "the shared collection while it is held", lib.Volumes Is vols, True

' ---- For Each walks the drives in the platform's order
For Each drive In fso.Drives
    expected = expected & LCase(drive.DriveLetter) & ":\"
Next
For Each v In vols
    n = n + 1
    letters = letters & LCase(v.VolumeName)
Next
Check "For Each visits Count volumes", n, vols.Count
Check "the drives, in order, the test drives among them", letters & (InStr(letters, "v:\w:\") > 0), expected & True

' ---- Item, the default member
Set v = vols("v")
Check "Item by letter", v.VolumeName, "V:\"
Check "Item by path and position", (vols.Item("V:\some\folder") Is v) & (vols(InStr(letters, "v") \ 3 + 1) Is v), "TrueTrue"
For Each key In Array("q", "Q:\data", 0, n + 1, "\\server\share", "no such thing")
    Check "Item of an unknown key " & key, vols(key) Is Nothing, True
Next

' ---- the data of a real drive, against the FileSystemObject's answer, in the types declared
Check "FileSystemName and SerialNumber", v.FileSystemName & v.SerialNumber, fso.GetDrive("v:").FileSystem & fso.GetDrive("v:").SerialNumber
Check "SerialNumber is a Long, VolumeIsCompressed a Boolean", TypeName(v.SerialNumber) & TypeName(v.VolumeIsCompressed), "LongBoolean"
Check "VolumeType and IsMounted of v:", v.VolumeType & v.IsMounted, "3True"
Set w = vols("w")
Check "VolumeType and IsMounted of a drive without root", w.VolumeType & w.IsMounted, "1False"

' ---- binding
Set b = vols.BindToVolume("v:\deeper\folder")
Check "a bound drive's name; it takes the drive's entry", b.VolumeName & (vols("v") Is b) & (vols("v") Is v) & vols.Count, "v:\TrueFalse" & n
Set u = vols.BindToVolume("ftp://Example.com/pub/file.txt")
Check "a URL volume's name and file system; no drive", u.VolumeName & " " & u.FileSystemName & vols.Count, "ftp://Example.com ftp" & n
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
Check "a created collection is its own and lists the drives", (own Is vols) & own.Count, "False" & n
Set lone = CreateObject("VOFSL.Volume")
Check "a created volume has no name", lone.VolumeName, ""
On Error Resume Next
x = lone.VolumeLabel
CheckError "a created volume has no data", 5, "Volume", "Invalid procedure call or argument"
lone.Refresh
CheckError "a created volume cannot refresh", 5, "Volume", ""
On Error GoTo 0
Done
