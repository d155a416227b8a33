#!/usr/bin/env python3
"""Writes bytes and bits of the NVMe pages into the table of sources, from the tables that were transcribed from the NVMe standard.

insight/sources/identify_bits.txt and health_bits.txt list the bytes and bits of each field. This program copies them into the rows of
these fields in insight/sources/sources.txtpb, and adds a row, with the symbol of its register, for a field that has none. Symbols, units
and rules of existing rows are kept.
"""

import argparse
import re
import sys

import datatypes_schema as schema

PAGES = {"identify_bits.txt": ("NVME_IDENTIFY", "NvmeIdentifyControllerData"), "health_bits.txt": ("NVME_HEALTH_LOG", "NvmeHealthInfo")}
MAKER_AREA = (4095, 3072)  # of Identify Controller, the last and the first byte


def span(text):
    """The highest and the lowest number of "7:4" or "4"."""
    numbers = [int(number) for number in text.split(":")]
    return max(numbers), min(numbers)


def listed(path):
    """Registers of the page: name, last and first byte, and the bits of its sub-message, each with a name. The place of a field in the
    maker's area is the whole area, because its layout is not part of the standard."""
    registers = []
    for line in path.read_text(encoding="utf-8").splitlines():
        words = line.split()
        if not words or line.startswith("#"):
            continue
        if not line.startswith(" "):
            bytes, slot, name, *words = words
            registers.append((name.rstrip(":"), *(span(bytes) if slot != "-" else MAKER_AREA), []))
            words = words if name.endswith(":") else []
        registers[-1][3].extend(zip(words[1::2], map(span, words[::2])))
    return registers


def places(registers, page, messages):
    """The place of every field, by "Message.field", and the row that has the register's symbol."""
    types = {message.name: {field.name: field for field in message.field} for message in messages}
    for name, last, first, bits in registers:
        field, isElement = name.removesuffix("[*]").partition(".")[0], name.endswith("[*]")
        if field not in types[page]:
            sys.exit(f"the table of bits names {page}.{field}, which the schema does not have.")
        if "." in name:
            yield f"{schema.type_name(types[page][field])}.{name.partition('.')[2]}", f"first: {first} last: {last}", None
        elif not isElement:
            for row in (field, f"{field}_approximate"):
                if row in types[page]:
                    yield f"{page}.{row}", f"first: {first} last: {last}", None
        for bit, (high, low) in bits:
            place = f"first: {first} last: {last} high: {high} low: {low}"
            if isElement:  # bytes count from the entry
                start, end = low // 8, high // 8
                place = f"first: {start} last: {end}"
                place += "" if low % 8 == 0 and high % 8 == 7 else f" high: {high - 8 * start} low: {low - 8 * start}"
            yield f"{schema.type_name(types[page][field])}.{bit}", place, None if isElement else f"{page}.{field}"


def with_place(text, request, name, place, register):
    """The table of sources with the place of one field."""
    found, count = re.subn(rf'(field {{ name: "{re.escape(name)}" from {{ request: {request}) first: \d+ last: \d+(?: high: \d+ low: \d+)?',
                           rf"\1 {place}", text)
    if count == 1:
        return found
    symbol = re.search(rf'name: "{register}" from {{ [^}}]*?( symbol: "\w+")', text) if register else None
    row = f'field {{ name: "{name}" from {{ request: {request} {place}{symbol[1] if symbol else ""} }} }}\n'
    head = f"# {name.partition('.')[0]}\n"
    block = re.search(rf"^{head}(?:field .*\n)*", text, re.MULTILINE)
    return text[:block.end()] + row + text[block.end():] if block else f"{text}\n{head}{row}"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    schema.add_arguments(parser)
    parser.add_argument("--check", action="store_true", help="compare and write nothing")
    arguments = parser.parse_args()

    messages = [message for file in schema.load(arguments.protoc, arguments.root) for message in file.message_type]
    folder = arguments.root / "insight" / "sources"
    table = folder / "sources.txtpb"
    before = text = table.read_text(encoding="utf-8")
    for file, (request, page) in PAGES.items():
        for name, place, register in places(listed(folder / file), page, messages):
            text = with_place(text, request, name, place, register)
    if text != before and arguments.check:
        sys.exit(f"{table.name} and the tables of bits beside it differ. Run tools/nvme-bits.py.")
    if text != before:
        table.write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
