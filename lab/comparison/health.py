"""SMART / Health Information, field by field (NVM Express Base Specification 1.4, figure 194)."""

from . import sources
from .peers import approximation, counter, key, raw_number

DATATYPE = "SmartNvmeInfo"

# nvme-cli's name of the field that begins at a byte.
NVME_CLI = {
    0: "critical_warning", 1: "temperature", 3: "avail_spare", 4: "spare_thresh", 5: "percent_used",
    6: "endurance_grp_critical_warning_summary", 32: "data_units_read", 48: "data_units_written", 64: "host_read_commands",
    80: "host_write_commands", 96: "controller_busy_time", 112: "power_cycles", 128: "power_on_hours", 144: "unsafe_shutdowns",
    160: "media_errors", 176: "num_err_log_entries", 192: "warning_temp_time", 196: "critical_comp_time",
    216: "thm_temp1_trans_count", 220: "thm_temp2_trans_count", 224: "thm_temp1_total_time", 228: "thm_temp2_total_time",
}
# smartctl's name where it differs, or none.
SMARTCTL = {
    0: None, 3: "available_spare", 4: "available_spare_threshold", 5: "percentage_used", 6: None, 64: "host_reads", 80: "host_writes",
    216: None, 220: None, 224: None, 228: None,
}


def celsius(kelvin):
    """A sensor that reports nothing (0 K) is sent as 0."""
    return kelvin - 273 if kelvin else 0


def peers(field):
    if field.first not in NVME_CLI:  # nvme-cli leaves out the sensors that report nothing, so these come from the page itself
        return [raw_number("smart-log-raw", field.first, field.length).then(celsius)]
    ours = key("smart-log-json", NVME_CLI[field.first], read=int if field.form else lambda value: value)
    found = [ours.then(celsius) if field.first == 1 else field.of(ours)]
    name = SMARTCTL.get(field.first, NVME_CLI[field.first])
    return found + ([key("smartctl", f"nvme_smart_health_information_log.{name}")] if name else [])


FORMS = {"bytes": counter, "double": approximation}
FIELDS = {one.path: [FORMS.get(one.form, lambda peer: peer)(peer) for peer in peers(one)]
          for one in sources.page(DATATYPE, "NVME_HEALTH_LOG")}


def fields(_readings):
    return FIELDS


# No drive of the guest has a maker's health log, so the only right answer is that this message is not there.
ABSENT_BECAUSE = "no drive of the guest has a maker's health log"
ABSENT = sources.makers(DATATYPE)
