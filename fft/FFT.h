// SPDX-License-Identifier: MIT
/// @file
/// Split-complex FFT routines and the packing of two real channels into one complex spectrum.
///
/// @par Data
/// A complex sequence lies in two arrays of equal length, real and imaginary parts. A spectrum of n bins is
/// two-sided: bin 0 is DC, bin n/2 Nyquist, bin n-k the mirror of bin k (its conjugate if the signal is
/// real). No alignment is required.
///
/// @par Scaling
/// Nothing scales. Forward is X[k] = sum x[i] e^(-2 pi i k / n), inverse has the positive exponent, so that
/// inverse(forward(x)) = n x: divide by n where unity gain is wanted.
///
/// @par Direction
/// The routines differ. `LFFTF`, `LFFTD` and `LFFTSD` run the inverse for -1 only, and forward for all else,
/// 0 included. `LFFT2CF` runs forward above 0, and the inverse for 0 and below.
///
/// @par Failure
/// Nothing is reported. Working data of the wrong precision, or whose transform could not be built, makes a
/// routine do nothing: not a byte is written.
///
/// @par Threads
/// One working-data object serves one call at a time, since its work buffer is shared. Different objects
/// share nothing.
///
/// @par Memory
/// The factories, the constructor of FFTWORKINGDATA_D and `LFFT2CF` allocate and throw std::bad_alloc; the
/// destructors free. Nothing else allocates.
#ifndef QUIETFLOOR_FFT_FFT_H
#define QUIETFLOOR_FFT_FFT_H

// mingw GCC exports the type information of every class if the first polymorphic class of the file is
// exported; <new> supplies an earlier one.
#include <cstdint>
#include <new>
#include <type_traits>

#include "../base/Export.h"

namespace quietfloor {

class IppsFFTSpec_32f;
class IppsFFTSpec_64f;

/// The 32-bit integer of the transform routines: `long` where that has 32 bits.
using Int32 = std::conditional<sizeof(long) == 4, long, std::int32_t>::type;

} // namespace quietfloor

/// A prepared transform of one length and precision. Made by a factory, owned by the caller and
/// destroyed with `delete`; never resized, never copied. The shared library exports no constructor.
class QUIETFLOOR_API FFTWORKINGDATA {
public:
    virtual ~FFTWORKINGDATA(); ///< frees what the class holds
};

/// Single precision. Those of the factory have 64 points.
class FFTWORKINGDATA_F : public FFTWORKINGDATA {
public:
    FFTWORKINGDATA_F(); ///< without a transform
    FFTWORKINGDATA_F(const FFTWORKINGDATA_F &) = delete;
    FFTWORKINGDATA_F &operator=(const FFTWORKINGDATA_F &) = delete;
    ~FFTWORKINGDATA_F() override; ///< frees the transform

    quietfloor::IppsFFTSpec_32f *fftSpec = nullptr; ///< owned; with null no routine does anything
};

/// Double precision, of the smallest power of two, at least 2, that is not below the request.
class FFTWORKINGDATA_D : public FFTWORKINGDATA {
public:
    explicit FFTWORKINGDATA_D(std::int32_t requestedSize); ///< as `CreateFFTWORKINGDATA_D`
    FFTWORKINGDATA_D(const FFTWORKINGDATA_D &) = delete;
    FFTWORKINGDATA_D &operator=(const FFTWORKINGDATA_D &) = delete;
    ~FFTWORKINGDATA_D() override; ///< frees the transform

    quietfloor::IppsFFTSpec_64f *fftSpec = nullptr; ///< owned; with null no routine does anything
};

/// Working data for 64 points in single precision; the caller deletes it. Throws std::bad_alloc.
QUIETFLOOR_API FFTWORKINGDATA_F *CreateFFTWORKINGDATA_F();

/// Working data in double precision for `requestedSize` points rounded up to a power of two, 2 to
/// 2^27; a larger request gives an object through which the routines do nothing. The caller deletes
/// it. Throws std::bad_alloc.
QUIETFLOOR_API FFTWORKINGDATA_D *CreateFFTWORKINGDATA_D(std::int32_t requestedSize);

