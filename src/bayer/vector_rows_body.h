// SPDX-License-Identifier: MIT
// The vector row kernels, written once over a lane set L (see lanes_sse2.h): a file per
// instruction set includes this after selecting its target, with its own L, and fills a
// VectorRows table. L offers L::kWidth lanes of int32 (type L::V) and lanes of double (L::D).
//
// Interior of the interpolating reconstruction: a run starts at an odd column, so its even lanes
// hold odd columns and its odd lanes even ones. All five neighbourhood means are formed for every
// lane and each colour picks its mean by the lane's column parity. The channel rule then runs
// lane-wise exactly as its scalar form does, and the three bytes of each pixel are stored
// together.
#pragma once

#include <cstdint>

#include "bayer/channel_rule.h"
#include "bayer/native_colour.h"
#include "bayer/vector_rows.h"
#include "core/cpu.h"

namespace qm {
namespace {

template <class L> struct RowKernels {
    using V = typename L::V;
    using D = typename L::D;

    // Sum / 2^Log2, truncated toward zero.
    template <int Log2, bool Signed> QM_INLINE static V Divide(V sum) noexcept {
        if constexpr (Signed) sum = L::Add(sum, L::template Srli<32 - Log2>(L::template Srai<31>(sum)));
        return L::template Srai<Log2>(sum);
    }

    // Blue, green and red bytes (the low byte of each lane) as the three low bytes of each lane.
    QM_INLINE static V Pack(V b, V g, V r) noexcept {
        const V byte = L::Splat(0xFF);
        return L::Or(L::Or(L::And(b, byte), L::template Slli<8>(L::And(g, byte))), L::template Slli<16>(r));
    }

    // The channel rules; the low byte of each lane is the stored byte. Narrow: every product lies
    // inside int32 and every unshifted multiplicand below 2^31. Wide: any product.
    struct Channel {
        V offset, subtrahend;
        D gain;
    };
    QM_INLINE static Channel Broadcast(const BayerChannel& c) noexcept {
        return {L::Splat(c.offset), L::Splat(c.subtrahend), L::SplatDouble(c.gain)};
    }
    template <bool Unsigned, bool Wide> QM_INLINE static V Product(V v, D gain) noexcept {
        if constexpr (Wide)
            return L::template MulTruncateLow<Unsigned>(v, gain);
        else
            return L::MulTruncate(v, gain);
    }
    template <bool Shifted, bool Wide> QM_INLINE static V Apply(V x, const Channel& c, uint32_t shift) noexcept {
        if constexpr (Shifted) {
            const V v = L::KeepWhereGreater(x, c.offset, L::Sub(x, c.subtrahend));
            return L::MinSigned(L::Sra(Product<false, Wide>(v, c.gain), shift), L::Splat(255));
        } else {
            return L::MinUnsigned(Product<true, Wide>(L::Sub(x, c.offset), c.gain), L::Splat(255));
        }
    }

    template <class Sample, bool Shifted, bool Wide, RowLayout Layout>
    static void Interior(const Sample* p, const Sample* c, const Sample* n, int64_t groups, uint8_t* out,
                         const BayerChannels& ch) noexcept {
        constexpr bool kSigned = Sample(-1) < Sample(0);
        constexpr ColourMeans kOdd = MeansOf(LayoutColumns<Layout>::odd), kEven = MeansOf(LayoutColumns<Layout>::even);
        const Channel blue = Broadcast(ch.blue), green = Broadcast(ch.green), red = Broadcast(ch.red);
        for (int64_t j = 1, end = 1 + groups * L::kWidth; j < end; j += L::kWidth) {
            const V own = L::Load(c + j);
            const V across = L::Add(L::Load(c + j - 1), L::Load(c + j + 1));
            const V vertical = L::Add(L::Load(p + j), L::Load(n + j));
            const V diagonal =
                L::Add(L::Add(L::Load(p + j - 1), L::Load(p + j + 1)), L::Add(L::Load(n + j - 1), L::Load(n + j + 1)));
            const V means[kMeans] = {own, Divide<2, kSigned>(L::Add(across, vertical)), Divide<2, kSigned>(diagonal),
                                     Divide<1, kSigned>(across), Divide<1, kSigned>(vertical)};
            const V b = Apply<Shifted, Wide>(L::Alternate(means[kOdd.blue], means[kEven.blue]), blue, ch.shift);
            const V g = Apply<Shifted, Wide>(L::Alternate(means[kOdd.green], means[kEven.green]), green, ch.shift);
            const V r = Apply<Shifted, Wide>(L::Alternate(means[kOdd.red], means[kEven.red]), red, ch.shift);
            L::StoreLow3(out + 3 * j, Pack(b, g, r));
        }
    }

    template <class Sample, bool Shifted, bool Wide> static constexpr void Fill(InteriorRows<Sample>& rows) noexcept {
        if constexpr (!Wide || L::kWideProducts) {
            auto& row = rows.row[Shifted][Wide];
            row[static_cast<int>(RowLayout::GreenRRed)] = &Interior<Sample, Shifted, Wide, RowLayout::GreenRRed>;
            row[static_cast<int>(RowLayout::BlueGreenB)] = &Interior<Sample, Shifted, Wide, RowLayout::BlueGreenB>;
            row[static_cast<int>(RowLayout::GreenBBlue)] = &Interior<Sample, Shifted, Wide, RowLayout::GreenBBlue>;
            row[static_cast<int>(RowLayout::RedGreenR)] = &Interior<Sample, Shifted, Wide, RowLayout::RedGreenR>;
        }
    }
    template <class Sample> static constexpr InteriorRows<Sample> MakeInterior() noexcept {
        InteriorRows<Sample> rows{};
        Fill<Sample, false, false>(rows);
        Fill<Sample, false, true>(rows);
        Fill<Sample, true, false>(rows);
        Fill<Sample, true, true>(rows);
        return rows;
    }

    // Binning: a 32-bit word of a row holds a cell's even (low half) and odd (high half) sample.
    static void Bin(const uint16_t* top, const uint16_t* bottom, int64_t groups, uint8_t* out,
                    uint32_t shift) noexcept {
        const V low = L::Splat(0xFFFF);
        for (int64_t x = 0, end = groups * L::kWidth; x < end; x += L::kWidth) {
            const V a = L::LoadWords(top + 2 * x), b = L::LoadWords(bottom + 2 * x);
            const V blue = L::And(b, low);
            const V green = L::template Srli<1>(L::Add(L::And(a, low), L::template Srli<16>(b)));
            const V red = L::template Srli<16>(a);
            L::StoreLow3(out + 3 * x, Pack(L::Srl(blue, shift), L::Srl(green, shift), L::Srl(red, shift)));
        }
    }

    static constexpr VectorRows kTable = {
        L::kWidth, MakeInterior<uint8_t>(), MakeInterior<uint16_t>(), MakeInterior<int16_t>(), &Bin, {}, {}};
};

}  // namespace
}  // namespace qm
