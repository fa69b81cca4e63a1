' Copies a file through a backup reader and writer, stream by stream, and shows what the
' reader found. Where the platform has no backup interface only the data stream exists.
Dim lib, fso, folder, reader, writer
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
folder = lib.GetTempFolderPath()
fso.CreateTextFile(folder & "backup-source.txt", True).Write "Backed up, stream by stream."
Set reader = lib.OpenBackupStreamReader(folder & "backup-source.txt")
Set writer = lib.OpenBackupStreamWriter(folder & "backup-copy.txt")
Do
    WScript.Echo "stream type " & reader.StreamType & ", " & reader.StreamSize & " bytes"
    Do
        writer.WriteStream reader
    Loop While reader.ReadStream() > 0
Loop While reader.GetNextStream()
reader.CloseStream: reader.OpenFile.CloseFile
writer.CloseStream
WScript.Echo "copy: " & fso.OpenTextFile(folder & "backup-copy.txt").ReadAll()
