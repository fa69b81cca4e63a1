' FileSystemLib's own members from VBScript, as a user's script calls them.
Dim lib, fso, scratch, row, sep, dot
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
scratch = WScript.Arguments(0)

' ---- path texts
For Each row In Array( _
        Array("C:\dir\file.txt", "file.txt"), Array(" C:\dir\ ", "dir\"), _
        Array("ftp://host/a/b", "b"), Array("C:", "C:"), Array("", ""))
    Check "NameFromPath " & row(0), lib.NameFromPath(row(0)), row(1)
Next
For Each row In Array( _
        Array("C:\dir\file.txt", "C:\dir"), Array("C:\dir", "C:"), Array("C:\", "C"), _
        Array("ftp://host", ""), Array("ftp://host/a", "ftp://host"), Array("ab", "ab"))
    Check "ParentFromPath " & row(0), lib.ParentFromPath(row(0)), row(1)
Next
For Each row In Array(Array("ftp://h/a", "ftp://h/a/"), Array("C:\a\", "C:\a\"), Array("C:\a", "C:\a\"), Array("", "\"))
    Check "NormalizePath " & row(0), lib.NormalizePath(row(0)), row(1)
Next

' ---- byte counts, with this user's grouping and decimal point
sep = Mid(FormatNumber(1000, 0), 2, 1)
dot = Mid(FormatNumber(1.5, 1), 2, 1)
For Each row In Array( _
        Array(0, 0, "0 KB"), Array(0, 3, "0 GB"), Array(0, 5, "0 MB"), Array(1, 0, "1 byte"), _
        Array(1023, 0, "1" & sep & "023 bytes"), Array(1023, 1, "1 KB"), Array(1536, 0, "2 KB"), _
        Array(2560, 0, "2 KB"), Array(1572864, 0, "1" & dot & "50 MB"), Array(1048576, 0, "1 MB"), _
        Array(-5, 0, ""))
    Check "FormatByteDisplay " & row(0) & "/" & row(1), lib.FormatByteDisplay(row(0), row(1)), row(2)
Next
Check "FormatByteDisplay without a type", lib.FormatByteDisplay(2048), "2 KB"
Check "FormatByteDisplay of text", lib.FormatByteDisplay("1099511627776"), "1 TB"

' ---- existence
Dim file, folder
folder = scratch & "\sub folder"
fso.CreateFolder folder
file = folder & "\notes.txt"
fso.CreateTextFile(file).Close
Check "FileExists file", lib.FileExists(file), True
Check "FileExists folder", lib.FileExists(folder), True
Check "FileExists folder strict", lib.FileExists(folder, True), False
Dim strict: strict = True
Check "FileExists file strict variable", lib.FileExists(file, strict), True
Check "FileExists missing", lib.FileExists(scratch & "\missing.txt"), False
Check "FolderExists folder", lib.FolderExists(folder), True
Check "FolderExists file", lib.FolderExists(file), False

' ---- temporary names
Check "GetUniqueTempName", lib.GetUniqueTempName("report", , scratch), scratch & "\rep~0001.tmp"
fso.CreateTextFile(scratch & "\rep~0001.tmp").Close
Check "GetUniqueTempName next", lib.GetUniqueTempName("report", "tmp", scratch & "\"), scratch & "\rep~0002.tmp"
Check "GetUniqueTempName seed ab", lib.GetUniqueTempName("ab", "log", scratch), scratch & "\ab~0001.log"
Dim temp: temp = lib.GetTempFolderPath()
Check "GetTempFolderPath ends with a separator", Right(temp, 1), "\"
Check "GetTempFolderPath exists", lib.FolderExists(temp), True
Check "GetUniqueTempName defaults", Left(lib.GetUniqueTempName(), Len(temp)), temp

' ---- in/out argument: a variable sees the masked value, a literal works too
Dim mode, previous
mode = -1
previous = lib.SetErrorMode(mode)
Check "SetErrorMode writes back the masked value", mode, &HFFFF8001
Check "SetErrorMode literal returns the previous mode", lib.SetErrorMode(0), &HFFFF8001
mode = &H7FFE
lib.SetErrorMode mode
Check "SetErrorMode drops the bits in between", mode, 0
lib.SetErrorMode previous

' ---- WideCallSupport
Check "WideCallSupport starts at AutoDetect", lib.WideCallSupport, 0
lib.WideCallSupport = 1
Check "WideCallSupport AnsiVersion", lib.WideCallSupport, 1
Check "FileExists through ANSI calls", lib.FileExists(file), True
lib.WideCallSupport = 2
Check "WideCallSupport WideVersion", lib.WideCallSupport, 2
lib.WideCallSupport = 0

Done
