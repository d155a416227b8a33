"""The fields of a datatype, taken from the compiled schema, so that a new field cannot be forgotten."""

import base64
import re
import subprocess
import tempfile
from pathlib import Path

from google.protobuf import descriptor_pb2

ABSENT = "absent"

_FROM_JSON = {
    "DOUBLE": float, "FLOAT": float, "BOOL": bool, "STRING": str, "BYTES": base64.b64decode,
    "INT32": int, "INT64": int, "UINT32": int, "UINT64": int, "ENUM": str,
}
# The wrappers of optional values (google.protobuf.UInt32Value and its like) are printed as the value they hold.
_WRAPPERS = {f".google.protobuf.{name}Value": name.upper() for name in
             ("Double", "Float", "Int64", "UInt64", "Int32", "UInt32", "Bool", "String", "Bytes")}


class Schema:
    def __init__(self, folder):
        """Compiles every .proto file under FOLDER (their imports are named from there)."""
        folder = Path(folder)
        names = sorted(str(path.relative_to(folder)) for path in folder.rglob("*.proto"))
        with tempfile.NamedTemporaryFile() as compiled:
            subprocess.run(["protoc", f"--proto_path={folder}", "--include_imports",
                            f"--descriptor_set_out={compiled.name}", *names], check=True)
            files = descriptor_pb2.FileDescriptorSet.FromString(compiled.read()).file
        self._messages = {f".{file.package}.{message.name}": message
                          for file in files for message in file.message_type}

    def fields(self, datatype):
        """Every field of the datatype by its path in JSON ("version.major", "powerStateDesc[].maxPower"), with the
        function that turns its JSON value into a Python one."""
        return {path: _FROM_JSON[kind] for path, kind, _ in self._walk(self._full_name(datatype), "")}

    def rows(self, datatype):
        """The names of the same fields in the table of sources ("NvmeVersion.major")."""
        return {path: row for path, _, row in self._walk(self._full_name(datatype), "")}

    def messages(self, datatype):
        """The names of the fields that are messages, by their JSON names."""
        message = self._messages[self._full_name(datatype)]
        return {field.json_name: f"{message.name}.{field.name}" for field in message.field if self._is_message(field)}

    def _full_name(self, datatype):
        (name,) = (name for name in self._messages if name.endswith(f".{datatype}"))
        return name

    @staticmethod
    def _is_message(field):
        return field.type == field.TYPE_MESSAGE and field.type_name not in _WRAPPERS

    def _walk(self, message, prefix):
        for field in self._messages[message].field:
            path = prefix + field.json_name
            if self._is_message(field):
                repeated = field.label == field.LABEL_REPEATED
                yield from self._walk(field.type_name, path + ("[]." if repeated else "."))
            else:
                kind = _WRAPPERS.get(field.type_name, field.Type.Name(field.type)[len("TYPE_"):])
                yield path, kind, f"{self._messages[message].name}.{field.name}"


def every_index(path):
    """The path as the schema has it: "powerStateDesc[3].maxPower" becomes "powerStateDesc[].maxPower"."""
    return re.sub(r"\[\d+\]", "[]", path)


def value_at(data, path, convert):
    """The value at a path of the printed JSON, or ABSENT. A value that is not of the field's type is not converted, so it equals
    nothing."""
    for name, index in re.findall(r"([^.\[]+)(?:\[(\d+)\])?", path):
        if name not in data:
            return ABSENT
        data = data[name]
        if index:
            if int(index) >= len(data):
                return ABSENT
            data = data[int(index)]
    if isinstance(data, bool) != (convert is bool):
        return data
    try:
        return convert(data)
    except (TypeError, ValueError):
        return data
