' Path objects from VBScript: parsing, the members' answers, joins with arrays given as
' variables and as expressions, and the errors of bad paths and missing segments.
Dim lib, p, row, parts, x
Set lib = CreateObject("VOFSL.FileSystemLib")

Set p = lib.GetPathObject("  C:\Dir\File.Txt  ")
Check "default member is FullPath", p, "C:\Dir\File.Txt"
Check "Name", p.Name, "File.Txt"
Check "Extension", p.Extension, ".Txt"
Check "SegmentCount", p.SegmentCount, 3
Check "Segments(0)", p.Segments(0), "C:"
Check "PathIsLogical", p.PathIsLogical, True
Check "PathIsNetShare", p.PathIsNetShare, False
Check "PathIsUrl", p.PathIsUrl, False
Check "RootPath", p.RootPath, "C:\"
Check "RelativePath", p.RelativePath, "\Dir\File.Txt"
Check "PathIsRoot", p.PathIsRoot, False
Check "Parent", p.Parent.FullPath, "C:\Dir"
Check "RootPathObject", p.RootPathObject.FullPath, "C:\"
Check "Object is the path", p.Object.FullPath, "C:\Dir\File.Txt"
Check "DirectorySeparator", p.DirectorySeparator, "\"
Check "InvalidPathChars", p.InvalidPathChars, "\/:*?""<>|"

' kind, root and relative part of different paths
For Each row In Array( _
        Array("C:\", "C:\", "\", True), Array("C:", "C:", "\", True), Array("C:/a/b", "C:/", "\a\b", False), _
        Array("\\?\UNC\srv\sh\x", "\\srv\sh", "\x", False), Array("\\srv\share", "\\srv\share", "\", True), _
        Array("FTP://Host/x", "FTP://Host", "/x", False), Array("file:///C:/dir", "file:///C:", "/dir", False), _
        Array("ftp://host", "ftp://host", "/", True))
    Set p = lib.GetPathObject(row(0))
    Check "RootPath of " & row(0), p.RootPath, row(1)
    Check "RelativePath of " & row(0), p.RelativePath, row(2)
    Check "PathIsRoot of " & row(0), p.PathIsRoot, row(3)
Next
Set p = lib.GetPathObject("FTP://Host/x")
Check "Protocol", p.Protocol, "ftp"
Check "URL separator", p.DirectorySeparator, "/"
Check "ConvertUrlToPath of ftp", p.ConvertUrlToPath(), "FTP://Host/x"
Check "parent of a URL host is Nothing", lib.GetPathObject("ftp://h").Parent Is Nothing, True
Check "C:\a\\b has an empty segment", lib.GetPathObject("C:\a\\b").Segments(2), ""

' joins: an array in a variable, and Array() given directly
Set p = lib.GetPathObject("C:\Data\")
parts = Array("a/b", "", "  c  ")
Check "ConcatPath with a variable", p.ConcatPath(parts), "C:\Data\a\b\c"
Check "ConcatPath with an expression", p.ConcatPath(Array("x", "y\z")), "C:\Data\x\y\z"
Check "ConcatPathObject", p.ConcatPathObject(Array("n.txt")).Name, "n.txt"
Check "ConcatPlatformPath", p.ConcatPlatformPath(Array("q")), "\\?\C:\Data\q"
Check "ConcatPlatformPathObject", p.ConcatPlatformPathObject(Array("q")).FullPath, "C:\Data\q"
Check "URL join", lib.GetPathObject("ftp://h/x").ConcatPath(Array("y\z")), "ftp://h/x/y/z"

' platform forms and the wide-call setting
Check "GetPlatformPath wide", lib.GetPlatformPath("C:\a"), "\\?\C:\a"
Check "GetPlatformPath share", lib.GetPlatformPath("\\srv\sh\a"), "\\?\UNC\srv\sh\a"
lib.WideCallSupport = 1
Check "GetPlatformPath ANSI", lib.GetPlatformPath("C:\a"), "C:\a"
Check "GetPlatformPath share ANSI", lib.GetPlatformPath("\\srv\sh\a"), "\\srv\sh\a"
lib.WideCallSupport = 0
Check "GetPlatformPath of a URL", lib.GetPlatformPath("ftp://h/a b"), "h/a%20b"

' errors
On Error Resume Next
For Each row In Array("dir\file", "\\srv", "", "//srv/sh")
    Set p = lib.GetPathObject(row)
    CheckError "GetPathObject """ & row & """", 5, "Path", "Invalid procedure call or argument"
Next
Set p = lib.GetPathObject("C:\").Parent
CheckError "the parent of C:\ is C", 5, "Path", ""
x = lib.GetPathObject("ftp://").Name
CheckError "Name of ftp://", 13, "Path", "Type mismatch"
x = lib.GetPathObject("ftp://").SegmentCount
CheckError "SegmentCount of ftp://", 13, "Path", ""
x = lib.GetPathObject("C:\a").Segments(5)
CheckError "Segments out of range", 9, "Path", "Subscript out of range"
x = lib.GetPathObject("C:\a").ConcatPath("not an array")
CheckError "ConcatPath of a plain text", 13, "Path", ""
Done
