' Paths and FileSystemLib's own members from VBScript: the Path object, joins with arrays
' given as variables and as expressions, the wide-call setting, in/out and optional
' arguments, existence, temporary names, and the error convention as a script sees it
' (Err.Number, Err.Source and Err.Description).
Dim lib, fso, p, row, parts, x, scratch, file, folder, mode, previous, strict, temp, n, d
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
scratch = WScript.Arguments(0)

Set p = lib.GetPathObject("  C:\Dir\File.Txt  ")
Check "default member is FullPath", p, "C:\Dir\File.Txt"
Check "Name, Extension, SegmentCount, Segments(0)", p.Name & p.Extension & p.SegmentCount & p.Segments(0), "File.Txt.Txt3C:"
Check "PathIsLogical, PathIsNetShare, PathIsUrl", p.PathIsLogical & p.PathIsNetShare & p.PathIsUrl, "TrueFalseFalse"
Check "Parent, RootPathObject, Object", p.Parent & p.RootPathObject.FullPath & p.Object.Name, "C:\DirC:\File.Txt"
For Each row In Array(Array("C:", "C:", "\", True), Array("\\?\UNC\srv\sh\x", "\\srv\sh", "\x", False), _
        Array("file:///C:/dir", "file:///C:", "/dir", False), Array("ftp://host", "ftp://host", "/", True))
    Set p = lib.GetPathObject(row(0))
    Check "RootPath, RelativePath, PathIsRoot of " & row(0), p.RootPath & "|" & p.RelativePath & "|" & p.PathIsRoot, _
        row(1) & "|" & row(2) & "|" & row(3)
Next
Set p = lib.GetPathObject("FTP://Host/x")
Check "a URL's Protocol, separator, ConvertUrlToPath", p.Protocol & p.DirectorySeparator & p.ConvertUrlToPath(), "ftp/FTP://Host/x"
Check "parent of a URL host is Nothing", lib.GetPathObject("ftp://h").Parent Is Nothing, True

' ---- joins: an array in a variable, and Array() given directly
Set p = lib.GetPathObject("C:\Data\")
parts = Array("a/b", "", "  c  ")
Check "ConcatPath with a variable", p.ConcatPath(parts), "C:\Data\a\b\c"
Check "ConcatPath with an expression", p.ConcatPath(Array("x", "y\z")), "C:\Data\x\y\z"
Check "ConcatPathObject", p.ConcatPathObject(Array("n.txt")).Name, "n.txt"
Check "ConcatPlatformPath", p.ConcatPlatformPath(Array("q")), "\\?\C:\Data\q"
Check "ConcatPlatformPathObject", p.ConcatPlatformPathObject(Array("q")).FullPath, "C:\Data\q"

' ---- platform forms and the wide-call setting
Check "WideCallSupport starts at AutoDetect: GetPlatformPath wide", lib.WideCallSupport & " " & lib.GetPlatformPath("C:\a") & " " & lib.GetPlatformPath("\\srv\sh\a"), "0 \\?\C:\a \\?\UNC\srv\sh\a"
lib.WideCallSupport = 1
Check "GetPlatformPath ANSI", lib.GetPlatformPath("C:\a") & " " & lib.GetPlatformPath("\\srv\sh\a"), "C:\a \\srv\sh\a"
lib.WideCallSupport = 2
Check "WideVersion is stored", lib.WideCallSupport, 2
lib.WideCallSupport = 0
Check "GetPlatformPath of a URL", lib.GetPlatformPath("ftp://h/a b"), "h/a%20b"

' ---- path texts and byte counts (optional arguments left out, text as a number)
Check "NameFromPath, ParentFromPath, NormalizePath", lib.NameFromPath(" C:\dir\ ") & "|" & lib.ParentFromPath("C:\") & "|" & lib.NormalizePath("ftp://h/a"), "dir\|C|ftp://h/a/"
Check "FormatByteDisplay of text, the type left out", lib.FormatByteDisplay("1099511627776"), "1 TB"

' ---- existence and temporary names
folder = scratch & "\sub folder"
fso.CreateFolder folder
file = folder & "\notes.txt"
fso.CreateTextFile(file).Close
strict = True
Check "FileExists of a file, strict in a variable", lib.FileExists(file) & lib.FileExists(file, strict), "TrueTrue"
Check "FileExists of a folder, strict or not", lib.FileExists(folder) & lib.FileExists(folder, True), "TrueFalse"
Check "FileExists of a missing file, FolderExists of a folder and a file", lib.FileExists(scratch & "\missing\x.txt") & lib.FolderExists(folder) & lib.FolderExists(file), "FalseTrueFalse"
Check "GetUniqueTempName", lib.GetUniqueTempName("report", , scratch), scratch & "\rep~0001.tmp"
fso.CreateTextFile(scratch & "\rep~0001.tmp").Close
fso.CreateFolder scratch & "\rep~0002.tmp"
Check "GetUniqueTempName passes over files and folders and creates nothing", lib.GetUniqueTempName("report", "tmp", scratch & "\") & lib.FileExists(scratch & "\rep~0003.tmp"), scratch & "\rep~0003.tmpFalse"
temp = lib.GetTempFolderPath()
Check "GetTempFolderPath is a folder ending in a separator", Right(temp, 1) & lib.FolderExists(temp), "\True"
Check "GetUniqueTempName defaults", Left(lib.GetUniqueTempName(), Len(temp)), temp

' ---- in/out argument: a variable sees the masked value, a literal works too
mode = -1
previous = lib.SetErrorMode(mode)
Check "SetErrorMode writes back the masked value", mode, &HFFFF8001
Check "SetErrorMode literal returns the previous mode", lib.SetErrorMode(0), &HFFFF8001
lib.SetErrorMode previous

' ---- errors: run-time errors, platform errors and unavailable members
On Error Resume Next
Set p = lib.GetPathObject("dir\file")
CheckError "GetPathObject of a relative path", 5, "Path", "Invalid procedure call or argument"
Set p = lib.GetPathObject("C:\").Parent
CheckError "the parent of C:\ is C", 5, "Path", ""
x = lib.GetPathObject("ftp://").Name
CheckError "Name of ftp://", 13, "Path", "Type mismatch"
For Each row In Array(-1, 2)
    x = lib.GetPathObject("C:\a").Segments(row)
    CheckError "Segments(" & row & ")", 9, "Path", "Subscript out of range"
Next
x = lib.GetPathObject("ftp://h").Parent(0)
CheckError "an argument for the default member of Nothing", 91, "", "Object variable not set"
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
n = Err.Number: d = Err.Description
CheckError "FileExists of a malformed name", &H8007007B, "MFileSystemLib", ""
Check "platform text ends in one full stop, no line break", (Right(d, 1) = "." And Right(d, 2) <> "..") & InStr(d, vbCrLf), "True0"
Set x = lib.FtpConnect("ftp.example.com", , , , , 2)
CheckError "an open method WinInet does not have", 5, "FtpConnection", "Invalid procedure call or argument"
x = lib.NormalizePath("C:\x")
CheckNoError "the object keeps working after errors"
Check "NormalizePath after errors", x, "C:\x\"
Done
