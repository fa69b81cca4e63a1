' A file copied through a backup reader and writer, as a script copies one: write what the
' reader holds, read on until nothing is left, then close both and the reader's file.
Dim lib, fso, dir, text, i, reader, writer, copied
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
dir = WScript.Arguments(0) & "\"
Set text = fso.CreateTextFile(dir & "source.txt", True)
For i = 1 To 20000: text.Write "line " & i & vbCrLf: Next
text.Close
Set reader = lib.OpenBackupStreamReader(dir & "source.txt", , , , 0)
Check "the data stream, its size, the first buffer read at open", reader.StreamType & " " & reader.StreamSize & " " & reader.BufferContentLength & " " & reader.BufferSize, "1 228894 131072 131072"
Check "opened with backup semantics and read access", Hex(reader.OpenFile.Object.OpenFlags) & " " & Hex(reader.OpenFile.Access), "1A000000 80000000"
Set writer = lib.GetFolderItem(dir & "copy.txt").OpenBackupStreamWriter()
Do
    copied = copied + writer.WriteStream(reader)
Loop While reader.ReadStream() > 0
Check "every byte copied, and no second stream", copied & " " & reader.GetNextStream(), "228894 False"
reader.CloseStream
writer.CloseStream
Set text = reader.OpenFile
text.CloseFile    ' a reader's CloseStream leaves its file open
Check "the copy equals the source", fso.OpenTextFile(dir & "copy.txt").ReadAll() = fso.OpenTextFile(dir & "source.txt").ReadAll(), True
On Error Resume Next
writer.WriteStream reader
CheckError "an empty reader buffer", 5, "BackupStreamWriter", ""
Done
