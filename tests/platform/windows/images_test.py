"""Looks at a PE file as it is shipped: machine, hardening, exports, imports, version, program database, nothing of the build machine."""

import argparse
import re
import struct
import subprocess
import sys
from pathlib import Path

MACHINES = {"x64": "IMAGE_FILE_MACHINE_AMD64", "arm64": "IMAGE_FILE_MACHINE_ARM64"}
CHARACTERISTICS = {
    "IMAGE_DLL_CHARACTERISTICS_DYNAMIC_BASE",
    "IMAGE_DLL_CHARACTERISTICS_HIGH_ENTROPY_VA",
    "IMAGE_DLL_CHARACTERISTICS_NX_COMPAT",
    "IMAGE_DLL_CHARACTERISTICS_GUARD_CF",
}
GUARD_FLAGS = {"CF_FUNCTION_TABLE_PRESENT", "CF_INSTRUMENTED"}
SYSTEM_LIBRARIES = re.compile(r"^(kernel32|ole32|oleaut32|setupapi|advapi32|pdh|api-ms-win-crt-[a-z]+-l1-1-0)\.dll$", re.IGNORECASE)

# The stack guard's value in the file; the program draws its own when it starts.
STACK_GUARD = struct.pack("<Q", 0x00002B992DDFA232)
# The DLLs that an image is linked to are looked for beside the program or the DLL, and in the system's folder.
DEPENDENT_LOAD_FLAGS = {".exe": 0xA00, ".dll": 0x900}

failures = []


def expect(condition, message):
    if not condition:
        failures.append(message)


class Image:
    def __init__(self, readobj, path):
        options = ["--file-headers", "--sections", "--coff-imports", "--coff-exports", "--coff-load-config",
                   "--coff-debug-directory"]
        self.dump = subprocess.run([readobj, *options, path], check=True, capture_output=True, text=True).stdout
        self.bytes = Path(path).read_bytes()

    def one(self, pattern):
        found = re.search(pattern, self.dump, re.MULTILINE)
        return found.group(1) if found else ""

    def blocks(self, name):
        return re.findall(rf"^{name} {{\n(.*?)^}}", self.dump, re.MULTILINE | re.DOTALL)

    def dependent_load_flags(self):
        return int(self.one(r"DependentLoadFlags: (0x[0-9A-F]+)") or "0", 16)

    def exports(self):
        return {re.search(r"Name: (\S*)", block).group(1) for block in self.blocks("Export")}

    def imports(self):
        return {re.search(r"Name: (\S+)", block).group(1) for block in self.blocks("Import")}

    def sections(self):
        for block in re.findall(r"^  Section {\n(.*?)^  }", self.dump, re.MULTILINE | re.DOTALL):
            yield re.search(r"Name: (\S+)", block).group(1), set(re.findall(r"IMAGE_SCN_MEM_\w+", block))


def database_fits(image, arguments):
    """The image names its program database without a folder, by an identity that differs between builds; the database knows a function."""
    database = Path(arguments.image).with_suffix(".pdb")
    expect(image.one(r"PDBFileName: (.*)") == database.name, "program database: " + image.one(r"PDBFileName: (.*)"))
    stamp = int(re.search(r"^  TimeDateStamp: .*\((0x[0-9A-F]+)\)", image.dump, re.MULTILINE).group(1), 16)
    expect(stamp != 0, "the time stamp is zero, not a hash of the content")
    summary = subprocess.run([arguments.pdbutil, "dump", "--summary", "--globals", "--global-name=" + arguments.function, database],
                             check=True, capture_output=True, text=True).stdout
    identity = re.search(r"GUID: (\{[0-9A-Fa-f-]+\})", summary).group(1).upper()
    expect(identity == image.one(r"PDBGUID: (\{.*\})").upper(), f"the program database is another build's: {identity}")
    expect(re.search(rf"S_PROCREF .*`{arguments.function}`", summary), f"the program database knows no {arguments.function}")


def declared_by(headers, mark):
    """Names of the functions that carry the mark; a static member's with its class in front."""
    found = set()
    for header in headers:
        owner = ""
        for line in Path(header).read_text(encoding="utf-8").splitlines():
            if opened := re.match(r"class (\w+)", line):
                owner = opened.group(1) + "::"
            if line.startswith("#"):
                continue
            if function := re.match(rf"(\s*).*\b{mark} .*?(\w+)\(", line):
                found.add((owner if function.group(1) else "") + function.group(2))
    return found


