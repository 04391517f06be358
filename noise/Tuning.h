// SPDX-License-Identifier: MIT
/// Every constant of the noise algorithm: its name, its unit and what it does.
///
/// They were tuned by ear and belong together, so the literals stand as they were found: a neater form of
/// one (1 / 0.15 for 6.666666666666666, say) differs in the last bit and would change the output. Where two
/// steps need the same number it stands here once.
#ifndef QUIETFLOOR_NOISE_TUNING_H
#define QUIETFLOOR_NOISE_TUNING_H

namespace quietfloor::tuning {

// Levels.

constexpr double levelOffsetDb = 4.6;              // dB: on 20 log10 of a magnitude
constexpr double levelOffset = 1.6982436524617444; // the same as a linear factor
constexpr double highestMagnitude = 1e16; // linear: more would overflow the modulation's float squares
constexpr double lowestLevelDb = -400.0;  // dB: an exact zero (-infinity) counts as this in the tracker
constexpr double highestLevelDb = 400.0;  // dB

// First-order low-pass of levels and magnitudes, w = x - a1 w', y = b0 w + b1 w'. Its gain at zero frequency,
// (b0 + b1) / (1 + a1), is 1, and its time constant 9 frames.

constexpr double lowPassB0 = 0.06628679254662644;
constexpr double lowPassB1 = 0.03621344803260061;
constexpr double lowPassA1 = -0.897499759420773;

// What the engine makes of the settings that it is given.

constexpr double fullStrength = 100.0;         // percent
constexpr double strengthOffsetDb = 5.0;       // dB on the detection offset at full strength,
constexpr double offsetShiftDb = 1.0;          // dB: and off it at any
constexpr double usualOffsetDb = 2.0;          // dB: no shift of the log-spectral estimate of the noise
constexpr double sensitivityOctave = 10.0;     // steps of sensitivity that double the decision level
constexpr double strengthDecision = 51.0;      // decision level, times decisionScale, more at full strength
constexpr double decisionAtNoStrength = 9.0;   // and without strength
constexpr double decisionScale = 150.0;        // the settings hold the decision level times this
constexpr double strengthRateDb = 20.0;        // dB/s that any floor may rise, more at full strength
constexpr double rateAtNoStrengthDb = 2.0;     // dB/s
constexpr double thresholdBaseDb = 8.5;        // dB from a bin's minimum level to its floor
constexpr double thresholdPerOctave = 0.5;     // dB less for every doubling of the FFT size
constexpr double thresholdOverMinimumDb = 6.8; // dB more, at any size and knee
constexpr double thresholdPerKneeDb = 0.6;     // dB per dB of knee, which hangs below the floor
constexpr double evidenceSeconds = 0.25;       // s of noise, halved, before a floor may move

// Reference: the level that is held against the floor.

constexpr double remainder60Db = 0.001; // what is left after 60 dB of decay
constexpr double riseMs = 10.0;         // ms in which a rising reference moves by 60 dB
constexpr double spreading = 0.2;       // of reference, floor and gains, to the neighbouring bins

// Start and end of the reduction.

constexpr double gateDb = -110.0; // dB: mean level of a frame that starts the tracking
constexpr double lossDb = -140.0; // dB: mean floor that ends it
constexpr double noFloor = 1e-6;  // linear: stands for a floor that is not known yet

// Transient boost.

constexpr double boostTrigger = 0.7;     // dB: deviation score of a frame that counts as an onset
constexpr double boostScale = 3.0;       // dB of boost per dB of that score
constexpr double boostDecayDb = 60000.0; // mdB: 60 dB
constexpr double boostDecayTime = 40.0;  // ms: nominally the time for that
constexpr double fluxOffsetDb = 3.5;     // dB: rms rise of the spectrum that steady noise has by itself

// Deviation: how far a neighbourhood of bins stands above its floor.

constexpr double excessLimitDb = 3.0;                   // dB: more excess counts as this
constexpr double excessLimitRatio = 1.4125375446227544; // the same as a linear factor
constexpr double clearedSum = 1e-5; // dB^2: a running sum below this is accumulated rounding

// Gain of a bin that is at its floor. The less its score reaches of the decision level, the surer the bin is
// noise; the less its level varies, the steadier.

constexpr double sureNoiseRatio = 0.85; // score over decision level: full extra reduction up to here
constexpr double sureNoiseSlope = 6.666666666666666; // and none at 1: 1 / (1 - 0.85), but for the last bit
constexpr double sureNoiseFactor = 1.1;              // reduction of sure noise over the given one
constexpr double steadyActivity = 0.1f;              // widened float: bins that vary less count as steady
constexpr double steadyExponent = 1.6;               // curve from steady to just not steady
constexpr double steadyReductionDb = 60.0;           // dB more for a perfectly steady bin,
constexpr double steadyReductionAt = 30.0;           // dB: at this reduction, and in proportion at others
constexpr double mostReductionFactor = 3.1;          // 1.1 and 60 / 30: no bin is reduced by more

// Knee between the floor gain and 1. It begins at 10^((-50 - knee) / 20) / 10^-2.5 of the floor: that is the
// knee in dB below it, but for the last bit. Its curve is a power of 1.25.

constexpr double kneeShiftDb = -50.0;      // dB
constexpr double kneeShiftExponent = -2.5; // decades: the same

// Smoothing of gains. They rise at once.

constexpr double fixedHold = 0.7;          // weight of the old gain where nothing deviates
constexpr double deviationExponent = 0.08; // from deviation to the weight of the old gain
constexpr double leastHold = 0.5;          // at any deviation
constexpr double holdRise = 0.9;           // share of the new weight where it is above the old one
constexpr double holdRiseRest = 0.1;       // and of the old one
constexpr double holdSmoothing = 0.8;      // share of the old weight elsewhere

// Output curve, from smoothed gains to those handed out. In single precision.

constexpr float deepStrength = 33.0f;     // percent: above, reduction goes deeper than the given one
constexpr float deepStrengthSpan = 67.0f; // percent from there to 100
constexpr float deepExponent = 1.2f;
constexpr float deepExtraDb = 40.0f;     // dB more than the given reduction at 100 %
constexpr float fullReductionDb = 20.0f; // dB: below, the extra depth goes down with the square
constexpr float curveWidthDb = 8.0f;     // dB, halved, over which gains close to the floor's are pulled to it
constexpr float lowestCorner = 0.15f;    // linear: the curve's corners lie between this and 1
constexpr float highestGainDecades = 37.0f; // exponents are limited to what a float holds

// Log-spectral estimator. Ratios, and what is compared with them, are of powers. Weights are given for a
// hop of so many ms and scaled to the one there is. The values that no publication gives were found by search
// over speech and music in noise.

constexpr double noiseOverFloorDb = 4.4;    // dB from a bin's minimum level to its mean noise power
constexpr double floorSmoothingMs = 3600.0; // ms: the tracker's floors move in steps
constexpr double farFromMean = 10.0;        // ratio: a floor so far from its mean starts a new one
constexpr double youngFloorMs = 3000.0;     // ms from the start of a floor: the noise lies no lower
constexpr double noiseSmoothingMs = 1600.0; // ms: mean power of what is unlikely to be speech,
constexpr double noiseBelowFloor = 0.35481338923357547; // ratio: -4.5 dB, and
constexpr double noiseAboveFloor = 1.5848931924611136;  // ratio: 2 dB; so far it may leave the floor
constexpr double speechRatio = 15.848931924611133;      // ratio: 12 dB, of speech to noise where there is any
constexpr double presenceAt16Ms = 0.9;   // weight of the past in the probability of speech, as published,
constexpr double sureSpeech = 0.99;      // and the most that counts where it has been so high for long
constexpr double priorWeightAt8Ms = 0.9; // weight of the past frame in the a-priori ratio
constexpr double leastPrior = 0.025118864315095794; // ratio: -16 dB, the lowest a-priori ratio
constexpr double highestRatio = 1e4;                // ratio: more would spoil the sums over bins
constexpr double leastExponent = 1e-8;              // of the gain's formula, whose logarithm is taken
constexpr double smoothingAt8Ms = 0.92; // weight of the past in the ratios that decide on presence
constexpr double presenceRatio = 0.47863009232263826; // ratio: -3.2 dB, of a neighbourhood that may be either
constexpr double leastPresence = 0.026;    // what a neighbourhood of noise leaves of the probability
constexpr double localShare = 0.16;        // of the bandwidth setting, to each side: the near neighbourhood
constexpr double wideHz = 770.0;           // Hz to each side: the wider one
constexpr double framePresenceHz = 4300.0; // Hz: bins below decide for the whole frame
constexpr double blendPresence = 0.43;     // mean presence from which gains are left as they are
constexpr double noiseBandHz = 540.0;      // Hz: width of the band whose mean that is
constexpr double blendHz = 1380.0;         // Hz to each side: gains of noise are averaged so wide
constexpr double blendHold = 0.74;         // weight of the past gains in noise

// While a bin has no floor: the least power of the last two stretches.

constexpr double provisionalMs = 300.0;                  // ms: a stretch
constexpr double provisionalStartMs = 100.0;             // ms that are heard before any reduction,
constexpr double provisionalRiseMs = 500.0;              // and in which it then comes up to the full
constexpr double provisionalLevelMs = 60.0;              // ms: smoothing of the power
constexpr double provisionalFactor = 1.9952623149688795; // ratio: 3 dB from that minimum to the mean
constexpr double takeOverMs = 100.0;                     // ms that the minimum counts for when a floor comes

constexpr double leastNoisePower = 1e-24; // power: divided by
constexpr double ditherMagnitude = 3e-10; // linear: what a frame's dither stays below in every bin,
constexpr double ditherPower = 1e-19;     // and its square, rounded up

// Modulation analysis: the spectrum of each bin's magnitude over the last frames.

constexpr int ringLength = 64;                            // frames analysed at once
constexpr int profileLength = 32;                         // bins of their spectrum
constexpr int historyLength = 12;                         // slow levels whose variability counts
constexpr int analysisPeriod = 8;                         // frames from one analysis to the next
constexpr float slowFallOld = 0.2f, slowFallNew = 0.8f;   // smoothing of the slow level as it falls
constexpr float slowRiseOld = 0.92f, slowRiseNew = 0.08f; // and as it rises
constexpr float profileOld = 0.3f, profileNew = 0.7f;     // smoothing of the modulation spectrum
constexpr float profileMeanFactor = 0.03125f;             // 1 / profileLength
constexpr float pooledDivisor = 31.0f; // two more than the degrees of freedom of the three stretches; kept
constexpr double unevennessExponent = 0.88;  // the spread of a spectrum grows with this power of its mean,
constexpr double variabilityExponent = 0.85; // that of a level with this one
constexpr float leastMean = 1e-10f;          // linear: below, nothing is divided by a mean
constexpr float leastScore = 0.0001f;        // 0 means that there is none yet
constexpr float activityFallOld = 0.15f, activityFallNew = 0.85f; // smoothing of the activity
constexpr float activityRiseOld = 0.95f, activityRiseNew = 0.05f;
constexpr float activityReference = 0.1f;                     // less active bins have their score cut,
constexpr float activityCut = 0.75f, activityCutRest = 0.25f; // by up to three quarters
constexpr float scoreOld = 0.5f, scoreNew = 0.5f;             // smoothing of a score as it falls

// Floor tracker.

constexpr double minRise = 0.98;        // weight of the old minimum while the level is above it
constexpr double minFall = 0.8;         // and while it is below
constexpr double minStartDb = 4.0;      // dB below the first level: where the minimum starts
constexpr double startLevelDb = -145.0; // dB: level before the first frame
constexpr double activityNew = 0.08;    // smoothing of a bin's activity as it rises; it falls at once
constexpr double activityOld = 0.92;
constexpr double evidenceCurve = 0.8; // evidence of a noise-like frame: level / (0.8 ratio^1.5 + 0.2)
constexpr double evidenceRest = 0.2;
constexpr double ownEvidence = 0.7;        // share of it that goes to the bin itself
constexpr double neighbourEvidence = 0.15; // and to each neighbour
constexpr double ownSignal = 0.8;          // share of a signal-like frame for the bin itself
constexpr double neighbourSignal = 0.1;    // and for each neighbour
constexpr double signalCountFactor = 0.2;  // of the evidence target: so many signal-like frames lose evidence
constexpr double signalCountKept = 1.0;    // frames: counts above ease off in noise,
constexpr double signalCountEase = 0.5;    // frames: by this each time
constexpr double lossFactor = 0.5;         // what a loss of evidence, or an update, leaves of the counts
constexpr double evidenceAfterUpdate = 0.95; // of the target: one more noise-like frame moves the floor again
constexpr double noiseRateDb = 60.0;    // dB/s that the floor of a perfectly noise-like bin may rise more
constexpr double quickBelowDb = -120.0; // dB: minima below this let the floor rise faster still
constexpr double capShare = 0.85;       // how far a floor above the level is pulled down at once
constexpr double capRest = 0.15;
constexpr double leastFloor = 1e-6; // linear: what that leaves at least

// Mean level of the floor.

constexpr double audibleFloor = 3.1622776601683795e-05; // linear, 10^-4.5
constexpr double absentFloor = 1e-6;                    // linear
constexpr double startMeanDb = -80.0;                   // dB: before the first measurement
constexpr double silentLevelDb = -150.0;                // dB: stands for noise that is lost
constexpr int patience = 3;                             // updates without a floor before it counts as lost

} // namespace quietfloor::tuning

#endif
