' Walking folders from VBScript: the do-while loop a user writes, filters, empty folders,
' items made from entries, and the errors of a walk.
Dim lib, fso, scratch, walk, names, item, x, count
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
scratch = WScript.Arguments(0)

fso.CreateTextFile(scratch & "\one.txt").Close
fso.CreateTextFile(scratch & "\two.TXT").Close
fso.CreateTextFile(scratch & "\three.log").Close
fso.CreateFolder scratch & "\sub dir"
fso.CreateFolder scratch & "\empty"

' Names found by a walk, sorted so that the platform's order does not matter.
Function Walked(filter)
    Dim e, list, i, j, t
    list = Array()
    Set e = lib.EnumFolder(scratch, filter)
    Do While e.IsOpen
        ReDim Preserve list(UBound(list) + 1)
        list(UBound(list)) = e.Name
        If Not e.GetNextItem() Then Exit Do
    Loop
    For i = 0 To UBound(list)
        For j = i + 1 To UBound(list)
            If LCase(list(j)) < LCase(list(i)) Then t = list(i): list(i) = list(j): list(j) = t
        Next
    Next
    t = ""
    For i = 0 To UBound(list)
        If i > 0 Then t = t & "|"
        t = t & list(i)
    Next
    Walked = t
End Function

Check "every entry", Walked(""), "empty|one.txt|sub dir|three.log|two.TXT"
Check "a filter", Walked("*.txt"), "one.txt|two.TXT"
Check "a filter with a backslash", Walked("\*.txt"), "one.txt|two.TXT"
Check "one name", Walked("three.log"), "three.log"

' entries as items, and entry data
Set walk = lib.EnumFolder(scratch, "*.log")
Check "IsOpen on the first entry", walk.IsOpen, True
Check "IsFolder of a file", walk.IsFolder, False
Check "Size", walk.Size, 0
Check "ItemPath", walk.ItemPath.FullPath, scratch & "\three.log"
Check "Path", walk.Path.FullPath, scratch
Set item = walk.GetFolderItem()
Check "GetFolderItem", item.Name, "three.log"
Check "CloneFolderItem is Nothing", walk.CloneFolderItem() Is Nothing, True
Check "the end", walk.GetNextItem(), False
Check "closed at the end", walk.IsOpen, False
Check "the record keeps the last entry", walk.Name, "three.log"

' through an item
Set walk = lib.GetFolderItem(scratch).EnumFolder("*.log")
Check "EnumFolder of an item", walk.Name, "three.log"
Set walk = lib.GetFolderItem(scratch & "\empty").EnumFolder()
Check "an empty folder opens closed", walk.IsOpen, False

' errors
On Error Resume Next
Set walk = lib.EnumFolder(scratch, "*.nothing")
CheckError "a filter that matches nothing", &H80070002, "FolderEnumerator", ""
Set walk = lib.GetFolderItem(scratch).EnumFolder("*.nothing")
CheckError "the same through an item", &H80070002, "FolderItem", ""
Set walk = lib.EnumFolder(scratch & "\one.txt")
CheckError "a file is no folder", 5, "FolderEnumerator", ""
Set walk = lib.EnumFolder(scratch & "\missing")
CheckError "a missing folder", &H80070002, "FolderEnumerator", ""
Set walk = lib.GetFolderItem(scratch & "\one.txt").EnumFolder()
CheckError "EnumFolder of a file item", 5, "FolderItem", ""
Set walk = lib.EnumFolder(scratch & "\empty")
Set item = walk.GetFolderItem()
CheckError "GetFolderItem with nothing current", 425, "FolderEnumerator", "Invalid object use"
x = walk.GetNextItem()
CheckError "GetNextItem after the end", &H80070006, "FolderEnumerator", ""
Done
