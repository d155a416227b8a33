"""What orbis-host prints of the example machines and the goldens are what docs/schema says, property by property, and a report tells
no secrets.

usage: formats_test.py ORBIS_HOST
"""

import copy
import json
import pathlib
import re
import subprocess
import sys
import tempfile

REPOSITORY = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(REPOSITORY / "tools"))
import documents  # noqa: E402


def printed(host, machine, *arguments):
    done = subprocess.run([host, *arguments, "--machine", machine.name, "--log-level", "off"], cwd=machine.parent,
                          capture_output=True, encoding="utf-8")
    if done.returncode not in (0, 1, 4, 6, 7):
        sys.exit(f"orbis-host ended with {done.returncode} for {machine.name} as {arguments}: {done.stderr}")
    return done.stdout


def reported(host, machine, *options):
    """The page, and the document in it."""
    with tempfile.TemporaryDirectory() as folder:
        page = pathlib.Path(folder, "page.html")
        command = [host, "report", "--machine", machine.name, "--output", str(page), "--log-level", "off", *options]
        done = subprocess.run(command, cwd=machine.parent, capture_output=True, encoding="utf-8")
        if done.returncode not in (0, 1, 4) or [one.name for one in pathlib.Path(folder).iterdir()] != ["page.html"]:
            sys.exit(f"orbis-host report ended with {done.returncode} for {machine.name}: {done.stderr}")
        text = page.read_text(encoding="utf-8")
    data = text.partition('<script type="application/json" id="data">')[2].partition("</script>")[0]
    if re.search("<|\u2028|\u2029", data):
        sys.exit(f"{machine.name}: the data of the page holds what ends a script")
    return text, json.loads(data)


def secrets(machine):
    """What the file says that tells this machine from another: as text, and as the bytes that a page of the drive holds."""
    text = machine.read_text(encoding="utf-8")
    values = re.findall(r'\b(?:serial|eppid|id|disk_id): (?:"|0x)([\w-]{4,})', text) + re.findall(r'oem_strings.*"1\[(\w+)\]"', text)
    values += re.findall(r'pnp_device_id: ".*\\\\(.+)"', text) + re.findall(r'raw_address: "(.+)"', text) + [f'"{machine.stem}"']
    for value in values:
        if re.fullmatch("[A-Z]{1,6}|[0-]+", value):
            continue  # words that stand in models and texts too, and no identifier
        raw, guid = value.encode(), re.sub(r"^(..)(..)(..)(..)-(..)(..)-(..)(..)-(..)(..)-", r"\4\3\2\1\6\5\8\7\9\g<10>", value)
        swapped = bytes(byte for pair in zip(raw[1::2], raw[0::2]) for byte in pair)
        yield value, {value.lower(), raw.hex(" "), swapped[:8].hex(" "), *([bytes.fromhex(guid).hex(" ")] if len(guid) == 32 else [])}


def told(machine, page):
    page = page.lower()
    return {value for value, spellings in secrets(machine) if any(one in page for one in spellings)}


def spoiled(item):
    """The item, wrong in one way each."""
    for change in ({"datatype": None}, {"data": []}, {"data": {"noSuchField": 1}}, {"itemId": 5}, {"unknown": 1}):
        yield {**copy.deepcopy(item), **change}
    without = copy.deepcopy(item)
    del without["data"]
    yield without


def wrong_metrics(host):
    """Expected series that are missing. A counter whose lowest byte is 0 is absent in its datatype; the metrics take it from the log."""
    with tempfile.TemporaryDirectory() as folder:
        machine = pathlib.Path(folder, "spoiled.txtpb")
        text = (REPOSITORY / "machines" / "workstation.txtpb").read_text(encoding="utf-8")
        machine.write_text(text.replace("media_errors: 12", "media_errors: 768"), encoding="utf-8")
        metrics = printed(host, machine, "metrics")
    wanted = ['orbis_nvme_media_errors_total{disk="1",serial="VV500X00000042"} 768',
              'orbis_disk_errors{disk="1",serial="VV500X00000042",rule="nvme.media-errors"} 768',
              'orbis_disk_write_latency_seconds{disk="1",serial="VV500X00000042"} 0.0012',
              'orbis_nvme_warning_temperature_celsius{disk="0",serial="VY80A1B2C3D4"} 80',
              'orbis_nvme_maker_controller_writes_total{disk="0",serial="VY80A1B2C3D4"} 36893488147419103231']
    return [line for line in wanted if line not in metrics.splitlines()]


