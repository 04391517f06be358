// SPDX-License-Identifier: MIT
/// Where frames lie in the stream, for an FFT size and a mode.
#ifndef QUIETFLOOR_DSP_FRAMEGEOMETRY_H
#define QUIETFLOOR_DSP_FRAMEGEOMETRY_H

namespace dsp {

/// All lengths and positions in samples. The input buffer holds the newest samples, the oldest of them at 0.
/// A frame runs whenever the write position reaches `FrameEnd()`; then everything moves down by one hop.
///
/// Gain per bin: the frame that is analysed is also the one that gets the gains. Only the two hops in its
/// middle, where the window is far from 0, are added to the output; neighbouring frames cross-fade there.
///
///     0                  N/2-hop  N/2  N/2+hop                 N = FrameEnd()
///     |--------------------|#######|#######|--------------------|   analysed, and windowed for the gains
///
/// Filter: the newest N/2 samples are analysed; what is filtered is a single hop that ends `analysisOffset`
/// behind the newest sample (up to 512 it lies before what is analysed, above within it). The filter's N
/// taps, half of which precede its peak, stretch that hop over the N samples of the output that it is added
/// to.
///
///     0         analysisOffset     N/2-hop   N/2            FrameEnd()
///     |--------------|================|#######|==============|        analysed: from analysisOffset on
struct FrameGeometry {
    bool filterMode = false;
    int fftSize = 0;        // N, length of the transforms
    int overlap = 0;        // hops in an analysis frame (nearly: 20 does not divide 16384)
    int hopSize = 0;        // samples from frame to frame
    int analysisLength = 0; // samples that a frame analyses, the newest ones
    int analysisOffset = 0; // older samples kept before them in the input buffer
    int writePos = 0;       // where the first input sample goes
    int readOffset = 0;     // how far the output's read position lies behind the write position
    int latencyBase = 0, latencyOffset = 0; // the two parts of `Latency`, as each mode counts them

    int FrameEnd() const noexcept { return analysisLength + analysisOffset; }

    /// Length of the input and output buffers.
    int BufferLength() const noexcept { return analysisOffset + 2 * fftSize; }

    /// The delay of the stream, in the mode that the parameter says: `filterMode` follows it at the next
    /// rebuild.
    int Latency(bool asFilter) const noexcept {
        return asFilter ? latencyOffset + analysisOffset : latencyBase / 2 + latencyOffset;
    }
};

/// For a power of two from 64 to 16384.
FrameGeometry MakeFrameGeometry(int fftSize, bool filterMode) noexcept;

} // namespace dsp

#endif
