// The error convention as a JScript client sees it (JScript errors carry the number
// and the description; they have no source).
var lib = new ActiveXObject("VOFSL.FileSystemLib");

checkError("WideCallSupport out of range", function () { lib.WideCallSupport = 3; },
           0x800A0005, null, "Invalid procedure call or argument");
checkError("FileExists of nothing", function () { lib.FileExists(""); },
           0x800A0005, null, "Invalid procedure call or argument");
checkError("FormatByteDisplay of text", function () { lib.FormatByteDisplay("lots"); },
           0x800A000D, null, "Type mismatch");
checkError("a member of a later class", function () { lib.OpenBackupStreamReader("C:\\x.txt"); },
           0x80004001, null, "OpenBackupStreamReader is not available in this version of the library.");

check("optional arguments may be left out", lib.FormatByteDisplay(1024), "1 KB");
check("FileExists with Strict", lib.FileExists("C:\\windows", true), false);
check("FileExists without Strict", lib.FileExists("C:\\windows"), true);
check("NameFromPath", lib.NameFromPath("C:\\a\\b.txt"), "b.txt");
check("WideCallSupport", lib.WideCallSupport, 0);
done();
