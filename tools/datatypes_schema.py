"""The schema of the datatypes as its descriptors, for the tools beside this file."""

import pathlib
import subprocess
import sys
import tempfile

try:
    from google.protobuf import descriptor_pb2
except ModuleNotFoundError:
    sys.exit("This tool needs protobuf for Python: apt install python3-protobuf, then run it with that python3.")

PACKAGE = "veyra.orbis.datatypes"
# The parts of the schema that programs read, each with a lock file beside it: folder, files, package.
DATATYPES = ("host-sdk/proto", "orbis/datatypes/*", PACKAGE)
DOCUMENTS = ("host/proto", "orbis/host/*", "orbis.host")
# Explanation, findings, health and report; programs do not read the other files of that folder.
INSIGHT = ("insight/proto", "orbis/insight/[efhr]*", "orbis.insight")
REPOSITORY = pathlib.Path(__file__).resolve().parent.parent

_Field = descriptor_pb2.FieldDescriptorProto
_SCALARS = {number: name[len("TYPE_"):].lower() for name, number in _Field.Type.items()}


def add_arguments(parser):
    parser.add_argument("--protoc", default="protoc", help="the protocol-buffer compiler (default: the one on PATH)")
    parser.add_argument("--root", type=pathlib.Path, default=REPOSITORY, help="the tree to work on (default: this one)")


def proto_root(root):
    return root / "host-sdk" / "proto"


def load(protoc, root, part=DATATYPES):
    """Compiles a part of the schema and returns its files as FileDescriptorProtos, comments included, ordered by name."""
    folder = root / part[0]
    files = sorted(path.relative_to(folder).as_posix() for path in folder.glob(f"{part[1]}.proto"))
    if not files:
        sys.exit(f"there is no {folder}/{part[1]}.proto; --root must name the top of the source tree.")
    with tempfile.TemporaryDirectory() as scratch:
        output = pathlib.Path(scratch, "datatypes.desc").resolve()
        command = [protoc, "-I", ".", "--include_source_info", f"--descriptor_set_out={output}", *files]
        if subprocess.run(command, cwd=folder).returncode != 0:
            sys.exit(f"{protoc} refused the schema; see its message above.")
        return list(descriptor_pb2.FileDescriptorSet.FromString(output.read_bytes()).file)


def short_name(full_name):
    """A type's name without the schema's own packages: .veyra.orbis.datatypes.DiskType is DiskType."""
    for _, _, package in (DATATYPES, DOCUMENTS, INSIGHT):
        full_name = full_name.lstrip(".").removeprefix(package + ".")
    return full_name


def type_name(field):
    return short_name(field.type_name) if field.type_name else _SCALARS[field.type]


def is_repeated(field):
    return field.label == _Field.LABEL_REPEATED


def has_presence(field):
    """Whether an absent value differs from a zero one."""
    return not is_repeated(field) and (field.proto3_optional or field.type == _Field.TYPE_MESSAGE or field.HasField("oneof_index"))
