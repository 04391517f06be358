// SPDX-License-Identifier: MIT
/// The engine's memory: the C runtime's allocator behind a table.
#ifndef QUIETFLOOR_FFT_ENGINE_ALLOCATOR_H
#define QUIETFLOOR_FFT_ENGINE_ALLOCATOR_H

#include <cstddef>
#include <cstdint>

namespace FftEngine {

struct AllocatorTable {
    void *(*malloc)(std::size_t);
    void *(*calloc)(std::size_t, std::size_t);
    void *(*realloc)(void *, std::size_t);
    void (*free)(void *);
};

/// Filled with the C runtime's entry points from the start. The library never writes it; a test may, to
/// let memory run out.
extern constinit AllocatorTable EngineAllocatorTable;

/// The one body of `EngineMalloc` and of `EngineFree`.
void *AllocateAligned(std::int32_t bytes);
void FreeAligned(void *block);

} // namespace FftEngine

#endif
