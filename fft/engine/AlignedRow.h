/// Growable arrays whose storage suits vector code at every level.
#ifndef QUIETFLOOR_FFT_ENGINE_ALIGNEDROW_H
#define QUIETFLOOR_FFT_ENGINE_ALIGNEDROW_H

#include <cstddef>
#include <new>
#include <vector>

namespace FftEngine {

/// Allocates on 64-byte lines, the width of the widest vector. Throws std::bad_alloc.
template <class T>
struct AlignedAllocator {
    using value_type = T;
    static constexpr std::align_val_t alignment{64};

    AlignedAllocator() noexcept = default;
    template <class U>
    AlignedAllocator(const AlignedAllocator<U> &) noexcept {}

    T *allocate(std::size_t count) {
        if (count > static_cast<std::size_t>(-1) / sizeof(T))
            throw std::bad_array_new_length();
        return static_cast<T *>(::operator new(count * sizeof(T), alignment));
    }
    void deallocate(T *block, std::size_t) noexcept { ::operator delete(block, alignment); }

    friend bool operator==(const AlignedAllocator &, const AlignedAllocator &) noexcept { return true; }
};

template <class T>
using Row = std::vector<T, AlignedAllocator<T>>;

/// `count` rounded up to whole vectors of any level, so that a kernel's loop over a row has no rest.
constexpr std::size_t WholeVectors(int count) { return (static_cast<std::size_t>(count) + 15) / 16 * 16; }

} // namespace FftEngine

#endif
