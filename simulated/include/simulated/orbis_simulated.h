#ifndef ORBIS_SIMULATED_H
#define ORBIS_SIMULATED_H

/* Simulated machines for hosts in any language. */

#include <stddef.h> /* NOLINT(modernize-deprecated-headers): this is C. */

#include "simulated/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Puts the machine that the file at `path` (UTF-8, zero-terminated) describes in force for the whole process; a null path puts the
   operating system's own back. Call it before a plug-in object is made. The machine lives as long as the process.
   Returns 0. On failure returns 1, changes nothing, and writes a zero-terminated UTF-8 message that names file, line, column and
   field to `error` (at most `errorSize` bytes with the zero, never a part of a character; `error` may be null). */
ORBIS_SIMULATED_EXPORT int OrbisSimulatedUseMachineFile(const char* path, char* error, size_t errorSize);

#ifdef __cplusplus
}
#endif

#endif
