// SPDX-License-Identifier: MIT
/// Arrays whose storage suits vector code at every level.
#ifndef QUIETFLOOR_SIMD_ALIGNEDROW_H
#define QUIETFLOOR_SIMD_ALIGNEDROW_H

#include <concepts>
#include <cstddef>
#include <new>
#include <vector>

namespace quietfloor {

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

/// Values on a 64-byte line, counted by `int` as bins and samples are: lengths come from an FFT size and
/// stay far below its limit.
template <class T>
class Row {
public:
    Row() = default;
    explicit Row(int count, T value = T()) : values(static_cast<std::size_t>(count), value) {}

    /// Makes it `count` copies of `value`. Allocates; throws std::bad_alloc.
    void assign(int count, T value) { values.assign(static_cast<std::size_t>(count), value); }

    int size() const noexcept { return static_cast<int>(values.size()); }
    T *data() noexcept { return values.data(); }
    const T *data() const noexcept { return values.data(); }
    T &operator[](std::integral auto index) noexcept { return values.data()[index]; }
    const T &operator[](std::integral auto index) const noexcept { return values.data()[index]; }
    friend bool operator==(const Row &a, const Row &b) { return a.values == b.values; }
    T &front() noexcept { return values.front(); }
    T &back() noexcept { return values.back(); }

    T *begin() noexcept { return values.data(); }
    T *end() noexcept { return values.data() + values.size(); }
    const T *begin() const noexcept { return values.data(); }
    const T *end() const noexcept { return values.data() + values.size(); }

private:
    std::vector<T, AlignedAllocator<T>> values;
};

/// `count` rounded up to whole vectors of any level, so that a kernel's loop over a row has no rest.
constexpr int WholeVectors(int count) { return (count + 15) / 16 * 16; }

} // namespace quietfloor

#endif
