// SPDX-License-Identifier: MIT
/// What a host's spec pointer points to: one transform length, prepared for one processor level.
#ifndef QUIETFLOOR_FFT_ENGINE_SPECRECORD_H
#define QUIETFLOOR_FFT_ENGINE_SPECRECORD_H

#include "fft/engine/FftEngine.h"
#include "fft/kernels/EngineKernels.h"

namespace FftEngine {

inline constexpr std::int32_t kSpecKindComplex32f = 5;
inline constexpr std::int32_t kSpecKindComplex64f = 8;

template <class Real>
struct SpecRecord {
    std::int32_t kind; // first in both records, so that a wrong one is recognised
    std::int32_t order;
    std::int32_t forwardScaled;
    std::int32_t inverseScaled;
    Real scale;
    std::int32_t hint;
    std::int32_t workBytes; // without the slack for alignment to 32; 0 for small orders
    std::int32_t engineOwned;
    const EngineKernels *kernels; // the level that the tables are laid out for
    RowPlan<Real> rows;
    BlockedPlan<Real> blocked;
};

struct FftSpec32f : SpecRecord<float> {};
struct FftSpec64f : SpecRecord<double> {};

} // namespace FftEngine

#endif
