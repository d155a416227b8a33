"""Lays out the library's interfaces under both C++ ABIs and compares every slot with the order of the header.

Clang prints the layout of virtual tables for any target. No library or SDK of the target is needed, because the header uses only a few
names of the standard library; they are declared below.
"""

import argparse
import pathlib
import re
import subprocess
import sys
import tempfile

TARGETS = ("x86_64-linux-gnu", "x86_64-w64-windows-gnu", "x86_64-pc-windows-msvc", "aarch64-pc-windows-msvc")
# The interface whose accessors begin at slot 0; slot 0 of every other one destroys the object.
BARE = "ICustomizedControllerData"
STANDARD = """#pragma once
namespace std {
using uint8_t = unsigned char;
using uint16_t = unsigned short;
using uint32_t = unsigned int;
using uint64_t = unsigned long long;
using int32_t = int;
using size_t = decltype(sizeof 0);
struct string_view {
    string_view();
    string_view(const char*, size_t);
};
struct string {
    string();
    explicit string(string_view);
    bool empty() const;
    string& operator+=(char);
};
}
"""


def declared(include):
    """The accessors of every interface in the header's order, by the interface's name."""
    interfaces = {}
    for header in sorted((include / "sondix").glob("I*.h")):
        text = re.sub(r"//.*", "", header.read_text(encoding="utf-8"))
        for name, body in re.findall(r"^class ([\w:]+)(?: : public IObject)? \{(.*?)^\};", text, re.MULTILINE | re.DOTALL):
            interfaces[name] = re.findall(r"(\w+)\([^()]*\) const\s*=\s*0;", body)
    return interfaces


def laid_out(clang, target, include, interfaces):
    """The same, from the compiler: slot numbers with the accessor in each."""
    probe = "#include \"sondix/sondix.h\"\nusing namespace veyra::sondix::nvme;\n"
    for number, (name, accessors) in enumerate(interfaces.items()):
        # A call through the table makes the compiler lay it out.
        argument = "0" if accessors and accessors[0] == "PSD" else ""
        call = f"{accessors[0]}({argument})" if accessors else "Destroy()"
        probe += f"void probe{number}({name}& object) {{ object.{call}; }}\n"
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        (root / "cstdint").write_text(STANDARD, encoding="utf-8")
        for name in ("cstddef", "string", "string_view"):
            (root / name).write_text("#pragma once\n#include <cstdint>\n", encoding="utf-8")
        (root / "probe.cpp").write_text(probe, encoding="utf-8")
        command = [clang, f"--target={target}", "-std=c++20", "-nostdinc", f"-I{root}", f"-I{include}", "-Xclang",
                   "-fdump-vtable-layouts", "-S", "-emit-llvm", "-o", str(root / "probe.ll"), str(root / "probe.cpp")]
        output = subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True).stdout
    tables = {}
    section = re.compile(r"^VF?Table indices for '(?:\w+::)*?(I\w+(?:::I\w+)?)' .*?\n(.*?)\n\n", re.MULTILINE | re.DOTALL)
    for title, body in section.findall(output + "\n\n"):
        tables[title] = {int(slot): name for slot, name in re.findall(r"^ *(\d+) \| .*?(\w+)\([^()]*\)", body, re.MULTILINE)}
    return tables


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--clang", default="clang++")
    parser.add_argument("--include", type=pathlib.Path, default=pathlib.Path(__file__).parents[1] / "device-query" / "include")
    arguments = parser.parse_args()

    interfaces = declared(arguments.include)
    faults = [] if len(interfaces) == 33 else [f"{len(interfaces)} interfaces found in the header, not 33"]
    slots = 0
    for target in TARGETS:
        tables = laid_out(arguments.clang, target, arguments.include, interfaces)
        if tables.get("IObject") not in (None, {0: "Destroy"}):
            faults.append(f"{target}: IObject has {tables['IObject']}")
        for name, accessors in interfaces.items():
            first = 0 if name == BARE else 1
            wanted = dict(enumerate(accessors, first))
            slots += len(wanted)
            if tables.get(name, {}) != wanted:
                faults.append(f"{target}: {name} has {tables.get(name)}, the header has {wanted}")
    print("\n".join(faults) or f"{slots} slots of {len(interfaces)} interfaces on {len(TARGETS)} targets as in the header")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
