// SPDX-License-Identifier: MIT
/// Where frames lie at every FFT size and in both modes, as plain numbers that tests compare with.
#ifndef QUIETFLOOR_TESTS_GEOMETRIES_H
#define QUIETFLOOR_TESTS_GEOMETRIES_H

#include <algorithm>
#include <array>

/// In samples. The first frame runs when `frameEnd - writePos` samples have come, then one every hop.
struct Geometry {
    int fftSize;
    bool filterMode;
    int overlap, hop, analysisLength, analysisOffset, writePos, readOffset, frameEnd, latency;
    bool operator==(const Geometry &) const = default;
};

inline constexpr std::array<Geometry, 18> geometries = {{
    {64, false, 4, 16, 64, 0, 32, 48, 64, 64},
    {128, false, 4, 32, 128, 0, 64, 96, 128, 128},
    {256, false, 4, 64, 256, 0, 128, 192, 256, 256},
    {512, false, 4, 128, 512, 0, 256, 384, 512, 512},
    {1024, false, 4, 256, 1024, 0, 512, 768, 1024, 1024},
    {2048, false, 4, 512, 2048, 0, 1024, 1536, 2048, 2048},
    {4096, false, 8, 512, 4096, 0, 2048, 3072, 4096, 3584},
    {8192, false, 16, 512, 8192, 0, 4096, 6144, 8192, 6656},
    {16384, false, 20, 819, 16384, 0, 8192, 12288, 16384, 13107},
    {64, true, 2, 16, 32, 48, 8, 56, 80, 88},
    {128, true, 2, 32, 64, 96, 16, 112, 160, 176},
    {256, true, 2, 64, 128, 192, 32, 224, 320, 352},
    {512, true, 2, 128, 256, 384, 64, 448, 640, 704},
    {1024, true, 4, 128, 512, 384, 320, 704, 896, 960},
    {2048, true, 4, 256, 1024, 768, 640, 1408, 1792, 1920},
    {4096, true, 8, 256, 2048, 512, 1664, 2176, 2560, 2688},
    {8192, true, 16, 256, 4096, 512, 3712, 4224, 4608, 4736},
    {16384, true, 20, 409, 8192, 818, 7578, 8396, 9010, 9214},
}};

/// The row of a size and a mode that the table has.
inline const Geometry &GeometryOf(int fftSize, bool filterMode) {
    return *std::find_if(geometries.begin(), geometries.end(), [&](const Geometry &g) {
        return g.fftSize == fftSize && g.filterMode == filterMode;
    });
}

#endif
