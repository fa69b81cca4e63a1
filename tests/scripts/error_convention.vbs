' The error convention as a VBScript client sees it: Err.Number, Err.Source and
' Err.Description of run-time errors, platform errors and unavailable members.
Dim lib, x
Set lib = CreateObject("VOFSL.FileSystemLib")
On Error Resume Next

lib.WideCallSupport = 7
CheckError "WideCallSupport out of range", 5, "FileSystemLib", "Invalid procedure call or argument"
Check "a refused setting is not stored", lib.WideCallSupport, 0

x = lib.FileExists("")
CheckError "FileExists of nothing", 5, "MFileSystemLib", "Invalid procedure call or argument"

x = lib.FormatByteDisplay("a lot")
CheckError "FormatByteDisplay of text", 13, "FileSystemLib", "Type mismatch"

' A platform failure other than not-found: &H80070000 + code, the system's own text,
' exactly one final full stop.
x = lib.FileExists("C:\bad<name>|here")
Dim n, d: n = Err.Number: d = Err.Description
CheckError "FileExists of a malformed name", &H8007007B, "MFileSystemLib", ""
Check "platform text ends in one full stop", Right(d, 1) = "." And Right(d, 2) <> "..", True
Check "platform text has no line break at its end", InStr(d, vbCrLf), 0

Set x = lib.OpenBackupStreamReader("C:\x.txt")
CheckError "a member of a later class", &H80004001, "FileSystemLib", "OpenBackupStreamReader is not available in this version of the library."

Dim again: again = lib.NormalizePath("C:\x")
CheckNoError "the object keeps working after errors"
Check "NormalizePath after errors", again, "C:\x\"
Done
