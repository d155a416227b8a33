#pragma once

#include "orbis/insight/report.pb.h"

namespace orbis::host {

// Takes out of a report what tells one machine, disk or volume from another: serial numbers, identifiers, names that people gave.
// What may stay is a list, so a text that a later datatype adds is replaced until it is listed. The same text gets the same
// replacement in the whole report. Numbers, models and firmware revisions stay.
void Redact(insight::Report& report);

}  // namespace orbis::host
