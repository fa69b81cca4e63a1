' On the Windows 98 family MoveFolderItem hands its options to MoveFileEx, and the
' single-item operations take their ANSI branches.
Dim lib, fso, scratch, a, b, stream
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
scratch = WScript.Arguments(0)
a = scratch & "\caf" & Chr(233) & ".txt"
b = scratch & "\b.txt"
Set stream = fso.CreateTextFile(a, True): stream.Write "alpha": stream.Close
Set stream = fso.CreateTextFile(b, True): stream.Write "beta": stream.Close

Check "GetPlatformPath has no long-path prefix", lib.GetPlatformPath("C:\x"), "C:\x"
lib.MoveFolderItem a, b, 1
Check "ReplaceExisting replaced the file", fso.OpenTextFile(b).ReadAll(), "alpha"
Check "the source is gone", lib.FileExists(a), False
lib.CopyFolderItem b, a, True
Check "copy to a name outside ASCII", lib.FileExists(a), True
Done
