#pragma once

// Every public class of the library is marked with PELLIUM_EXPORT; the library is built with
// hidden visibility, so anything unmarked stays internal to libPellium.so.
#if defined(_WIN32)
#if defined(PELLIUM_BUILDING_LIBRARY)
#define PELLIUM_EXPORT __declspec(dllexport)
#else
#define PELLIUM_EXPORT __declspec(dllimport)
#endif
#else
#define PELLIUM_EXPORT __attribute__((visibility("default")))
#endif
