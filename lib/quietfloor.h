// SPDX-License-Identifier: MIT
/// @file
/// The library from C, and from every language that calls C: one channel of audio, block by block.
///
/// @par Handle
/// `quietfloor_reducer` is opaque. Create one per channel; it is ready at once, at 44100 Hz with an FFT size
/// of 512. For another rate call `quietfloor_set_sample_rate` and then `quietfloor_resume`. A null handle is
/// tolerated everywhere.
///
/// @par Errors
/// Nothing is thrown across this interface. What can fail returns a status or a null handle. Two things fail:
/// an argument that makes no sense changes nothing; if memory runs out, the handle keeps its parameters and
/// tries again at the next call.
///
/// @par Threads
/// One handle is used by one thread at a time. Different handles share no state of ours. A rebuild fills the
/// dither from the C library's `rand()`, whose state belongs to the whole process. Functions that take no
/// handle may be called at any time from any thread.
///
/// @par Memory
/// [builds] marks the calls that allocate. `quietfloor_destroy` and `quietfloor_set_sample_rate` free. No
/// other call allocates, frees, locks or calls the system, `quietfloor_process` included unless a rebuild is
/// pending. One is pending after the FFT size was changed, the filter mode was set or the sample rate was
/// set, until `quietfloor_resume` is called off the audio thread. Strings belong to the library and last as
/// long as it is loaded; all are UTF-8.
///
/// @par Binary interface
/// The platform's C calling convention; `int` has 32 bits, and enumerations have its size.
#ifndef QUIETFLOOR_LIB_QUIETFLOOR_H
#define QUIETFLOOR_LIB_QUIETFLOOR_H

#include "../base/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

/// What became of a call.
typedef enum quietfloor_status {
    QUIETFLOOR_OK = 0,            ///< done
    QUIETFLOOR_OUT_OF_MEMORY = 1, ///< the handle keeps its parameters and tries again at the next call
    QUIETFLOOR_BAD_ARGUMENT = 2   ///< a null handle or array; an index, a rate or an estimator that is none
} quietfloor_status;

/// The parameters that do something, by index; 0 to `quietfloor_parameter_count() - 1` are valid. Values are
/// stored as given, even outside the bounds. "At once" means from the next frame on. "Rebuild" means at the
/// next process or resume, which forgets all sound and all learnt noise. "Waits" means at the next rebuild,
/// without causing one.
typedef enum quietfloor_parameter {
    // generated: c-parameters
    /// Most that noise is turned down.
    /// (dB, 0 to 40, default 20; at once)
    QUIETFLOOR_REDUCTION = 0,
    /// Shift of the threshold below which sound counts as noise.
    /// (dB, -10 to 10, default 2; at once)
    QUIETFLOOR_OFFSET = 1,
    /// How uneven a sound may be and still be learnt as noise.
    /// (-20 to 20, default 2.5; at once)
    QUIETFLOOR_SENSITIVITY = 2,
    /// Strength of the whole reduction.
    /// (%, 0 to 100, default 30; at once)
    QUIETFLOOR_STRENGTH = 4,
    /// Width of the local comparison with the noise floor; 0 turns it off.
    /// (Hz, 0 to 500, default 100; at once)
    QUIETFLOOR_BANDWIDTH = 6,
    /// FFT size; the nearest power of two is taken.
    /// (samples, 127.5 to 16384.5, default 512; rebuild)
    QUIETFLOOR_FFT_SIZE = 7,
    /// Read back: frames per FFT size.
    /// (1.5 to 8.5)
    QUIETFLOOR_OVERLAP = 8,
    /// Width of the knee between kept and reduced.
    /// (dB, 1 to 20, default 14; waits)
    QUIETFLOOR_KNEE = 9,
    /// Fall time of the level smoothing.
    /// (ms, 20 to 750, default 140; at once)
    QUIETFLOOR_RELEASE = 10,
    /// 1: reduce by a linear-phase filter, 0: by a gain per bin.
    /// (-0.5 to 1.49, default 0; rebuild)
    QUIETFLOOR_FILTER_MODE = 11,
    /// Read back: 1 after resume, 0 after suspend.
    /// (-0.5 to 1.49)
    QUIETFLOOR_ACTIVE = 13,
    // end
} quietfloor_parameter;

/// How gains follow from the signal and the learnt noise.
typedef enum quietfloor_estimator {
    /// A gate per bin: closed below the noise floor, open above. The default.
    QUIETFLOOR_GATE = 0,
    /// The log-spectral amplitude estimator of Ephraim and Malah (1985), weighted by the probability that
    /// there is more than noise (Cohen and Berdugo 2001).
    QUIETFLOOR_LOG_SPECTRAL = 1
} quietfloor_estimator;

/// One channel's noise reducer.
typedef struct quietfloor_reducer quietfloor_reducer;

/// [builds] A reducer with the defaults; null if memory runs out.
QUIETFLOOR_API quietfloor_reducer *quietfloor_create(void);

