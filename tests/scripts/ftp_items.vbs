' Remote trees through the same code as local ones: one set of routines builds, lists,
' reads and deletes a tree, run once on a local folder and once on a folder of the FTP
' server, and the two must agree; then what only the FTP items do (errors, filters).
Dim lib, env, c, localTop, remoteTop, e, f, s, x, serverView
Set lib = CreateObject("VOFSL.FileSystemLib")
Set env = CreateObject("WScript.Shell").Environment("PROCESS")
serverView = "Z:" & Replace(env("VOFS_FTP_ROOT"), "/", "\") & "\items"
Set c = lib.FtpConnect("127.0.0.1", "tester", "secret", False, False, 0, CLng(env("VOFS_FTP_PORT")))

Sub WriteText(folder, name, text)
    Dim t
    Set t = folder.GetFolderItem(folder.Path.ConcatPath(Array(name))).OpenTextStream(2)
    t.WriteLine text
    t.CloseStream
End Sub

Function ReadBack(folder, name)
    Dim t
    Set t = folder.GetFolderItem(folder.Path.ConcatPath(Array(name))).OpenTextStream(1)
    ReadBack = t.ReadStream(64)
    t.CloseStream
End Function

Sub Build(top)
    Dim sub1
    top.CreateFolder
    WriteText top, "a.txt", "first file"
    Set sub1 = top.GetFolderItem(top.Path.ConcatPath(Array("sub", "empty")))
    sub1.CreateFolder
    WriteText sub1.Parent, "b.txt", String(300, "b")
End Sub

' "name:size " for files, then "name/(...) " for folders: the trees built here hold one
' file and one folder a level, so listings of servers that order entries differently
' still compare equal.
Function Listing(folder)
    Dim files, folders, e
    files = "": folders = ""
    Set e = folder.EnumFolder()
    Do While e.IsOpen
        If e.IsFolder Then
            folders = folders & e.Name & "/(" & Listing(e.GetFolderItem()) & ") "
        Else
            files = files & e.Name & ":" & e.Size & " "
        End If
        e.GetNextItem
    Loop
    Listing = files & folders
End Function

Set localTop = lib.GetFolderItem(WScript.Arguments(0) & "\items")
Set remoteTop = c.GetFolderItem("/items")
Build localTop
Build remoteTop
Check "the same tree, listed the same", Listing(remoteTop), Listing(localTop)
Check "what the server holds", Listing(remoteTop), "a.txt:12 sub/(b.txt:302 empty/() ) "
Check "read back", ReadBack(remoteTop, "a.txt"), ReadBack(localTop, "a.txt")
Check "as written", ReadBack(remoteTop, "a.txt"), "first file" & vbCrLf
Check "remote item data", remoteTop.GetFolderItem("/items/sub/b.txt").Size & " " & remoteTop.GetFolderItem("/items/sub").IsFolder, "302 True"

' The item and walk interfaces mean the same on both trees: a renamed item names its old
' name, a root answers IsFolder False, a missing item is no folder and its Delete is
' refused as missing, and a walk past its end raises.
Function Answers(top)
    Dim f, e
    WriteText top, "old.txt", "x"
    Set f = top.GetFolderItem(top.Path.ConcatPath(Array("old.txt")))
    f.Name = "new.txt"
    f.Refresh
    Set e = top.EnumFolder("new.txt")
    Answers = f.Path.Name & " " & f.Exists & " " & e.Name & " " & top.GetFolderItem(top.Path.RootPath).IsFolder
    Set f = top.GetFolderItem(top.Path.ConcatPath(Array("none.txt")))
    On Error Resume Next
    Answers = Answers & " " & f.IsFolder
    f.Delete
    Answers = Answers & " " & Hex(Err.Number): Err.Clear
    Do While e.GetNextItem(): Loop
    e.GetNextItem
    Answers = Answers & " " & Hex(Err.Number): Err.Clear
    On Error GoTo 0
End Function
x = Answers(localTop)
Check "a local tree's answers", x, "old.txt False new.txt False False 80070002 80070006"
Check "a remote tree's are the same", Answers(remoteTop), x

Set e = c.EnumFolder("/items/sub", "\b.*")
Check "a filter without its backslash", e.Name & " " & e.IsOpen, "b.txt True"
Check "the end of the list", e.GetNextItem() & " " & e.IsOpen & " " & e.Handle, "False False -1"
Set e = c.EnumFolder("/items/sub/empty")
Check "an empty folder is closed at once", e.IsOpen, False
Set e = c.EnumFolder("/items", "a txt")
Check "a blank in a filter matches any character", e.Name, "a.txt"
c.RenameFolderItem "/items/a.txt", "renamed.txt"
Set f = e.GetFolderItem()
Check "the owner connection works during a walk; the entry's data stays", f.Name & " " & f.Size & " " & e.IsOpen, "a.txt 12 True"
Check "until refreshed", f.Exists, False
e.CloseEnumerator

On Error Resume Next
Set x = c.GetFolderItem("/items/none").OpenStream()
CheckError "opening a missing file", &H80070002, "FtpFolderItem", ""
x = -1: x = c.GetFolderItem("/items/none").Size
CheckError "the size of a missing item", 0, "", ""
Check "is its empty record's", x, 0
Set s = c.GetFolderItem("/items/renamed.txt").OpenStream()
s.SeekPosition 0, 3
CheckError "an origin past the end", 380, "FtpFileStream", ""
On Error GoTo 0
Check "an FTP stream", s.CanSeek & " " & s.CanRead & " " & s.CanWrite & " " & s.OpenFile.GetIoBufferSizeHint(), "False True False 8192"
s.CloseStream
Check "nothing missing nor deleted yet", c.GetFolderItem("/items/none").Exists & " " & lib.FileExists(serverView & "\renamed.txt"), "False True"

' The walk's second delete of a subfolder it has emptied and removed fails by design.
remoteTop.CascadeDelete "", True
Check "the remote tree deleted", remoteTop.Exists & " " & lib.FolderExists(serverView), "False False"
c.Disconnect
Done
