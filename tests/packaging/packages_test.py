#!/usr/bin/python3
"""The release (dist/) as administrators and developers use it, for one architecture, in a
fresh prefix: the client beside the zip's DLL and manifest runs unregistered; the MSI
installs silently, registers exactly what regsvr32 does, its classes work, and removal
leaves no file or key; a higher version upgrades it; with --both (where both architectures
run) either package, or regsvr32 /u of one DLL, leaves the other's registration whole.
    packages_test.py ARCH ROOT WORK [--both]
"""
import atexit
import os
import re
import shutil
import subprocess
import sys
import zipfile

arch, root, work = sys.argv[1:4]
LOADERS = {"x86": "/usr/lib/wine/wine", "x64": "/usr/lib/wine/wine64"}
FOLDERS = {"x86": "Program Files (x86)", "x64": "Program Files"}
PRODUCT = "VOSTREL FileSystem Library"
env = dict(os.environ, WINEPREFIX=os.path.join(work, "prefix"), WINEDEBUG="-all", WINEDLLOVERRIDES="mscoree,mshtml=")
failures = []


def wine(*args, loader="x64", cwd=None):
    run_env = dict(env, WINELOADER=LOADERS[loader])
    done = subprocess.run([LOADERS[loader], *args], env=run_env, cwd=cwd, capture_output=True, text=True,
                          stdin=subprocess.DEVNULL)
    return done.returncode, done.stdout.replace("\r", "")


def check(what, actual, expected):
    print(("ok    " if actual == expected else "FAIL  ") + what)
    if actual != expected:
        failures.append(what)
        print("      got %.600r, expected %.200r" % (actual, expected))


def export(key):  # each subkey's section, with its value lines
    path = os.path.join(work, "export.reg")
    wine("regedit", "/E", path, key)
    sections, current = {}, None
    for line in open(path, encoding="utf-16").read().splitlines():
        if line.startswith("["):
            current = sections.setdefault(line, set())
        elif line.strip() and current is not None:
            current.add(line)
    return sections


def classes():  # the machine's classes (names without case), the installer's own records aside
    return {key.lower(): lines for key, lines in export(r"HKEY_LOCAL_MACHINE\Software\Classes").items()
            if "\\installer" not in key.lower()}


def differences(one, other):
    return sorted(key for key in one.keys() | other.keys() if one.get(key) != other.get(key))


def install(package, remove=False):
    # With the installer of the package's architecture: Wine's 64-bit one would write a
    # 32-bit package's values of keys Windows shares into the 32-bit view's own copy.
    return wine("msiexec", "/x" if remove else "/i", package, "/qn", loader="x86" if "x86" in package else "x64")[0]


def created(which):
    script = os.path.join(work, "classes.vbs")
    with open(script, "w") as out:
        out.write('On Error Resume Next\nFor Each n In Array("FileSystemLib", "Volumes", "Volume", "FtpFileStream")\n'
                  '  Set o = CreateObject("VOFSL." & n)\n  If Err.Number = 0 Then WScript.Echo "made " & n\n'
                  '  Err.Clear\nNext\nWScript.Echo "path " & CreateObject("VOFSL.FileSystemLib").NormalizePath("C:\\a")\n')
    return wine("cscript", "//nologo", "classes.vbs", loader=which, cwd=work)[1]


def installed_versions(which):
    view = "\\Wow6432Node" if which == "x86" else ""
    products = export(r"HKEY_LOCAL_MACHINE\Software%s\Microsoft\Windows\CurrentVersion\Uninstall" % view).values()
    return [re.search(r'"DisplayVersion"="([^"]*)"', "\n".join(lines)).group(1)
            for lines in products if '"DisplayName"="%s (%s)"' % (PRODUCT, which) in lines]


