// SPDX-License-Identifier: MIT
/// Vectors of floats and doubles of any width over the compilers' vector extensions (GCC 12, Clang 14):
/// SSE2, AVX2, AVX-512 or NEON as a file's flags allow, and plain scalar code elsewhere.
///
/// A processor level is flags and a width. Kernels are templates over `Vector` and see nothing else of the
/// processor. Everything stands in an unnamed namespace so that no two levels share a function, and each
/// operation is one instruction where the processor has it.
#ifndef QUIETFLOOR_SIMD_VECTOR_H
#define QUIETFLOOR_SIMD_VECTOR_H

#include "simd/Registers.h"

namespace {

/// `count` floats or doubles, which fill a register.
template <class Scalar_, int count>
struct Vector {
    using Scalar = Scalar_;
    static constexpr int lanes = count;
    static constexpr int bytes = count * static_cast<int>(sizeof(Scalar));
    using N = typename Lanes<Scalar, bytes>::Native;
    using Unaligned = typename Lanes<Scalar, bytes>::Unaligned;
    using Words = typename Lanes<std::uint64_t, bytes>::Native;

    /// The outcome of a comparison, per lane. NaN compares false, but for !=.
    struct Mask {
        using Bits = typename MaskOf<Scalar, bytes>::Bits;
        Bits v;

        friend Mask operator&(Mask a, Mask b) { return {static_cast<Bits>(a.v & b.v)}; }
        friend Mask operator|(Mask a, Mask b) { return {static_cast<Bits>(a.v | b.v)}; }
        friend Mask AndNot(Mask a, Mask b) { return {static_cast<Bits>(a.v & ~b.v)}; } // a and not b
        friend bool Any(Mask a) { return AnySet(a.v); }
    };

    N v;

    Vector() = default;
    Vector(N native) : v(native) {}
    /// x in every lane, so that formulas take plain numbers. Minus zero, which keeps the sign of -0.
    Vector(Scalar x) : v(x - N{}) {}

    // Memory aligned to the whole vector, and memory anywhere.
    static Vector Load(const Scalar *p) { return {*reinterpret_cast<const N *>(p)}; }
    static Vector LoadU(const Scalar *p) { return {*reinterpret_cast<const Unaligned *>(p)}; }
    void Store(Scalar *p) const { *reinterpret_cast<N *>(p) = v; }
    void StoreU(Scalar *p) const { *reinterpret_cast<Unaligned *>(p) = v; }
    // As many floats anywhere in memory, widened and rounded.
    static Vector LoadFloats(const float *p);
    void StoreFloats(float *p) const;

    static Vector FromBits(std::int64_t bits) {
        return {BitsAs<N>(Words{} + static_cast<std::uint64_t>(bits))};
    }

    template <int comparison>
    static Mask Is(Vector a, Vector b) {
        return {BitsAs<typename Mask::Bits>(Compared<comparison>(a.v, b.v))};
    }

    friend Vector operator+(Vector a, Vector b) { return {a.v + b.v}; }
    friend Vector operator-(Vector a, Vector b) { return {a.v - b.v}; }
    friend Vector operator*(Vector a, Vector b) { return {a.v * b.v}; }
    friend Vector operator/(Vector a, Vector b) { return {a.v / b.v}; }
    friend Vector operator-(Vector a) { return {-a.v}; }
    friend Vector MulAdd(Vector a, Vector b, Vector c) { return {Fused(a.v, b.v, c.v)}; }  // a b + c
    friend Vector MulSub(Vector a, Vector b, Vector c) { return {Fused(a.v, b.v, -c.v)}; } // a b - c
    friend Vector NegMulAdd(Vector a, Vector b, Vector c) {                                // c - a b
        if constexpr (isFused<bytes>)
            return {Fused(a.v, -b.v, c.v)};
        else
            return {c.v - a.v * b.v};
    }
    // b where either is NaN, and where both are zeros.
    friend Vector Min(Vector a, Vector b) { return {Lesser(a.v, b.v)}; }
    friend Vector Max(Vector a, Vector b) { return {Greater(a.v, b.v)}; }
    friend Vector Sqrt(Vector a) { // one instruction only with -fno-math-errno
        for (int i = 0; i < count; ++i)
            if constexpr (sizeof(Scalar) == sizeof(float))
                a.v[i] = __builtin_sqrtf(a.v[i]);
            else
                a.v[i] = __builtin_sqrt(a.v[i]);
        return a;
    }

