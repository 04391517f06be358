// SPDX-License-Identifier: MIT
/// The tables of a spec: how much room they take, where they lie, what they hold.
#ifndef QUIETFLOOR_FFT_ENGINE_SPECTABLES_H
#define QUIETFLOOR_FFT_ENGINE_SPECTABLES_H

#include "fft/engine/SpecRecord.h"

namespace FftEngine {

/// Plans spec.order for spec.kernels and sets the plans, their table addresses from `tables` on and the
/// work-buffer size. Returns the bytes of all tables. `tables` is aligned to kTableAlignment; with a null one
/// the addresses mean nothing, and the call serves to learn the size.
template <class Real>
std::int64_t LayOutTables(SpecRecord<Real> &spec, std::uint8_t *tables);

/// Computes the tables of a spec that has been laid out.
template <class Real>
void FillTables(const SpecRecord<Real> &spec);

} // namespace FftEngine

#endif
