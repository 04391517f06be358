// SPDX-License-Identifier: MIT
/// What a frame needs around its transforms, as one table of functions per processor level.
///
/// Rows are arrays over samples or bins, best on a 64-byte line. A kernel runs over whole vectors: `count` is
/// a multiple of 16, or the rows are readable and writable up to the next one. In each struct the sources
/// stand first, what is written last.
#ifndef QUIETFLOOR_DSP_KERNELS_FRAMEKERNELS_H
#define QUIETFLOOR_DSP_KERNELS_FRAMEKERNELS_H

namespace quietfloor {

/// Two real frames that went through one complex transform as a + i b.
struct PackedSpectrumRows {
    const double *packedRe, *packedIm; // 2 halfSize bins
    double *magnitude;                 // |A[k]| scale at index k - 1, k = 1 .. halfSize
    double *re, *im;                   // B[k], k = 0 .. halfSize; no alignment needed
};

/// Half a spectrum of a real signal and the complex transform of half its length that gives it back.
struct RealInverseRows {
    const double *re, *im;               // X[k], k = 0 .. halfSize
    const double *factor;                // real, on each X[k]
    const double *twiddleRe, *twiddleIm; // e^(2 pi i k / (2 halfSize)), k < halfSize
    double *packedRe, *packedIm;         // halfSize bins, whose inverse is x[2n] + i x[2n + 1]
};

struct FrameKernels {
    void (*ApplyWindow)(const float *samples, const double *window, double *frame, int count);
    void (*SplitPackedSpectrum)(const PackedSpectrumRows &rows, double scale, int halfSize);
    void (*PackRealInverse)(const RealInverseRows &rows, int halfSize);
    /// Even and odd values side by side, `count` of each.
    void (*InterleaveSamples)(const double *even, const double *odd, double *frame, int count);
    /// output += frame * weight, each product limited to +-1e36 and rounded first, the sum in float.
    void (*AddWeighted)(const double *frame, const double *weight, float *output, int count);
    /// 20 log10(magnitude) + offsetDb
    void (*LevelsDb)(const double *magnitude, double offsetDb, double *levelDb, int count);
};

extern const FrameKernels kPortableFrameKernels, kAvx2FrameKernels, kAvx512FrameKernels;

/// The kernels of the level that `CpuDispatchIndex` names.
const FrameKernels &SelectedFrameKernels();

} // namespace quietfloor

#endif