/// Transforms in place, in single precision.
/// @param re,im real and imaginary parts, as many as the working data has points
/// @param n   not looked at
/// @param dir -1: inverse, all else: forward
/// @param wd  an FFTWORKINGDATA_F
QUIETFLOOR_API void LFFTF(float *re, float *im, quietfloor::Int32 n, quietfloor::Int32 dir,
                          FFTWORKINGDATA &wd);

/// Same as `LFFTF` in double precision, with an FFTWORKINGDATA_D.
QUIETFLOOR_API void LFFTD(double *re, double *im, quietfloor::Int32 n, quietfloor::Int32 dir,
                          FFTWORKINGDATA &wd);

/// Same as `LFFTD` from source to destination. The source stays as it is, unless it is the destination; no
/// other overlap is allowed.
QUIETFLOOR_API void LFFTSD(double *srcRe, double *srcIm, double *dstRe, double *dstIm, quietfloor::Int32 n,
                           quietfloor::Int32 dir, FFTWORKINGDATA &wd);

/// Two real channels x and y through one complex transform, with an FFTWORKINGDATA_F whose length is
/// `n`; with any other `n` nothing is done. Every array has n values. Outputs may be
/// the inputs.
///
/// `dir` > 0   reads x and y, writes their spectra in full, all n bins; the imaginary parts at bins 0
///             and n/2 are 0.
///
/// `dir` <= 0  reads both spectra, all n bins, and writes n times their signals into x and y. The
///             spectra should be conjugate-symmetric; what is not shows in the other channel.
///
/// Throws std::bad_alloc, before anything is written.
QUIETFLOOR_API void LFFT2CF(float *x, float *y, float *xRe, float *xIm, float *yRe, float *yIm,
                            quietfloor::Int32 n, quietfloor::Int32 dir, FFTWORKINGDATA &wd);

/// Takes the transform Z of z = left + i right apart: L = (Z[k] + conj Z[n-k]) / 2 and
/// R = (Z[k] - conj Z[n-k]) / 2i. Left is entry `channel` of the pointer arrays, right the one after
/// it; all n bins of both are written, conjugate-symmetric, with imaginary parts of exactly 0 and
/// exact real parts at bins 0 and n/2. `n` is even, at least 2. A channel array may be `zRe` or
/// `zIm`. Nothing is checked.
QUIETFLOOR_API void SplitComplexSpectrumToLR(float *zRe, float *zIm, int channel, float **channelRe,
                                             float **channelIm, int n);
/// The same in double precision.
QUIETFLOOR_API void SplitComplexSpectrumToLR(double *zRe, double *zIm, int channel, double **channelRe,
                                             double **channelIm, int n);

/// Makes Z = L + i R, all n bins, from bins 0 to n/2 of two spectra of real signals: the inverse
/// transform of Z is n left + i n right. Upper halves and the imaginary parts at bins 0 and n/2 are
/// never read. Otherwise the same as the split.
QUIETFLOOR_API void CombineLRSpectrumToComplex(int channel, float **channelRe, float **channelIm, float *zRe,
                                               float *zIm, int n);

namespace dsp {

// Records of one layout under four names. In a macro, only comments of this kind reach the reference.
// NOLINTBEGIN(bugprone-macro-parentheses): a class's name takes none.
#define QUIETFLOOR_FFT_RECORD(Name)                                                                          \
    class Name {                                                                                             \
    public:                                                                                                  \
        /** Copies the fields. */                                                                            \
        QUIETFLOOR_API Name &operator=(const Name &other);                                                   \
        /** The field `size`. */                                                                             \
        QUIETFLOOR_API std::int32_t GetSize() const;                                                         \
                                                                                                             \
        void *spec = nullptr;  /**< never read */                                                            \
        std::int32_t size = 0; /**< points */                                                                \
    }
// NOLINTEND(bugprone-macro-parentheses)

/// A name kept for hosts that link against it: nothing in the library makes or reads such a record, and
/// it owns nothing.
QUIETFLOOR_FFT_RECORD(IppFFT);
/// Same as IppFFT.
QUIETFLOOR_FFT_RECORD(IppFFT32);
/// Same as IppFFT.
QUIETFLOOR_FFT_RECORD(IppFFT32fReal);
/// Same as IppFFT.
QUIETFLOOR_FFT_RECORD(IppFFT64fReal);
#undef QUIETFLOOR_FFT_RECORD

} // namespace dsp

#endif
