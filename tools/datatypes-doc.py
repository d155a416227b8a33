#!/usr/bin/env python3
"""Writes docs/DATATYPES.md from the comments of the schema; --check only says whether the committed file is up to date.

Comments are documentation: a field's comment gives its meaning, and a last part that begins with "Source:" where the value
comes from.
"""

import argparse
import re
import sys
import textwrap

import datatypes_schema as schema

WIDTH = 120
# From the general to the particular; a file that is not named here comes last.
ORDER = ["physical_disk", "smart", "nvme_health", "nvme_identify"]
# Numbers of the parts of a file and of a message within descriptor.proto; source locations are paths of them.
FILE_SYNTAX, FILE_MESSAGES, FILE_ENUMS, MESSAGE_FIELDS, ENUM_VALUES = 12, 4, 5, 2, 2

INTRODUCTION = """\
# Datatypes

<!-- Generated from the comments in host-sdk/proto/orbis/datatypes by tools/datatypes-doc.py: change those, then run it. -->

What a host receives: six datatypes, each one message a disk. This page is for reading; the schema that it comes from
stands in `host-sdk/proto/orbis/datatypes/`, for `protoc`, in any language.

**Absent is not zero.** Every field can be absent; a repeated one is empty. Numbers and booleans are the well-known
wrapper types (`UInt32Value`, `BoolValue`, …), shown here by the type that they wrap; texts, bytes and enumerations have
explicit presence. A field is set when its source answered, unless its meaning says otherwise.

**Names.** Fields are shown as the schema spells them. C# and JSON drop the underscores:

| Here and in Python    | C++                     | C#                   | JSON                 |
|-----------------------|-------------------------|----------------------|----------------------|
| `pci_vendor_id`       | `pci_vendor_id()`       | `PciVendorId`        | `pciVendorId`        |
| `temperature_sensor1` | `temperature_sensor1()` | `TemperatureSensor1` | `temperatureSensor1` |
| `CRC_error_count`     | `crc_error_count()`     | `CRCErrorCount`      | `CRCErrorCount`      |

**Compatibility.** The number of a field, shown beside its name, is assigned once and never used for another.
"""


def reading_order(file):
    stem = file.name.rpartition("/")[2].removesuffix(".proto")
    return ORDER.index(stem) if stem in ORDER else len(ORDER)


class Comments:
    """The comments of one file, by the path of what they precede."""

    def __init__(self, file):
        self._file = file.name
        self._texts = {tuple(place.path): place.leading_comments for place in file.source_code_info.location}

    def of(self, path, what):
        paragraphs = [" ".join(part.split()) for part in self._texts.get(tuple(path), "").split("\n\n")]
        if not any(paragraphs):
            sys.exit(f"{self._file}: {what} has no comment; say what it is, and where it comes from.")
        return paragraphs

    def of_field(self, path, what):
        meaning, separator, source = " ".join(self.of(path, what)).partition("Source:")
        if not separator:
            sys.exit(f"{self._file}: the comment of {what} has no line \"Source:\"; say where the value comes from.")
        return meaning.strip(), source.strip().removesuffix(".")


