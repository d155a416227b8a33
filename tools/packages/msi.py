#!/usr/bin/env python3
"""Makes an MSI of an unpacked Windows package with msitools. usage: msi.py STAGE VERSION x64|arm64 OUTPUT

Files are installed in C:\\Program Files\\Orbis. Two scheduled tasks, Orbis\\metrics and Orbis\\health, are created disabled, and are deleted
when the package is removed.
"""

import pathlib
import subprocess
import sys
import tempfile
import uuid
from xml.sax.saxutils import quoteattr

SPACE = uuid.UUID("5b2a0a8e-3f0d-4f0c-9a52-8d1f3c3c6c11")
UPGRADE = "{7E0B3B5C-6D3C-4B0B-9E0F-2C7C1A2D8F10}"
TASKS = ("metrics", "health")
# Types of custom actions: a command line, deferred, as SYSTEM; if a task cannot be created, the installation does not fail.
EXE_IN_DIRECTORY, CONTINUE, DEFERRED, NO_IMPERSONATION = 34, 64, 1024, 2048


def guid(name):
    return "{" + str(uuid.uuid5(SPACE, name)).upper() + "}"


def identifier(kind, path):
    return f"{kind}_{uuid.uuid5(SPACE, str(path)).hex}"


def folder(path, root, architecture, components, indent):
    """The files of a folder, each a component, and the folders in it."""
    pad = "  " * indent
    lines = []
    for entry in sorted(path.iterdir()):
        name = entry.relative_to(root)
        if entry.is_dir():
            lines.append(f"{pad}<Directory Id={quoteattr(identifier('d', name))} Name={quoteattr(entry.name)}>")
            lines += folder(entry, root, architecture, components, indent + 1)
            lines.append(f"{pad}</Directory>")
        else:
            component = identifier("c", name)
            components.append(component)
            lines.append(f"{pad}<Component Id={quoteattr(component)} Guid={quoteattr(guid(f'{architecture}/{name}'))} Win64=\"yes\">")
            lines.append(f"{pad}  <File Id={quoteattr(identifier('f', name))} Name={quoteattr(entry.name)} "
                         f"Source={quoteattr(str(name))} KeyPath=\"yes\"/>")
            lines.append(f"{pad}</Component>")
    return lines


def description(stage, version, architecture):
    components = ["data"]
    files = "\n".join(folder(stage, stage, architecture, components, 5))
    references = "\n".join(f"      <ComponentRef Id={quoteattr(component)}/>" for component in components)
    return f"""<?xml version="1.0" encoding="utf-8"?>
<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">
  <Product Id="{guid(f'{architecture} {version}')}" Name="Orbis storage collector" Language="1033" Version="{version}"
           Manufacturer="Orbis" UpgradeCode="{UPGRADE}">
    <Package InstallerVersion="500" Compressed="yes" InstallScope="perMachine" Description="Storage collector plug-in and orbis-host"
             Manufacturer="Orbis"/>
    <MajorUpgrade DowngradeErrorMessage="A newer version is installed."/>
    <Media Id="1" Cabinet="orbis.cab" EmbedCab="yes"/>
    <Directory Id="TARGETDIR" Name="SourceDir">
      <Directory Id="ProgramFiles64Folder">
        <Directory Id="INSTALLDIR" Name="Orbis">
{files}
        </Directory>
      </Directory>
      <Directory Id="CommonAppDataFolder">
        <Directory Id="DATADIR" Name="Orbis">
          <Component Id="data" Guid="{guid(f'{architecture}/data')}" Win64="yes">
            <CreateFolder/>
          </Component>
        </Directory>
      </Directory>
    </Directory>
    <Feature Id="all" Title="Orbis storage collector" Level="1">
{references}
    </Feature>
  </Product>
</Wix>
"""


def custom_actions():
    """SQL statements for custom actions that run commands of the system folder, for which wixl has no element."""
    kind = EXE_IN_DIRECTORY + CONTINUE + DEFERRED + NO_IMPERSONATION
    program = '"[System64Folder]schtasks.exe"'
    # An upgrade does not change the tasks: an enabled one stays enabled.
    created, removed = "NOT Installed AND NOT WIX_UPGRADE_DETECTED", 'REMOVE="ALL" AND NOT UPGRADINGPRODUCTCODE'
    rows = []
    for number, task in enumerate(TASKS):
        rows += [(f"Create_{task}", f'{program} /Create /F /TN \\Orbis\\{task} /XML "[INSTALLDIR]tasks\\{task}.xml"', created, 4010 + number),
                 (f"Delete_{task}", f"{program} /Delete /F /TN \\Orbis\\{task}", removed, 3480 + number)]
    for action, command, condition, sequence in rows:
        yield f"INSERT INTO `CustomAction` (`Action`, `Type`, `Source`, `Target`) VALUES ('{action}', {kind}, 'INSTALLDIR', '{command}')"
        yield ("INSERT INTO `InstallExecuteSequence` (`Action`, `Condition`, `Sequence`) "
               f"VALUES ('{action}', '{condition}', {sequence})")


def main(stage, version, architecture, output):
    stage = pathlib.Path(stage).resolve()
    output = pathlib.Path(output).resolve()
    with tempfile.TemporaryDirectory() as work:
        source = pathlib.Path(work) / "orbis.wxs"
        source.write_text(description(stage, version, architecture), encoding="utf-8")
        # wixl searches for files below its working directory.
        subprocess.run(["wixl", "--arch", "x64", "--output", output, source], cwd=stage, check=True)
    for statement in custom_actions():
        subprocess.run(["msibuild", output, "-q", statement], check=True)
    if architecture == "arm64":
        # wixl does not support ARM64. Files, tables and conditions are the same; Windows Installer uses the template.
        subprocess.run(["msibuild", output, "-s", "Orbis storage collector", "Orbis", "Arm64;1033", guid(f"package {architecture} {version}")],
                       check=True)


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    main(*sys.argv[1:])
