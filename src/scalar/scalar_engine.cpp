// SPDX-License-Identifier: MIT
// The scalar engine: per call, the operation's evaluation is chosen (by the exactness argument in
// the operation's own file) and the call runs block by block through the stages of the active
// instruction set's kernels (scalar_kernels.h).
#include "scalar/scalar_engine.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "core/blocks.h"
#include "core/element_types.h"
#include "core/overlap.h"
#include "core/stream.h"
#include "scalar/add_subtract.h"
#include "scalar/divide_reciprocal.h"
#include "scalar/evaluation.h"
#include "scalar/integer_form.h"
#include "scalar/log_root.h"
#include "scalar/multiply.h"
#include "scalar/scalar_kernels.h"

namespace qm {
namespace {

using scalar::Eval;
using scalar::ExactOp;
using scalar::Form;
using scalar::Kind;

// The engine's own source type: U32 sources come through the I32 engine.
template <class S> constexpr int32_t kSourceType = std::is_same_v<S, int8_t>    ? kI8
                                                   : std::is_same_v<S, int16_t> ? kI16
                                                   : std::is_same_v<S, int32_t> ? kI32
                                                   : std::is_same_v<S, float>   ? kF32
                                                   : std::is_same_v<S, double>  ? kF64
                                                   : std::is_same_v<S, uint8_t> ? kU8
                                                                                : kU16;

// 505 from 8- and 16-bit sources into floats through a table of every result; false when the table cannot be had.
using Log10TableFn = bool (*)(const scalar::Kernels& k, const unsigned char* src, size_t n, unsigned char* dst,
                              bool& failed) noexcept;

template <class S, class D> bool Log10Tabled(const scalar::Kernels& k, const unsigned char* src, size_t n,
                                             unsigned char* dst, bool& failed) noexcept {
    const D* table = scalar::Log10Table<S, D>();
    if (table == nullptr) return false;
    if constexpr (std::is_same_v<D, float>)
        failed |= k.log10Gather[kSourceType<S>](table, src, n, dst);
    else
        failed |= scalar::Log10ByTable<S, D>(table, src, n, dst);
    return true;
}

// [source type code][destination type code]; null where the source is not of 8 or 16 bits or the
// destination not a float (integer destinations count digits instead).
template <class S> constexpr Log10TableFn kLog10TableRow[9] = {
    nullptr, nullptr, nullptr, nullptr, Log10Tabled<S, float>, Log10Tabled<S, double>, nullptr, nullptr, nullptr,
};
constexpr const Log10TableFn* kLog10Tables[9] = {
    nullptr, kLog10TableRow<int8_t>,  kLog10TableRow<int16_t>,  nullptr, nullptr,
    nullptr, kLog10TableRow<uint8_t>, kLog10TableRow<uint16_t>, nullptr,
};
// A table costs one extended logarithm per source value once; below this many elements a call
// computes its own.
constexpr size_t kLog10TableUse = 4096;
using LastFn = bool (*)(double last, unsigned char* dst) noexcept;

template <class D, bool kRoot> bool Last(double last, unsigned char* dst) noexcept {
    return scalar::LastElement<D, kRoot>(last, dst);
}

template <bool kRoot> constexpr LastFn kLast[9] = {
    nullptr,
    Last<Element<kI8>, kRoot>,
    Last<Element<kI16>, kRoot>,
    Last<Element<kI32>, kRoot>,
    Last<Element<kF32>, kRoot>,
    Last<Element<kF64>, kRoot>,
    Last<Element<kU8>, kRoot>,
    Last<Element<kU16>, kRoot>,
    Last<Element<kU32>, kRoot>,
};

// What one call runs over each block.
struct Plan {
    enum class Path : uint8_t {
        Double,
        Bounds,
        Integer,
        Floor,
        Narrow,
        ExactLanes,
        Scaled,
        Digits,
        Log10,
        Log10Direct,
        Last
    } path = Path::Double;
    scalar::FormFn form = nullptr;  // Double: the plain form, or none (convert)
    scalar::Constants c{};
    scalar::IntFormFn integer = nullptr;  // Integer: wrapping add or multiply by ci (add 0 to convert)
    uint32_t ci = 0;
    scalar::FloorFormFn floor = nullptr;  // Floor: the floor form k
    scalar::FloorForm k{};
    scalar::Line line{};                   // add, subtract, multiply, divide: the operation as a line
    bool checkable = false;                // ... evaluated in doubles, where a floor form may stand in
    scalar::IntBoundsFn bounds = nullptr;  // Bounds: clip or band mask in integer lanes
    scalar::NarrowFn narrow = nullptr;     // Narrow: the quotient in singles
    scalar::ExactLanesFn lanes = nullptr;  // ExactLanes: evaluation and store, from the source
    scalar::ExactFn scaled = nullptr;      // Scaled: evaluation and store
    scalar::Log10Fn log10 = nullptr;
    scalar::Log10DirectFn log10Direct = nullptr;  // Log10Direct: from the source into the destination
    Log10TableFn log10Table = nullptr;
    LastFn last = nullptr;
};

// An arithmetic operation under the evaluation chosen for it.
Plan Arithmetic(const scalar::Kernels& k, Form form, ExactOp exactOp, Eval eval, int32_t srcType, int32_t dstType,
                double a) noexcept {
    Plan p;
    p.checkable = eval != Eval::Zero && eval != Eval::Integer;
    switch (eval) {
        case Eval::Zero: p.form = k.form[srcType][static_cast<int>(Form::Zero)]; break;
        case Eval::Integer:
            p.path = Plan::Path::Integer;
            p.integer = form == Form::Add ? k.intAdd[srcType][dstType] : k.intMul[srcType][dstType];
            p.ci = static_cast<uint32_t>(static_cast<uint64_t>(TruncateToInteger(a)));
            break;
        case Eval::Plain:
            p.form = k.form[srcType][static_cast<int>(form)];
            p.c.a = a;
            break;
        case Eval::Exact:
        case Eval::Exact32:
        case Eval::Scaled:
            p.c.a = a;
            if (eval == Eval::Scaled) {
                p.path = Plan::Path::Scaled;
                p.scaled = k.scaled[static_cast<int>(exactOp)][dstType];
            } else {
                p.path = Plan::Path::ExactLanes;
                p.lanes = k.lanes[static_cast<int>(exactOp)][srcType][eval == Eval::Exact32 ? 1 : 0][dstType];
            }
            break;
    }
    return p;
}

Plan PlanOperation(const scalar::Kernels& k, int32_t op, int32_t srcType, int32_t dstType, double a,
                   double b) noexcept {
    const Kind src = scalar::KindOf(srcType), dst = scalar::KindOf(dstType);
    Plan p;
    switch (op) {
        case qmeProcessClip:
        case 500: {
            const bool band = op == 500;
            p.c = {a, b};
            p.bounds = k.bounds[band ? 1 : 0][srcType][dstType];  // 8- and 16-bit sources
            if (p.bounds != nullptr)
                p.path = Plan::Path::Bounds;
            else
                p.form = k.form[srcType][static_cast<int>(band ? Form::Band : Form::Clip)];
            return p;
        }
        case 501:
        case 502: {
            const double addend = op == 501 ? a : -a;
            p = Arithmetic(k, Form::Add, ExactOp::Add, scalar::ChooseAdd(src, dst, addend), srcType, dstType, addend);
            p.line = scalar::LineOf(1.0, 0.0, addend, 0.0);
            return p;
        }
        case 503:
            p = Arithmetic(k, Form::Mul, ExactOp::Mul, scalar::ChooseMul(src, dst, a), srcType, dstType, a);
            p.line = scalar::LineOf(a, 0.0, 0.0, 0.0);
            return p;
        case 504: {
            if (a == 0.0 || std::isnan(a))
                return Arithmetic(k, Form::Div, ExactOp::Div, Eval::Zero, srcType, dstType, a);
            // Dividing by a power of two is multiplying by its reciprocal: the same exact value.
            const double inverse = 1.0 / a;
            if (std::isfinite(a) && std::isfinite(inverse) && scalar::Analyse(a).bits == 1) {
                p = Arithmetic(k, Form::Mul, ExactOp::Mul, scalar::ChooseMul(src, dst, inverse), srcType, dstType,
                               inverse);
                p.line = scalar::LineOf(inverse, 0.0, 0.0, 0.0);
                return p;
            }
            if (scalar::DividesInSingles(src, dst, a)) {
                p.path = Plan::Path::Narrow;
                p.narrow = k.narrow[0][srcType][dstType];
                p.c.a = a;
                return p;
            }
            p = Arithmetic(k, Form::Div, ExactOp::Div, scalar::ChooseDiv(src, dst, a), srcType, dstType, a);
            p.line = scalar::DivisionLine(a);
            return p;
        }
        case 505:
            p.path = Plan::Path::Log10;
            if (src.integer && dst.integer) {  // counted in vectors, faster than the table
                p.path = Plan::Path::Digits;
                return p;
            }
            p.log10Direct = k.log10Direct[srcType][dstType];
            if (p.log10Direct != nullptr) {
                p.path = Plan::Path::Log10Direct;
                return p;
            }
            p.log10 = k.log10[static_cast<int>(LogTargetOf(dstType))];
            if (kLog10Tables[srcType] != nullptr) p.log10Table = kLog10Tables[srcType][dstType];
            return p;
        case 506:
        case 507:
            p.path = Plan::Path::Last;
            p.last = op == 507 ? kLast<true>[dstType] : kLast<false>[dstType];
            return p;
        case 508:
            if (scalar::ReciprocalInSingles(src, dst)) {
                p.path = Plan::Path::Narrow;
                p.narrow = k.narrow[1][srcType][dstType];
                return p;
            }
            return Arithmetic(k, Form::Reciprocal, ExactOp::Reciprocal, scalar::ChooseReciprocal(src, dst), srcType,
                              dstType, 1.0);
        default:  // 509: the load and the store rule alone; between integer types the bits move as int32
            if (src.integer && dst.integer) {
                p.path = Plan::Path::Integer;
                p.integer = k.intAdd[srcType][dstType];
            }
            return p;
    }
}

// One block of m elements at s through the plan's stages into d; `failed` collects 505's failures.
void RunBlock(const scalar::Kernels& k, const blocks::Kernels& io, const Plan& p, int32_t srcType, int32_t dstType,
              const unsigned char* s, size_t m, unsigned char* d, double* v, bool& failed) noexcept {
    switch (p.path) {
        case Plan::Path::Integer: p.integer(s, m, d, p.ci); break;
        case Plan::Path::Floor: p.floor(s, m, d, p.k); break;
        case Plan::Path::Bounds: p.bounds(s, m, d, p.c); break;
        case Plan::Path::Narrow: p.narrow(s, m, d, p.c.a); break;
        case Plan::Path::ExactLanes: p.lanes(s, m, p.c.a, d); break;
        case Plan::Path::Scaled:
            io.load[srcType](s, m, v);
            p.scaled(v, m, p.c.a, d);
            break;
        case Plan::Path::Log10Direct: failed |= p.log10Direct(s, m, d); break;
        case Plan::Path::Digits: failed |= k.digits[srcType][dstType](s, m, d); break;
        case Plan::Path::Log10:
            if (p.log10Table != nullptr && p.log10Table(k, s, m, d, failed)) break;
            io.load[srcType](s, m, v);
            failed |= p.log10(v, m);
            io.store[dstType](v, m, d);
            break;
        default:
            if (p.form != nullptr)
                p.form(s, m, v, p.c);
            else
                io.load[srcType](s, m, v);
            io.store[dstType](v, m, d);
            break;
    }
}

// The floor form (integer_form.h) is checked against every value of an 8- or 16-bit source, which
// costs about as much as evaluating 256 or 65536 elements; below these counts a call keeps its
// evaluation. The results are the same either way.
constexpr size_t kFloorCheck8 = size_t{1} << 12, kFloorCheck16 = size_t{1} << 20;

// The first candidate floor form whose results equal the plan's for every value of the source
// type S, stored into the destination type; nullptr when none does. The values go through both
// in chunks of one block, with the plan's evaluation run once per chunk.
template <class S>
const scalar::FloorForm* CheckedFloorForm(const scalar::Kernels& k, const blocks::Kernels& io, const Plan& p,
                                          int32_t srcType, int32_t dstType,
                                          const scalar::FloorForm (&candidates)[scalar::kMaxFloorCandidates],
                                          int count) noexcept {
    constexpr int64_t kLow = std::is_signed_v<S> ? -(int64_t{1} << (8 * sizeof(S) - 1)) : 0;
    constexpr int64_t kValues = int64_t{1} << (8 * sizeof(S));
    const size_t ds = ElementSize(dstType);
    const scalar::FloorFormFn form = k.floor[srcType][dstType];
    alignas(64) S values[blocks::kBlock];
    alignas(64) unsigned char want[blocks::kBlock * sizeof(uint32_t)], got[blocks::kBlock * sizeof(uint32_t)];
    alignas(64) double v[blocks::kBlock];
    bool alive[scalar::kMaxFloorCandidates];
    int living = count;
    std::fill(alive, alive + count, true);
    bool failed = false;
    for (int64_t first = 0; first < kValues && living > 0; first += blocks::kBlock) {
        const auto m = static_cast<size_t>(std::min<int64_t>(blocks::kBlock, kValues - first));
        for (size_t i = 0; i < m; ++i) values[i] = static_cast<S>(kLow + first + static_cast<int64_t>(i));
        const auto* src = reinterpret_cast<const unsigned char*>(values);
        RunBlock(k, io, p, srcType, dstType, src, m, want, v, failed);
        for (int c = 0; c < count; ++c) {
            if (!alive[c]) continue;
            form(src, m, got, candidates[c]);
            if (std::memcmp(got, want, m * ds) != 0) alive[c] = false, --living;
        }
    }
    for (int c = 0; c < count; ++c)
        if (alive[c]) return &candidates[c];
    return nullptr;
}

// Replaces the plan's evaluation of an add, subtract, multiply or divide by a floor form where one
// is checked to store the same elements (integer_form.h).
void ChooseFloorForm(const scalar::Kernels& k, const blocks::Kernels& io, Plan& p, int32_t srcType, int32_t dstType,
                     size_t n) noexcept {
    const size_t bits = 8 * ElementSize(srcType);
    if (!p.checkable || !IsIntegerType(dstType) || bits > 16 || n < (bits == 8 ? kFloorCheck8 : kFloorCheck16)) return;
    scalar::FloorForm candidates[scalar::kMaxFloorCandidates];
    const bool isSigned = srcType == kI8 || srcType == kI16;
    const int count = scalar::FloorCandidates(p.line, static_cast<int>(bits), isSigned, candidates);
    if (count == 0) return;
    const scalar::FloorForm* found = nullptr;
    switch (srcType) {
        case kI8: found = CheckedFloorForm<int8_t>(k, io, p, srcType, dstType, candidates, count); break;
        case kU8: found = CheckedFloorForm<uint8_t>(k, io, p, srcType, dstType, candidates, count); break;
        case kI16: found = CheckedFloorForm<int16_t>(k, io, p, srcType, dstType, candidates, count); break;
        default: found = CheckedFloorForm<uint16_t>(k, io, p, srcType, dstType, candidates, count); break;
    }
    if (found == nullptr) return;
    p.path = Plan::Path::Floor;
    p.floor = k.floor[srcType][dstType];
    p.k = *found;
}

Status Run(int32_t op, int32_t srcType, const QmdDataStruct* dstImage, const void* source, double a, double b,
           size_t n) noexcept {
    const scalar::Kernels& k = scalar::kTables.Active();
    const blocks::Kernels& io = blocks::kTables.Active();
    const int32_t dstType = dstImage->eType;
    Plan p = PlanOperation(k, op, srcType, dstType, a, b);
    if (p.path == Plan::Path::Log10 && n < kLog10TableUse) p.log10Table = nullptr;
    ChooseFloorForm(k, io, p, srcType, dstType, n);
    const auto* src = static_cast<const unsigned char*>(source);
    auto* dst = static_cast<unsigned char*>(dstImage->pData);
    const size_t ss = ElementSize(srcType), ds = ElementSize(dstType);
    alignas(64) double v[blocks::kBlock];
    if (p.path == Plan::Path::Last) {
        io.load[srcType](src + (n - 1) * ss, 1, v);
        return p.last(v[0], dst) ? Status::ElementNotComputed : Status::Ok;
    }
    // Blocks read all their elements before writing any; where the destination overlaps the
    // source so that a write could change an element not yet read, elements go one at a time.
    const size_t block = BlockwiseIsSafe(dst, ds, src, ss, n) ? blocks::kBlock : 1;
    const bool stream = Streams(n * ds, Overlaps(dst, n * ds, src, n * ss));
    alignas(64) unsigned char scratch[blocks::kBlock * sizeof(double)];
    bool failed = false;
    for (size_t i0 = 0; i0 < n; i0 += block) {
        const size_t m = std::min(block, n - i0);
        unsigned char* d = stream ? scratch : dst + i0 * ds;
        RunBlock(k, io, p, srcType, dstType, src + i0 * ss, m, d, v, failed);
        if (stream) StreamCopy(dst + i0 * ds, scratch, m * ds);
    }
    if (stream) StreamFence();
    return failed ? Status::ElementNotComputed : Status::Ok;
}

// Operation index: 256 and 500 to 509 are known.
bool IsScalarOperation(int32_t op) noexcept { return op == qmeProcessClip || (op >= 500 && op <= 509); }

}  // namespace

bool UsesFloorForm(int32_t op, int32_t srcType, int32_t dstType, double a, size_t n) noexcept {
    if (!IsNumericType(srcType) || !IsNumericType(dstType) || op < 501 || op > 504 || srcType == kU32) return false;
    const scalar::Kernels& k = scalar::kTables.Active();
    Plan p = PlanOperation(k, op, srcType, dstType, a, 0.0);
    ChooseFloorForm(k, blocks::kTables.Active(), p, srcType, dstType, n);
    return p.path == Plan::Path::Floor;
}

template <class S>
Status ScalarEngine(int32_t op, const QmdDataStruct* dst, const void* src, double a, double b, int32_t n) noexcept {
    if (!IsNumericType(dst->eType)) return Status::UnsupportedType;
    if (!IsScalarOperation(op)) return Status::Ok;
    if (n < 1) return Status::MissingImage;
    return Run(op, kSourceType<S>, dst, src, a, b, static_cast<size_t>(n));
}

template Status ScalarEngine<int8_t>(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;
template Status ScalarEngine<int16_t>(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;
template Status ScalarEngine<int32_t>(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;
template Status ScalarEngine<float>(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;
template Status ScalarEngine<double>(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;
template Status ScalarEngine<uint8_t>(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;
template Status ScalarEngine<uint16_t>(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;

}  // namespace qm
