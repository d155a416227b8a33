#pragma once

// Marks what the shared library orbis-insight exports; on Windows its C++ interface is linked statically and nothing needs a mark.
#if defined(_WIN32)
#define ORBIS_INSIGHT_EXPORT
#else
#define ORBIS_INSIGHT_EXPORT __attribute__((visibility("default")))
#endif
