// SPDX-License-Identifier: MIT
// The per-pixel rule of the online kernels, in the order the module applies it:
//   1. the base value: the source pixel (read by the pipeline's reader), less the dark pixel as a
//      32-bit wrapping difference read back as signed (or, in the one kernel that says so, as an
//      exact 33-bit difference of the signed pixel);
//   2. with the flat field: the base value times the flat factor, exactly;
//   3. the final stage: threshold (1 where the value is above A, else 0), clip (B above B, else
//      A below A, else the value: the upper bound is tested first), the decimal logarithm of the
//      value times the gain (in extended precision), or none;
//   4. the result stored by the module's store rule, or converted and added into the output pixel
//      in the output's own type (integers wrap).
// Base values are integers of at most 33 bits, held exactly as doubles. Up to 29 bits, a product
// with a float factor (24 bits) is exact in double, so such blocks take the plain vector rule;
// wider products are carried exactly as hi + lo (exact_value.h) and rounded once.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/cpu.h"
#include "core/exact_arith.h"
#include "core/host_memory.h"
#include "core/log10.h"
#include "core/truncate.h"
#include "online/exact_value.h"
#include "online/frame_plan.h"

namespace qm::online {

// How the dark pixel enters: not at all, as a 32-bit wrapping difference read back as signed, or
// as an exact (33-bit) difference of the signed source pixel.
enum class DarkRule : uint8_t { Off, Wrap, Wide };
inline constexpr int kDarkRules = 3;

// How a source pixel is read: 16- or 32-bit words unsigned (a signed 16-bit -1 reads as 65535),
// 32-bit words signed, bytes, or colour pixels reduced to their mean or their luminance.
enum class ReaderId : uint8_t { U16, U32, I32, Byte, ColourMean, ColourLuminance };
inline constexpr int kReaders = 6;

struct Reading {
    ReaderId reader;
    DarkRule dark;
};

// Bits of the largest base value a reading gives.
constexpr int BaseBits(Reading r) noexcept {
    const int source = r.reader == ReaderId::U16 ? 16 : r.reader == ReaderId::U32 || r.reader == ReaderId::I32 ? 32 : 8;
    return r.dark == DarkRule::Off ? source : r.dark == DarkRule::Wrap ? 32 : 33;
}
inline constexpr int kNarrowBits = 29;
inline constexpr double kNarrowLimit = 0x1p29;  // 2^kNarrowBits

// Stage forms over a value type V (a vector of lanes, or one value) for values that are exact.
template <class V> QM_INLINE V Broadcast(double a) noexcept { return a - V{}; }
template <class V> QM_INLINE V ThresholdForm(V v, double a) noexcept { return v > a ? Broadcast<V>(1.0) : V{}; }
template <class V> QM_INLINE V ClipForm(V v, double a, double b) noexcept {
    return v > b ? Broadcast<V>(b) : (v < a ? Broadcast<V>(a) : v);
}

// Writes or adds a converted result into output element i: integers wrap at their width, floats
// add in their own precision.
template <class D, bool kAccumulate> QM_INLINE void Put(unsigned char* out, size_t i, D r) noexcept {
    if constexpr (kAccumulate) r = static_cast<D>(LoadAt<D>(out, i) + r);
    StoreAt<D>(out, i, r);
}

// The result of a flat-field pixel whose base value may reach beyond 29 bits: the product is
// carried exactly and the final stage compares and rounds that exact value. Branch-free, so that
// a block of them vectorises.
// kFma: the unit fuses multiply and add.
template <Stage St, class D, bool kFma>
QM_INLINE D WideFlatResult(double base, float flat, double a, double b) noexcept {
    Exact v;
    if constexpr (kFma)
        v = ExactProductFused(base, flat);
    else
        v = ExactProduct(static_cast<int64_t>(base), flat);
    if constexpr (St == Stage::Threshold) {
        return Above(v, a) ? D{1} : D{0};
    } else if constexpr (St == Stage::Clip) {
        const D stored = StoreExact<D>(v);
        return Above(v, b) ? StoreFloat<D>(b) : Below(v, a) ? StoreFloat<D>(a) : stored;
    } else {
        return StoreExact<D>(v);
    }
}

// Where the flat factor enters the logarithm's argument: not at all, before the gain (a plain
// source), or after it (a dark-subtracted one).
enum class LogOrder : uint8_t { NoFlat, FlatFirst, GainFirst };

// The logarithm's argument of pixel i, in extended precision: the base value (at most 33 bits)
// times the flat factor and the gain in the order given, so that only the second product rounds
// (to 64 bits) and without a flat factor none does.
template <LogOrder Ord>
QM_INLINE long double LogArgument(double base, const float* flat, const float* gain, size_t i) noexcept {
    const long double v = base, g = gain[i];
    if constexpr (Ord == LogOrder::NoFlat)
        return v * g;
    else if constexpr (Ord == LogOrder::FlatFirst)
        return v * static_cast<long double>(flat[i]) * g;
    else
        return v * g * static_cast<long double>(flat[i]);
}
inline constexpr int kLogOrders = 3;

// The vector logarithm (core/log10_lanes.h) takes the argument formed in doubles, each product
// rounded once; the argument formed in extended precision rounds at most once, by 2^-64. Their
// relative difference d <= 2.0001 x 2^-53 + 2^-64 moves log10 by at most log10(e) d (1 + d) <
// 2^-53, and twice that is allowed. A base value of at most 29 bits times the gain alone is exact
// in both, so nothing is allowed for it.
inline double LogSlack(const FramePlan& plan, Reading reading) noexcept {
    return !plan.flat && BaseBits(reading) <= kNarrowBits ? 0.0 : 0x1p-52;
}

}  // namespace qm::online
