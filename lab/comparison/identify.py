"""Identify Controller, field by field (NVM Express Base Specification 1.4, figure 247)."""

from . import sources
from .peers import array, counter, key, raw_bytes, text

DATATYPE = "NvmeIdentifyControllerData"

# nvme-cli's name of the field that begins at a byte. Byte 530 has its later name, from when it became common to all command sets.
NVME_CLI = {
    0: "vid", 2: "ssvid", 4: "sn", 24: "mn", 64: "fr", 72: "rab", 73: "ieee", 76: "cmic", 77: "mdts", 78: "cntlid", 80: "ver",
    84: "rtd3r", 88: "rtd3e", 92: "oaes", 96: "ctratt", 100: "rrls", 111: "cntrltype", 128: "crdt1", 130: "crdt2", 132: "crdt3",
    256: "oacs", 258: "acl", 259: "aerl", 260: "frmw", 261: "lpa", 262: "elpe", 263: "npss", 264: "avscc", 265: "apsta",
    266: "wctemp", 268: "cctemp", 270: "mtfa", 272: "hmpre", 276: "hmmin", 280: "tnvmcap", 296: "unvmcap", 312: "rpmbs",
    316: "edstt", 318: "dsto", 319: "fwug", 320: "kas", 322: "hctma", 324: "mntmt", 326: "mxtmt", 328: "sanicap", 332: "hmminds",
    336: "hmmaxd", 338: "nsetidmax", 340: "endgidmax", 342: "anatt", 343: "anacap", 344: "anagrpmax", 348: "nanagrpid", 352: "pels",
    512: "sqes", 513: "cqes", 514: "maxcmd", 516: "nn", 520: "oncs", 522: "fuses", 524: "fna", 525: "vwc", 526: "awun",
    528: "awupf", 530: "icsvscc", 531: "nwpc", 532: "acwu", 536: "sgls", 540: "mnan", 768: "subnqn",
}
SMARTCTL = {
    0: "nvme_pci_vendor.id", 2: "nvme_pci_vendor.subsystem_id", 4: "serial_number", 24: "model_name", 64: "firmware_version",
    73: "nvme_ieee_oui_identifier", 78: "nvme_controller_id", 516: "nvme_number_of_namespaces",
}
OUI, FRU_GUID = 73, 112


def organisation(number):
    """The OUI in hexadecimal: whole bytes without leading zero bytes, but at least one byte."""
    return number.to_bytes(max(1, (number.bit_length() + 7) // 8), "big").hex().upper()


def peers(field):
    if field.first == FRU_GUID:
        return [array(raw_bytes("id-ctrl-raw", field.first, field.length))]
    if field.form == "bytes":
        return [counter(key("id-ctrl-json", NVME_CLI[field.first], read=int))]
    ours = field.of(key("id-ctrl-json", NVME_CLI[field.first]))
    found = [text(ours) if field.form == "text" else ours]
    if field.first in SMARTCTL:
        found.append(key("smartctl", SMARTCTL[field.first]))
    return [peer.then(organisation) for peer in found] if field.first == OUI else found


FIELDS = {one.path: peers(one) for one in sources.page(DATATYPE, "NVME_IDENTIFY")}


def power_state(index):
    def state(name):
        return key("id-ctrl-json", "psds", read=lambda states: states[index][name]).named(f"psd{index} {name}")

    return {f"powerStateDesc[{index}].{name}": [peer] for name, peer in {
        "maxPower": state("max_power"),
        # nvme-cli's "flags" is the byte that contains both bits.
        "maxPowerScale": state("flags").bit(0),
        "nonOperationalState": state("flags").bit(1),
        "entryLatency": state("entry_lat"),
        "exitLatency": state("exit_lat"),
        "relativeReadThroughput": state("read_tput"),
        "relativeReadLatency": state("read_lat"),
        "relativeWriteThroughput": state("write_tput"),
        "relativeWriteLatency": state("write_lat"),
        "idlePower": state("idle_power"),
        "idlePowerScale": state("idle_scale"),
        "activePower": state("active_power"),
        "activePowerWorkload": state("active_power_work"),
        "activePowerScale": state("active_scale"),
    }.items()}


def fields(readings):
    """All power states. NPSS is zero-based: a drive has one power state more than the value."""
    states = range(readings["id-ctrl-json"]["npss"] + 1)
    return FIELDS | {path: found for index in states for path, found in power_state(index).items()}


# No drive of the guest has a maker's vendor area, so these messages must be absent.
ABSENT_BECAUSE = "no drive of the guest has a maker's vendor area"
ABSENT = sources.makers(DATATYPE)
