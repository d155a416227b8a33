#!/usr/bin/env python3
"""Guards the schema against changes that would break a host or a program that reads orbis-host's output.

datatypes.lock describes the messages as hosts know them, documents.lock the objects around them in JSON and binary output, and
insight.lock the documents of health, explain and findings.
Without arguments it compares the schema with them; --update adds new fields to them, and refuses other changes.
"""

import argparse
import pathlib
import sys

import datatypes_schema as schema

HEADER = """\
# The schema as hosts know it, one line for each field: its message, number, name, type and label. Hosts that were built
# against it rely on every one of them, so a line that stands here stays. tools/datatypes-lock.py compares and, with --update,
# adds the lines of new fields. To break hosts on purpose, change the line by hand.
"""


class Entry:
    """A field or a value of an enumeration; one of the type "reserved" has been retired."""

    def __init__(self, owner, number, name, type, label):
        self.owner, self.number, self.name, self.type, self.label = owner, int(number), name, type, label

    def __str__(self):
        return f"{self.owner}.{self.name} = {self.number}"

    @property
    def retired(self):
        return self.type == "reserved"


class Schema:
    """Entries by message and number, and what the messages have reserved."""

    def __init__(self):
        self.options = {}
        self.entries = {}
        self.reserved_numbers = set()
        self.reserved_names = set()

    def add(self, entry):
        self.entries[entry.owner, entry.number] = entry

    def of(self, owner):
        return [entry for entry in self.entries.values() if entry.owner == owner]

    def by_name(self, owner, name):
        return next((entry for entry in self.of(owner) if entry.name == name), None)


def from_descriptors(files):
    result = Schema()
    for file in files:
        for option, value in (("package", file.package), ("csharp_namespace", file.options.csharp_namespace or "-")):
            if result.options.setdefault(option, value) != value:
                sys.exit(f"{file.name}: {option} is \"{value}\", the other files' is \"{result.options[option]}\"; make them equal.")
        for enum in file.enum_type:
            _add_enum(result, enum, "")
        for message in file.message_type:
            _add_message(result, message, "")
    return result


def _add_enum(result, enum, prefix):
    owner = prefix + enum.name
    for value in enum.value:
        result.add(Entry(owner, value.number, value.name, "value", "-"))
    # Reserved ranges of an enumeration include their end, those of a message do not.
    _add_reserved(result, owner, enum, past_end=1)


def _add_message(result, message, prefix):
    owner = prefix + message.name
    for field in message.field:
        label = "repeated" if schema.is_repeated(field) else "optional" if schema.has_presence(field) else "implicit"
        result.add(Entry(owner, field.number, field.name, schema.type_name(field), label))
    _add_reserved(result, owner, message, past_end=0)
    for enum in message.enum_type:
        _add_enum(result, enum, owner + ".")
    for nested in message.nested_type:
        _add_message(result, nested, owner + ".")


def _add_reserved(result, owner, descriptor, past_end):
    for span in descriptor.reserved_range:
        # "reserved 9 to max" ends in the hundred millions; no number that far out was ever a field.
        result.reserved_numbers.update((owner, number) for number in range(span.start, min(span.end + past_end, 20000)))
    result.reserved_names.update((owner, name) for name in descriptor.reserved_name)


def from_lock(path):
    result = Schema()
    for line_number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), start=1):
        words = line.split()
        if not words or line.startswith("#"):
            continue
        if len(words) == 2:
            result.options[words[0]] = words[1]
        elif len(words) == 5 and words[1].isdigit():
            result.add(Entry(*words))
        else:
            sys.exit(f"{path.name}:{line_number}: a line is message, number, name, type and label, not: {line}")
    return result


