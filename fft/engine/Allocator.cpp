// SPDX-License-Identifier: MIT
#include "fft/engine/Allocator.h"

#include <cstdlib>
#include <cstring>

namespace FftEngine {

constinit AllocatorTable EngineAllocatorTable = {std::malloc, std::calloc, std::realloc, std::free};

namespace {

constexpr std::size_t alignment = 32;
constexpr std::size_t pointerRoom = 8; // below the block, for the C runtime's own pointer
static_assert(sizeof(void *) <= pointerRoom);

} // namespace

void *AllocateAligned(std::int32_t bytes) {
    if (bytes <= 0)
        return nullptr;
    void *whole = EngineAllocatorTable.malloc(static_cast<std::size_t>(bytes) + pointerRoom + alignment);
    if (!whole)
        return nullptr;
    const std::size_t used = reinterpret_cast<std::uintptr_t>(whole) % alignment;
    const std::size_t gap = used + pointerRoom <= alignment ? alignment - used : 2 * alignment - used;
    std::uint8_t *block = static_cast<std::uint8_t *>(whole) + gap;
    std::memcpy(block - pointerRoom, &whole, sizeof whole);
    return block;
}

void FreeAligned(void *block) {
    if (!block)
        return;
    void *whole;
    std::memcpy(&whole, static_cast<std::uint8_t *>(block) - pointerRoom, sizeof whole);
    EngineAllocatorTable.free(whole);
}

} // namespace FftEngine
