#pragma once

// Marks what the shared library orbis-platform exports.
#if defined(_WIN32)
#if defined(ORBIS_PLATFORM_BUILD)
#define ORBIS_PLATFORM_EXPORT __declspec(dllexport)
#else
#define ORBIS_PLATFORM_EXPORT __declspec(dllimport)
#endif
#else
#define ORBIS_PLATFORM_EXPORT __attribute__((visibility("default")))
#endif