shutil.rmtree(work, ignore_errors=True)
os.makedirs(env["WINEPREFIX"])
# One server for the whole test, stopped however the test ends; neither it nor the
# services of the first boot hold an output of ours open (ctest would wait for it).
subprocess.run(["wineserver", "-p"], env=env, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
atexit.register(subprocess.run, ["wineserver", "-k"], env=dict(env, WINELOADER=LOADERS["x64"]), capture_output=True)
subprocess.run([LOADERS["x64"], "wineboot", "-i"], env=dict(env, WINELOADER=LOADERS["x64"]),
               stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
dist = os.path.join(root, "dist")
msi = os.path.join(dist, "vofslib-%s.msi" % arch)
expected_classes = "made FileSystemLib\nmade Volumes\nmade Volume\nmade FtpFileStream\npath C:\\a\\\n"

# Without registration, in the prefix where nothing was ever registered.
regfree = os.path.join(work, "regfree")
zipfile.ZipFile(next(os.path.join(dist, name) for name in os.listdir(dist) if name.endswith(".zip"))).extractall(regfree)
built = os.path.join(root, "build", arch, "bin", "vofslib.dll")
shipped = os.path.join(regfree, arch, "vofslib.dll")
stripped = os.path.join(work, "stripped.dll")
subprocess.run([os.path.join(root, "packaging", "package.py"), "ship", arch, built, stripped], check=True)
if open(shipped, "rb").read() != open(stripped, "rb").read():
    sys.exit("dist/ does not hold this build's DLL: run tools/release.sh")
check("the shipped DLL carries no debug information", os.path.getsize(shipped) < 4 << 20, True)
shutil.copy(os.path.join(root, "build", arch, "bin", "vofslib_regfree_client.exe"), os.path.join(regfree, arch))
client = wine("vofslib_regfree_client.exe", loader=arch, cwd=os.path.join(regfree, arch))[1]
check("the client runs unregistered", client.splitlines()[-1:], ["REGFREE PASSED"])

# Wine registers type libraries of its own when a script host and the installer first run.
install(msi), created(arch), created("x64"), install(msi, remove=True)
before = classes()
check("the package installs silently", install(msi), 0)
dll = os.path.join(env["WINEPREFIX"], "drive_c", FOLDERS[arch], "VOSTREL", "vofslib.dll")
check("into Program Files", os.path.isfile(dll), True)
alone = classes()
check("its classes are created", created(arch), expected_classes)
check("its removal", install(msi, remove=True), 0)
check("leaves no key", differences(classes(), before), [])
check("and no folder", os.path.exists(os.path.dirname(dll)), False)

# What regsvr32 writes for the same DLL in the same place is what the package wrote.
os.makedirs(os.path.dirname(dll))
shutil.copy(shipped, dll)
wine("regsvr32", "/s", dll, loader=arch)
check("the package registers what regsvr32 does", differences(classes(), alone), [])
wine("regsvr32", "/u", "/s", dll, loader=arch)
shutil.rmtree(os.path.dirname(dll))

# A higher version replaces the installed one.
version = subprocess.check_output([os.path.join(root, "packaging", "package.py"), "version", built], text=True).split(".")
upgrade = os.path.join(work, "upgrade")
os.makedirs(upgrade)
shutil.copy(shipped, upgrade)
higher = "%s.%s.%d" % (version[0], version[1], int(version[2]) + 1)
with open(os.path.join(upgrade, "vofslib.wxs"), "w") as out:
    subprocess.run([os.path.join(root, "packaging", "package.py"), "wxs", arch,
                    os.path.join(root, "build", "release", arch + ".plan"), higher], stdout=out, check=True)
subprocess.run(["wixl", "-a", arch, "-o", "next.msi", "vofslib.wxs"], cwd=upgrade, check=True, capture_output=True)
install(msi)
check("a higher version installs over it", install(os.path.join(upgrade, "next.msi")), 0)
check("one registration remains", differences(classes(), alone), [])
check("of the higher version", installed_versions(arch), [higher])
install(os.path.join(upgrade, "next.msi"), remove=True)
check("whose removal leaves nothing", differences(classes(), before), [])

package = lambda which: os.path.join(dist, "vofslib-%s.msi" % which)
if "--both" in sys.argv:
    other = {"x86": "x64", "x64": "x86"}[arch]
    other_msi = package(other)
    install(other_msi)
    other_alone = classes()
    install(other_msi, remove=True)
    for removed, kept, kept_alone in ((arch, other, other_alone), (other, arch, alone)):
        install(package(kept)), install(package(removed)), install(package(removed), remove=True)
        check("side by side, removing %s leaves %s whole" % (removed, kept), differences(classes(), kept_alone), [])
        check("and working", created(kept), expected_classes)
        install(package(kept), remove=True)
    install(other_msi)
    wine("regsvr32", "/s", built, loader=arch)
    wine("regsvr32", "/u", "/s", built, loader=arch)
    check("unregistering %s beside %s leaves %s whole" % (arch, other, other), differences(classes(), other_alone), [])
    install(other_msi, remove=True)
    check("both removed leave nothing", differences(classes(), before), [])

print("%d failed" % len(failures) if failures else "PACKAGES PASSED")
sys.exit(1 if failures else 0)
