' A path's text, five ways: the library's GetPathObject and five of its members, and the
' peer's five text calls on the same text. Prints the best of five rounds of each, per
' path, in nanoseconds.
'   cscript //nologo path_calls.vbs FILE
Option Explicit
Const kPaths = 20000
Dim lib, fso, sample, best, started, round, i, path, value
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
sample = WScript.Arguments(0)

best = 1E9
For round = 1 To 5
    started = Timer
    For i = 1 To kPaths
        Set path = lib.GetPathObject(sample)
        value = path.Name
        value = path.Extension
        value = path.RootPath
        value = path.RelativePath
        value = path.FullPath
    Next
    If Timer - started < best Then best = Timer - started
Next
WScript.Echo "vbs.path5.vofslib " & Int(best * 1E9 / kPaths)

best = 1E9
For round = 1 To 5
    started = Timer
    For i = 1 To kPaths
        value = fso.GetFileName(sample)
        value = fso.GetExtensionName(sample)
        value = fso.GetBaseName(sample)
        value = fso.GetParentFolderName(sample)
        value = fso.GetDriveName(sample)
    Next
    If Timer - started < best Then best = Timer - started
Next
WScript.Echo "vbs.path5.fso " & Int(best * 1E9 / kPaths)
