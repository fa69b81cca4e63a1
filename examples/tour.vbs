' A short tour of vofslib from VBScript: paths, existence tests, temporary names and
' byte counts for display.
Option Explicit
Dim lib, path, temp, name, size

Set lib = CreateObject("VOFSL.FileSystemLib")

temp = lib.GetTempFolderPath()
WScript.Echo "Temporary folder:    " & temp
WScript.Echo "A free name in it:   " & lib.GetUniqueTempName("report", "txt")

Set path = lib.GetPathObject("C:\Projects\vofslib\README.md")
WScript.Echo "Path:                " & path.FullPath
WScript.Echo "  name, extension:   " & path.Name & ", " & path.Extension
WScript.Echo "  root, rest:        " & path.RootPath & ", " & path.RelativePath
WScript.Echo "  parent:            " & path.Parent.FullPath
WScript.Echo "  platform form:     " & path.GetPlatformPath()
WScript.Echo "  joined:            " & path.Parent.ConcatPath(Array("docs", "guide.md"))

Set path = lib.GetPathObject("ftp://ftp.example.org/pub/my file.txt")
WScript.Echo "URL root, protocol:  " & path.RootPath & ", " & path.Protocol

WScript.Echo "Windows folder:      exists " & lib.FolderExists("C:\windows") & _
             ", is a file " & lib.FileExists("C:\windows", True)

For Each size In Array(0, 1, 1023, 1536, 1572864, 5368709120)
    WScript.Echo "  " & size & " bytes show as " & lib.FormatByteDisplay(size)
Next

On Error Resume Next
Set path = lib.GetPathObject("not\a\full\path")
WScript.Echo "A bad path raises:   error " & Err.Number & " from " & Err.Source & ": " & Err.Description