    friend Mask operator<(Vector a, Vector b) { return Is<isLess>(a, b); }
    friend Mask operator<=(Vector a, Vector b) { return Is<isLessOrEqual>(a, b); }
    friend Mask operator>(Vector a, Vector b) { return Is<isLess>(b, a); }
    friend Mask operator>=(Vector a, Vector b) { return Is<isLessOrEqual>(b, a); }
    friend Mask operator==(Vector a, Vector b) { return Is<isEqual>(a, b); }
    friend Mask operator!=(Vector a, Vector b) { return Is<isNotEqual>(a, b); }
    friend Vector Select(Mask m, Vector a, Vector b) { return {Chosen(m.v, a.v, b.v)}; } // m ? a : b

    // Of the lanes' bits; sums and shifts as of 64-bit integers.
    friend Vector BitAnd(Vector a, Vector b) { return {BitsAs<N>(BitsAs<Words>(a.v) & BitsAs<Words>(b.v))}; }
    friend Vector BitOr(Vector a, Vector b) { return {BitsAs<N>(BitsAs<Words>(a.v) | BitsAs<Words>(b.v))}; }
    friend Vector AddBits(Vector a, Vector b) { return {BitsAs<N>(BitsAs<Words>(a.v) + BitsAs<Words>(b.v))}; }
    friend Vector SubtractBits(Vector a, Vector b) {
        return {BitsAs<N>(BitsAs<Words>(a.v) - BitsAs<Words>(b.v))};
    }
    template <int places>
    friend Vector ShiftLeftBits(Vector a) {
        return {BitsAs<N>(BitsAs<Words>(a.v) << places)};
    }
    template <int places>
    friend Vector ShiftRightBits(Vector a) {
        return {BitsAs<N>(BitsAs<Words>(a.v) >> places)};
    }

