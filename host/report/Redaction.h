#pragma once

#include "orbis/insight/report.pb.h"

namespace orbis::host {

// Removes from a report what identifies a machine, disk or volume: serial numbers, identifiers, names that people gave.
// What may stay is a list, so a text that a later datatype adds is replaced until it is listed. The same text gets the same
// replacement in the whole report. Numbers, models and firmware revisions stay.
void Redact(insight::Report& report);

}  // namespace orbis::host
