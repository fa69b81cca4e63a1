// Volumes and Volume from JScript: the Enumerator walk, calls of the default member,
// binding, and the errors a JScript client sees (number and description).
var lib = new ActiveXObject("VOFSL.FileSystemLib");
var vols = lib.Volumes;

var names = [];
for (var e = new Enumerator(vols); !e.atEnd(); e.moveNext()) names.push(e.item().VolumeName);
check("the Enumerator visits Count volumes", names.length, vols.Count);
check("the first drive is c:", names[0], "C:\\");

var c = vols("c");
check("the default member by letter", c.VolumeName, "C:\\");
check("Item by path is the same object", vols.Item("c:\\windows\\system32") === c, true);
check("Item by position", vols(1) === c, true);
check("an unknown key gives null", vols("q"), null);
check("c: is a fixed drive", c.VolumeType, 3);
check("w: has no root", vols("w").IsMounted, false);
check("flags are Booleans", typeof c.CasePreservedNames, "boolean");

var url = vols.BindToVolume("http://example.com/index.html");
check("a URL volume's file system", url.FileSystemName, "http");
checkError("BindToVolume of no drive", function () { vols.BindToVolume("Q:\\"); }, 0x80070003, null, null);
checkError("VolumeType of a URL", function () { return url.VolumeType; },
           0x800A0005, null, "Invalid procedure call or argument");
checkError("a created volume has no data", function () { return new ActiveXObject("VOFSL.Volume").FileSystemName; },
           0x800A0005, null, "Invalid procedure call or argument");
done();
