"""The package orbis_storage on the example machines. usage: python_package_test.py PLUGIN SIMULATED_LIBRARY MACHINES GOLDEN [TEST]

A machine is put in force for a whole process, so each test runs in a process of its own.
"""

import json
import logging
import pathlib
import subprocess
import sys

from google.protobuf.json_format import ParseDict

import orbis_storage

plugin_file, simulated, machines, golden = sys.argv[1:5]
machines, golden = pathlib.Path(machines), pathlib.Path(golden)


def raises(kind, function, *arguments, **named):
    try:
        function(*arguments, **named)
    except kind as error:
        return error
    raise AssertionError(f"no {kind.__name__}")


def as_the_host_prints(machine):
    """Every message of a machine as orbis-host prints it, but for what depends on when it was asked."""
    orbis_storage.use_machine(machines / f"{machine}.txtpb", simulated)
    collected = []
    with orbis_storage.Plugin(plugin_file) as plugin:
        for operation in plugin.operations:
            try:
                items = plugin.collect(operation.datatype) or []
            except orbis_storage.CollectionError:
                continue
            collected += [(operation.datatype.rpartition(".")[2], item) for item in items]
    printed = json.loads((golden / f"{machine}.json").read_text(encoding="utf-8"))
    assert [(datatype, item.item_id) for datatype, item in collected] == [(line["datatype"], line["itemId"]) for line in printed]
    for (datatype, item), line in zip(collected, printed):
        if datatype != "PhysicalDiskDynamicInfo":
            expected = None if line["data"] is None else ParseDict(line["data"], type(item.message)())
            assert item.message == expected, f"{item.message}\nis not\n{expected}"


def failures():
    """Exceptions, their texts, and that the package can be used afterwards."""
    assert "no plug-in" in str(raises(orbis_storage.PluginLoadError, orbis_storage.Plugin, simulated))
    raises(orbis_storage.PluginLoadError, orbis_storage.Plugin, "no such file.so")
    assert "README.md:3:1" in str(raises(orbis_storage.MachineFileError, orbis_storage.use_machine, golden / "../../README.md", simulated))
    orbis_storage.use_machine(machines / "workstation.txtpb", simulated)

    def collect(datatype="SmartNvmeInfo", **named):
        return orbis_storage.collect(datatype, plugin=plugin_file, **named)

    assert "SmartNvmeInfo" in str(raises(orbis_storage.OrbisError, collect, "NoSuchInfo"))
    missing = raises(orbis_storage.ItemNotFoundError, collect, item_id="Disk_none")
    assert [failure.type_name.rpartition(".")[2] for failure in missing.chain()] == ["ZelException", "ArgumentOutOfRangeException"]
    assert missing.__cause__ is missing.inner
    assert str(raises(orbis_storage.CanceledError, collect, is_cancelled=lambda: True)) == "The operation was canceled."
    # An exception in the host's own function is not lost in C.
    raises(ZeroDivisionError, collect, is_cancelled=lambda: 1 // 0)
    lines = []
    orbis_storage.collector.logger.addFilter(lambda line: lines.append(line) or False)
    logging.getLogger("orbis_storage").setLevel(logging.DEBUG)
    assert len(collect()) == 3
    assert any("SmartNvmeInfo" in line.pathname and line.lineno > 0 and "::" in line.funcName for line in lines)
    with orbis_storage.Plugin(plugin_file) as closed:
        pass
    raises(orbis_storage.OrbisError, closed.collect, "SmartNvmeInfo")


def insight():
    """Findings, health and explanations of a pass, and the disks that a host leaves out."""
    orbis_storage.use_machine(machines / "hostile.txtpb", simulated)
    knows = orbis_storage.Insight(plugin_file)
    knows.install()
    raises(orbis_storage.OrbisError, knows.install)
    items = orbis_storage.collect("SmartNvmeInfo", plugin=plugin_file)
    knows.end_pass()
    assert knows.findings()["finding"][0]["kind"] and knows.health()["formatVersion"] == 1
    explained = knows.explain(items[0].message, items[0].item_id)
    same = knows.message_json(items[0].message.DESCRIPTOR.full_name, items[0].message.SerializeToString())
    assert ParseDict(same, type(items[0].message)()) == items[0].message
    assert any(field.get("value") for field in explained["field"]), explained
    assert knows.waits().get("wait", []) == [] and knows.skip_sleeping_disks()["formatVersion"] == 1
    knows.hide_disk(0)
    hidden = orbis_storage.collect("PhysicalDiskStaticInfo", plugin=plugin_file)
    knows.hide_disk(0, False)
    assert len(orbis_storage.collect("PhysicalDiskStaticInfo", plugin=plugin_file)) > len(hidden)


if len(sys.argv) > 5:
    name = sys.argv[5]
    {"failures": failures, "insight": insight}.get(name, lambda: as_the_host_prints(name))()
else:
    tests = ["failures", "insight", *(file.stem for file in sorted(golden.glob("*.json")))]
    failed = [test for test in tests if subprocess.run([sys.executable, *sys.argv, test], check=False).returncode]
    print(f"{len(tests)} tests, failed: {', '.join(failed) or 'none'}")
    sys.exit(bool(failed))
