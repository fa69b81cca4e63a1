' Items and walks on the Windows 98 family (cscript98): every find and file call takes
' its ANSI branch, names in the system code page survive the trip.
Dim lib, fso, scratch, item, walk, found
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
scratch = WScript.Arguments(0)

fso.CreateTextFile(scratch & "\caf" & Chr(233) & ".txt").Write "four"
Set item = lib.GetFolderItem(scratch & "\caf" & Chr(233) & ".txt")
Check "Exists", item.Exists, True
Check "Name", item.Name, "caf" & Chr(233) & ".txt"
Check "Size", item.Size, 4

Set walk = lib.EnumFolder(scratch, "*.txt")
found = ""
Do While walk.IsOpen
    found = found & walk.Name
    If Not walk.GetNextItem() Then Exit Do
Loop
Check "a walk decodes the name", found, "caf" & Chr(233) & ".txt"

Set item = lib.GetFolderItem(scratch & "\new\deeper")
item.CreateFolder
Check "CreateFolder", fso.FolderExists(scratch & "\new\deeper"), True
lib.GetFolderItem(scratch & "\new").CascadeDelete "", True
Check "CascadeDelete", fso.FolderExists(scratch & "\new"), False
Done
