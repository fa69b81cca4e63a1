' The walk over a folder's entries, reading every entry's name and size, through the
' library's enumerator and through the peer's Files collection. Prints the best of five
' rounds of each, in nanoseconds.
'   cscript //nologo walk.vbs FOLDER
Option Explicit
Dim lib, fso, folder, best, started, round, entries, value, file
Set lib = CreateObject("VOFSL.FileSystemLib")
Set fso = CreateObject("Scripting.FileSystemObject")
folder = WScript.Arguments(0)

best = 1E9
For round = 1 To 5
    started = Timer
    Set entries = lib.EnumFolder(folder)
    Do
        value = entries.Name
        value = entries.Size
    Loop While entries.GetNextItem
    If Timer - started < best Then best = Timer - started
Next
WScript.Echo "vbs.walk.vofslib " & Int(best * 1E9)

best = 1E9
For round = 1 To 5
    started = Timer
    For Each file In fso.GetFolder(folder).Files
        value = file.Name
        value = file.Size
    Next
    If Timer - started < best Then best = Timer - started
Next
WScript.Echo "vbs.walk.fso " & Int(best * 1E9)