def readable(mangled, cxxfilt, namespace):
    """C++ exports without the project's namespace and arguments: orbis::platform::Wmi::Current() is Wmi::Current."""
    names = subprocess.run([cxxfilt], input="\n".join(sorted(mangled)), check=True, capture_output=True, text=True).stdout
    return {re.sub(r"(\[abi:\w+\])?\(.*", "", name).removeprefix(namespace) for name in names.splitlines() if name}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("image")
    parser.add_argument("--readobj", required=True)
    parser.add_argument("--cxxfilt", help="the exports are C++ names: compare the functions' own names")
    parser.add_argument("--namespace", default="", help="what those names begin with")
    parser.add_argument("--architecture", required=True, choices=MACHINES)
    parser.add_argument("--version", required=True)
    parser.add_argument("--imports", nargs="*", default=[], help="libraries of the project that it may import")
    parser.add_argument("--headers", nargs="*", default=[], help="where its exports are declared")
    parser.add_argument("--mark", help="the macro that marks what is exported")
    parser.add_argument("--pdbutil", required=True)
    parser.add_argument("--function", required=True, help="a function that the program database must know")
    parser.add_argument("--foreign", nargs="*", default=[], help="texts of the build machine that must not be in the file")
    arguments = parser.parse_args()
    image = Image(arguments.readobj, arguments.image)

    expect(image.one(r"^  Machine: (\w+)") == MACHINES[arguments.architecture], "machine: " + image.one(r"^  Machine: (.*)"))
    missing = CHARACTERISTICS - set(re.findall(r"IMAGE_DLL_CHARACTERISTICS_\w+", image.dump))
    expect(not missing, f"missing DLL characteristics: {sorted(missing)}")
    missing = GUARD_FLAGS - set(re.findall(r"\bCF_\w+", image.dump))
    expect(not missing, f"missing guard flags: {sorted(missing)}")
    flags = DEPENDENT_LOAD_FLAGS[Path(arguments.image).suffix]
    expect(image.dependent_load_flags() == flags, f"dependent load flags: 0x{image.dependent_load_flags():X}, not 0x{flags:X}")
    expect(STACK_GUARD in image.bytes, "no stack guard")
    expect(int(image.one(r"GuardCFFunctionCount: (\d+)") or 0) > 0, "the table of guarded functions is empty")

    sections = list(image.sections())
    expect(any("IMAGE_SCN_MEM_EXECUTE" in flags for _, flags in sections), "no executable section was found")
    for name, flags in sections:
        expect(not {"IMAGE_SCN_MEM_WRITE", "IMAGE_SCN_MEM_EXECUTE"} <= flags, f"section {name} is writable and executable")

    imports = image.imports()
    expect("KERNEL32.dll" in imports, "no import of KERNEL32.dll was found")
    for name in sorted(imports):
        expect(SYSTEM_LIBRARIES.match(name) or name in arguments.imports, f"imports {name}")

    declared = declared_by(arguments.headers, arguments.mark)
    exported = image.exports()
    if arguments.cxxfilt:
        exported = readable(exported, arguments.cxxfilt, arguments.namespace)
    expect(bool(declared) == bool(arguments.headers), "the headers declare no export")
    expect(not declared - exported, f"declared, not exported: {sorted(declared - exported)}")
    expect(not exported - declared, f"exported, not declared: {sorted(exported - declared)}")

    for name, value in {"FileVersion": arguments.version, "OriginalFilename": Path(arguments.image).name, "CompanyName": "",
                        "LegalCopyright": "", "ProductName": ""}.items():
        at = image.bytes.find(f"{name}\0".encode("utf-16-le"))
        found = image.bytes[at + 2 * len(name) + 2:at + 200].decode("utf-16-le", "replace").lstrip("\0").partition("\0")[0]
        expect(at >= 0 and (found == value if value else found), f"{name} in the version resource: {found!r}")
    if Path(arguments.image).suffix == ".exe":
        for text in ("asInvoker", "longPathAware", "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"):
            expect(text.encode() in image.bytes, "no manifest with " + text)
        expect(b"<activeCodePage" not in image.bytes, "the manifest changes the code page that drives' texts are decoded with")
    database_fits(image, arguments)
    for text in arguments.foreign:
        expect(text.encode() not in image.bytes, f"contains {text}")

    for failure in failures:
        print(f"{Path(arguments.image).name}: {failure}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
