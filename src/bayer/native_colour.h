// SPDX-License-Identifier: MIT
// Which colour each interior position of a mosaic row holds, and which of its own sample and the
// means of its neighbours each of its three colours takes. Shared by the scalar and the
// vector reconstructions, so the assignment is written once.
#pragma once

#include <cstdint>

namespace qm {

// Native colour of an interior position. GreenR is green in a row whose other samples are red,
// GreenB green in a row whose other samples are blue.
enum class Native { Red, Blue, GreenR, GreenB };

// Interior layout of a row: the native colours of its odd and even columns, or Repeat.
enum class RowLayout : uint8_t { GreenRRed, BlueGreenB, GreenBBlue, RedGreenR, Repeat };

// [phase][row parity] -> layout of the row's interior.
constexpr RowLayout kLayouts[5][2] = {
    {RowLayout::Repeat, RowLayout::Repeat},        {RowLayout::GreenRRed, RowLayout::BlueGreenB},  // 1: R G / G B
    {RowLayout::BlueGreenB, RowLayout::GreenRRed},                                                 // 2: G B / R G
    {RowLayout::GreenBBlue, RowLayout::RedGreenR},                                                 // 3: B G / G R
    {RowLayout::RedGreenR, RowLayout::GreenBBlue},                                                 // 4: G R / B G
};

// Native colours of the odd and the even columns of an interpolated layout.
template <RowLayout L> struct LayoutColumns;
template <> struct LayoutColumns<RowLayout::GreenRRed> {
    static constexpr Native odd = Native::GreenR, even = Native::Red;
};
template <> struct LayoutColumns<RowLayout::BlueGreenB> {
    static constexpr Native odd = Native::Blue, even = Native::GreenB;
};
template <> struct LayoutColumns<RowLayout::GreenBBlue> {
    static constexpr Native odd = Native::GreenB, even = Native::Blue;
};
template <> struct LayoutColumns<RowLayout::RedGreenR> {
    static constexpr Native odd = Native::Red, even = Native::GreenR;
};

// The values a position's colours are taken from: its own sample, the mean of its four edge
// neighbours (cross), of its four corner neighbours (diagonal), of its left and right neighbours
// (across), of those above and below (vertical). Callers hold them in an array in this order.
enum Mean : uint8_t { kOwn, kCross, kDiagonal, kAcross, kVertical, kMeans };

struct ColourMeans {
    Mean blue, green, red;
};

constexpr ColourMeans MeansOf(Native k) noexcept {
    switch (k) {
        case Native::Red: return {kDiagonal, kCross, kOwn};
        case Native::Blue: return {kOwn, kCross, kDiagonal};
        case Native::GreenR: return {kVertical, kOwn, kAcross};
        case Native::GreenB: break;
    }
    return {kAcross, kOwn, kVertical};
}

}  // namespace qm
