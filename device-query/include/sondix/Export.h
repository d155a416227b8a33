#pragma once

// SX_EXPORT marks the six functions that the library exports. Intentional: users get no dllimport, so the same objects can be
// linked with the library or with a stand-in. SX_CALL is the calling convention of the exports. Accessors are ordinary member
// functions; 64-bit Windows has one convention.
#if defined(_WIN32)
#if defined(SONDIX_BUILD)
#define SX_EXPORT __declspec(dllexport)
#else
#define SX_EXPORT
#endif
#define SX_CALL __cdecl
#else
#define SX_EXPORT __attribute__((visibility("default")))
#define SX_CALL
#endif