def breaking_changes(locked, current):
    """The changes that would break a host, each with what to do instead."""
    def free_number(owner):
        return max(entry.number for entry in locked.of(owner) + current.of(owner)) + 1

    for option, value in locked.options.items():
        if current.options.get(option) != value:
            yield f"{option} was {value} and is {current.options.get(option)}: put it back, every host's code names it."
    for old in locked.entries.values():
        new = current.entries.get((old.owner, old.number))
        if old.retired:
            yield from _reuse_of_retired(old, new, current, free_number(old.owner))
        elif new is None:
            yield from _loss_of(old, current)
        elif new.name != old.name:
            yield (f"{old} is now called {new.name}: hosts in C++, C# and Python, and JSON, use the name. Put it back; if this is a new "
                   f"field, give it the number {free_number(old.owner)}.")
        elif (new.type, new.label) != (old.type, old.label):
            yield (f"{old} was {old.label} {old.type} and is {new.label} {new.type}: what hosts stored or compiled no longer fits. Keep "
                   f"it as it was and add a field under the number {free_number(old.owner)}.")


def _reuse_of_retired(old, new, current, free_number):
    if new is not None:
        yield f"{new} uses the number of {old.name}, which was retired: old messages would be misread. Take {free_number}."
    elif not _is_reserved(old, current):
        yield f"{old} was retired, and is no longer reserved. Put back: {_reservation(old)}"
    again = current.by_name(old.owner, old.name)
    if again is not None:
        yield f"{again} uses the name of a field that was retired. Take another name."


def _loss_of(old, current):
    moved = current.by_name(old.owner, old.name)
    if moved is not None:
        yield f"{old} now has the number {moved.number}: messages of before would be misread. Put the number back."
    elif not _is_reserved(old, current):
        yield f"{old} is gone. Put it back, or retire it in {old.owner}: {_reservation(old)}"


def _is_reserved(entry, current):
    return (entry.owner, entry.number) in current.reserved_numbers and (entry.owner, entry.name) in current.reserved_names


def _reservation(entry):
    return f'reserved {entry.number}; reserved "{entry.name}";'


def additions(locked, current):
    for key, entry in current.entries.items():
        if key not in locked.entries:
            yield f"{entry} is new"
        elif entry.retired and not locked.entries[key].retired:
            yield f"{entry} is retired"


def with_retired(current, locked):
    """The current schema together with the fields that it, or a schema before it, has retired."""
    for old in locked.entries.values():
        if (old.owner, old.number) not in current.entries:
            current.add(Entry(old.owner, old.number, old.name, "reserved", "-"))
    return current


def render(described):
    lines = [HEADER]
    lines += [f"{option} {value}" for option, value in described.options.items()]
    for owner in sorted({entry.owner for entry in described.entries.values()}):
        rows = sorted(described.of(owner), key=lambda entry: entry.number)
        name_width = max(len(row.name) for row in rows)
        type_width = max(len(row.type) for row in rows)
        lines.append("")
        lines += [f"{owner}  {row.number:>3}  {row.name:<{name_width}}  {row.type:<{type_width}}  {row.label}" for row in rows]
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--update", action="store_true", help="take up what has been added to the schema")
    schema.add_arguments(parser)
    arguments = parser.parse_args()

    locks = [(schema.DATATYPES, "datatypes.lock"), (schema.DOCUMENTS, "documents.lock"), (schema.INSIGHT, "insight.lock")]
    return max(check(arguments, part, arguments.root / part[0] / name) for part, name in locks)


def check(arguments, part, path):
    if not path.exists():
        sys.exit(f"{path} is missing; without it nothing is known of what hosts rely on. Restore it from version control.")
    locked = from_lock(path)
    current = from_descriptors(schema.load(arguments.protoc, arguments.root, part))

    broken = list(breaking_changes(locked, current))
    if broken:
        print(f"The schema has changed in a way that breaks hosts ({part[0]}/{path.name} has what they know):", file=sys.stderr)
        for text in broken:
            print("  " + text, file=sys.stderr)
        return 1

    described = render(with_retired(current, locked))
    if arguments.update:
        path.write_text(described, encoding="utf-8")
        return 0
    if path.read_text(encoding="utf-8") != described:
        print(f"The schema has changed in a way that hosts can live with, and {path.name} does not have it yet:", file=sys.stderr)
        for text in additions(locked, current):
            print("  " + text, file=sys.stderr)
        print("Take it up with: tools/datatypes-lock.py --update", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
