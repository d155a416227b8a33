"""The guest's report: one folder for each reading, with its output, messages and exit status."""

import json
from pathlib import Path


class ReadingError(Exception):
    """A reading is missing, failed or malformed; the text names it and quotes its messages."""


class Report:
    def __init__(self, folder):
        self.folder = Path(folder)
        if not (self.folder / "complete").exists():
            raise ReadingError(f"{self.folder} has no complete report; run the lab first")

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
            raise ReadingError(f"{name} ended with status {status}: {messages or 'without a message'}")
        return (reading / "output").read_bytes()

    def json(self, name, **options):
        output = self.output(name, **options)
        try:
            return json.loads(output)
        except ValueError as error:
            raise ReadingError(f"{name} is not JSON: {error}: {output[:200]!r}") from error

    def smartctl(self, name):
        # Bits 0 to 2 mean that smartctl could not read the disk; the others report the disk's health.
        return self.json(name, accept=lambda status: status & 0b111 == 0)

    def orbis(self, name):
        # 4: something was left out, as the messages report. Only the collected data is compared.
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