    friend Scalar Sum(Vector a) { // of all lanes: halves added to each other until two lanes are left
        if constexpr (count == 2) {
            return a.v[0] + a.v[1];
        } else {
            const N &n = a.v;
            return Sum(Vector<Scalar, count / 2>{Shuffled<Lane::Same, count / 2>(n, n) +
                                                 Shuffled<Lane::UpperHalf<count>, count / 2>(n, n)});
        }
    }
    template <int places>
    friend Vector ShiftUp(Vector a) { // lanes move up, zeros come in
        return {Shuffled<Lane::Shifted<count, places>, count>(N{}, a.v)};
    }
    friend Vector BroadcastLast(Vector a) { return {Shuffled<Lane::Last<count>, count>(a.v, a.v)}; }
    friend Vector Reverse(Vector a) { return {Shuffled<Lane::Reversed<count>, count>(a.v, a.v)}; }
    friend void Interleave(Vector a, Vector b, Vector &low, Vector &high) { // a0 b0 a1 b1 ...
        if constexpr (bytes == 32) { // AVX2 moves whole blocks of 16 bytes only
            constexpr int block = count / 2;
            const N even = Shuffled<Lane::Interleaved<count, block, 0>, count>(a.v, b.v);
            const N odd = Shuffled<Lane::Interleaved<count, block, 1>, count>(a.v, b.v);
            low = {Shuffled<Lane::EveryOther<block, 0>, count>(even, odd)};
            high = {Shuffled<Lane::EveryOther<block, 1>, count>(even, odd)};
        } else {
            low = {Shuffled<Lane::Interleaved<count, count, 0>, count>(a.v, b.v)};
            high = {Shuffled<Lane::Interleaved<count, count, 1>, count>(a.v, b.v)};
        }
    }
    friend void Transpose(Vector (&rows)[count]) { TransposeLanes(rows); }
};

// The lanes from `first` on as doubles, and two vectors of doubles as one of floats. GCC makes single
// instructions only of a conversion of everything; no function may take or return that, as it is wider
// than a register.
template <int first, int count, int... i>
inline Native<double, count / 2> WidenedFrom(Native<float, count> a, std::integer_sequence<int, i...>) {
    const auto whole = __builtin_convertvector(a, Native<double, count>);
    return __builtin_shufflevector(whole, whole, first + i...);
}
template <int count, int... i>
inline Native<float, 2 * count> Narrowed(Native<double, count> low, Native<double, count> high,
                                         std::integer_sequence<int, i...>) {
    return __builtin_convertvector(__builtin_shufflevector(low, high, i...), Native<float, 2 * count>);
}

// A vector and the two of doubles that hold the same lanes, low half first.
template <int count>
inline void Widen(Vector<float, count> a, Vector<double, count / 2> &low, Vector<double, count / 2> &high) {
    const std::make_integer_sequence<int, count / 2> half;
    low = {WidenedFrom<0, count>(a.v, half)};
    high = {WidenedFrom<count / 2, count>(a.v, half)};
}
template <int count>
inline Vector<float, 2 * count> Narrow(Vector<double, count> low, Vector<double, count> high) {
    return {Narrowed<count>(low.v, high.v, std::make_integer_sequence<int, 2 * count>())};
}

template <class Scalar, int count>
inline Vector<Scalar, count> Vector<Scalar, count>::LoadFloats(const float *p) {
    using Half = Lanes<float, count * 4>;
    const auto half = *reinterpret_cast<const typename Half::Unaligned *>(p);
    Vector low, high;
    Widen(Vector<float, 2 * count>{Shuffled<Lane::Same, 2 * count>(half, typename Half::Native{})}, low,
          high);
    return low;
}
template <class Scalar, int count>
inline void Vector<Scalar, count>::StoreFloats(float *p) const {
    using Half = Lanes<float, count * 4>;
    *reinterpret_cast<typename Half::Unaligned *>(p) = __builtin_convertvector(v, typename Half::Native);
}

/// Memory of any alignment as vectors: row[k] has the lanes k, k + 1 and so on.
template <class V>
struct ConstRow {
    const typename V::Scalar *first;
    V operator[](std::int64_t k) const { return V::LoadU(first + k); }
};
/// The same of floats, read as doubles.
template <class V>
struct ConstFloatRow {
    const float *first;
    V operator[](std::int64_t k) const { return V::LoadFloats(first + k); }
};
/// The same to read and to write: row[k] = v.
template <class V>
struct RowEntry {
    typename V::Scalar *p;
    operator V() const { return V::LoadU(p); }
    const RowEntry &operator=(V value) const {
        value.StoreU(p);
        return *this;
    }
    const RowEntry &operator=(const RowEntry &other) const { return *this = V(other); }
};
template <class V>
struct RowOf {
    typename V::Scalar *first;
    RowEntry<V> operator[](std::int64_t k) const { return {first + k}; }
};

// Lane i of row j becomes lane j of row i, first within blocks of 16 bytes, then by whole blocks: both are
// cheap shuffles on every processor, which one over all lanes is not.
template <class Scalar, int count>
inline void TransposeLanes(Vector<Scalar, count> (&rows)[count]) {
    using N = Native<Scalar, count>;
    constexpr int block = 16 / static_cast<int>(sizeof(Scalar)), blocks = count / block;
    constexpr int half = blocks > 1 ? blocks / 2 : 1;
    N mixed[count];
    for (int step = 1; step < block; step *= 2) {
        for (int j = 0; j < count; ++j) {
            const int pair = j / block * block + j % block / 2;
            const N a = rows[pair].v, b = rows[pair + block / 2].v;
            mixed[j] = j % 2 == 0 ? Shuffled<Lane::Interleaved<count, block, 0>, count>(a, b)
                                  : Shuffled<Lane::Interleaved<count, block, 1>, count>(a, b);
        }
        for (int j = 0; j < count; ++j)
            rows[j].v = mixed[j];
    }
    for (int step = 1; step < blocks; step *= 2) {
        for (int j = 0; j < count; ++j) {
            const int pair = j / block % half * 2 * block + j % block;
            const N a = rows[pair].v, b = rows[pair + block].v;
            mixed[j] = j < count / 2 ? Shuffled<Lane::EveryOther<block, 0>, count>(a, b)
                                     : Shuffled<Lane::EveryOther<block, 1>, count>(a, b);
        }
        for (int j = 0; j < count; ++j)
            rows[j].v = mixed[j];
    }
}

} // namespace

#endif
