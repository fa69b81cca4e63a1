' Files, folders and volumes from VBScript: make a small tree, walk it, read item data,
' list the drives, and delete the tree again.
Option Explicit
Dim lib, root, item, walk, volume, stream, fso

Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
root = lib.GetUniqueTempName("demo", "dir")

' CreateFolder makes the whole missing chain.
Set item = lib.GetFolderItem(root & "\reports\2026")
item.CreateFolder
WScript.Echo "Created " & item.Path.FullPath & " (folder: " & item.IsFolder & ")"
Set stream = fso.CreateTextFile(root & "\reports\summary.txt")
stream.Write String(3000, "x")
stream.Close

' A walk reads the current entry, then moves on.
WScript.Echo "Entries of " & root & "\reports:"
Set walk = lib.EnumFolder(root & "\reports")
Do While walk.IsOpen
    If walk.IsFolder Then
        WScript.Echo "  [folder] " & walk.Name
    Else
        WScript.Echo "  " & walk.Name & ", " & lib.FormatByteDisplay(walk.Size, 1)
    End If
    If Not walk.GetNextItem() Then Exit Do
Loop

Set item = lib.GetFolderItem(root & "\reports\summary.txt")
WScript.Echo "summary.txt: " & item.Size & " bytes, written " & item.LastWriteTime & _
             ", precise " & item.PreciseLastWriteTime

WScript.Echo "Drives:"
For Each volume In lib.Volumes
    WScript.Echo "  " & volume.VolumeName & " type " & volume.VolumeType & ", mounted " & volume.IsMounted
Next
Set volume = lib.Volumes("C:\windows")
WScript.Echo "The volume of C:\windows: " & volume.VolumeName & " " & volume.FileSystemName

lib.GetFolderItem(root).CascadeDelete "", True
WScript.Echo "Deleted the tree: " & (Not lib.FolderExists(root))
