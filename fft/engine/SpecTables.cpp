// SPDX-License-Identifier: MIT
#include "fft/engine/SpecTables.h"

#include "fft/engine/Twiddle.h"

namespace FftEngine {
namespace {

// EngineMalloc aligns to 32 and so does a transform its work buffer; this much more reaches 64.
constexpr std::int64_t alignmentSlack = kTableAlignment - 32;

template <class Real>
const TransformKernels<Real> &KernelsOf(const SpecRecord<Real> &spec) {
    if constexpr (sizeof(Real) == sizeof(float))
        return spec.kernels->transform32f;
    else
        return spec.kernels->transform64f;
}

// The distance of two parts of the work buffer that hold `values` values each. Parts a power of two apart
// would fall into the same cache sets.
template <class Real>
std::int64_t SkewedPart(std::int64_t values) {
    constexpr std::int64_t skewBytes = 1088; // a quarter of the sets, and one line
    return values + skewBytes / static_cast<std::int64_t>(sizeof(Real));
}

// Hands out addresses one after the other, each on a line of its own.
class TableCursor {
public:
    explicit TableCursor(std::uint8_t *first) : base(first) {}

    template <class T>
    const T *Take(std::int64_t count) {
        const std::int64_t bytes = count * static_cast<std::int64_t>(sizeof(T));
        const T *table = base ? reinterpret_cast<const T *>(base + used) : nullptr;
        used += (bytes + kTableAlignment - 1) / kTableAlignment * kTableAlignment;
        return table;
    }
    std::int64_t Used() const { return used; }

private:
    std::uint8_t *base;
    std::int64_t used = 0;
};

// Passes for 2^order rows, order >= 2. Radix 4 wins where the larger butterflies do not fit the registers,
// radix 8 and 16 while that is all that counts; long transforms begin with radix 4, which opens fewer
// distant streams.
std::int32_t CountPasses(std::int32_t order, bool hasManyRegisters) {
    if (order <= 8 && !hasManyRegisters)
        return order / 2;
    if (order == 4 || order == 8)
        return order / 4;
    return order <= 6 ? (order + 2) / 3 : order / 3 + 1;
}

// Radix 4 first, as often as the passes leave room for.
std::int32_t BitsOfPass(std::int32_t orderLeft, std::int32_t passesLeft) {
    return orderLeft % passesLeft == 0 ? orderLeft / passesLeft : 2;
}

template <class Real>
ColumnPlan<Real> PlanColumns(const TransformKernels<Real> &kernels, std::int32_t order, TableCursor &cursor) {
    ColumnPlan<Real> plan = {};
    plan.length = 1 << order;
    plan.passes = CountPasses(order, kernels.hasManyRegisters);
    std::int64_t entries = 0;
    std::int32_t left = order;
    for (std::int32_t pass = 0; pass < plan.passes; ++pass) {
        const std::int32_t bits = BitsOfPass(left, plan.passes - pass);
        plan.radixes[pass] = 1 << bits;
        left -= bits;
        entries += 2 * ((std::int64_t{1} << bits) - 1) << left;
    }
    plan.twiddles = cursor.Take<Real>(entries);
    return plan;
}

template <class Real>
RowPlan<Real> PlanRows(const TransformKernels<Real> &kernels, std::int32_t order, TableCursor &cursor) {
    const RowShape shape = kernels.shape(order);
    std::int32_t widthOrder = 0;
    while (1 << widthOrder < shape.width)
        ++widthOrder;
    RowPlan<Real> plan = {};
    plan.width = shape.width;
    plan.lanes = shape.lanes;
    plan.columns = PlanColumns(kernels, order - widthOrder, cursor);
    plan.twiddles = cursor.Take<Real>(std::int64_t{2} * (shape.width - 1) * plan.columns.length);
    plan.workPart = SkewedPart<Real>(std::int64_t{1} << order);
    return plan;
}

template <class Real>
BlockedPlan<Real> PlanBlocked(const TransformKernels<Real> &kernels, std::int32_t order,
                              TableCursor &cursor) {
    BlockedPlan<Real> plan = {};
    const std::int32_t sideOrder = order / 2;
    plan.side = 1 << sideOrder;
    plan.parts = 1 << order % 2;
    plan.rows = PlanRows(kernels, sideOrder, cursor);
    plan.columns = PlanColumns(kernels, sideOrder, cursor);
    if (plan.parts == 2)
        plan.halves = {cursor.Take<Real>(plan.side), cursor.Take<Real>(plan.side)};
    plan.nearTwiddles = cursor.Take<Real>(std::int64_t{2} * kBlockColumns * plan.side);
    plan.fineBits = sideOrder;
    plan.coarseTwiddles = cursor.Take<double>(std::int64_t{2} << (order - sideOrder));
    plan.fineTwiddles = cursor.Take<double>(std::int64_t{2} << sideOrder);
    plan.workPart = SkewedPart<Real>(std::int64_t{kBlockColumns} * plan.side);
    return plan;
}

// The plans hold read-only addresses for the transforms' sake; only filling writes through them.
template <class Real>
class TableWriter {
public:
    explicit TableWriter(const Real *table) : next(const_cast<Real *>(table)) {}
    void Put(long double value) { *next++ = static_cast<Real>(value); }
    void PutPair(std::pair<long double, long double> value) {
        Put(value.first);
        Put(value.second);
    }

private:
    Real *next;
};

template <class Real>
void FillColumns(const ColumnPlan<Real> &plan) {
    TableWriter<Real> writer(plan.twiddles);
    std::int64_t rows = plan.length;
    for (std::int32_t pass = 0; pass < plan.passes; ++pass) {
        const std::int64_t radix = plan.radixes[pass];
        for (std::int64_t p = 0; p < rows / radix; ++p)
            for (std::int64_t j = 1; j < radix; ++j)
                writer.PutPair(Twiddle(j * p, rows));
        rows /= radix;
    }
}

template <class Real>
void FillRows(const RowPlan<Real> &plan) {
    FillColumns(plan.columns);
    TableWriter<Real> writer(plan.twiddles);
    const std::int64_t length = plan.columns.length, n = length * plan.width;
    for (std::int64_t k = 0; k < length; k += plan.lanes)
        for (std::int64_t v = 1; v < plan.width; ++v) {
            for (std::int64_t lane = 0; lane < plan.lanes; ++lane)
                writer.Put(Twiddle(v * (k + lane), n).first);
            for (std::int64_t lane = 0; lane < plan.lanes; ++lane)
                writer.Put(Twiddle(v * (k + lane), n).second);
        }
}

template <class Real>
void FillBlocked(const BlockedPlan<Real> &plan) {
    const std::int64_t side = plan.side, n = side * side * plan.parts;
    FillRows(plan.rows);
    FillColumns(plan.columns);
    TableWriter<Real> halvesRe(plan.halves.re), halvesIm(plan.halves.im);
    for (std::int64_t k = 0; plan.parts == 2 && k < side; ++k) {
        halvesRe.Put(Twiddle(k, 2 * side).first);
        halvesIm.Put(Twiddle(k, 2 * side).second);
    }
    TableWriter<Real> nearTwiddles(plan.nearTwiddles);
    for (std::int64_t a = 0; a < side; ++a) {
        for (std::int64_t i = 0; i < kBlockColumns; ++i)
            nearTwiddles.Put(Twiddle(a * i, n).first);
        for (std::int64_t i = 0; i < kBlockColumns; ++i)
            nearTwiddles.Put(Twiddle(a * i, n).second);
    }
    const std::int64_t fineCount = std::int64_t{1} << plan.fineBits;
    TableWriter<double> coarse(plan.coarseTwiddles), fine(plan.fineTwiddles);
    for (std::int64_t e = 0; e < n; e += fineCount)
        coarse.PutPair(Twiddle(e, n));
    for (std::int64_t e = 0; e < fineCount; ++e)
        fine.PutPair(Twiddle(e, n));
}

} // namespace

template <class Real>
std::int64_t LayOutTables(SpecRecord<Real> &spec, std::uint8_t *tables) {
    TableCursor cursor(tables);
    std::int64_t workValues = 0;
    if (spec.order > kMaxRowOrder) {
        spec.blocked = PlanBlocked(KernelsOf(spec), spec.order, cursor);
        workValues = 4 * spec.blocked.workPart;
    } else if (spec.order > kMaxSmallOrder) {
        spec.rows = PlanRows(KernelsOf(spec), spec.order, cursor);
        workValues = 4 * spec.rows.workPart;
    }
    const std::int64_t workBytes = workValues * static_cast<std::int64_t>(sizeof(Real));
    spec.workBytes = static_cast<std::int32_t>(workBytes == 0 ? 0 : workBytes + alignmentSlack);
    return cursor.Used();
}

template <class Real>
void FillTables(const SpecRecord<Real> &spec) {
    if (spec.order > kMaxRowOrder)
        FillBlocked(spec.blocked);
    else if (spec.order > kMaxSmallOrder)
        FillRows(spec.rows);
}

template std::int64_t LayOutTables(SpecRecord<float> &, std::uint8_t *);
template std::int64_t LayOutTables(SpecRecord<double> &, std::uint8_t *);
template void FillTables(const SpecRecord<float> &);
template void FillTables(const SpecRecord<double> &);

} // namespace FftEngine