class Writer:
    def __init__(self, files):
        self._files = files
        messages = [message for file in files for message in file.message_type]
        # Names as a reader would look for them: words with an underscore, or of several capitals.
        self._code_words = {name for message in messages for name in [message.name] + [field.name for field in message.field]
                            if "_" in name or re.search("[a-z][A-Z]", name)}
        self._types = {message.name for message in messages} | {enum.name for file in files for enum in file.enum_type}
        used = {schema.type_name(field) for message in messages for field in message.field}
        self._datatypes = [message.name for message in messages if message.name not in used]
        self._lines = []

    def document(self):
        self._lines = [INTRODUCTION]
        self._overview()
        for file in self._files:
            self._file_section(file)
        return "\n".join(self._lines).rstrip("\n") + "\n"

    def _overview(self):
        rows = []
        for file in self._files:
            comments = Comments(file)
            for index, message in enumerate(file.message_type):
                if message.name in self._datatypes:
                    summary = comments.of([FILE_MESSAGES, index], message.name)[0].split(". ")[0].removesuffix(".")
                    rows.append([f"[{message.name}](#{message.name.lower()})", summary])
        self._table(["Datatype", "What it tells"], rows)

    def _file_section(self, file):
        comments = Comments(file)
        title, _, rest = comments.of([FILE_SYNTAX], "the file")[0].partition(": ")
        self._lines += [f"## {title}", ""]
        self._paragraphs([rest[:1].upper() + rest[1:]] + comments.of([FILE_SYNTAX], "the file")[1:])
        for index, message in enumerate(file.message_type):
            self._message_section(comments, index, message)
        for index, enum in enumerate(file.enum_type):
            self._enum_section(comments, index, enum)

    def _message_section(self, comments, index, message):
        self._lines += [f"### {message.name}", ""]
        self._paragraphs(comments.of([FILE_MESSAGES, index], message.name))
        rows = []
        for position, field in enumerate(message.field):
            meaning, source = comments.of_field([FILE_MESSAGES, index, MESSAGE_FIELDS, position], f"{message.name}.{field.name}")
            rows.append([str(field.number), f"`{field.name}`", self._type_of(field), self._marked(meaning), self._marked(source)])
        self._table_or_list(["No.", "Field", "Type", "Meaning", "Source"], rows)

    def _enum_section(self, comments, index, enum):
        self._lines += [f"### {enum.name}", ""]
        self._paragraphs(comments.of([FILE_ENUMS, index], enum.name))
        rows = []
        for position, value in enumerate(enum.value):
            meaning = " ".join(comments.of([FILE_ENUMS, index, ENUM_VALUES, position], value.name))
            rows.append([str(value.number), f"`{value.name}`", self._marked(meaning)])
        self._table(["No.", "Value", "Meaning"], rows)

    def _type_of(self, field):
        name = schema.type_name(field)
        if name in self._types:
            name = f"[{name}](#{name.lower()})"
        elif name.startswith("google.protobuf."):
            name = name.removeprefix("google.protobuf.").removesuffix("Value").lower()
        return "repeated " + name if schema.is_repeated(field) else name

    def _marked(self, text):
        text = text.replace("|", "\\|").replace("*", "\\*").replace("<", "&lt;")
        return re.sub(r"\w+", lambda word: f"`{word[0]}`" if word[0] in self._code_words else word[0], text)

    def _paragraphs(self, paragraphs):
        for paragraph in paragraphs:
            self._lines += textwrap.wrap(self._marked(paragraph), WIDTH, break_on_hyphens=False, break_long_words=False) + [""]

    def _table_or_list(self, head, rows):
        widths = [max(len(row[column]) for row in [head] + rows) for column in range(len(head))]
        if sum(widths) + 3 * len(widths) + 1 <= WIDTH:
            self._table(head, rows)
        else:
            self._list(rows)

    def _table(self, head, rows):
        widths = [max(len(row[column]) for row in [head] + rows) for column in range(len(head))]

        def line(cells):
            return "| " + " | ".join(cell.ljust(width) for cell, width in zip(cells, widths)) + " |"

        rule = "|" + "|".join("-" * (width + 2) for width in widths) + "|"
        self._lines += [line(head), rule] + [line(row) for row in rows] + [""]

    def _list(self, rows):
        # A table whose lines would wrap is unreadable on a terminal; an entry a field is not.
        for number, name, type, meaning, source in rows:
            self._lines.append(f"- **{name}** · {number} · {type} · *{source}*  ")
            self._lines += textwrap.wrap(meaning, WIDTH, initial_indent="  ", subsequent_indent="  ", break_on_hyphens=False,
                                         break_long_words=False)
        self._lines.append("")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true", help="write nothing; fail when the committed file is stale")
    schema.add_arguments(parser)
    arguments = parser.parse_args()

    path = arguments.root / "docs" / "DATATYPES.md"
    files = sorted(schema.load(arguments.protoc, arguments.root), key=reading_order)
    text = Writer(files).document()
    if not arguments.check:
        path.parent.mkdir(exist_ok=True)
        path.write_text(text, encoding="utf-8")
    elif not path.exists() or path.read_text(encoding="utf-8") != text:
        print("docs/DATATYPES.md does not say what the schema's comments say. Write it again: tools/datatypes-doc.py", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
