#!/usr/bin/python3
"""Writes the release packages' sources from the registration plan of a DLL (the lines
vofslib_registration_plan.exe prints: "shared" or "own", key, name, data, tab-separated),
so that installers and side-by-side manifests register exactly what DllRegisterServer does.

    package.py version DLL                        the product version of a DLL's version record
    package.py wxs ARCH PLAN VERSION              the Windows Installer source (for wixl, run in
                                                  the folder that holds the DLL)
    package.py manifest ARCH PLAN VERSION         the side-by-side assembly manifest
    package.py ship ARCH DLL OUT                  the DLL as shipped: without its debug
                                                  information, keeping its link time, so the
                                                  same build always ships the same bytes

ARCH is x86 or x64. The installer writes every value of the plan through its own registry
table under HKLM\\Software\\Classes (no self-registration, no custom action). The values
both architectures share (ProgIDs, the type library's version key) form one component
whose code both packages carry, so Windows Installer counts its two clients and removes
it with the last one; each package's own values go with its DLL.
"""
import os
import re
import struct
import subprocess
import sys
from xml.sax.saxutils import quoteattr

PRODUCT = "VOSTREL FileSystem Library"
MANUFACTURER = "VOSTREL"
ASSEMBLY = "VOSTREL.vofslib"
# Fixed for ever: a package's upgrade code and component codes identify it across releases.
UPGRADE_CODES = {"x86": "9BA55E13-7AF5-448F-AE95-3DC84D0B30AD", "x64": "B9C893F5-9257-4B08-9881-24C4679C954C"}
LIBRARY_COMPONENTS = {"x86": "BC7533F2-917C-4109-BB82-52DDAACD446E", "x64": "8041F03F-F694-4E64-A688-03AA09BF4531"}
SHARED_COMPONENT = "EA448622-88A7-4C22-A4FC-381A5FE12300"
MODULE = "[#vofslib.dll]"


def product_version(dll):
    """The version record's ProductVersion text ("1.12.0004") as an installer version (1.12.4)."""
    data = open(dll, "rb").read()
    key = "ProductVersion".encode("utf-16-le") + b"\0\0"
    at = data.find(key)
    if at < 0:
        sys.exit("%s has no ProductVersion in its version record" % dll)
    at += len(key)
    at += (4 - at % 4) % 4  # the value starts on a 32-bit boundary
    end = at
    while data[end:end + 2] != b"\0\0":
        end += 2
    text = data[at:end].decode("utf-16-le")
    return ".".join(str(int(part)) for part in text.split("."))


def read_plan(path):
    rows = []
    for line in open(path, encoding="utf-8"):
        line = line.rstrip("\r\n")
        if line:
            scope, key, name, data = line.split("\t")
            rows.append((scope == "shared", key, name, data))
    return rows


def registry_values(rows, shared):
    lines = []
    for is_shared, key, name, data in rows:
        if is_shared != shared:
            continue
        key_path = ' KeyPath="yes"' if shared and not lines else ""
        name_attribute = " Name=%s" % quoteattr(name) if name else ""
        lines.append('            <RegistryValue Root="HKLM" Key=%s%s Value=%s Type="string"%s/>'
                     % (quoteattr("Software\\Classes\\" + key), name_attribute, quoteattr(data), key_path))
    return "\n".join(lines)


