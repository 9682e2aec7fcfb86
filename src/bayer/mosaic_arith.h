// SPDX-License-Identifier: MIT
// How each mosaic sample type is read and summed by the interpolating reconstruction.
//
// 8- and 16-bit samples are summed in 32-bit signed arithmetic, which cannot overflow for four of
// them. 32-bit signed samples are summed with 32-bit wrap-around (done in unsigned arithmetic) and
// the wrapped sum is divided truncating toward zero. 32-bit unsigned samples are summed and divided
// unsigned. Whatever the type, an interpolated value reaches the channel rule as a signed 32-bit
// value (a U32 value of 2^31 or more reads as negative there).
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

#include "core/cpu.h"

namespace qm {

template <class Sample> struct MosaicArith {
    static_assert(sizeof(Sample) <= 2 && std::is_integral_v<Sample>);
    using Sum = int32_t;
    QM_INLINE static Sum Read(Sample s) noexcept { return s; }
    QM_INLINE static Sum Add(Sum a, Sum b) noexcept { return a + b; }
    template <int Divisor> QM_INLINE static Sum Divide(Sum a) noexcept { return a / Divisor; }
    QM_INLINE static int32_t Value(Sum s) noexcept { return s; }
    // Range of every interpolated value: averages stay within the sample type's range.
    static constexpr int32_t kLow = std::numeric_limits<Sample>::min();
    static constexpr int32_t kHigh = std::numeric_limits<Sample>::max();
};

// 32-bit samples: sums wrap at 32 bits; the division is the type's own (toward zero for int32).
template <class Word> struct WrappingArith {
    using Sum = Word;
    QM_INLINE static Sum Read(Word s) noexcept { return s; }
    QM_INLINE static Sum Add(Sum a, Sum b) noexcept {
        return static_cast<Word>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
    }
    template <int Divisor> QM_INLINE static Sum Divide(Sum a) noexcept { return a / static_cast<Word>(Divisor); }
    QM_INLINE static int32_t Value(Sum s) noexcept { return static_cast<int32_t>(s); }
    static constexpr int32_t kLow = std::numeric_limits<int32_t>::min();
    static constexpr int32_t kHigh = std::numeric_limits<int32_t>::max();
};

template <> struct MosaicArith<int32_t> : WrappingArith<int32_t> {};
template <> struct MosaicArith<uint32_t> : WrappingArith<uint32_t> {};

}  // namespace qm
