// The error convention and late binding as a JScript client sees them (JScript errors
// carry the number and the description, no source), and Volumes walked with Enumerator.
var lib = new ActiveXObject("VOFSL.FileSystemLib");

checkError("WideCallSupport out of range", function () { lib.WideCallSupport = 3; },
           0x800A0005, "Invalid procedure call or argument");
checkError("FormatByteDisplay of text", function () { lib.FormatByteDisplay("lots"); },
           0x800A000D, "Type mismatch");
checkError("an open method WinInet does not have", function () { lib.FtpConnect("ftp.example.com", undefined, undefined, false, false, 2); },
           0x800A0005, "Invalid procedure call or argument");
check("optional arguments may be left out", lib.FormatByteDisplay(1024), "1 KB");

var vols = lib.Volumes, names = [];
for (var e = new Enumerator(vols); !e.atEnd(); e.moveNext()) names.push(e.item().VolumeName);
check("the Enumerator visits Count volumes, c: first", names.length + names[0], vols.Count + "C:\\");
var c = vols("c");
check("the default member by letter, path and position", vols.Item("c:\\windows") === c && vols(1) === c, true);
check("an unknown key gives null", vols("q"), null);
check("flags are Booleans", typeof c.CasePreservedNames, "boolean");
checkError("BindToVolume of no drive", function () { vols.BindToVolume("Q:\\"); }, 0x80070003, null);
done();
