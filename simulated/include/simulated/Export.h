#pragma once

// Marks what the library orbis-simulated exports. On Windows it is linked statically.
#if defined(_WIN32)
#define ORBIS_SIMULATED_EXPORT
#else
#define ORBIS_SIMULATED_EXPORT __attribute__((visibility("default")))
#endif
