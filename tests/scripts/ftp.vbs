' An FTP session as a script uses it: connect (prefixes, user, anonymous), make folders,
' rename in place, delete, read both servers' refusals, clone, disconnect. The session's
' servers are named in the environment; their folders are checked as local paths.
Dim lib, env, root, c, copy, v, t, x, d
Set lib = CreateObject("VOFSL.FileSystemLib")
Set env = CreateObject("WScript.Shell").Environment("PROCESS")
root = "Z:" & Replace(env("VOFS_FTP_ROOT"), "/", "\") & "\script\"

Set c = lib.FtpConnect("FTP://127.0.0.1", "tester", "secret", False, False, 0, CLng(env("VOFS_FTP_PORT")))
Check "connected", c.IsConnected & " " & c.IsAsync & " " & c.GetWorkingFolder() & Len(c.GetWorkingFolder()), "True False /1"
c.CreateFolder "/script/made/deeper"
c.CreateFolder "script/made"
Check "CreateFolder makes the chain; existing levels pass", lib.FolderExists(root & "made\deeper"), True
c.SetWorkingFolder "ftp://127.0.0.1/script/made"
Check "SetWorkingFolder by URL", c.GetWorkingFolder(), "/script/made"
Set t = lib.OpenTextStream(root & "made\note.txt", 2, 0): t.WriteLine "hello": t.CloseStream
c.RenameFolderItem "/script/made/note.txt", "/elsewhere/renamed.txt"
Check "a rename stays in its folder", lib.FileExists(root & "made\renamed.txt"), True
c.DeleteFolderItem "script/made/renamed.txt"
Check "deleted on the server", lib.FileExists(root & "made\renamed.txt"), False

On Error Resume Next
c.DeleteFolderItem "/script/made/renamed.txt"
CheckError "deleting what is gone", &H80070002, "FtpConnection", ""
c.SetWorkingFolder "/script/none"
CheckError "a missing folder", &H80070002, "FtpConnection", "Could not set current directory to ftp://127.0.0.1/script/none." & vbCrLf & "File not found."
Set x = c.GetPathObject("ftp://127.0.0.2/script")
CheckError "a URL of another server", 5, "FtpConnection", ""
Set v = lib.FtpConnect("127.0.0.1", "tester", "wrong", False, False, 0, CLng(env("VOFS_FTP_PORT"))): d = Err.Description
CheckError "a wrong password", &H80072EEF, "FtpConnection", ""
Check "the error names the server, never the password", Left(d, 44) & InStr(d, "wrong"), "Could not connect to FTP server 127.0.0.1." & vbCrLf & "0"
Set v = lib.FtpConnect("127.0.0.1", "refused", "x", False, False, 1, CLng(env("VOFS_FTP_PORT")))
CheckError "a login answered 421", &H80072EFF, "FtpConnection", ""
Set v = lib.FtpConnect("ftp://127.0.0.1", "tester", "secret", False, False, 0, 1)
CheckError "a closed port", &H80072EFD, "FtpConnection", ""
Set v = lib.FtpConnect("127.0.0.1", Empty, Empty, True, False, 0, CLng(env("VOFS_VSFTPD_PORT")))
CheckNoError "anonymous on the second server"
v.SetWorkingFolder "/missing"
CheckError "its own refusal text", &H80072EE3, "FtpConnection", "Could not set current directory to ftp://127.0.0.1/missing." & vbCrLf & "550 Failed to change directory."
v.CreateFolder "/pub/script/made": v.DeleteFolderItem "/pub/script/made"
CheckError "a folder made there; its ""550 Permission denied."" to a delete", &H80070005, "FtpConnection", ""
On Error GoTo 0

Set copy = c.Clone()
Check "a clone is a session of its own", copy.GetWorkingFolder() & " " & c.GetWorkingFolder(), "/ /script/made"
c.Disconnect
Check "Disconnect", c.IsConnected & " " & copy.IsConnected & " " & c.AutoReconnect, "False True True"
Done
