"""`orbis-host explain` in the guest: every field of every message has an explanation."""

DATATYPES = {"PhysicalDiskStaticInfo", "PhysicalDiskDynamicInfo", "SmartStaticInfo", "SmartDynamicInfo", "SmartNvmeInfo",
             "NvmeIdentifyControllerData"}


def compare(report, _schema, table):
    messages = report.orbis("orbis/explain").get("message", [])
    table.title("What orbis-host explains")
    table.require("every datatype", {message["datatype"] for message in messages} == DATATYPES)
    for message in messages:
        name = f"{message['datatype']} of {message.get('name') or message['itemId']}"
        if not message["field"]:
            table.require(f"{name}: why there is no message", bool(message["reason"]))
            continue
        wrong = [field["field"] for field in message["field"] if not is_explained(field)]
        untimed = [request["request"] for request in message["request"] if request.get("milliseconds", 0) <= 0]
        table.require(f"{name}: {len(message['field'])} fields explained", not wrong, wrong)
        table.require("  and each request timed", bool(message["request"]) and not untimed, untimed)


def is_explained(field):
    if not field.get("source"):
        return False
    # A constant and another field of the message have no bytes of their own.
    is_derived = field.get("state") == "SET" and not any(letter in field["source"] for letter in " .")
    return bool(is_derived or field.get("raw") or field.get("reason"))
