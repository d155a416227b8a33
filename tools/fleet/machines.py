"""Machine files of a fleet: disks of several kinds and ages, some of them worn, failing or without health data."""

import datetime
import random

KINDS = {"NVME": 60, "SATA_HDD": 22, "SATA_SSD": 12, "USB_STICK": 6}  # of a hundred disks
FAULTS = {"FAIL": 2, "WARN": 6}


def nvme(chance, fault):
    used = chance.randrange(3, 80)
    health = {"temperature": chance.randrange(300, 330), "available_spare": 100, "available_spare_threshold": 10, "percentage_used": used,
              "data_units_read": chance.randrange(10**6, 10**9), "data_units_written": chance.randrange(10**6, 10**9),
              "host_read_commands": chance.randrange(10**8, 10**11), "host_write_commands": chance.randrange(10**8, 10**11),
              "power_cycles": chance.randrange(50, 3000), "power_on_hours": chance.randrange(100, 40000),
              "unsafe_shutdowns": chance.randrange(0, 40)}
    if fault == "FAIL":
        health.update(chance.choice([{"critical_warning": 8}, {"available_spare": 4, "critical_warning": 1}, {"critical_warning": 4}]))
    elif fault == "WARN":
        health.update(chance.choice([{"media_errors": 256 * chance.randrange(1, 9)}, {"percentage_used": 104}, {"media_errors": 1}]))
    fields = " ".join(f"{name}: {value}" for name, value in health.items())
    return f"nvme {{ vendor_id: 0x1DD4 subsystem_vendor_id: 0x1DD4 warning_temperature: 353 critical_temperature: 358 health {{ {fields} }} }}"


def ata(chance, fault, rotation):
    counts = {5: 0, 187: 0, 197: 0, 198: 0}
    value = chance.randrange(60, 100)
    if fault == "FAIL":
        value, counts[5] = 9, 4000
    elif fault == "WARN":
        counts[chance.choice(list(counts))] = 256 * chance.randrange(1, 4)
    rows = [(5, 0x33, value, counts[5], 10), (9, 0x32, 90, chance.randrange(100, 50000), 0), (12, 0x32, 99, chance.randrange(50, 3000), 0),
            *((number, 0x32, 100, counts[number], 0) for number in (187, 197, 198)), (194, 0x22, 64, chance.randrange(25, 45), 0),
            (199, 0x3E, 200, chance.randrange(0, 3), 0)]
    attributes = " ".join(f"attribute {{ id: {number} flags: {flags} value: {now} worst: {now} threshold: {limit} raw: {raw} }}"
                          for number, flags, now, raw, limit in rows)
    return f"ata {{ rotation_rate: {rotation} {attributes} }}"


def machine(number, chance):
    """The text of a machine file and the verdict of each of its disks."""
    now = datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
    lines, verdicts = [f'title: "Machine {number} of a fleet"', f'start: "{now}"'], []
    for disk in range(chance.randrange(2, 7)):
        kind = chance.choices(list(KINDS), list(KINDS.values()))[0]
        fault = chance.choices([*FAULTS, None], [*FAULTS.values(), 100 - sum(FAULTS.values())])[0]
        if kind == "USB_STICK":
            body, fault = "", "UNKNOWN"
        elif kind == "NVME":
            body = nvme(chance, fault)
        else:
            body = ata(chance, fault, 7200 if kind == "SATA_HDD" else 1)
        verdicts.append(fault or "OK")
        lines.append(f"""disk {{
  number: {disk}
  kind: {kind}
  model: "FLEET {kind.replace("_", " ")} {chance.choice([1, 2, 4])}T"
  serial: "F{number:04}D{disk}{chance.randrange(10**6):06}"
  firmware: "1.{chance.randrange(10)}"
  size: {chance.choice([500, 1000, 2000, 4000]) * 10**9}
  pnp_device_id: "SCSI\\\\DISK&VEN_FLEET\\\\{number:04}&{disk:02}"
  {body}
  gpt {{
    disk_id: "51f0a6be-77c2-4d3e-{number:04}-{disk:012}"
    partition {{ size: 400000000000 id: "51f0a6be-0001-4d3e-{number:04}-{disk:012}" name: "Data"
      volume {{ letter: "{"CDEFGHI"[disk]}" label: "Data" file_system: "NTFS" serial: {number * 16 + disk + 1} }} }}
  }}
  activity {{ reads_per_second: {chance.randrange(1, 900)} read_bytes_per_second: 52428800 seconds_per_read: 0.0002 }}
}}""")
    return "\n".join(lines) + "\n", verdicts


def fleet(count):
    chance = random.Random(1)
    return [machine(number, chance) for number in range(1, count + 1)]
