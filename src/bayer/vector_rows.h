// SPDX-License-Identifier: MIT
// Vector kernels for the bulk of a row: the interior columns of the interpolating reconstruction
// and the cells of the 2 x 2 binning. Each instruction-set variant fills one table; the callers
// keep the edge columns, the first row and every remainder on their scalar code.
#pragma once

#include <cstdint>
#include <type_traits>

#include "bayer/channel_rule.h"
#include "bayer/fixed_rule.h"
#include "core/cpu.h"

namespace qm {

// Writes `groups` runs of VectorRows::width interior pixels of a row, the first at column 1:
// c is the row, p and n the rows above and below, out the row's pixel 0. Every column read,
// from 0 to groups * width + 1, lies inside the rows.
template <class Sample> using InteriorRowFn = void (*)(const Sample* p, const Sample* c, const Sample* n,
                                                       int64_t groups, uint8_t* out,
                                                       const BayerChannels& channels) noexcept;

// [shift not 0][wide][row layout, as RowLayout]. The narrow kernels need every product inside
// int32 and, without a shift, every multiplicand below 2^31; the wide ones take any gain and
// offset, and are null where the instruction set has no exact wide form.
template <class Sample> struct InteriorRows { InteriorRowFn<Sample> row[2][2][4]; };

// Writes `groups` runs of VectorRows::width binned pixels from output column 0: the cells read
// top[0 .. 2 * groups * width) and the same span of bottom.
using BinRowFn = void (*)(const uint16_t* top, const uint16_t* bottom, int64_t groups, uint8_t* out,
                          uint32_t shift) noexcept;

// Writes `groups` runs of FixedRows::width interior pixels of a row like InteriorRowFn, with the
// channel rule in its integer form (bayer/fixed_rule.h).
template <class Sample> using FixedRowFn = void (*)(const Sample* p, const Sample* c, const Sample* n, int64_t groups,
                                                    uint8_t* out, const FixedChannels& channels) noexcept;

// What the three channels' integer forms have in common: any multiplier, or multipliers of the
// short form (mulLow 0).
enum class FixedForm : uint8_t { Long, Short };
inline constexpr int kFixedForms = 2;

// [form][row layout, as RowLayout]; null where the instruction set has no such kernel. 8-bit
// mosaics take the byte tables below instead.
struct FixedRows {
    int32_t width;  // pixels per run
    FixedRowFn<uint16_t> u16[kFixedForms][4];

    template <class Sample> const FixedRowFn<Sample>* For(FixedForm form) const noexcept {
        if constexpr (std::is_same_v<Sample, uint16_t>)
            return u16[static_cast<int>(form)];
        else
            return nullptr;
    }
};

// The channel rule over 8-bit values as three 256-byte tables in the order of the output bytes
// (blue, green, red): a mean of 8-bit samples is an 8-bit value, so the tables hold the exact rule
// whatever the gains, offsets and shift.
struct ByteTables {
    alignas(64) uint8_t channel[3][256];
};

// Writes `groups` runs of ByteRows::width interior pixels of an 8-bit mosaic's row like
// InteriorRowFn, the channel rule looked up in `tables`.
using ByteRowFn = void (*)(const uint8_t* p, const uint8_t* c, const uint8_t* n, int64_t groups, uint8_t* out,
                           const ByteTables& tables) noexcept;

// [row layout, as RowLayout]; width 0 where the instruction set has no such kernels.
struct ByteRows {
    int32_t width;  // pixels per run
    ByteRowFn row[4];
};

struct VectorRows {
    int32_t width;  // pixels per run
    InteriorRows<uint8_t> u8;
    InteriorRows<uint16_t> u16;
    InteriorRows<int16_t> i16;
    BinRowFn bin;
    FixedRows fixed;
    ByteRows bytes;

    template <class Sample> const InteriorRows<Sample>* Interior() const noexcept {
        if constexpr (std::is_same_v<Sample, uint8_t>)
            return &u8;
        else if constexpr (std::is_same_v<Sample, uint16_t>)
            return &u16;
        else if constexpr (std::is_same_v<Sample, int16_t>)
            return &i16;
        else
            return nullptr;
    }
};

// The kernels of the active instruction set.
const VectorRows* ActiveVectorRows() noexcept;

extern const VectorRows kVectorRowsSse2, kVectorRowsAvx2, kVectorRowsAvx512;

}  // namespace qm
