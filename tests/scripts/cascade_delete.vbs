' CascadeDelete from VBScript, with the outcomes the library has always had.
Dim lib, fso, scratch, root
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
scratch = WScript.Arguments(0)

Sub MakeTree(path)
    fso.CreateFolder path
    fso.CreateTextFile(path & "\a.txt").Close
    fso.CreateTextFile(path & "\b.tmp").Close
    fso.CreateFolder path & "\sub"
    fso.CreateTextFile(path & "\sub\c.txt").Close
    fso.CreateFolder path & "\empty"
End Sub

root = scratch & "\tree1"
MakeTree root
lib.GetFolderItem(root).CascadeDelete "", True
Check "IgnoreErrors: the whole tree goes", fso.FolderExists(root), False

root = scratch & "\tree2"
MakeTree root
lib.GetFolderItem(root).CascadeDelete "*.tmp", True, True
Check "ContentsOnly keeps the folder", fso.FolderExists(root), True
Check "and a filter does not spare other files", fso.FileExists(root & "\a.txt"), False
Check "subfolders go", fso.FolderExists(root & "\sub"), False

root = scratch & "\tree3"
MakeTree root
On Error Resume Next
lib.GetFolderItem(root).CascadeDelete , , , False
CheckError "IncludeSubFolders False leaves the folder not empty", &H80070091, "FolderItem", ""
On Error GoTo 0
Check "files went", fso.FileExists(root & "\a.txt"), False
Check "subfolders stayed", fso.FolderExists(root & "\sub\"), True

root = scratch & "\tree4"
fso.CreateFolder root
fso.CreateFolder root & "\full"
fso.CreateTextFile(root & "\full\x.txt").Close
On Error Resume Next
lib.GetFolderItem(root).CascadeDelete
CheckError "a subfolder with contents fails its second Delete", &H80070002, "FolderItem", ""
On Error GoTo 0
Check "the subfolder is gone", fso.FolderExists(root & "\full"), False
Check "the root stays", fso.FolderExists(root), True
lib.GetFolderItem(root).CascadeDelete
Check "an empty folder is left in place", fso.FolderExists(root), True

fso.CreateTextFile(scratch & "\single.txt").Close
lib.GetFolderItem(scratch & "\single.txt").CascadeDelete
Check "a file item is deleted", fso.FileExists(scratch & "\single.txt"), False
Done
