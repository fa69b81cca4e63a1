' VBScript checks its rights: privileges by Count and Item, by number and name, enabled
' and disabled, and an impersonation that the platform refuses.
Dim lib, tp, p, i, names, backup, im, before, x
Set lib = CreateObject("VOFSL.FileSystemLib")
Set tp = lib.TokenPrivileges
For i = 1 To tp.Count
    names = names & "|" & tp(i).Name
Next
Check "the same collection; Count and Item list the token", (tp Is lib.TokenPrivileges) & InStr(names, "|SeChangeNotifyPrivilege") , "True1"
Set backup = tp.GetNamedPrivilege(17)
Check "by number and by name", backup.Name & " " & tp.GetNamedPrivilege("SeBackupPrivilege").Name, "SeBackupPrivilege SeBackupPrivilege"
Check "IsEnabled is the default member", backup, False
Check "Enable, Disable", backup.Enable & backup.IsEnabled & backup.Disable & backup.IsEnabled & backup.LastStateChange, "TrueTrueTrueFalse0"
On Error Resume Next
Set p = tp.Item(tp.Count + 1)
CheckError "Item past the end", 9, "TokenPrivileges", "Subscript out of range"
x = tp.GetNamedPrivilege(String(40000, "S")).IsEnabled
CheckError "a name the platform cannot carry", &H80070057, "MTokenPrivileges", ""
Set im = lib.Impersonator
before = im.UserID
im.ImpersonateUser ".", "no such account", "wrong"
Check "a refused logon or impersonation is a system error", Err.Source & " " & Hex(Err.Number And &HFFFF0000), "Impersonator 80070000"
Err.Clear
im.RevertToSelf
CheckNoError "RevertToSelf afterwards"
Check "the same Impersonator; the thread runs as before", (im Is lib.Impersonator) & im.UserID, "True" & before
Done