def wxs(arch, rows, version):
    win64 = "yes" if arch == "x64" else "no"
    program_files = "ProgramFiles64Folder" if arch == "x64" else "ProgramFilesFolder"
    return """<?xml version="1.0" encoding="utf-8"?>
<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">
  <Product Id="*" Name="{product} ({arch})" Language="1033" Version="{version}" Manufacturer="{manufacturer}"
           UpgradeCode="{upgrade}">
    <Package InstallerVersion="200" Compressed="yes" InstallScope="perMachine"
             Description="{product} {version} ({arch})" Manufacturer="{manufacturer}"/>
    <MajorUpgrade DowngradeErrorMessage="A newer version of {product} ({arch}) is already installed."/>
    <Media Id="1" Cabinet="vofslib.cab" EmbedCab="yes"/>
    <Directory Id="TARGETDIR" Name="SourceDir">
      <Directory Id="{program_files}">
        <Directory Id="INSTALLDIR" Name="{manufacturer}">
          <Component Id="Library" Guid="{library}" Win64="{win64}">
            <File Id="vofslib.dll" Name="vofslib.dll" Source="vofslib.dll" KeyPath="yes"/>
{own}
            <RemoveFolder Id="RemoveInstallDir" On="uninstall"/>
          </Component>
          <Component Id="Shared" Guid="{shared_component}" Win64="{win64}">
{shared}
          </Component>
        </Directory>
      </Directory>
    </Directory>
    <Feature Id="Library" Level="1">
      <ComponentRef Id="Library"/>
      <ComponentRef Id="Shared"/>
    </Feature>
  </Product>
</Wix>
""".format(product=PRODUCT, manufacturer=MANUFACTURER, arch=arch, version=version, upgrade=UPGRADE_CODES[arch],
           program_files=program_files, library=LIBRARY_COMPONENTS[arch], win64=win64,
           own=registry_values(rows, False), shared_component=SHARED_COMPONENT, shared=registry_values(rows, True))


def manifest(arch, rows, version):
    """The assembly an application names in its manifest to use the DLL unregistered."""
    values = {(key.lower(), name): data for _, key, name, data in rows}
    library_key = next(key for _, key, _, _ in rows if re.fullmatch(r"TypeLib\\\{[^}]+\}\\[0-9a-f]+\.[0-9a-f]+", key, re.I))
    library_id, hex_version = library_key.split("\\")[1:3]
    major, minor = (int(part, 16) for part in hex_version.split("."))
    classes, interfaces = [], []
    for _, key, name, data in rows:
        if re.fullmatch(r"CLSID\\\{[^}]+\}", key, re.I) and not name:
            progid = values[(key.lower() + "\\progid", "")]
            model = values[(key.lower() + "\\inprocserver32", "ThreadingModel")]
            classes.append('    <comClass clsid="%s" progid="%s" threadingModel="%s" tlbid="%s" description=%s/>'
                           % (key[6:], progid, model, library_id, quoteattr(data)))
        elif re.fullmatch(r"Interface\\\{[^}]+\}", key, re.I) and not name:
            stub = values[(key.lower() + "\\proxystubclsid32", "")]
            interfaces.append('  <comInterfaceExternalProxyStub name="%s" iid="%s" proxyStubClsid32="%s" tlbid="%s"/>'
                              % (data, key[10:], stub, library_id))
    return """<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">
  <assemblyIdentity type="win32" name="{assembly}" version="{version}.0" processorArchitecture="{processor}"/>
  <file name="vofslib.dll">
{classes}
    <typelib tlbid="{library}" version="{major}.{minor}" helpdir="" flags=""/>
  </file>
{interfaces}
</assembly>
""".format(assembly=ASSEMBLY, version=version, processor="amd64" if arch == "x64" else "x86",
           classes="\n".join(classes), library=library_id, major=major, minor=minor, interfaces="\n".join(interfaces))


def ship(arch, dll, out):
    header = open(dll, "rb").read(4096)
    pe = struct.unpack_from("<I", header, 0x3C)[0]
    linked = struct.unpack_from("<I", header, pe + 8)[0]  # the file header's TimeDateStamp
    tool = {"x86": "i686", "x64": "x86_64"}[arch] + "-w64-mingw32-strip"
    subprocess.run([tool, "--strip-debug", "-o", out, dll], env=dict(os.environ, SOURCE_DATE_EPOCH=str(linked)), check=True)


def main(argv):
    if len(argv) == 3 and argv[1] == "version":
        print(product_version(argv[2]))
    elif len(argv) == 5 and argv[1] == "wxs":
        sys.stdout.write(wxs(argv[2], read_plan(argv[3]), argv[4]))
    elif len(argv) == 5 and argv[1] == "manifest":
        sys.stdout.write(manifest(argv[2], read_plan(argv[3]), argv[4]))
    elif len(argv) == 5 and argv[1] == "ship":
        ship(argv[2], argv[3], argv[4])
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main(sys.argv)
