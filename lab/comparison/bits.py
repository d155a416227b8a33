"""The fields of the NVMe pages and their bits, from the tables of tests/nvme, which were transcribed from the standard."""

import re
from dataclasses import dataclass
from pathlib import Path

TABLES = Path(__file__).resolve().parents[2] / "tests" / "nvme"


@dataclass(frozen=True)
class Field:
    path: str    # in JSON
    first: int   # byte
    length: int  # in bytes
    bits: str    # "7:4" or "4" of these bytes, or nothing: all of them
    form: str    # what the table says after the name

    def of(self, peer):
        """The field's bits of a value that has all of its bytes."""
        if not self.bits:
            return peer
        return peer.bits(*map(int, self.bits.split(":"))) if ":" in self.bits else peer.bit(int(self.bits))


def rows(table):
    """Bytes, bits, name and form of each field."""
    for line in (TABLES / table).read_text().splitlines():
        words = line.split()
        if not words or line.startswith("#"):
            continue
        if not line.startswith(" "):
            span, _slot, message, *words = words
            if not message.endswith(":"):
                span, _, bits = span.partition(".")
                yield span, bits, message, "".join(words)
                continue
        for bits, name in zip(words[::2], words[1::2]):
            yield span, bits, f"{message[:-1]}.{name}", ""


def fields(table):
    """The message's own values before those of its sub-messages."""
    found = []
    for span, bits, name, form in rows(table):
        last, _, first = span.partition(":")
        first = int(first or last)
        path = re.sub("_(.)", lambda letter: letter[1].upper(), name)
        found.append(Field(path, first, int(last) - first + 1, bits, form))
    return sorted(found, key=lambda field: "." in field.path)
