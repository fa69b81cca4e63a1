// The same library from JScript: late binding, optional arguments and errors.
var lib = new ActiveXObject("VOFSL.FileSystemLib");

var path = lib.GetPathObject("\\\\server\\share\\reports\\2026\\q3.xlsx");
WScript.Echo("Share path:          " + path.FullPath);
WScript.Echo("  root:              " + path.RootPath);
WScript.Echo("  relative:          " + path.RelativePath);
WScript.Echo("  platform form:     " + path.GetPlatformPath());
WScript.Echo("Name from a text:    " + lib.NameFromPath("C:\\dir\\file.txt"));
WScript.Echo("Parent of a text:    " + lib.ParentFromPath("C:\\dir\\file.txt"));
WScript.Echo("1 GB shows as:       " + lib.FormatByteDisplay(1073741824));

try {
    lib.WideCallSupport = 5;
} catch (e) {
    WScript.Echo("WideCallSupport = 5 raises 0x" + (e.number >>> 0).toString(16) + ": " + e.description);
}
