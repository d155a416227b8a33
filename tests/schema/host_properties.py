"""Generates C# from the schema and compares every property with host_properties.txt, both ways.

Reads the generated source, so it needs protoc and nothing of .NET.
"""

import argparse
import pathlib
import re
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
CLASS = re.compile(r"public sealed partial class (\w+)")
ENUM = re.compile(r"public enum (\w+)")
ENUM_VALUE = re.compile(r"\[pbr::OriginalName\(.*\)\] \w+ = (-?\d+),")
PROPERTY = re.compile(r"public ([\w:.<>?]+) (\w+) \{")
# Aliases and namespaces that the generator writes before a type's own name.
QUALIFIER = re.compile(r"global::[\w.]+\.|pbc?::")
PRESENCE_NEEDED = {"string", "ByteString", "DiskType"}


def expected(path):
    result, owner, type = {}, None, None
    for line in path.read_text(encoding="utf-8").splitlines():
        words = line.split()
        if not words or line.startswith("#"):
            continue
        if words[0] in ("message", "enum"):
            owner, type = result.setdefault(words[1], {}), "value"
            continue
        if words[0].endswith(":"):
            type = words.pop(0)[:-1]
        for name in words:
            owner[name] = type
            if type in PRESENCE_NEEDED:
                owner["Has" + name] = "bool"
    return result


def generated(sources):
    result, owner = {}, None
    for source in sources:
        for line in source.read_text(encoding="utf-8").splitlines():
            if match := CLASS.search(line) or ENUM.search(line):
                owner = result.setdefault(match[1], {})
            elif match := ENUM_VALUE.search(line):
                owner[match[1]] = "value"
            elif (match := PROPERTY.search(line)) and owner is not None:
                owner[match[2]] = QUALIFIER.sub("", match[1])
    return result


def differences(want, have):
    for owner in sorted(want.keys() | have.keys()):
        if owner not in have:
            yield f"{owner}: hosts rely on it, the schema does not have it"
        elif owner not in want:
            yield f"{owner}: the schema has it, hosts know nothing of it"
        else:
            for name in sorted(want[owner].keys() | have[owner].keys()):
                wanted, found = want[owner].get(name, "nothing"), have[owner].get(name, "nothing")
                if wanted != found:
                    yield f"{owner}.{name}: hosts expect {wanted}, the schema generates {found}"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--protoc", default="protoc")
    parser.add_argument("--schema", type=pathlib.Path, required=True, help="the folder that orbis/datatypes stands in")
    parser.add_argument("--output", type=pathlib.Path, required=True, help="an own folder for the generated files")
    arguments = parser.parse_args()

    output = arguments.output.resolve()
    output.mkdir(parents=True, exist_ok=True)
    for stale in output.glob("*.cs"):
        stale.unlink()
    files = [path.relative_to(arguments.schema).as_posix() for path in sorted(arguments.schema.glob("orbis/datatypes/*.proto"))]
    subprocess.run([arguments.protoc, "-I", ".", f"--csharp_out={output}", *files], cwd=arguments.schema, check=True)

    sources = sorted(output.glob("*.cs"))
    for source in sources:
        if "namespace Veyra.Orbis.Datatypes {" not in source.read_text(encoding="utf-8"):
            sys.exit(f"{source.name} is not in the namespace Veyra.Orbis.Datatypes; set csharp_namespace in its .proto file.")
    want, have = expected(HERE / "host_properties.txt"), generated(sources)
    found = list(differences(want, have))
    for text in found:
        print(text, file=sys.stderr)
    if found:
        print("Change the .proto file, or, when hosts have changed too, host_properties.txt.", file=sys.stderr)
    print(f"{len(have)} types, {sum(len(properties) for properties in have.values())} properties and values compared, {len(found)} differ")
    return 1 if found or not have else 0


if __name__ == "__main__":
    sys.exit(main())
