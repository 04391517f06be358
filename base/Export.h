// SPDX-License-Identifier: MIT
/// @file
/// The library's one export macro and its version; includes nothing, so that any file may include it.
#ifndef QUIETFLOOR_BASE_EXPORT_H
#define QUIETFLOOR_BASE_EXPORT_H

// The version lives here only; CMake, the package files and the program read it from these lines.
#define QUIETFLOOR_VERSION_MAJOR 0 ///< incremented when hosts must be rebuilt
#define QUIETFLOOR_VERSION_MINOR 1 ///< incremented when the interface grows
#define QUIETFLOOR_VERSION_PATCH 0 ///< incremented for fixes

#define QUIETFLOOR_TEXT_OF(value) #value
#define QUIETFLOOR_JOIN_VERSION(major, minor, patch)                                                         \
    QUIETFLOOR_TEXT_OF(major) "." QUIETFLOOR_TEXT_OF(minor) "." QUIETFLOOR_TEXT_OF(patch)
/// "major.minor.patch"
#define QUIETFLOOR_VERSION                                                                                   \
    QUIETFLOOR_JOIN_VERSION(QUIETFLOOR_VERSION_MAJOR, QUIETFLOOR_VERSION_MINOR, QUIETFLOOR_VERSION_PATCH)

/// Before each exported name. QUIETFLOOR_STATIC is defined by users of the static library,
/// QUIETFLOOR_BUILDING by the build of the shared one; without either, names are imported from the shared
/// library.
#if defined(QUIETFLOOR_STATIC)
#define QUIETFLOOR_API
#elif defined(_WIN32)
#if defined(QUIETFLOOR_BUILDING)
#define QUIETFLOOR_API __declspec(dllexport)
#else
#define QUIETFLOOR_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define QUIETFLOOR_API __attribute__((visibility("default")))
#else
#define QUIETFLOOR_API
#endif

#endif
