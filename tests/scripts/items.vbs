' Files and folders from VBScript, as a user's script handles them: item data and the
' cache, renaming, the folder chain, walks, the cascade delete, FileSystemLib's
' single-item operations, and the errors of each.
Dim lib, fso, scratch, item, walk, x, i, root
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
scratch = WScript.Arguments(0)

Sub MakeFile(path, text)
    Dim stream: Set stream = fso.CreateTextFile(path, True): stream.Write text: stream.Close
End Sub
Sub MakeTree(path)  ' path\a.txt, path\b.tmp, path\sub\c.txt, path\empty
    fso.CreateFolder path: fso.CreateFolder path & "\sub": fso.CreateFolder path & "\empty"
    MakeFile path & "\a.txt", "": MakeFile path & "\b.tmp", "": MakeFile path & "\sub\c.txt", ""
End Sub
Function Walked(path, filter)  ' how many entries a walk finds
    Dim e: Set e = lib.EnumFolder(path, filter)
    Walked = 0
    Do While e.IsOpen
        Walked = Walked + 1
        If Not e.GetNextItem() Then Exit Do
    Loop
End Function

' ---- item data and the cache
MakeFile scratch & "\Report 2026.TXT", "twelve bytes"
Set item = lib.GetFolderItem(scratch & "\report 2026.txt")
Check "default member is Name, spelled as on disk", item, "Report 2026.TXT"
Check "Exists, IsFolder, PathIsRoot, Cached", item.Exists & item.IsFolder & item.PathIsRoot & item.Cached, "TrueFalseFalseTrue"
Check "Size and PreciseLastWriteTime, Decimals", TypeName(item.Size) & item.Size & TypeName(item.PreciseLastWriteTime), "Decimal12Decimal"
Check "CreationTime reads the last-write time", item.CreationTime, item.LastWriteTime
Check "Path", item.Path.FullPath, scratch & "\report 2026.txt"
Set x = item.Parent
Check "Parent is the folder", x.Path.FullPath & x.IsFolder, scratch & "True"
item.Attributes = 1
Check "Attributes written to disk and to the item", (fso.GetFile(scratch & "\report 2026.txt").Attributes And 1) & item.Attributes, "11"
item.Attributes = 32
fso.DeleteFile scratch & "\report 2026.txt"
Check "cached Exists after someone deleted it", item.Exists, True
item.Cached = False
Check "Exists without the cache", item.Exists, False
On Error Resume Next
x = item.Size
CheckError "Size of a missing file", 5, "FolderItem", "Invalid procedure call or argument"
On Error GoTo 0

' ---- a missing item asks every time; renaming keeps the old path
Set item = lib.GetFolderItem(scratch & "\later.txt")
Check "missing item", item.Exists & item.Name, "Falselater.txt"
MakeFile scratch & "\later.txt", ""
Check "the file appeared", item.Exists, True
item.Name = "renamed.txt"
Check "renamed on disk; the item keeps its path", fso.FileExists(scratch & "\renamed.txt") & item.Path.Name, "Truelater.txt"
item.Refresh
Check "and no longer exists", item.Exists, False

