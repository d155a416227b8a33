"""A host in Python: ctypes and nothing of protobuf. observed_in_python.py BORDER_PY PLUGIN INSIGHT SIMULATED MACHINE"""
import ctypes
import json
import os
import sys

sys.path.insert(0, os.path.dirname(sys.argv[1]))
sys.path.insert(0, os.path.join(os.path.dirname(__file__), "../../tools"))
import border  # noqa: E402
import documents  # noqa: E402

library, insight_library, simulated = (ctypes.CDLL(os.path.abspath(path)) for path in sys.argv[2:5])


class Result(ctypes.Structure):
    _fields_ = [("structSize", ctypes.c_uint32), ("isFailure", ctypes.c_int32), ("text", border.Text)]


answers = ctypes.POINTER(Result)
texts = ctypes.POINTER(border.Text)


class Insight(ctypes.Structure):
    _fields_ = [("structSize", ctypes.c_uint32), ("version", ctypes.c_uint32),
                ("install", ctypes.CFUNCTYPE(answers, ctypes.c_size_t)), ("endPass", ctypes.CFUNCTYPE(answers)),
                ("findings", ctypes.CFUNCTYPE(answers)), ("health", ctypes.CFUNCTYPE(answers)),
                ("explain", ctypes.CFUNCTYPE(answers, texts, texts, texts)),
                ("messageJson", ctypes.CFUNCTYPE(answers, texts, texts)), ("free", ctypes.CFUNCTYPE(None, answers))]


insight_library.OrbisInsightTable.restype = ctypes.POINTER(Insight)
insight = insight_library.OrbisInsightTable().contents
library.OrbisPluginRegistration.restype = ctypes.POINTER(border.Registration)
plugin = library.OrbisPluginRegistration().contents


def answer(result):
    text, failed = str(result.contents.text), result.contents.isFailure
    insight.free(result)
    assert not failed, text
    return json.loads(text) if text else None


assert insight.version == 1 and insight.structSize >= ctypes.sizeof(Insight)
assert simulated.OrbisSimulatedUseMachineFile(sys.argv[5].encode(), None, ctypes.c_size_t(0)) == 0
answer(insight.install(0))
made = ctypes.c_void_p()
plugin.free(plugin.create(None, ctypes.byref(made)))
for is_new in (True, False):
    for operation in range(plugin.operationCount):
        plugin.free(plugin.collect(made, operation, None, None))
    answer(insight.endPass())
    report = answer(insight.findings())
    assert not documents.errors("findings", report), report
    found = report["finding"]
    assert {"access-denied", "drive-number-above-31"} <= {one["kind"] for one in found}, found
    assert all(one["text"] and one["remedy"] and one["isNew"] == is_new for one in found), found
health = answer(insight.health())
assert not documents.errors("health", health) and any(disk["verdict"] == "FAIL" for disk in health["disk"]), health
plugin.destroy(made)
