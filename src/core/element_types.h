// SPDX-License-Identifier: MIT
// Element type codes, their sizes and the C++ element type behind each code.
#pragma once

#include <cstddef>
#include <cstdint>

#include "qmath/qmath.h"

namespace qm {

enum TypeCode : int32_t {
    kI8 = qmeTypeI8,
    kI16 = qmeTypeI16,
    kI32 = qmeTypeI32,
    kF32 = qmeTypeF32,
    kF64 = qmeTypeF64,
    kU8 = qmeTypeU8,
    kU16 = qmeTypeU16,
    kU32 = qmeTypeU32,
    kRgb24 = qmeTypeRgb24,
    kRgb24Alt = qmeTypeRgb24Alt,
};

// Bytes per element. Never fails: a code outside the table counts as 2 bytes.
constexpr uint32_t ElementSize(int32_t type) noexcept {
    switch (type) {
        case 1:
        case 6: return 1;
        case 2:
        case 7: return 2;
        case 3:
        case 4:
        case 8:
        case 9:
        case 10: return 4;
        case 5: return 8;
        case 11:
        case 15: return 3;
        case 14: return 12;
        default: return 2;
    }
}

// The numeric element types 1 to 8, the only ones the arithmetic engines accept.
constexpr bool IsNumericType(int32_t type) noexcept { return type >= kI8 && type <= kU32; }

// The integer element types among them.
constexpr bool IsIntegerType(int32_t type) noexcept { return IsNumericType(type) && type != kF32 && type != kF64; }

// nWidth x nHeight as a signed 32-bit product; a product below 1 is an empty image.
constexpr int32_t ElementCount(const QmdDataStruct& d) noexcept {
    return static_cast<int32_t>(d.nWidth * d.nHeight);  // unsigned product wraps, then reads as signed
}

// A descriptor that can be read: present, with data and at least one element.
inline bool HasElements(const QmdDataStruct* d) noexcept {
    return d != nullptr && d->pData != nullptr && ElementCount(*d) >= 1;
}

// C++ element type of each numeric code: Element<kU16> is uint16_t.
template <int32_t Code> struct ElementOf;
template <> struct ElementOf<kI8> { using type = int8_t; };
template <> struct ElementOf<kI16> { using type = int16_t; };
template <> struct ElementOf<kI32> { using type = int32_t; };
template <> struct ElementOf<kF32> { using type = float; };
template <> struct ElementOf<kF64> { using type = double; };
template <> struct ElementOf<kU8> { using type = uint8_t; };
template <> struct ElementOf<kU16> { using type = uint16_t; };
template <> struct ElementOf<kU32> { using type = uint32_t; };
template <int32_t Code> using Element = typename ElementOf<Code>::type;

// fn.template operator()<S>(code) for every element type code, S being the type the engines read
// that code's elements as: for the kernel tables, which fill one entry per source type.
template <class Fn> constexpr void ForEachReadType(Fn&& fn) noexcept {
    fn.template operator()<int8_t>(kI8);
    fn.template operator()<int16_t>(kI16);
    fn.template operator()<int32_t>(kI32);
    fn.template operator()<float>(kF32);
    fn.template operator()<double>(kF64);
    fn.template operator()<uint8_t>(kU8);
    fn.template operator()<uint16_t>(kU16);
    fn.template operator()<int32_t>(kU32);  // U32 elements are read as I32
}

}  // namespace qm