/// [builds] An independent reducer with the same parameters and the same history: both go on bit for
/// bit as the original would. Null for null, and if memory runs out.
QUIETFLOOR_API quietfloor_reducer *quietfloor_copy(const quietfloor_reducer *reducer);

/// Frees the reducer; do not use the handle afterwards. Null is tolerated.
QUIETFLOOR_API void quietfloor_destroy(quietfloor_reducer *reducer);

/// Takes the next block of the stream; what comes out is `quietfloor_latency` samples late. How the stream is
/// cut into blocks does not change a single bit of the output. Full scale is +-1; nothing is tracked until
/// the mean level of the bins has once exceeded -110 dB. A NaN or infinite sample is taken as 0. If memory
/// runs out, which happens only in a pending rebuild, nothing is written.
/// @param reducer the channel
/// @param in    `count` samples
/// @param out   `count` samples; may be `in` itself but must not overlap it otherwise
/// @param count may have any value; for 0 and below only a pending rebuild is done. Above 0 a null array is a
///              bad argument.
QUIETFLOOR_API quietfloor_status quietfloor_process(quietfloor_reducer *reducer, const float *in, float *out,
                                                    int count);

/// In samples; 0 for null, and between a new sample rate (or a failed rebuild) and the next resume or
/// process. Another FFT size counts from the rebuild on. Between setting another filter mode and the
/// rebuild the value belongs to neither mode: read it after the rebuild.
QUIETFLOOR_API int quietfloor_latency(const quietfloor_reducer *reducer);

/// In Hz; below 1 is a bad argument. Forgets all sound and all learnt noise and frees the working
/// storage: resume, or the next process, builds it anew.
QUIETFLOOR_API quietfloor_status quietfloor_set_sample_rate(quietfloor_reducer *reducer, int rate);

/// In Hz; 0 for null.
QUIETFLOOR_API int quietfloor_sample_rate(const quietfloor_reducer *reducer);

/// Notes that the stream rests (`QUIETFLOOR_ACTIVE` reads 0), and does nothing else: a suspended reducer
/// still processes.
QUIETFLOOR_API void quietfloor_suspend(quietfloor_reducer *reducer);

/// [builds] Builds the reducer anew for the present parameters and rate: forgets all sound and all
/// learnt noise. `QUIETFLOOR_ACTIVE` then reads 1.
QUIETFLOOR_API quietfloor_status quietfloor_resume(quietfloor_reducer *reducer);

/// Stores a value; when it takes effect stands at the parameter. A NaN or an infinity is stored, but
/// processing goes on with the last finite value. An FFT size snaps to the nearest power of two from 64 to
/// 16384; a value that no size is near is ignored. An index out of range is a bad argument.
QUIETFLOOR_API quietfloor_status quietfloor_set_parameter(quietfloor_reducer *reducer, int index,
                                                          float value);

/// The stored value; 0 for null or an index out of range.
QUIETFLOOR_API float quietfloor_get_parameter(const quietfloor_reducer *reducer, int index);

/// Chooses the estimator, by a value of `quietfloor_estimator`; any other is a bad argument. It takes effect
/// from the next frame on and keeps what was learnt, and it survives a new sample rate, resume and copies.
QUIETFLOOR_API quietfloor_status quietfloor_set_estimator(quietfloor_reducer *reducer, int estimator);

/// The estimator as chosen, `QUIETFLOOR_GATE` at first; -1 for null.
QUIETFLOOR_API int quietfloor_get_estimator(const quietfloor_reducer *reducer);

/// How many parameters there are, those without effect among them.
QUIETFLOOR_API int quietfloor_parameter_count(void);

/// The bounds that a host should offer, written where the pointer is not null. An index out of range
/// is a bad argument and writes nothing.
QUIETFLOOR_API quietfloor_status quietfloor_parameter_bounds(int index, float *lower, float *upper);

/// What a reducer starts with, but for what is only read back; 0 for an index out of range.
QUIETFLOOR_API float quietfloor_parameter_default(int index);

/// 1 if setting it does something; 0 if not, and for an index out of range.
QUIETFLOOR_API int quietfloor_parameter_is_settable(int index);

/// Lower case, with hyphens; null for an index out of range.
QUIETFLOOR_API const char *quietfloor_parameter_name(int index);

/// "dB", "Hz", "ms", "%", "samples" or ""; null for an index out of range.
QUIETFLOOR_API const char *quietfloor_parameter_unit(int index);

/// One line for people; null for an index out of range.
QUIETFLOOR_API const char *quietfloor_parameter_description(int index);

/// The version of the library that runs, as "major.minor.patch". What a program was compiled against
/// is in QUIETFLOOR_VERSION_MAJOR, _MINOR and _PATCH.
QUIETFLOOR_API const char *quietfloor_version(void);

/// The same in numbers, each written where the pointer is not null.
QUIETFLOOR_API void quietfloor_version_numbers(int *major, int *minor, int *patch);

#ifdef __cplusplus
}
#endif

#endif
