' Late binding as a hostile script uses it: an argument given to a property that is
' Nothing, arguments no conversion can take, and the collection's default member.
Dim lib, x, scratch
Set lib = CreateObject("VOFSL.FileSystemLib")
scratch = WScript.Arguments(0)
On Error Resume Next

x = lib.GetPathObject("ftp://host").Parent(0)
CheckError "an argument to a Parent that is Nothing", 91, "Path", "Object variable not set"
lib.GetFolderItem(scratch & "\d").CreateFolder
x = lib.GetFolderItem(scratch & "\d\x").Parent.EnumFolder().Folder(0)
CheckError "an argument to an enumerator's Folder that is Nothing", 91, "FolderEnumerator", "Object variable not set"

x = lib.FormatByteDisplay(1, lib)
Check "an object where a number is declared is refused", Err.Number, 13
Err.Clear

Check "Volumes(1) reaches the collection's Item", lib.Volumes(1).VolumeName, lib.Volumes.Item(1).VolumeName
Check "Volumes(letter) too", lib.Volumes("C:\").VolumeName, "C:\"
CheckNoError "the default member of a collection"
Done
