// SPDX-License-Identifier: MIT
/// One processor level of the engine: a table of plain functions, and all that dispatch knows of it.
#ifndef QUIETFLOOR_FFT_KERNELS_ENGINEKERNELS_H
#define QUIETFLOOR_FFT_KERNELS_ENGINEKERNELS_H

#include "fft/kernels/Plans.h"

namespace FftEngine {

struct RowShape {
    std::int32_t lanes, width;
};

template <class Real>
struct TransformKernels {
    using Small = void (*)(const Real *srcRe, const Real *srcIm, Real *dstRe, Real *dstIm, Real scale);

    Small small[kMaxSmallOrder + 1];
    Small smallScaled[kMaxSmallOrder + 1];
    /// Whether butterflies of 8 and 16 fit the vector registers.
    bool hasManyRegisters;
    /// How orders 6 to 16 are laid out.
    RowShape (*shape)(std::int32_t order);
    /// Forward transforms, multiplied by `scale`. `work` is aligned to kTableAlignment.
    void (*row)(Split<const Real> src, Split<Real> dst, const RowPlan<Real> &plan, Real *work, Real scale);
    void (*blocked)(Split<const Real> src, Split<Real> dst, const BlockedPlan<Real> &plan, Real *work,
                    Real scale);
};

/// Sums of x - origin and of its square.
struct Moments {
    double sum, squares;
};

struct EngineKernels {
    TransformKernels<float> transform32f;
    TransformKernels<double> transform64f;
    void (*magnitude)(const float *re, const float *im, float *dst, std::int32_t len);
    Moments (*moments)(const float *src, std::int32_t len, float origin);
};

extern const EngineKernels kPortableKernels, kAvx2Kernels, kAvx512Kernels;

} // namespace FftEngine

#endif