def wrong_report(host):
    """A gap has no name, even if it is as long as a partition without a number; counters that began anew have no earlier value."""
    with tempfile.TemporaryDirectory() as folder:
        machine, baseline = pathlib.Path(folder, "two.txtpb"), pathlib.Path(folder, "baseline.json")
        machine.write_text("".join(f"""disk {{ number: {number} kind: NVME serial: "S{number}" size: 1000341504 nvme {{ health {{ power_on_hours: 5 }} }}
            mbr {{ partition {{ number: 0 size: 104857600 }} partition {{ offset: 210763776 size: 789577728 }} }} }} """
                                   for number in (0, 1)), encoding="utf-8")
        before = json.loads(printed(host, machine, "health", "--format", "json"))
        for disk in before["disk"]:
            for counter in disk["counter"]:
                if counter["name"] == "powerOnHours":
                    counter["value"] = "4" if disk["number"] == 0 else "6"
        baseline.write_text(json.dumps(before), encoding="utf-8")
        document = reported(host, machine, "--baseline", str(baseline))[1]
    disks = [([part.get("name", part["kind"]) for part in disk["partition"]], len(disk.get("before", []))) for disk in document["disk"]]
    counters = len(before["disk"][0]["counter"])
    expected = [(["Not Used", "FREE", "Not Used"], number) for number in (counters, 0)]
    return [] if disks == expected else [f"a report's disks are {disks}"]


def main():
    host = pathlib.Path(sys.argv[1]).resolve()
    failures, items, findings, verdicts = [], [], 0, set()
    for machine in sorted((REPOSITORY / "machines").glob("*.txtpb")):
        lines = [json.loads(text) for text in printed(host, machine, "collect", "--format", "jsonl").splitlines()]
        golden = json.loads((REPOSITORY / "tests" / "golden" / f"{machine.stem}.json").read_text(encoding="utf-8"))
        health, explained = (json.loads(printed(host, machine, command, "--format", "json")) for command in ("health", "explain"))
        items += [one for one in lines if "data" in one]
        findings += sum("findings" in one for one in lines)
        verdicts |= {disk["verdict"] for disk in health["disk"]}
        kinds = [("collect-json", golden), ("health", health), ("explain", explained), *(("collect-jsonl", one) for one in lines)]
        for options in ((), ("--with-identifiers",)):
            page, document = reported(host, machine, *options)
            kinds.append(("report", document))
            tells = told(machine, page)
            if not options and tells:
                failures.append(f"the redacted report of {machine.name} tells {sorted(tells)}")
            if options and machine.stem in ("workstation", "laptop-arm64") and len(tells) < 10:
                failures.append(f"the full report of {machine.name} tells no more than {sorted(tells)}")
        failures += [f"{machine.name}: {error}" for schema, document in kinds for error in documents.errors(schema, document)]
    if len({one["datatype"] for one in items}) != 6 or not findings or verdicts != {"OK", "UNKNOWN", "WARN", "FAIL"}:
        failures.append("the example machines do not show all datatypes, a finding and all verdicts")
    failures += wrong_metrics(host) + wrong_report(host)
    wrongs = [("collect-jsonl", wrong) for wrong in spoiled(next(one for one in items if one["datatype"] == "SmartNvmeInfo"))]
    for schema, wrong in [*wrongs, ("health", {"formatVersion": 1, "disk": [{}]}), ("explain", {"formatVersion": 2})]:
        if not documents.errors(schema, wrong):
            failures.append(f"the schema takes {str(wrong)[-200:]}")
    print("\n".join(failures) if failures else f"{len(items)} items")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
