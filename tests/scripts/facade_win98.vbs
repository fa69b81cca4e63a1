' FileSystemLib on a platform of the Windows 98 family (run by cscript98): wide calls
' cannot be forced, and every file call takes its ANSI branch.
Dim lib, fso, scratch, file
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
scratch = WScript.Arguments(0)

On Error Resume Next
lib.WideCallSupport = 2
CheckError "WideVersion is refused off the NT family", 5, "FileSystemLib", "Invalid procedure call or argument"
Check "the setting stays AutoDetect", lib.WideCallSupport, 0
lib.WideCallSupport = 1
CheckNoError "AnsiVersion is accepted"
lib.WideCallSupport = 0
On Error GoTo 0

file = scratch & "\caf" & Chr(233) & " list.txt"
fso.CreateTextFile(file).Close
Check "FileExists through ANSI calls", lib.FileExists(file, True), True
Check "FolderExists through ANSI calls", lib.FolderExists(scratch), True
Check "FileExists of a missing file", lib.FileExists(scratch & "\none.txt"), False
Check "GetUniqueTempName", lib.GetUniqueTempName("caf" & Chr(233), "txt", scratch), scratch & "\caf~0001.txt"
Check "GetTempFolderPath", lib.FolderExists(lib.GetTempFolderPath()), True
Done
