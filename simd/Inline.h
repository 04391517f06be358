// SPDX-License-Identifier: MIT
/// QUIETFLOOR_INLINE inlines whatever the compiler thinks of it: the butterflies are written as small
/// functions over arrays and are only fast once those arrays are registers.
#ifndef QUIETFLOOR_SIMD_INLINE_H
#define QUIETFLOOR_SIMD_INLINE_H

#define QUIETFLOOR_INLINE __attribute__((always_inline)) inline

#endif
