/// The library from C, and from every language that calls C: one channel of audio, block by block.
///
/// Handle    `quietfloor_reducer` is opaque. Create one per channel; it is ready at once, at 44100 Hz
///           with an FFT size of 512. For another rate call `quietfloor_set_sample_rate` and then
///           `quietfloor_resume`. A null handle is tolerated everywhere.
/// Errors    Nothing is thrown across this interface. What can fail returns a status, or a null handle.
///           Two things can: an argument that makes no sense, which changes nothing, and memory, which
///           leaves a handle usable: it keeps its parameters and tries again at the next call.
/// Threads   One handle is used by one thread at a time. Different handles share no state of ours; only
///           a rebuild draws on the C library's `rand()`, which is one for the process. What takes no
///           handle may be called at any time from any thread.
/// Memory    [builds] marks the calls that allocate; the rest never do, nor do they lock or call the
///           system. `quietfloor_process` is among the rest unless a rebuild is pending: after the FFT
///           size was changed, the filter mode was set, or the sample rate was set, until
///           `quietfloor_resume` was called off the audio thread. Strings belong to the library and last
///           as long as it is loaded; all are UTF-8.
/// Binary    The platform's C calling convention; `int` has 32 bits, and enumerations have its size.
#ifndef QUIETFLOOR_LIB_QUIETFLOOR_H
#define QUIETFLOOR_LIB_QUIETFLOOR_H

#include "lib/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

/// What became of a call.
typedef enum quietfloor_status {
    QUIETFLOOR_OK = 0,            ///< done
    QUIETFLOOR_OUT_OF_MEMORY = 1, ///< the handle keeps its parameters and tries again at the next call
    QUIETFLOOR_BAD_ARGUMENT = 2   ///< a null handle or array, an index or a rate outside its range
} quietfloor_status;

/// The parameters that do something, by index; 0 to `quietfloor_parameter_count() - 1` are valid.
/// Values are stored as given, outside the bounds too. They are heard from the next frame on, but for
/// those marked "rebuilds" (at the next process or resume, which forgets all sound and all learnt
/// noise) and "waits" (with the next rebuild, for which it does not ask).
typedef enum quietfloor_parameter {
    QUIETFLOOR_REDUCTION = 0,    ///< dB, 0 to 40: most that noise is turned down
    QUIETFLOOR_OFFSET = 1,       ///< dB, -10 to 10: shift of the detection threshold
    QUIETFLOOR_SENSITIVITY = 2,  ///< -20 to 20: how uneven noise may be
    QUIETFLOOR_STRENGTH = 4,     ///< percent, 0 to 100: strength of the whole reduction
    QUIETFLOOR_BANDWIDTH = 6,    ///< Hz, 0 to 500: width of the local comparison; 0 turns it off
    QUIETFLOOR_FFT_SIZE = 7,     ///< samples, snaps to a power of two from 64 to 16384; rebuilds
    QUIETFLOOR_OVERLAP = 8,      ///< only read back: frames per FFT size
    QUIETFLOOR_KNEE = 9,         ///< dB, 1 to 20: width of the gain knee; waits
    QUIETFLOOR_RELEASE = 10,     ///< ms, 20 to 750: fall time of the level smoothing
    QUIETFLOOR_FILTER_MODE = 11, ///< 1: linear-phase filter, 0: a gain per bin; rebuilds
    QUIETFLOOR_ACTIVE = 13       ///< only read back: 1 after resume, 0 after suspend
} quietfloor_parameter;

/// One channel's noise reducer.
typedef struct quietfloor_reducer quietfloor_reducer;

/// [builds] A reducer with the defaults; null if memory runs out.
QUIETFLOOR_API quietfloor_reducer *quietfloor_create(void);

/// [builds] An independent reducer with the same parameters and the same history: both go on bit for
/// bit as the original would. Null for null, and if memory runs out.
QUIETFLOOR_API quietfloor_reducer *quietfloor_copy(const quietfloor_reducer *reducer);

/// Frees the reducer, to which no call may come any more.
QUIETFLOOR_API void quietfloor_destroy(quietfloor_reducer *reducer);

/// Reads `count` samples from `in` and writes as many to `out`, `quietfloor_latency` samples late. `out`
/// may be `in` itself but must not overlap it otherwise. Any count goes, and how the stream is cut into
/// blocks changes no bit of the output; for 0 and below only pending work is done. Full scale is +-1,
/// but nothing depends on it; a NaN or infinite sample is taken as 0. A null array is a bad argument
/// unless `count` is 0 or below. Short of memory, which happens in a pending rebuild alone, nothing is
/// written to `out`.
QUIETFLOOR_API quietfloor_status quietfloor_process(quietfloor_reducer *reducer, const float *in, float *out,
                                                    int count);

/// In samples; 0 for null, and between a new sample rate (or a failed rebuild) and the next resume or
/// process. Another FFT size counts from the rebuild on; between setting another filter mode and the
/// rebuild the value is of no use.
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

/// Stores a value and puts it into effect as the list of parameters says. A NaN or an infinity is
/// stored, but processing goes on with the last finite value; an FFT size that no size is near is
/// ignored. An index out of range is a bad argument.
QUIETFLOOR_API quietfloor_status quietfloor_set_parameter(quietfloor_reducer *reducer, int index,
                                                          float value);

/// The stored value; 0 for null or an index out of range.
QUIETFLOOR_API float quietfloor_get_parameter(const quietfloor_reducer *reducer, int index);

/// How many parameters there are, those without effect among them.
QUIETFLOOR_API int quietfloor_parameter_count(void);

/// The bounds that a host should offer, written where the pointer is not null. An index out of range
/// is a bad argument and writes nothing.
QUIETFLOOR_API quietfloor_status quietfloor_parameter_bounds(int index, float *lower, float *upper);

/// What a reducer starts with (it sets what is only read back itself); 0 for an index out of range.
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
