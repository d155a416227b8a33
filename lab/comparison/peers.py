"""How a value is found in the output of nvme-cli and smartctl. Nothing here uses orbis-host's code."""

from dataclasses import dataclass, replace
from typing import Any, Callable


@dataclass(frozen=True)
class Peer:
    """One place in one reading, and the conversion of the value found there."""

    reading: str
    place: str
    find: Callable[[Any], Any]
    make: Callable[[Any], Any] = lambda value: value

    @property
    def tool(self):
        return "smartctl" if self.reading == "smartctl" else "nvme-cli"

    def then(self, change, note=""):
        return replace(self, place=self.place + note, make=lambda value: change(self.make(value)))

    def named(self, place):
        return replace(self, place=place)

    def bit(self, number):
        return self.then(lambda value: bool(value >> number & 1), f":{number}")

    def bits(self, high, low):
        return self.then(lambda value: value >> low & ((1 << high - low + 1) - 1), f":{high}-{low}")

    def acceptable(self, before, after):
        """The values that are correct for orbis-host, which ran between these two readings: a counter may have any value between theirs."""
        first, last = self.find(before[self.reading]), self.find(after[self.reading])
        found = range(min(first, last), max(first, last) + 1) if isinstance(first, int) else [first, last]
        values = []
        for value in map(self.make, found):
            if value not in values:
                values.append(value)
        return values


def key(reading, path, read=lambda value: value):
    """A value of a reading in JSON, by its keys from the outside in."""

    def find(document):
        for step in path.split("."):
            document = document[step]
        return read(document)

    return Peer(reading, path, find)


def raw_bytes(reading, first, length):
    """Bytes of a reading in binary, FIRST as the NVMe tables number them."""
    return Peer(reading, f"byte {first} of its raw output", lambda page: page[first:first + length])


def raw_number(reading, first, length):
    """A little-endian number of a reading in binary."""
    return Peer(reading, f"byte {first} of its raw output", lambda page: int.from_bytes(page[first:first + length], "little"))


def flags(message, peer, fields):
    """The fields of a sub-message that are bits of one value: a bit number, or a pair of the highest and lowest bit."""
    return {f"{message}.{name}": [peer.bit(place) if isinstance(place, int) else peer.bits(*place)]
            for name, place in fields.items()}


# Documented conversions of the bytes of a page.

def text(peer):
    """Padding is not part of a text; a zero byte ends it."""
    return peer.then(lambda value: value.strip("\0").strip(" \t\n\v\f\r").strip("\b").split("\0")[0])


def array(peer):
    """A fixed array of bytes is sent empty when its first byte is zero."""
    return peer.then(lambda value: b"" if value[0] == 0 else value)


def counter(peer):
    """A 128-bit number, as the array of bytes that it is on the page."""
    return array(peer.then(lambda number: number.to_bytes(16, "little")))


def approximation(peer):
    """The same number as a double; an empty array counts as zero."""
    return peer.then(lambda number: float(number) if number % 256 else 0.0)
