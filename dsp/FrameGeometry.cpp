// SPDX-License-Identifier: MIT
#include "dsp/FrameGeometry.h"

namespace dsp {
namespace {

// Long frames overlap more, so that a hop stays near 512 samples; short filters less, at half the cost.
int ChooseOverlap(int fftSize, bool filterMode) noexcept {
    if (fftSize >= 16384)
        return 20;
    if (fftSize >= 8192)
        return 16;
    if (fftSize >= 4096)
        return 8;
    return filterMode && fftSize <= 512 ? 2 : 4;
}

} // namespace

FrameGeometry MakeFrameGeometry(int fftSize, bool filterMode) noexcept {
    FrameGeometry g;
    const int half = fftSize / 2;
    g.filterMode = filterMode;
    g.fftSize = fftSize;
    g.overlap = ChooseOverlap(fftSize, filterMode);
    if (filterMode) {
        // The hop that is filtered lies two or three hops behind the newest sample. The stream starts half a
        // hop past the beginning of one, so that half a hop is part of the latency, beside the filter's own
        // N/2.
        g.analysisLength = fftSize - half;
        g.hopSize = half / g.overlap;
        g.analysisOffset = (fftSize < 2049 ? 3 : 2) * g.hopSize;
        g.writePos = half - g.hopSize / 2 - fftSize / (g.overlap / 2) / 2 + g.hopSize;
        g.readOffset = g.writePos + g.analysisOffset;
        g.latencyBase = fftSize;
        g.latencyOffset = g.hopSize / 2 + half;
    } else {
        // The read position is the end of what the frame after next still adds to: N/4 + N/2 behind the
        // newest sample, and a hop more because the output moves on only when the next frame runs.
        g.analysisLength = fftSize;
        g.hopSize = fftSize / g.overlap;
        g.writePos = half;
        g.readOffset = fftSize - half / 2;
        g.latencyBase = half;
        g.latencyOffset = g.hopSize + half;
    }
    return g;
}

} // namespace dsp
