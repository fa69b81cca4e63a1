' Lists the privileges of this script's token and whether each is enabled, then turns
' the backup privilege on and off again.
Dim lib, privileges, i, privilege, backup
Set lib = CreateObject("VOFSL.FileSystemLib")
Set privileges = lib.TokenPrivileges
WScript.Echo "Account: " & lib.Impersonator.UserID & ", " & privileges.Count & " privileges"
For i = 1 To privileges.Count
    Set privilege = privileges(i)
    WScript.Echo "  " & privilege.Name & ": " & IIf(privilege.IsEnabled, "enabled", "disabled")
Next
Set backup = privileges.GetNamedPrivilege("SeBackupPrivilege")
backup.Enable
WScript.Echo "SeBackupPrivilege enabled: " & backup.IsEnabled
backup.Disable
WScript.Echo "SeBackupPrivilege after Disable: " & backup.IsEnabled

Function IIf(condition, whenTrue, whenFalse)
    If condition Then IIf = whenTrue Else IIf = whenFalse
End Function
