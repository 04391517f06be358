/// Builds a level's table of per-bin kernels out of its vector types.
#ifndef QUIETFLOOR_FFT_ENGINE_PERBINTABLE_H
#define QUIETFLOOR_FFT_ENGINE_PERBINTABLE_H

#include "fft/engine/ModulationBody.h"
#include "fft/engine/NoiseGainBody.h"
#include "fft/engine/SpectralBody.h"
#include "fft/engine/TrackerBody.h"

namespace {

template <class F, class D>
constexpr FftEngine::PerBinKernels PerBinKernelsOver() {
    return {ApplyWindow<D>,       SplitPackedSpectrum<D>, PackRealInverse<D>,
            InterleaveSamples<D>, AddWeighted<F, D>,      LevelsDb<D>,
            FollowReference<D>,   Spread<D, 1>,           Spread<D, -1>,
            SquaredExcess<D>,     SmoothGain<D>,          ShapeOutput<D>,
            FollowLevel<D>,       ShareEvidence<D>,       MoveFloors<D>,
            CountFloors<D>,       FeedModulation<D>,      TransformModulation<F>,
            ScoreModulation<F, D>};
}

} // namespace

#endif
