// SPDX-License-Identifier: MIT
// The online family's kernels, written once over the lanes of core/lanes.h and compiled once for
// each instruction set by online_kernels_<set>.cpp. Include only there.
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>

#include "core/blocks.h"
#include "core/element_types.h"
#include "core/lanes.h"
#include "online/online_kernels.h"
#include "online/online_rules.h"
#include "online/pixel_readers.h"

namespace qm::online::QM_ISA_NS {
namespace {

using namespace ::qm::QM_ISA_NS;

template <ReaderId Id> using ReaderOf =
    std::tuple_element_t<static_cast<size_t>(Id),
                         std::tuple<ReadU16, ReadU32, ReadI32, ReadByte, ReadColourMean, ReadColourLuminance>>;

// Word and byte pixels have a vector form: the pixel as int32 lanes.
template <ReaderId Id> inline constexpr bool kVectorReader =
    Id == ReaderId::U16 || Id == ReaderId::U32 || Id == ReaderId::I32 || Id == ReaderId::Byte;
template <ReaderId Id> using Word =
    std::conditional_t<Id == ReaderId::U16, uint16_t, std::conditional_t<Id == ReaderId::Byte, uint8_t, int32_t>>;

template <ReaderId Id, DarkRule Dk>
QM_INLINE double BaseValue(const unsigned char* src, const int32_t* dark, size_t i) noexcept {
    const auto s = ReaderOf<Id>::Read(src, i);
    if constexpr (Dk == DarkRule::Off) {
        return static_cast<double>(s);
    } else if constexpr (Dk == DarkRule::Wrap) {
        return static_cast<double>(static_cast<int32_t>(static_cast<uint32_t>(s) - static_cast<uint32_t>(dark[i])));
    } else {
        return static_cast<double>(int64_t{s} - dark[i]);
    }
}

template <ReaderId Id, DarkRule Dk>
void Base(const unsigned char* src, const int32_t* dark, size_t n, double* base) noexcept {
    size_t i = 0;
    if constexpr (kVectorReader<Id>) {
        using W = Word<Id>;
        for (; i + kLanes <= n; i += kLanes) {
            const VI s = LoadInt<W>(src + i * sizeof(W));
            VD v;
            if constexpr (Dk == DarkRule::Off) {
                v = ToDouble(s);
                if constexpr (Id == ReaderId::U32) v = v < 0.0 ? v + 0x1p32 : v;  // read unsigned
            } else if constexpr (Dk == DarkRule::Wrap) {
                v = ToDouble(SubInt(s, LoadVI(dark + i)));
            } else {
                v = ToDouble(s) - ToDouble(LoadVI(dark + i));  // exact: 33 bits
            }
            StoreVD(base + i, v);
        }
    }
    for (; i < n; ++i) base[i] = BaseValue<Id, Dk>(src, dark, i);
}

template <ReaderId Id, DarkRule Dk>
void BaseInt(const unsigned char* src, const int32_t* dark, size_t n, int32_t* base) noexcept {
    using W = Word<Id>;
    size_t i = 0;
    for (; i + kWide <= n; i += kWide) {
        const VW s = LoadWide<W>(src + i * sizeof(W));
        StoreW(base + i, Dk == DarkRule::Off ? s : SubW(s, LoadW(dark + i)));
    }
    for (; i < n; ++i) {
        const auto s = static_cast<uint32_t>(ReaderOf<Id>::Read(src, i));
        base[i] = static_cast<int32_t>(Dk == DarkRule::Off ? s : s - static_cast<uint32_t>(dark[i]));
    }
}

template <class D> void AccumulateInt(const int32_t* v, size_t n, unsigned char* out) noexcept {
    size_t i = 0;
    for (; i + kWide <= n; i += kWide) {
        unsigned char* p = out + i * sizeof(D);
        StoreWide<D>(p, AddW(LoadWide<D>(p), LoadW(v + i)));
    }
    for (; i < n; ++i) Put<D, true>(out, i, static_cast<D>(v[i]));
}

bool Flat(double* v, const float* flat, size_t n) noexcept {
    size_t i = 0;
    bool narrow = true;
    for (; i + kLanes <= n; i += kLanes) {
        const VD x = LoadVD(v + i);
        narrow &= AllOf((x > -kNarrowLimit) & (x < kNarrowLimit));
    }
    for (; i < n; ++i) narrow &= v[i] > -kNarrowLimit && v[i] < kNarrowLimit;
    if (!narrow) return false;
    i = 0;
    for (; i + kLanes <= n; i += kLanes)
        StoreVD(v + i, LoadVD(v + i) * LoadDouble<float>(reinterpret_cast<const unsigned char*>(flat + i)));
    for (; i < n; ++i) v[i] *= static_cast<double>(flat[i]);
    return true;
}

template <bool kClip> void StageBlock(double* v, size_t n, double a, double b) noexcept {
    size_t i = 0;
    const auto stage = [a, b](auto x) { return kClip ? ClipForm(x, a, b) : ThresholdForm(x, a); };
    for (; i + kLanes <= n; i += kLanes) StoreVD(v + i, stage(LoadVD(v + i)));
    for (; i < n; ++i) v[i] = stage(v[i]);
}

// Output elements plus the results converted to them: integers wrap at their width (the low bits
// of a 32-bit sum are those of the sum in the element's width); F32 adds in single precision
// (the double sum of two singles rounded to single is their single sum); F64 in double.
template <class D> void Accumulate(const double* v, size_t n, unsigned char* out) noexcept {
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        unsigned char* p = out + i * sizeof(D);
        const VD x = LoadVD(v + i);
        if constexpr (std::is_same_v<D, double>) {
            const VD sum = LoadDouble<double>(p) + x;
            std::memcpy(p, &sum, sizeof sum);
        } else if constexpr (std::is_same_v<D, float>) {
            StoreFloat(p, LoadDouble<float>(p) + RoundToSingle(x));
        } else {
            StoreInt<D>(p, AddInt(LoadInt<D>(p), TruncateLow32(x)));
        }
    }
    for (; i < n; ++i) Put<D, true>(out, i, ::qm::StoreFloat<D>(v[i]));
}

template <Stage St, class D, bool kAccumulate>
void Wide(const double* base, const float* flat, size_t n, double a, double b, unsigned char* out) noexcept {
    alignas(64) D r[blocks::kBlock];  // results gathered first, so the branch-free rule vectorises
    for (size_t i = 0; i < n; ++i) r[i] = WideFlatResult<St, D>(base[i], flat[i], a, b);
    if constexpr (kAccumulate) {
        for (size_t i = 0; i < n; ++i) r[i] = static_cast<D>(LoadAt<D>(out, i) + r[i]);
    }
    std::memcpy(out, r, n * sizeof(D));
}

template <Stage St, bool kAcc> constexpr void SetWide(Kernels& k) noexcept {
    auto& row = k.wide[static_cast<int>(St)][kAcc];
    row[kI8] = row[kU8] = &Wide<St, uint8_t, kAcc>;
    row[kI16] = row[kU16] = &Wide<St, uint16_t, kAcc>;
    row[kI32] = row[kU32] = &Wide<St, uint32_t, kAcc>;
    row[kF32] = &Wide<St, float, kAcc>;
    row[kF64] = &Wide<St, double, kAcc>;
}

template <ReaderId Id, DarkRule Dk> constexpr void SetBase(Kernels& k) noexcept {
    k.base[static_cast<int>(Id)][static_cast<int>(Dk)] = &Base<Id, Dk>;
}
template <ReaderId Id> constexpr void SetBases(Kernels& k) noexcept {
    SetBase<Id, DarkRule::Off>(k);
    SetBase<Id, DarkRule::Wrap>(k);
    if constexpr (kVectorReader<Id>) {
        k.baseInt[static_cast<int>(Id)][static_cast<int>(DarkRule::Off)] = &BaseInt<Id, DarkRule::Off>;
        k.baseInt[static_cast<int>(Id)][static_cast<int>(DarkRule::Wrap)] = &BaseInt<Id, DarkRule::Wrap>;
    }
    if constexpr (Id == ReaderId::I32) SetBase<Id, DarkRule::Wide>(k);
}

constexpr Kernels MakeKernels() noexcept {
    Kernels k{};
    SetBases<ReaderId::U16>(k);
    SetBases<ReaderId::U32>(k);
    SetBases<ReaderId::I32>(k);
    SetBases<ReaderId::Byte>(k);
    SetBases<ReaderId::ColourMean>(k);
    SetBases<ReaderId::ColourLuminance>(k);
    k.flat = &Flat;
    k.threshold = &StageBlock<false>;
    k.clip = &StageBlock<true>;
    SetWide<Stage::None, false>(k);
    SetWide<Stage::None, true>(k);
    SetWide<Stage::Threshold, false>(k);
    SetWide<Stage::Threshold, true>(k);
    SetWide<Stage::Clip, false>(k);
    SetWide<Stage::Clip, true>(k);
    k.accumulateInt[kI8] = k.accumulateInt[kU8] = &AccumulateInt<uint8_t>;
    k.accumulateInt[kI16] = k.accumulateInt[kU16] = &AccumulateInt<uint16_t>;
    k.accumulateInt[kI32] = k.accumulateInt[kU32] = &AccumulateInt<uint32_t>;
    k.accumulate[kI8] = &Accumulate<uint8_t>;
    k.accumulate[kU8] = &Accumulate<uint8_t>;
    k.accumulate[kI16] = &Accumulate<uint16_t>;
    k.accumulate[kU16] = &Accumulate<uint16_t>;
    k.accumulate[kI32] = &Accumulate<uint32_t>;
    k.accumulate[kU32] = &Accumulate<uint32_t>;
    k.accumulate[kF32] = &Accumulate<float>;
    k.accumulate[kF64] = &Accumulate<double>;
    return k;
}

}  // namespace

extern constinit const Kernels kKernels = MakeKernels();

}  // namespace qm::online::QM_ISA_NS
