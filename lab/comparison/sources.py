"""The sources of the fields, from the table of sources: bytes and bits of NVMe pages, numbers of SMART attributes."""

import sys
from dataclasses import dataclass
from pathlib import Path

from .schema import Schema

ROOT = Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "tools"))
from sources_table import SourcesTable, places_of  # noqa: E402 (in the folder tools)

TABLE = SourcesTable("protoc", ROOT)
SCHEMA = Schema(ROOT / "host-sdk" / "proto")
MAKER_AREA = 3072  # first byte of the vendor specific area of Identify Controller


@dataclass(frozen=True)
class Field:
    path: str    # in JSON
    first: int   # byte
    length: int  # in bytes
    bits: tuple  # the highest and the lowest bit in these bytes; empty: all bits
    form: str    # "text", "bytes" or "double"; empty: the number itself

    def of(self, peer):
        """The field's bits in the value of its bytes."""
        if not self.bits:
            return peer
        high, low = self.bits
        return peer.bit(high) if high == low else peer.bits(high, low)


def form_of(row):
    rules = {TABLE.rule(rule) for rule in row.rule}
    forms = {"STEPWISE_DOUBLE": "double", "TRIMMED": "text", "EMPTY_IF_FIRST_BYTE_ZERO": "bytes"}
    return next((form for rule, form in forms.items() if rule in rules), "")


def page(datatype, request):
    """The fields that come from an NVMe page, the message's own values before those of its sub-messages; without entries of arrays and
    without fields whose layout is the maker's, which have no bytes in the table."""
    found = []
    for path, name in SCHEMA.rows(datatype).items():
        place = places_of(TABLE.rows[name])[0]
        if place.request == TABLE.request(request) and place.HasField("first") and "[]" not in path and place.first < MAKER_AREA:
            bits = (place.high, place.low) if place.HasField("high") else ()
            found.append(Field(path, place.first, place.last - place.first + 1, bits, form_of(TABLE.rows[name])))
    return sorted(found, key=lambda field: field.path.count("."))


def makers(datatype):
    """Paths of the fields whose layout is the maker's."""
    return [path for path, name in SCHEMA.rows(datatype).items() for place in [places_of(TABLE.rows[name])[0]]
            if place.request == TABLE.request("MAKER_HEALTH_LOG") or
            (place.request == TABLE.request("NVME_IDENTIFY") and place.first >= MAKER_AREA)]


def attributes(datatype):
    """The numbers of SMART attributes by the fields of a datatype, in JSON's spelling."""
    return {field: places_of(TABLE.rows[name])[0].attribute for field, name in SCHEMA.messages(datatype).items()}
