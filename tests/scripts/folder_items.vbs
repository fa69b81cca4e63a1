' Files and folders from VBScript: item data, the cache, renaming, the folder chain,
' deleting, and the errors of items that are not there.
Dim lib, fso, scratch, item, parent, x, stream
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
scratch = WScript.Arguments(0)

Set stream = fso.CreateTextFile(scratch & "\Report 2026.TXT", True)
stream.Write "twelve bytes"
stream.Close

Set item = lib.GetFolderItem(scratch & "\report 2026.txt")
Check "default member is Name, spelled as on disk", item, "Report 2026.TXT"
Check "Exists", item.Exists, True
Check "IsFolder", item.IsFolder, False
Check "Size", item.Size, 12
CheckType "Size is a Decimal", item.Size, "Decimal"
CheckType "PreciseLastWriteTime is a Decimal", item.PreciseLastWriteTime, "Decimal"
Check "CreationTime reads the last-write time", item.CreationTime, item.LastWriteTime
Check "Attributes has Archive", item.Attributes And 32, 32
Check "PathIsRoot", item.PathIsRoot, False
Check "Path", item.Path.FullPath, scratch & "\report 2026.txt"
Check "Cached starts on", item.Cached, True
Check "IsSupported through the IFolderItem the parent comes as", item.Parent.IsSupported(22), True
Set parent = item.Parent
Check "Parent is the folder", parent.Path.FullPath, scratch
Check "Parent IsFolder", parent.IsFolder, True

' read-only through Attributes
item.Attributes = 1
Check "Attributes written", fso.GetFile(scratch & "\report 2026.txt").Attributes And 1, 1
item.Attributes = 32

' the cache: deleted by someone else, the item still answers until asked otherwise
fso.DeleteFile scratch & "\report 2026.txt"
Check "cached Exists after someone deleted it", item.Exists, True
item.Cached = False
Check "Exists without the cache", item.Exists, False
On Error Resume Next
x = item.Size
CheckError "Size of a missing file", 5, "FolderItem", "Invalid procedure call or argument"
On Error GoTo 0

' a missing item asks every time
Set item = lib.GetFolderItem(scratch & "\later.txt")
Check "missing item", item.Exists, False
Check "missing item's Name is its path's", item.Name, "later.txt"
fso.CreateTextFile(scratch & "\later.txt").Close
Check "the file appeared", item.Exists, True

' renaming keeps the old path
item.Name = "renamed.txt"
Check "renamed on disk", fso.FileExists(scratch & "\renamed.txt"), True
Check "the item keeps its path", item.Path.Name, "later.txt"
item.Refresh
Check "and no longer exists", item.Exists, False

' the folder chain
Set item = lib.GetFolderItem(scratch & "\a\b\c")
item.CreateFolder
Check "CreateFolder made the chain", fso.FolderExists(scratch & "\a\b\c"), True
Check "the item exists now", item.Exists, True
item.CreateFolder
Check "CreateFolder again is harmless", item.IsFolder, True
item.Delete
Check "Delete of an empty folder", fso.FolderExists(scratch & "\a\b\c"), False

' errors
On Error Resume Next
lib.GetFolderItem(scratch & "\a").Delete
CheckError "Delete of a folder with contents", &H80070091, "FolderItem", ""
lib.GetFolderItem(scratch & "\gone.txt").Delete
CheckError "Delete of a missing file", &H80070002, "FolderItem", ""
Set item = lib.GetFolderItem("relative\path")
CheckError "GetFolderItem of no path", 5, "Path", ""
Set item = lib.GetFolderItem("C:\").Parent
CheckError "the parent of a drive root", 5, "Path", ""
On Error GoTo 0
Check "a drive root exists", lib.GetFolderItem("C:\").Exists, True
Check "a drive that does not exist", lib.GetFolderItem("Q:\").Exists, False
Done
