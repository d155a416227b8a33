"""The table of sources, insight/sources/sources.txtpb: where the value of every field comes from."""

import pathlib
import subprocess
import sys
import tempfile

try:
    from google.protobuf import descriptor_pb2, descriptor_pool, message_factory, text_format
except ModuleNotFoundError:
    sys.exit("This tool needs protobuf for Python: apt install python3-protobuf, then run it with that python3.")

SCHEMA = "orbis/insight/sources.proto"


class SourcesTable:
    def __init__(self, protoc, root):
        with tempfile.TemporaryDirectory() as scratch:
            output = pathlib.Path(scratch, "sources.desc").resolve()
            if subprocess.run([protoc, "-I", ".", f"--descriptor_set_out={output}", SCHEMA], cwd=root / "insight" / "proto").returncode != 0:
                sys.exit(f"{protoc} refused {SCHEMA}; see its message above.")
            files = descriptor_pb2.FileDescriptorSet.FromString(output.read_bytes())
        pool = descriptor_pool.DescriptorPool()
        for file in files.file:
            pool.Add(file)
        table = message_factory.MessageFactory(pool).GetPrototype(pool.FindMessageTypeByName("orbis.insight.SourceTable"))()
        path = root / "insight" / "sources" / "sources.txtpb"
        try:
            text_format.Parse(path.read_text(encoding="utf-8"), table, descriptor_pool=pool)
        except text_format.ParseError as error:
            sys.exit(f"{path}:{error}")
        self.rows = {row.name: row for row in table.field}
        self.elements = {element.message: element for element in table.element}
        self._number = pool.FindEnumTypeByName("orbis.insight.Request").values_by_name
        self._rule_names = pool.FindEnumTypeByName("orbis.insight.SourceRule").values_by_number
        self._rules = {text.rule: text.text for text in table.rule}
        self._requests = {text.request: text for text in table.request}

    def request(self, name):
        """The number of a request: "WMI"."""
        return self._number[name].number

    def rule(self, number):
        return self._rule_names[number].name

    def shared_request(self, names):
        """The request that all rows of these names take bytes from, or None."""
        places = [place for name in names for place in places_of(self.rows[name])]
        requests = {place.request for place in places if place.HasField("first")}
        return requests.pop() if len(names) > 1 and len(requests) == 1 and all(place.HasField("first") for place in places) else None

    def request_text(self, request):
        text = self._requests[request]
        return f"{text.name} ({text.document})" if text.document else text.name

    def start_texts(self, message):
        """Where the bytes of a message begin that is an entry of an answer; empty for other messages."""
        return [f"Bytes count from the entry; the first entry begins at byte {one.first}, each other {one.stride} bytes after the one before."
                for one in self.elements.values() if one.message == message]

    def text(self, name, shared=None):
        """The source of a field and its conversions, as text; `shared` is a request that the text need not repeat."""
        row = self.rows[name]
        texts = []
        for place in places_of(row):
            texts.append(self._place(place, shared))
            shared = place.request
        return "; ".join([(" and " if row.joined else ", else ").join(texts), *(self._rules[rule] for rule in row.rule)])

    def _place(self, place, shared):
        if place.request == self.request("WMI"):
            return f"{place.wmi_class}.{place.property}"
        if place.request == self.request("COUNTER"):
            return f'counter "{place.counter}"'
        if place.request == self.request("SMBIOS"):
            return f"SMBIOS type {place.structure} string {place.string}"
        if place.request == self.request("OTHER_FIELD"):
            return place.field
        words = [] if place.request == shared else [self._requests[place.request].name]
        if place.HasField("attribute"):
            words.append(f"attribute {place.attribute}")
        if place.HasField("first"):
            words.append(span("byte", place.first, place.last))
        if place.HasField("high"):
            words.append(span("bit", place.low, place.high))
        if place.symbol:
            words.append(f"({place.symbol})")
        return " ".join(words)


def places_of(row):
    return getattr(row, "from")


def span(what, first, last):
    return f"{what} {first}" if first == last else f"{what}s {first}-{last}"
