/// Where frames lie in the stream, for an FFT size and a mode.
#ifndef QUIETFLOOR_DSP_FRAMEGEOMETRY_H
#define QUIETFLOOR_DSP_FRAMEGEOMETRY_H

namespace dsp {

/// All lengths and positions in samples. A frame runs whenever the input's write position reaches
/// `FrameEnd()`; then everything moves down by one hop.
struct FrameGeometry {
    bool filterMode = false;
    int fftSize = 0;        // N, length of the transforms
    int overlap = 0;        // hops in an analysis frame (nearly: 20 does not divide 16384)
    int hopSize = 0;        // samples from frame to frame
    int analysisLength = 0; // samples that a frame analyses, the newest ones
    int analysisOffset = 0; // older samples kept before them in the input buffer
    int writePos = 0;       // where the first input sample goes
    int readOffset = 0;     // how far the output's read position lies behind the write position
    int latencyBase = 0, latencyOffset = 0;

    int FrameEnd() const noexcept { return analysisLength + analysisOffset; }

    /// Length of the input and output buffers.
    int BufferLength() const noexcept { return analysisOffset + 2 * fftSize; }

    /// The delay of the stream, as the parameter of the mode stands: it may run ahead of `filterMode`
    /// until the next rebuild.
    int Latency(bool asFilter) const noexcept {
        return asFilter ? latencyOffset + analysisOffset : latencyBase / 2 + latencyOffset;
    }
};

/// For a power of two from 64 to 16384.
FrameGeometry MakeFrameGeometry(int fftSize, bool filterMode) noexcept;

} // namespace dsp

#endif
