// SPDX-License-Identifier: MIT
// The scalar engine: per call, the operation's evaluation is chosen (by the exactness argument in
// the operation's own file) and the call runs block by block through the stages of the active
// instruction set's kernels (scalar_kernels.h).
#include "scalar/scalar_engine.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <type_traits>

#include "core/blocks.h"
#include "core/element_types.h"
#include "core/overlap.h"
#include "core/stream.h"
#include "scalar/add_subtract.h"
#include "scalar/divide_reciprocal.h"
#include "scalar/evaluation.h"
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
        case 501: return Arithmetic(k, Form::Add, ExactOp::Add, scalar::ChooseAdd(src, dst, a), srcType, dstType, a);
        case 502: return Arithmetic(k, Form::Add, ExactOp::Add, scalar::ChooseAdd(src, dst, -a), srcType, dstType, -a);
        case 503: return Arithmetic(k, Form::Mul, ExactOp::Mul, scalar::ChooseMul(src, dst, a), srcType, dstType, a);
        case 504: {
            if (a == 0.0 || std::isnan(a))
                return Arithmetic(k, Form::Div, ExactOp::Div, Eval::Zero, srcType, dstType, a);
            // Dividing by a power of two is multiplying by its reciprocal: the same exact value.
            const double inverse = 1.0 / a;
            if (std::isfinite(a) && std::isfinite(inverse) && scalar::Analyse(a).bits == 1) {
                return Arithmetic(k, Form::Mul, ExactOp::Mul, scalar::ChooseMul(src, dst, inverse), srcType, dstType,
                                  inverse);
            }
            if (scalar::DividesInSingles(src, dst, a)) {
                p.path = Plan::Path::Narrow;
                p.narrow = k.narrow[0][srcType][dstType];
                p.c.a = a;
                return p;
            }
            return Arithmetic(k, Form::Div, ExactOp::Div, scalar::ChooseDiv(src, dst, a), srcType, dstType, a);
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

Status Run(int32_t op, int32_t srcType, const QmdDataStruct* dstImage, const void* source, double a, double b,
           size_t n) noexcept {
    const scalar::Kernels& k = scalar::kTables.Active();
    const blocks::Kernels& io = blocks::kTables.Active();
    const int32_t dstType = dstImage->eType;
    const Plan p = PlanOperation(k, op, srcType, dstType, a, b);
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
        const unsigned char* s = src + i0 * ss;
        unsigned char* d = stream ? scratch : dst + i0 * ds;
        switch (p.path) {
            case Plan::Path::Integer: p.integer(s, m, d, p.ci); break;
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
                if (n >= kLog10TableUse && p.log10Table != nullptr && p.log10Table(k, s, m, d, failed)) break;
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
        if (stream) StreamCopy(dst + i0 * ds, scratch, m * ds);
    }
    if (stream) StreamFence();
    return failed ? Status::ElementNotComputed : Status::Ok;
}

// Operation index: 256 and 500 to 509 are known.
bool IsScalarOperation(int32_t op) noexcept { return op == qmeProcessClip || (op >= 500 && op <= 509); }

}  // namespace

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
