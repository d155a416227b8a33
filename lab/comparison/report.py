"""The report that the guest handed out: one folder per reading, with its output, messages and exit status."""

import json
from pathlib import Path


class ReadingError(Exception):
    """A reading is missing, failed, or is not what it should be; the text names it and what it said."""


class Report:
    def __init__(self, folder):
        self.folder = Path(folder)
        if not (self.folder / "complete").exists():
            raise ReadingError(f"{self.folder} holds no whole report; run the lab first")

    def serial_numbers(self):
        """The NVMe controllers that the guest's kernel found, by serial number."""
        return sorted(path.name for path in (self.folder / "nvme").iterdir())

    def output(self, name, accept=lambda status: status == 0):
        reading = self.folder / name
        if not (reading / "status").exists():
            raise ReadingError(f"the guest made no reading {name}")
        status = int((reading / "status").read_text())
        if not accept(status):
            messages = (reading / "messages").read_text(errors="replace").strip()
            raise ReadingError(f"{name} ended with status {status}: {messages or 'it said nothing'}")
        return (reading / "output").read_bytes()

    def json(self, name, **options):
        output = self.output(name, **options)
        try:
            return json.loads(output)
        except ValueError as error:
            raise ReadingError(f"{name} is not JSON: {error}: {output[:200]!r}") from error

    def smartctl(self, name):
        # Bits 0 to 2 say that smartctl could not read the disk; the others tell of the disk's health.
        return self.json(name, accept=lambda status: status & 0b111 == 0)

    def orbis(self, name):
        # 4: complete but for a finding, which the messages tell; the comparison looks at what was collected.
        return self.json(name, accept=lambda status: status in (0, 4))

    def collected(self, datatype):
        """The items of one datatype, as orbis-host printed them."""
        items = self.orbis(f"orbis/{datatype}")
        if not isinstance(items, list):
            raise ReadingError(f"orbis-host printed no array for {datatype}")
        for item in items:
            if set(item) != {"datatype", "itemId", "collectionTime", "data"} or item["datatype"] != datatype:
                raise ReadingError(f"orbis-host printed an odd item for {datatype}: {str(item)[:200]}")
        return items
