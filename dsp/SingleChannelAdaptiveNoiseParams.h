// SPDX-License-Identifier: MIT
/// The working record: everything that a noise reducer needs while it runs, rebuilt whole.
#ifndef QUIETFLOOR_DSP_SINGLECHANNELADAPTIVENOISEPARAMS_H
#define QUIETFLOOR_DSP_SINGLECHANNELADAPTIVENOISEPARAMS_H

#include <array>
#include <cstdint>
#include <optional>

#include "dsp/FrameGeometry.h"
#include "dsp/LevelCompander.h"
#include "dsp/PreparedTransform.h"
#include "dsp/SingleChannelAdaptiveNoise.h"
#include "dsp/kernels/FrameKernels.h"
#include "noise/NoiseRemover.h"
#include "simd/AlignedRow.h"

namespace dsp {

inline constexpr int ditherLength = 4096;
inline constexpr float highestDither = 1e-9f;
inline constexpr int designMargin = 3; // bins on each side that the filter design's window reaches over

/// What the noise engine calls an estimator of the object.
constexpr quietfloor::Estimator EngineEstimator(SingleChannelAdaptiveNoise::Estimator estimator) noexcept {
    return estimator == SingleChannelAdaptiveNoise::kLogSpectral ? quietfloor::Estimator::logSpectral
                                                                 : quietfloor::Estimator::gate;
}

/// N is the FFT size, H = N / 2, P the hop. Copying makes an independent record that goes on as the
/// original would.
struct SingleChannelAdaptiveNoiseParams {
    template <class T>
    using Row = quietfloor::Row<T>;

    // Fixed from the rebuild on.
    int requestedFftSize = 0; // differs from geometry.fftSize while a rebuild is pending
    FrameGeometry geometry;
    const quietfloor::FrameKernels *kernels = nullptr;
    std::optional<PreparedTransform> fftData;     // N points
    std::optional<PreparedTransform> halfFftData; // H points: the inverse of a real signal's spectrum
    Row<double> twiddleReal, twiddleImag;         // H each: e^(2 pi i k / N)
    Row<double> analysisWindow;                   // on the analysis frame, analysisLength
    Row<double> frameWindow;                      // N: on the frame that gets the gains
    Row<double> outputWeight;                     // what a synthesised frame is added with, in whole vectors
    Row<float> DitherTable;                       // ditherLength values, within +-highestDither
    unsigned historyCount = 1; // the gains are for the spectrum of so many frames ago, 0 to 3
    bool adaptEnabled = true;  // frames are analysed; otherwise the gains stay as they are

    // Carried from frame to frame.
    Row<float> inputBuffer;  // BufferLength(): the newest input ends at writePos
    Row<float> outputBuffer; // BufferLength(): overlap-add accumulator, finished samples in front
    int writePos = 0;
    int ditherIndex = 0;
    int samplesSinceFrame = 0;
    std::int64_t compInputPos = 0;  // samples that frames have taken
    std::int64_t compOutputPos = 0; // input position of the next output sample; negative at first
    std::uint64_t frameCount = 0;
    std::array<Row<double>, 3> historySpectra; // H + 1 each: past magnitudes
    Row<double> gain;                          // H + 1: linear
    Row<double> xfmReal;                       // H + 1: the filter's transfer function, which is real
    std::optional<quietfloor::CNoiseRemover> noiseRemover;
    std::optional<quietfloor::LevelCompander> compander; // none unless attached after a rebuild

    // Scratch of one frame, in the order of writing.
    Row<double> frameData, frameImag;       // N: two real frames, their packed spectrum, one result;
                                            // of no use from the gains to their application
    Row<double> magnitude;                  // H + 1: linear; entry k - 1 belongs to bin k
    Row<double> levelSpectrum;              // H + 1: dB, shifted alike, -200 at both ends
    Row<double> spectrumReal, spectrumImag; // H + 1: of the frame that gets the gains
    Row<double> filterReal;                 // H + 1 and a margin at both ends: the filter's design
};

} // namespace dsp

#endif
