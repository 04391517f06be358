#include "dsp/FrameGeometry.h"

namespace dsp {
namespace {

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
        // Half a frame is analysed; the block that is filtered lies two or three hops behind it.
        g.analysisLength = fftSize - half;
        g.hopSize = half / g.overlap;
        g.analysisOffset = (fftSize < 2049 ? 3 : 2) * g.hopSize;
        g.writePos = half - g.hopSize / 2 - fftSize / (g.overlap / 2) / 2 + g.hopSize;
        g.readOffset = g.writePos + g.analysisOffset;
        g.latencyBase = fftSize;
        g.latencyOffset = g.hopSize / 2 + half;
    } else {
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
