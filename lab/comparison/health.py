"""SMART / Health Information, field by field (NVM Express Base Specification 1.4, figure 194)."""

from .peers import approximation, counter, flags, key, raw_number

DATATYPE = "SmartNvmeInfo"


def smart_log(name, **how):
    return key("smart-log-json", name, **how)


def smartctl(name):
    return key("smartctl", f"nvme_smart_health_information_log.{name}")


def celsius(peer):
    """Kelvin in degrees Celsius; a sensor that reports nothing (0 K) is sent as 0."""
    return peer.then(lambda kelvin: kelvin - 273 if kelvin else 0)


COUNTERS = {
    "dataUnitRead": ("data_units_read", "data_units_read"),
    "dataUnitWritten": ("data_units_written", "data_units_written"),
    "hostReadCommands": ("host_read_commands", "host_reads"),
    "hostWrittenCommands": ("host_write_commands", "host_writes"),
    "controllerBusyTime": ("controller_busy_time", "controller_busy_time"),
    "powerCycles": ("power_cycles", "power_cycles"),
    "powerOnHours": ("power_on_hours", "power_on_hours"),
    "unsafeShutdowns": ("unsafe_shutdowns", "unsafe_shutdowns"),
    "mediaAndDataIntegrityErrors": ("media_errors", "media_errors"),
    "numberOfErrorInfoLogEntries": ("num_err_log_entries", "num_err_log_entries"),
}

FIELDS = {
    "healthInfo.compositeTemperature": [celsius(smart_log("temperature")), smartctl("temperature")],
    "healthInfo.availableSpare": [smart_log("avail_spare"), smartctl("available_spare")],
    "healthInfo.availableSpareThreshold": [smart_log("spare_thresh"), smartctl("available_spare_threshold")],
    "healthInfo.percentageUsed": [smart_log("percent_used"), smartctl("percentage_used")],
    **{f"healthInfo.{name}": [counter(smart_log(nvme, read=int)), counter(smartctl(smart))]
       for name, (nvme, smart) in COUNTERS.items()},
    "healthInfo.warningCompositeTemperatureTime": [smart_log("warning_temp_time"), smartctl("warning_temp_time")],
    "healthInfo.criticalCompositeTemperatureTime": [smart_log("critical_comp_time"), smartctl("critical_comp_time")],
    # nvme-cli leaves out the sensors that report nothing, so these come from the page itself.
    **{f"healthInfo.temperatureSensor{sensor}":
       [celsius(raw_number("smart-log-raw", 198 + 2 * sensor, 2))] for sensor in range(1, 9)},
    "healthInfo.thermalMgmtTemperature1TransitionCount": [smart_log("thm_temp1_trans_count")],
    "healthInfo.thermalMgmtTemperature2TransitionCount": [smart_log("thm_temp2_trans_count")],
    "healthInfo.totalTimeForThermalMgmtTemperature1": [smart_log("thm_temp1_total_time")],
    "healthInfo.totalTimeForThermalMgmtTemperature2": [smart_log("thm_temp2_total_time")],
    **{f"healthInfo.{name}Approximate": [approximation(smart_log(nvme, read=int)), approximation(smartctl(smart))]
       for name, (nvme, smart) in COUNTERS.items()},
    **flags("healthInfo.criticalWarning", smart_log("critical_warning"), {
        "lowAvailableSpace": 0,
        "outOfTemperatureThreshold": 1,
        "degradedReliability": 2,
        "readOnly": 3,
        "failedVolatileMemoryBackupDevice": 4,
        "unreliablePersistentMemoryRegion": 5,
    }),
    **flags("healthInfo.enduranceGroupCriticalWarningSummary", smart_log("endurance_grp_critical_warning_summary"), {
        "lowAvailableSpareCapacity": 0,
        "degradedReliability": 2,
        "readOnly": 3,
    }),
}


def fields(_readings):
    return FIELDS


# No drive of the guest has a maker's health log, so the only right answer is that this message is not there.
ABSENT_BECAUSE = "no drive of the guest has a maker's health log"
ABSENT = [
    "customizedHealthInfo.wearLevelingCount",
    "customizedHealthInfo.usedReservedBlockCountWorstCaseComponent",
    "customizedHealthInfo.usedReservedBlockCountSsdTotal",
    "customizedHealthInfo.reservedBlockCountSsdTotal",
    "customizedHealthInfo.minimumTemperature",
    "customizedHealthInfo.maximumTemperature",
    "customizedHealthInfo.totalDataWrittenByController",
    "customizedHealthInfo.accumulatedHostActiveIdleCounter",
    "customizedHealthInfo.accumulatedNonOperationalPowerStateCounter",
    "customizedHealthInfo.abnormalInputVccVoltageCounter",
    "customizedHealthInfo.totalDataWrittenByControllerApproximate",
]
