#include "SimulatedMachine.h"

namespace orbis::host {

// Linked into the program, as every library with a C++ interface is on Windows.
const simulated::Library& SimulatedLibrary() { return *OrbisSimulatedLibrary(); }

}  // namespace orbis::host
