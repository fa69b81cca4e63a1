' Streams from VBScript: write a text file line by line, read it back, look at it as
' bytes, copy its folder, and delete everything again.
Option Explicit
Dim lib, root, text, bytes, buffer, copy

Set lib = CreateObject("VOFSL.FileSystemLib")
root = lib.GetUniqueTempName("streams", "dir")
lib.GetFolderItem(root & "\notes").CreateFolder

' ForWriting (2) creates the file when it is missing and writes from its start.
Set text = lib.OpenTextStream(root & "\notes\todo.txt", 2, 0)
text.WriteLine "buy milk"
text.WriteLine "call the bank"
WScript.Echo "Wrote " & text.Length & " bytes"
text.SeekColumn 1
Do While Not text.AtEndOfStream
    WScript.Echo "  line: " & text.ReadLine
Loop
text.CloseStream

' A byte stream reads into a String buffer's length; the bytes arrive in the buffer only
' for Byte arrays and addresses, so here it just counts.
Set bytes = lib.OpenStream(root & "\notes\todo.txt")
buffer = Space(8)
WScript.Echo "ReadStream moved " & bytes.ReadStream(buffer, 0, 8) & " bytes; position now " & bytes.Position
bytes.CloseStream

lib.CopyFolder root & "\notes", root & "\copy"
Set copy = lib.GetFolderItem(root & "\copy\todo.txt")
WScript.Echo "Copied: " & copy.Path.FullPath & ", " & copy.Size & " bytes"

lib.GetFolderItem(root).CascadeDelete "", True
WScript.Echo "Removed " & root
