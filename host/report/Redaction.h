#pragma once

#include "orbis/insight/report.pb.h"

namespace orbis::host {

// Replaces everything in a report that identifies a machine, disk or volume: serial numbers, identifiers, names that people gave.
// Redaction.cpp lists the texts that are kept, so a text of a later datatype is replaced until it is listed. The same text gets the
// same replacement in the whole report. Numbers, models and firmware revisions are kept.
void Redact(insight::Report& report);

}  // namespace orbis::host
