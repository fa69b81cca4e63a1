' FileSystemLib on a platform of the Windows 98 family (run by cscript98): wide calls
' cannot be forced, every file call takes its ANSI branch, names in the system code page
' survive the trip, and MoveFolderItem hands its options to MoveFileEx.
Dim lib, fso, scratch, a, b, item, walk, stream
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
Check "GetPlatformPath has no long-path prefix", lib.GetPlatformPath("C:\x"), "C:\x"

a = scratch & "\caf" & Chr(233) & ".txt"
b = scratch & "\b.txt"
Set stream = fso.CreateTextFile(a, True): stream.Write "four": stream.Close
Set stream = fso.CreateTextFile(b, True): stream.Write "beta": stream.Close
Set item = lib.GetFolderItem(a)
Check "an item's Exists, Name and Size", item.Exists & item.Name & item.Size, "Truecaf" & Chr(233) & ".txt4"
Set walk = lib.EnumFolder(scratch, "caf*")
Check "a walk decodes the name", walk.Name, "caf" & Chr(233) & ".txt"
Check "FileExists and FolderExists", lib.FileExists(a, True) & lib.FolderExists(scratch), "TrueTrue"
Check "GetUniqueTempName", lib.GetUniqueTempName("caf" & Chr(233), "txt", scratch), scratch & "\caf~0001.txt"
lib.MoveFolderItem a, b, 1
Check "ReplaceExisting replaced the file", fso.OpenTextFile(b).ReadAll() & lib.FileExists(a), "fourFalse"
lib.CopyFolderItem b, a, True
Check "copy to a name outside ASCII", lib.FileExists(a), True
lib.GetFolderItem(scratch & "\new\deeper").CreateFolder
Check "CreateFolder", fso.FolderExists(scratch & "\new\deeper"), True
lib.GetFolderItem(scratch & "\new").CascadeDelete "", True
Check "CascadeDelete", fso.FolderExists(scratch & "\new"), False
Check "no privileges and no Impersonator", (lib.TokenPrivileges Is Nothing) & (lib.Impersonator Is Nothing), "TrueTrue"
Done
