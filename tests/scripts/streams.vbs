' Streams from VBScript as a user drives them: byte streams with String buffers, text
' streams line by line, the open file under them, overlapped transfers, and a folder copy.
Dim lib, dir, s, t, f, i, text
Set lib = CreateObject("VOFSL.FileSystemLib")
dir = WScript.Arguments(0) & "\"

' A byte stream: String buffers are written as ANSI bytes; the read asymmetries hold.
Set s = lib.OpenStream(dir & "bytes.bin", 2, &HC0000000, 3, 0)
Check "WriteStream of a String", s.WriteStream("abc"), 3
Check "Length", s.Length, 3
Check "Position", s.Position, 3
Check "CanSeek without seek flags", s.CanSeek, False
Check "Sharing is never recorded", s.OpenFile.Sharing, 0
Check "OpenFile.Size", s.OpenFile.Size, 3
On Error Resume Next
s.WriteStream "abc", 1
CheckError "a String write with an offset and the whole text", 5, "FileStream", ""
s.SeekPosition 0, 3
CheckError "a seek origin past 2", 380, "FileStream", ""
s.LockStream 0, 2
s.UnlockStream 0, 2
CheckNoError "a range locked and unlocked"
s.UnlockStream 0, 2
Check "a range unlocked twice fails", (Err.Number <> 0) & " " & Err.Source, "True FileStream"  ' Wine: 33, Windows: 158
Err.Clear
On Error GoTo 0
s.SeekPosition 0
text = "xyz"
Check "ReadStream into a String reads", s.ReadStream(text, 0, 2), 2
Check "...and leaves the String as it was", text, "xyz"
s.SetLength 0
Check "SetLength(0) empties the file", s.Length, 0
Check "...and leaves the position at 0", s.Position, 0
s.SetLength 2147483653
Check "a length past 2^31 is a negative Long", s.Length, -2147483643
s.SetLength 5368709120
Check "a length past 4 GB is a Decimal", VarType(s.Length) & " " & s.Length, "14 5368709120"
s.SetLength 0
Set f = s.OpenFile
s.CloseStream
f.CloseFile
On Error Resume Next
i = f.Size
CheckError "Size after CloseFile", 5, "OpenFile", ""
Set s = lib.OpenStream(dir & "missing.bin")
CheckError "opening a missing file", &H80070002, "OpenFile", ""
On Error GoTo 0

' Text streams: lines, blank lines, UTF-16 by its mark, the end of the stream.
Set t = lib.OpenTextStream(dir & "lines.txt", 2, 0)
t.WriteLine "x"
Check "WriteLine writes text and CR LF", t.Length, 3
t.WriteBlankLines 2
t.WriteStream "a" & vbCr & vbLf & "b"
t.SeekColumn 1
Check "ReadLine", t.ReadLine, "x"
Check "blank lines are written as 10, 0", t.ReadStream(4), vbLf & Chr(0) & vbLf & Chr(0)
Check "a line", t.ReadLine, "a"
Check "the last line", t.ReadLine, "b"
Check "AtEndOfStream", t.AtEndOfStream, True
Check "ReadLine at the end", t.ReadLine, ""
Check "AtEndOfLine at the end", t.AtEndOfLine, False
Check "...moves back one byte", t.Column, t.Length - 1
Check "ReadStream() reads nothing", t.ReadStream(), ""
On Error Resume Next
t.NewLine = ""
CheckError "an empty NewLine", 380, "", ""
On Error GoTo 0
t.CloseStream
Set t = lib.OpenTextStream(dir & "wide.txt", 2, 0)
t.WriteStream Chr(255) & Chr(254) & "h" & Chr(0) & "i" & Chr(0) & vbCr & Chr(0) & vbLf & Chr(0)
t.SeekColumn 1
Check "a UTF-16 line after the mark", t.ReadLine, "hi"
t.SeekColumn 1
Check "ReadToEnd reads ANSI", Len(t.ReadToEnd), 10
t.CloseStream

' An overlapped read: it starts, refuses a second one, and completes in the wait.
Set s = lib.OpenStream(dir & "lines.txt", 3, &H80000000, 1, &H40000000)
text = "12345"
Check "an overlapped read returns at once", s.ReadStream(text), 0
Check "...and is pending", s.AsyncIoPending, True
Check "AsyncWaitOnIo", s.AsyncWaitOnIo, True
Check "AsyncBytesTransfered", s.AsyncBytesTransfered, 5
Check "GetAsyncIoBuffer is a Byte array", VarType(s.GetAsyncIoBuffer), 8209
s.CloseStream
Set s = lib.OpenStream(dir & "async.bin", 2, &HC0000000, 0, &H40000000)
Check "an overlapped write returns at once", s.WriteStream("hello"), 0
Check "...completes in the wait", s.AsyncWaitOnIo & " " & s.AsyncBytesTransfered, "True 5"
s.AsyncCancelIo
s.AsyncErrorRaise
s.CloseStream
Check "...and the file holds it", lib.GetFolderItem(dir & "async.bin").Size, 5

' CopyFolder: a tree, and a copy into the source refused.
lib.GetFolderItem(dir & "src\sub").CreateFolder
Set t = lib.OpenTextStream(dir & "src\sub\a.txt", 2, 0)
t.WriteLine "new"
t.CloseStream
lib.CopyFolder dir & "src", dir & "dst"
Set t = lib.OpenTextStream(dir & "dst\sub\a.txt", 1, 1)
Check "CopyFolder copies a tree", t.ReadLine, "new"
t.CloseStream
On Error Resume Next
lib.CopyFolder dir & "src", dir & "SRC/sub/copy"
CheckError "a copy into the folder itself", 5, "FileSystemLib", ""
On Error GoTo 0
Done
