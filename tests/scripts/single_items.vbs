' FileSystemLib's single-item operations on real files, as a user's script runs them.
Dim lib, fso, scratch, a, b, stream
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
scratch = WScript.Arguments(0)

Sub MakeFile(path, content)
    Set stream = fso.CreateTextFile(path, True)
    stream.Write content
    stream.Close
End Sub

a = scratch & "\first file.txt"
b = scratch & "\second.txt"
MakeFile a, "alpha"
MakeFile b, "beta"

lib.CopyFolderItem a, scratch & "\copy.txt", True
Check "CopyFolderItem", lib.FileExists(scratch & "\copy.txt"), True
lib.RenameFolderItem scratch & "\copy.txt", scratch & "\renamed.txt"
Check "RenameFolderItem removes the old name", lib.FileExists(scratch & "\copy.txt"), False
Check "RenameFolderItem makes the new one", lib.FileExists(scratch & "\renamed.txt"), True
lib.MoveFolderItem scratch & "\renamed.txt", scratch & "\moved.txt"
Check "MoveFolderItem", lib.FileExists(scratch & "\moved.txt"), True
lib.DeleteFolderItem scratch & "\moved.txt"
Check "DeleteFolderItem", lib.FileExists(scratch & "\moved.txt"), False

On Error Resume Next
lib.CopyFolderItem a, b, True
CheckError "copy onto an existing file", &H80070050, "FileSystemLib", ""
lib.RenameFolderItem a, b
CheckError "rename onto an existing file", &H800700B7, "FileSystemLib", ""
lib.MoveFolderItem a, b, 1
CheckError "move ignores ReplaceExisting on the NT family", &H800700B7, "FileSystemLib", ""
lib.DeleteFolderItem scratch & "\nothing.txt"
CheckError "delete of a missing file", &H80070002, "FileSystemLib", ""
lib.RenameFolderItem scratch & "\nothing.txt", scratch & "\else.txt"
CheckError "rename of a missing file", &H80070002, "FileSystemLib", ""
lib.DeleteFolderItem "nothing.txt"
CheckError "a text that is no path", 5, "Path", ""
On Error GoTo 0
lib.CopyFolderItem a, b, False
Check "copy with failifexists False replaces", fso.OpenTextFile(b).ReadAll(), "alpha"
Done