' ---- the folder chain, roots and errors
Set item = lib.GetFolderItem(scratch & "\a\b\c")
item.CreateFolder
item.CreateFolder
Check "CreateFolder made the chain, twice harmlessly", fso.FolderExists(scratch & "\a\b\c") & item.IsFolder, "TrueTrue"
item.Delete
Check "Delete of an empty folder", fso.FolderExists(scratch & "\a\b\c"), False
Check "a drive root exists and walks; a drive that does not exist", lib.GetFolderItem("C:\").Exists & lib.GetFolderItem("C:\").EnumFolder().IsOpen & lib.GetFolderItem("Q:\").Exists, "TrueTrueFalse"
On Error Resume Next
lib.GetFolderItem(scratch & "\a").Delete
CheckError "Delete of a folder with contents", &H80070091, "FolderItem", ""
lib.GetFolderItem(scratch & "\gone.txt").Delete
CheckError "Delete of a missing file", &H80070002, "FolderItem", ""
MakeFile scratch & "\taken.txt", ""
Set item = lib.GetFolderItem(scratch & "\renamed.txt")
item.Name = "taken.txt"
CheckError "renaming onto a name that is taken", &H800700B7, "FolderItem", ""
On Error GoTo 0

' ---- walks
root = scratch & "\walk"
MakeTree root
MakeFile root & "\C.TXT", "three"
Check "every entry (no . or ..), a filter, a filter with a backslash", Walked(root, "") & Walked(root, "*.txt") & Walked(root, "\*.txt"), "522"
Set walk = lib.GetFolderItem(root).EnumFolder("c.txt")
Check "the entry's data", walk.Name & walk.IsFolder & walk.Size, "C.TXTFalse5"
Check "ItemPath and Path", walk.ItemPath.FullPath & "|" & walk.Path.FullPath, root & "\C.TXT|" & root
Check "GetFolderItem; CloneFolderItem is Nothing", walk.GetFolderItem().Size & (walk.CloneFolderItem() Is Nothing), "5True"
Check "the end closes the walk", walk.GetNextItem() & walk.IsOpen & walk.Name, "FalseFalseC.TXT"
Check "an empty folder opens closed", Walked(root & "\empty", ""), 0
On Error Resume Next
x = walk.GetNextItem()
CheckError "GetNextItem after the end", &H80070006, "FolderEnumerator", ""
Set walk = lib.EnumFolder(root, "*.nothing")
CheckError "a filter that matches nothing", &H80070002, "FolderEnumerator", ""
Set walk = lib.GetFolderItem(root).EnumFolder("*.nothing")
CheckError "the same through an item", &H80070002, "FolderItem", ""
Set walk = lib.EnumFolder(root & "\a.txt")
CheckError "a file is no folder", 5, "FolderEnumerator", ""
Set walk = lib.GetFolderItem(root & "\a.txt").EnumFolder()
CheckError "EnumFolder of a file item", 5, "FolderItem", ""
Set item = lib.EnumFolder(root & "\empty").GetFolderItem()
CheckError "GetFolderItem with nothing current", 425, "FolderEnumerator", "Invalid object use"
On Error GoTo 0

' ---- the cascade delete, with the outcomes the library has always had
lib.GetFolderItem(root).CascadeDelete "", True
Check "IgnoreErrors: the whole tree goes", fso.FolderExists(root), False
MakeTree root
lib.GetFolderItem(root).CascadeDelete "*.tmp", True, True
Check "ContentsOnly keeps the folder, a filter spares no file", fso.FolderExists(root) & fso.FileExists(root & "\a.txt") & fso.FolderExists(root & "\sub"), "TrueFalseFalse"
fso.DeleteFolder root
MakeTree root
On Error Resume Next
lib.GetFolderItem(root).CascadeDelete , , , False
CheckError "IncludeSubFolders False leaves the folder not empty", &H80070091, "FolderItem", ""
Check "files went, subfolders stayed", fso.FileExists(root & "\a.txt") & fso.FileExists(root & "\sub\c.txt"), "FalseTrue"
lib.GetFolderItem(root).CascadeDelete "", False, True
CheckError "a subfolder with contents goes with its own call, so its second Delete fails", &H80070002, "FolderItem", ""
Check "the subfolder is gone, the root stays", fso.FolderExists(root & "\sub") & fso.FolderExists(root), "FalseTrue"
On Error GoTo 0
fso.CreateFolder scratch & "\lonely"
lib.GetFolderItem(scratch & "\lonely").CascadeDelete
Check "a folder whose walk finds nothing is left in place", fso.FolderExists(scratch & "\lonely"), True
MakeFile root & "\keep.txt", "": fso.GetFile(root & "\keep.txt").Attributes = 1
lib.GetFolderItem(root).CascadeDelete "", True
Check "IgnoreErrors passes over a read-only file", fso.FileExists(root & "\keep.txt") & fso.FolderExists(root & "\empty"), "TrueFalse"

' ---- FileSystemLib's single-item operations, wide and ANSI
For i = 0 To 1
    lib.WideCallSupport = i
    MakeFile scratch & "\caf" & Chr(233) & i & ".txt", "alpha"
    lib.CopyFolderItem scratch & "\caf" & Chr(233) & i & ".txt", scratch & "\copy.txt", True
    lib.RenameFolderItem scratch & "\copy.txt", scratch & "\renamed" & i & ".txt"
    lib.MoveFolderItem scratch & "\renamed" & i & ".txt", scratch & "\moved.txt"
    Check "copied, renamed and moved " & i, fso.OpenTextFile(scratch & "\moved.txt").ReadAll(), "alpha"
    lib.DeleteFolderItem scratch & "\moved.txt"
    Check "DeleteFolderItem " & i, lib.FileExists(scratch & "\moved.txt"), False
Next
lib.WideCallSupport = 0
MakeFile scratch & "\b.txt", "beta"
On Error Resume Next
lib.CopyFolderItem scratch & "\caf" & Chr(233) & "0.txt", scratch & "\b.txt", True
CheckError "copy onto an existing file", &H80070050, "FileSystemLib", ""
lib.RenameFolderItem scratch & "\caf" & Chr(233) & "0.txt", scratch & "\b.txt"
CheckError "rename onto an existing file", &H800700B7, "FileSystemLib", ""
lib.MoveFolderItem scratch & "\caf" & Chr(233) & "0.txt", scratch & "\b.txt", 1
CheckError "move ignores ReplaceExisting on the NT family", &H800700B7, "FileSystemLib", ""
lib.DeleteFolderItem scratch & "\nothing.txt"
CheckError "delete of a missing file", &H80070002, "FileSystemLib", ""
lib.CopyFolder scratch & "\walk", scratch & Replace(Space(35000), " ", "\a")
CheckError "a copy into a chain far beyond the platform's limit", &H800700CE, "FolderItem", ""
On Error GoTo 0
lib.CopyFolderItem scratch & "\caf" & Chr(233) & "0.txt", scratch & "\b.txt", False
Check "copy with failifexists False replaces", fso.OpenTextFile(scratch & "\b.txt").ReadAll(), "alpha"
Done
