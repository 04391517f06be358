/// QUIETFLOOR_INLINE asks for inlining wherever the compiler has a word for it: the butterflies are
/// written as small functions over arrays and are only fast once those arrays are registers.
#ifndef QUIETFLOOR_FFT_ENGINE_INLINE_H
#define QUIETFLOOR_FFT_ENGINE_INLINE_H

#if defined(__GNUC__)
#define QUIETFLOOR_INLINE __attribute__((always_inline)) inline
#elif defined(_MSC_VER)
#define QUIETFLOOR_INLINE __forceinline
#else
#define QUIETFLOOR_INLINE inline
#endif

#endif
