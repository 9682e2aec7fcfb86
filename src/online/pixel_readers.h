// SPDX-License-Identifier: MIT
// How each online pipeline reads a source pixel: one small reader per source layout, each giving
// the pixel as its narrowest integer (Value). kBits bounds the value's magnitude (for the
// exactness decision).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/cpu.h"
#include "core/host_memory.h"

namespace qm::online {

// Whole-word pixels of type T: 16-bit ones unsigned whatever the declared type (a signed -1 reads
// as 65535), 32-bit ones unsigned or signed as the kernel takes them.
template <class T> struct ReadWord {
    using Value = T;
    static constexpr int kBits = 8 * sizeof(T);
    QM_INLINE static T Read(const unsigned char* s, size_t i) noexcept { return LoadAt<T>(s, i); }
};
using ReadU16 = ReadWord<uint16_t>;
using ReadU32 = ReadWord<uint32_t>;
using ReadI32 = ReadWord<int32_t>;

// 8-bit monochrome pixels (colour flag 0).
struct ReadByte {
    using Value = uint8_t;
    static constexpr int kBits = 8;
    QM_INLINE static uint8_t Read(const unsigned char* s, size_t i) noexcept { return s[i]; }
};

// Colour pixels reduced to their rounded-down mean (colour flag 1): the module's rule is
// trunc((b0 + b1 + b2 + 0.5) x 0.3333333333333333). (k + 0.5) / 3 is never within 1/6 of an
// integer, so the rounding of the constant cannot matter and the integer (2k + 1) / 6 is exact.
struct ReadColourMean {
    using Value = int32_t;
    static constexpr int kBits = 8;
    QM_INLINE static int32_t Read(const unsigned char* s, size_t i) noexcept {
        const unsigned char* p = s + 3 * i;
        const int32_t sum = int32_t{p[0]} + p[1] + p[2];
        return (2 * sum + 1) / 6;
    }
};

// Colour pixels reduced to a luminance (any other colour flag): trunc(b0 x 0.11 + b1 x 0.59 +
// b2 x 0.3), evaluated in extended precision like the module's other extended values.
struct ReadColourLuminance {
    using Value = int32_t;
    static constexpr int kBits = 8;
    QM_INLINE static int32_t Read(const unsigned char* s, size_t i) noexcept {
        const unsigned char* p = s + 3 * i;
        const long double y = static_cast<long double>(p[0]) * 0.11 + static_cast<long double>(p[1]) * 0.59 +
                              static_cast<long double>(p[2]) * 0.3;
        return static_cast<int32_t>(y);  // 0 <= y < 256
    }
};

}  // namespace qm::online
