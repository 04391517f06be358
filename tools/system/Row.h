// SPDX-License-Identifier: MIT
/// Arrays whose lengths and indexes are signed, as counts of frames, pixels and columns are.
#ifndef QUIETFLOOR_TOOLS_SYSTEM_ROW_H
#define QUIETFLOOR_TOOLS_SYSTEM_ROW_H

#include <cstdint>
#include <vector>

namespace quietfloor {

template <class T>
class Row {
public:
    Row() = default;
    explicit Row(std::int64_t length, T value = {}) : values(Index(length), value) {}

    std::int64_t Length() const noexcept { return std::ssize(values); }
    void Resize(std::int64_t length) { values.resize(Index(length)); }
    void Append(T value) { values.push_back(value); }

    T &operator[](std::int64_t i) noexcept { return values[Index(i)]; }
    const T &operator[](std::int64_t i) const noexcept { return values[Index(i)]; }

    T *begin() noexcept { return values.data(); }
    const T *begin() const noexcept { return values.data(); }
    T *end() noexcept { return begin() + Length(); }
    const T *end() const noexcept { return begin() + Length(); }

private:
    static std::size_t Index(std::int64_t i) { return static_cast<std::size_t>(i); }

    std::vector<T> values;
};

} // namespace quietfloor

#endif
