// SPDX-License-Identifier: MIT
// The online family's kernels, written once over the lanes of core/lanes.h and compiled once for
// each instruction set by online_kernels_<set>.cpp. Include only there.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>

#include "core/blocks.h"
#include "core/element_types.h"
#include "core/exact_lanes.h"
#include "core/lanes.h"
#include "core/log10.h"
#include "core/log10_lanes.h"
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

// Colour pixels reduced to their mean, kWide at a time (the byte shuffles of AVX2 and AVX-512): the
// three bytes of each pixel moved into an int32 lane each, and (2 x sum + 1) / 6 taken as
// ((2 x sum + 1) x 10923) >> 16, which equals it for every sum up to 765. The loads reach 4 bytes
// past the kWide pixels, so the caller leaves 2 more pixels after them.
#if QM_VECTOR_BYTES >= 32
inline constexpr bool kVectorColour = true;
inline constexpr size_t kColourSlack = 2;
QM_INLINE VW ColourMeanWide(const unsigned char* p) noexcept {
    const auto channel = [](int c) {
        return _mm_setr_epi8(static_cast<char>(c), -1, -1, -1, static_cast<char>(3 + c), -1, -1, -1,
                             static_cast<char>(6 + c), -1, -1, -1, static_cast<char>(9 + c), -1, -1, -1);
    };
    const auto quarter = [p](int q) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 12 * q)); };
#if QM_VECTOR_BYTES == 64
    __m512i bytes = _mm512_castsi128_si512(quarter(0));
    bytes = _mm512_inserti32x4(bytes, quarter(1), 1);
    bytes = _mm512_inserti32x4(bytes, quarter(2), 2);
    bytes = _mm512_inserti32x4(bytes, quarter(3), 3);
    const auto pick = [&bytes](__m128i m) { return _mm512_shuffle_epi8(bytes, _mm512_broadcast_i32x4(m)); };
#else
    const __m256i bytes = _mm256_inserti128_si256(_mm256_castsi128_si256(quarter(0)), quarter(1), 1);
    const auto pick = [&bytes](__m128i m) { return _mm256_shuffle_epi8(bytes, _mm256_broadcastsi128_si256(m)); };
#endif
    const VW sum = AddW(AddW(pick(channel(0)), pick(channel(1))), pick(channel(2)));
    const VW t = AddW(AddW(sum, sum), SplatW(1));
#if QM_VECTOR_BYTES == 64
    return _mm512_srli_epi32(MulW(t, SplatW(10923)), 16);
#else
    return _mm256_srli_epi32(MulW(t, SplatW(10923)), 16);
#endif
}
// The same for the last kWide pixels before the end of what the caller gave (a block's last step),
// read from a copy with room for the loads' reach.
QM_INLINE VW ColourMeanWideAtEnd(const unsigned char* p) noexcept {
    unsigned char copy[3 * (kWide + kColourSlack)] = {};
    std::memcpy(copy, p, 3 * kWide);
    return ColourMeanWide(copy);
}
#else
inline constexpr bool kVectorColour = false;
inline constexpr size_t kColourSlack = 0;
#endif

// Readers with a full-width vector form.
template <ReaderId Id> inline constexpr bool kWideReader = kVectorReader<Id> ||
                                                           (Id == ReaderId::ColourMean && kVectorColour);

// kWide pixels from the one at p as int32 lanes (32-bit words as their bit patterns).
template <ReaderId Id> QM_INLINE VW PixelsWide(const unsigned char* p) noexcept {
    if constexpr (Id == ReaderId::ColourMean) {
#if QM_VECTOR_BYTES >= 32
        return ColourMeanWide(p);
#endif
    } else {
        return LoadWide<Word<Id>>(p);
    }
}

template <ReaderId Id, DarkRule Dk, bool kAcc, class D>
void Direct(const unsigned char* src, const int32_t* dark, size_t n, unsigned char* out) noexcept {
    constexpr size_t kPixel = Id == ReaderId::ColourMean || Id == ReaderId::ColourLuminance ? 3 : sizeof(Word<Id>);
    size_t i = 0;
    if constexpr (std::is_integral_v<D> && kWideReader<Id>) {
        // Integer outputs take the 32-bit patterns: their low bits are the stored element's.
        constexpr size_t kSlack = Id == ReaderId::ColourMean ? kColourSlack : 0;
        const auto step = [=](size_t i, VW v) QM_LAMBDA_INLINE {
            if constexpr (Dk == DarkRule::Wrap) v = SubW(v, LoadW(dark + i));
            unsigned char* p = out + i * sizeof(D);
            if constexpr (kAcc) v = AddW(LoadWide<D>(p), v);
            StoreWide<D>(p, v);
        };
        for (; i + kWide + kSlack <= n; i += kWide) step(i, PixelsWide<Id>(src + i * kPixel));
#if QM_VECTOR_BYTES >= 32
        if constexpr (Id == ReaderId::ColourMean)
            if (n - i >= kWide) step(i, ColourMeanWideAtEnd(src + i * kPixel)), i += kWide;
#endif
    } else if constexpr (!std::is_integral_v<D> && kVectorReader<Id>) {
        for (; i + kLanes <= n; i += kLanes) {
            VI s = LoadInt<Word<Id>>(src + i * kPixel);
            if constexpr (Dk == DarkRule::Wrap) s = SubInt(s, LoadVI(dark + i));
            VD v = ToDouble(s);
            if constexpr (Id == ReaderId::U32 && Dk == DarkRule::Off) v = v < 0.0 ? v + 0x1p32 : v;  // read unsigned
            unsigned char* p = out + i * sizeof(D);
            if constexpr (std::is_same_v<D, double>) {
                if constexpr (kAcc) v = LoadDouble<double>(p) + v;
                std::memcpy(p, &v, sizeof v);
            } else {
                // A float accumulation adds in single precision.
                StoreFloat(p, kAcc ? LoadDouble<float>(p) + RoundToSingle(v) : v);
            }
        }
    }
    for (; i < n; ++i) Put<D, kAcc>(out, i, ::qm::StoreFloat<D>(BaseValue<Id, Dk>(src, dark, i)));
}

// The final stage of exact products v f (|v| < 2^34, f a single) in lanes, as doubles that the
// output's store rule turns into the element of the exact product. p = v f rounded and its exact
// error e order the product against the bounds (v f > a where p > a, or p = a and e > 0). The
// value itself goes to singles and integers rounded to odd (53 bits rounded to odd round to 24 as
// the exact value does, and below 2^52 an odd double is never an integer, so truncation agrees),
// to doubles rounded to nearest. False, for integer outputs with a product of 2^52 or more: their
// truncation may not be a double, and the caller takes those lane by lane.
template <Stage St, class D> QM_INLINE bool WideProductLanes(VD v, VD f, double a, double b, VD& x) noexcept {
    const VD p = v * f;
    if constexpr (std::is_integral_v<D> && St != Stage::Threshold) {
        if (!AllWithin(p, 0x1p52)) return false;
    }
    const VD e = St == Stage::None ? VD{} : ProductError(v, f, p);
    const VD value = St == Stage::Threshold ? VD{} : std::is_same_v<D, double> ? p : ProductLanes::ToOdd(v, f);
    if constexpr (St == Stage::Threshold) {
        x = (p > a) | ((p == a) & (e > 0.0)) ? SplatVD(1.0) : VD{};
    } else if constexpr (St == Stage::Clip) {
        const auto above = (p > b) | ((p == b) & (e > 0.0)), below = (p < a) | ((p == a) & (e < 0.0));
        x = above ? SplatVD(b) : (below ? SplatVD(a) : value);
    } else {
        x = value;
    }
    return true;
}

// Pixels by the exact product of WideFlatResult, one at a time: the last pixels of a block and
// the vectors whose products an integer output cannot take in lanes. Out of line, being rare and
// large when inlined into every kernel.
template <Stage St, class D, bool kAcc>
[[gnu::noinline, gnu::cold]] void ExactPixels(const double* base, const float* flat, size_t count, double a, double b,
                                              unsigned char* out) noexcept {
    for (size_t k = 0; k < count; ++k) Put<D, kAcc>(out, k, WideFlatResult<St, D, kFma>(base[k], flat[k], a, b));
}

// One pass: a vector of narrow base values takes the plain product (exact below 2^29), one with a
// wider value (32-bit readers, or a dark pixel) the exact product in lanes, and what those cannot
// hold, with the last pixels, the exact product of WideFlatResult lane by lane. Colour pixels come
// kWide at a time (their mean), as two vectors of int32 lanes.
// kUnit: every flat factor is 1, and the product by it (exact) is left out.
template <ReaderId Id, DarkRule Dk, Stage St, bool kAcc, class D, bool kUnit>
QM_INLINE void FlatPass(const unsigned char* src, const int32_t* dark, const float* flat, size_t n, double a, double b,
                        unsigned char* out) noexcept {
    // Pixels i to i + kLanes from their int32 lanes s.
    const auto lanes = [=](size_t i, VI s) QM_LAMBDA_INLINE {
        if constexpr (Dk == DarkRule::Wrap) s = SubInt(s, LoadVI(dark + i));
        VD v = ToDouble(s);
        if constexpr (Dk == DarkRule::Wide) v -= ToDouble(LoadVI(dark + i));                     // exact: 33 bits
        if constexpr (Id == ReaderId::U32 && Dk == DarkRule::Off) v = v < 0.0 ? v + 0x1p32 : v;  // read unsigned
        const VD f = kUnit ? SplatVD(1.0) : LoadDouble<float>(reinterpret_cast<const unsigned char*>(flat + i));
        // Narrow: every base value within [-2^29, 2^29), told from the int32 lanes where they hold it
        // (an unsigned pixel below 2^29, a signed value plus 2^29 below 2^30).
        bool narrow;
        if constexpr (BaseBits({Id, Dk}) <= kNarrowBits)
            narrow = true;
        else if constexpr (Dk == DarkRule::Wide)
            narrow = AllOf((v >= -kNarrowLimit) & (v < kNarrowLimit));
        else if constexpr (Id == ReaderId::U32 && Dk == DarkRule::Off)
            narrow = NoneSet(s, ~int32_t{0x1FFFFFFF});
        else
            narrow = NoneSet(AddInt(s, SplatInt(0x20000000)), ~int32_t{0x3FFFFFFF});
        VD x;
        if (narrow) {
            x = v * f;
            if constexpr (St == Stage::Threshold)
                x = ThresholdForm(x, a);
            else if constexpr (St == Stage::Clip)
                x = ClipForm(x, a, b);
        } else if (!WideProductLanes<St, D>(v, f, a, b, x)) {
            alignas(QM_VECTOR_BYTES) double held[kLanes];
            StoreVD(held, v);
            ExactPixels<St, D, kAcc>(held, flat + i, kLanes, a, b, out + i * sizeof(D));
            return;
        }
        unsigned char* p = out + i * sizeof(D);
        if constexpr (std::is_same_v<D, double>) {
            const VD r = kAcc ? LoadDouble<double>(p) + x : x;
            std::memcpy(p, &r, sizeof r);
        } else if constexpr (std::is_same_v<D, float>) {
            StoreFloat(p, kAcc ? LoadDouble<float>(p) + RoundToSingle(x) : x);
        } else {
            const VI r = TruncateLow32(x);
            StoreInt<D>(p, kAcc ? AddInt(LoadInt<D>(p), r) : r);
        }
    };
    size_t i = 0;
    if constexpr (Id == ReaderId::ColourMean) {
        const auto step = [&](size_t i, VW means) QM_LAMBDA_INLINE {
            lanes(i, LowHalf(means));
            lanes(i + kLanes, HighHalf(means));
        };
        for (; i + kWide + kColourSlack <= n; i += kWide) step(i, PixelsWide<Id>(src + 3 * i));
#if QM_VECTOR_BYTES >= 32
        if (n - i >= kWide) step(i, ColourMeanWideAtEnd(src + 3 * i)), i += kWide;
#endif
    } else {
        for (; i + kLanes <= n; i += kLanes) lanes(i, LoadInt<Word<Id>>(src + i * sizeof(Word<Id>)));
    }
    // What is left is fewer than a step's pixels (and the colour reader's slack).
    constexpr size_t kLeft = Id == ReaderId::ColourMean ? kWide + kColourSlack : kLanes;
    double base[kLeft];
    const size_t left = std::min(n - i, kLeft);  // n - i, always
    for (size_t k = 0; k < left; ++k) base[k] = BaseValue<Id, Dk>(src, dark, i + k);
    ExactPixels<St, D, kAcc>(base, flat + i, left, a, b, out + i * sizeof(D));
}

template <ReaderId Id, DarkRule Dk, Stage St, bool kAcc, class D>
void FlatDirect(const unsigned char* src, const int32_t* dark, const float* flat, bool unit, size_t n, double a,
                double b, unsigned char* out) noexcept {
    // Only frames with a threshold or a clip run here without a flat field.
    if constexpr (St == Stage::Threshold || St == Stage::Clip)
        if (unit) return FlatPass<Id, Dk, St, kAcc, D, true>(src, dark, flat, n, a, b, out);
    FlatPass<Id, Dk, St, kAcc, D, false>(src, dark, flat, n, a, b, out);
}

template <ReaderId Id, DarkRule Dk, Stage St, bool kAcc> constexpr void SetFlatDirect(Kernels& k) noexcept {
    auto& row = k.flatDirect[static_cast<int>(Id)][static_cast<int>(Dk)][static_cast<int>(St)][kAcc];
    row[kI8] = row[kU8] = &FlatDirect<Id, Dk, St, kAcc, uint8_t>;
    row[kI16] = row[kU16] = &FlatDirect<Id, Dk, St, kAcc, uint16_t>;
    row[kI32] = row[kU32] = &FlatDirect<Id, Dk, St, kAcc, uint32_t>;
    row[kF32] = &FlatDirect<Id, Dk, St, kAcc, float>;
    row[kF64] = &FlatDirect<Id, Dk, St, kAcc, double>;
}
template <ReaderId Id, DarkRule Dk> constexpr void SetFlatDirects(Kernels& k) noexcept {
    SetFlatDirect<Id, Dk, Stage::None, false>(k);
    SetFlatDirect<Id, Dk, Stage::None, true>(k);
    SetFlatDirect<Id, Dk, Stage::Threshold, false>(k);
    SetFlatDirect<Id, Dk, Stage::Threshold, true>(k);
    SetFlatDirect<Id, Dk, Stage::Clip, false>(k);
    SetFlatDirect<Id, Dk, Stage::Clip, true>(k);
}

template <ReaderId Id, DarkRule Dk, bool kAcc> constexpr void SetDirect(Kernels& k) noexcept {
    auto& row = k.direct[static_cast<int>(Id)][Dk == DarkRule::Wrap][kAcc];
    row[kI8] = row[kU8] = &Direct<Id, Dk, kAcc, uint8_t>;
    row[kI16] = row[kU16] = &Direct<Id, Dk, kAcc, uint16_t>;
    row[kI32] = row[kU32] = &Direct<Id, Dk, kAcc, uint32_t>;
    row[kF32] = &Direct<Id, Dk, kAcc, float>;
    row[kF64] = &Direct<Id, Dk, kAcc, double>;
}

bool Flat(double* v, const float* flat, size_t n) noexcept {
    size_t i = 0;
    // The first wide value decides: blocks of wide values (32-bit sources) stop at once.
    for (; i + kLanes <= n; i += kLanes) {
        const VD x = LoadVD(v + i);
        if (!AllWithin(x, kNarrowLimit)) return false;
    }
    for (; i < n; ++i)
        if (!(v[i] > -kNarrowLimit && v[i] < kNarrowLimit)) return false;
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

// The logarithm stage (core/log10_lanes.h: the vector logarithm of the argument formed in doubles,
// where its bound and the slack settle the stored element; the extended logarithm of the argument
// formed in extended precision elsewhere), G vectors to a decision. Double outputs take the
// extended one, except where the set has double lanes and the argument is exact (no slack).
template <LogOrder Ord, LogTarget T, bool kSlack, size_t G>
QM_INLINE void LogVectors(double* v, const float* flat, const float* gain, size_t n, const LogReach& reach,
                          size_t& i) noexcept {
    for (; i + G * kLanes <= n; i += G * kLanes) {
        double* p = v + i;
        VD x[G], base[G];
#pragma GCC unroll 8
        for (size_t g = 0; g < G; ++g) {
            const size_t j = i + g * kLanes;
            base[g] = LoadVD(v + j);
            const VD gj = LoadDouble<float>(reinterpret_cast<const unsigned char*>(gain + j));
            if constexpr (Ord == LogOrder::NoFlat) {
                x[g] = base[g] * gj;
            } else {
                const VD f = LoadDouble<float>(reinterpret_cast<const unsigned char*>(flat + j));
                x[g] = Ord == LogOrder::FlatFirst ? base[g] * f * gj : base[g] * gj * f;
            }
        }
        StoreLog10Lanes<T, kSlack>(
            x, base, reach, [p](size_t g, VD y) { StoreVD(p + g * kLanes, y); },
            [&](size_t j, double b) { p[j] = StoredLog<T>(Log10Extended(LogArgument<Ord>(b, flat, gain, i + j))); });
    }
}
template <LogOrder Ord, LogTarget T>
void LogStage(double* v, const float* flat, const float* gain, size_t n, double slack) noexcept {
    size_t i = 0;
    if constexpr (T != LogTarget::Double) {
        const LogReach reach = ReachOf(slack);
        LogVectors<Ord, T, true, 4>(v, flat, gain, n, reach, i);
        LogVectors<Ord, T, true, 1>(v, flat, gain, n, reach, i);
    } else if constexpr (kLogDoubleLanes && Ord == LogOrder::NoFlat) {
        // Without a flat factor the slack is 0 where the argument, a base value of at most 29 bits
        // times a single, is exact in double; else every element takes the extended logarithm.
        if (slack == 0.0) {
            const LogReach reach = ReachOf(0.0);
            LogVectors<Ord, T, false, 4>(v, flat, gain, n, reach, i);
            LogVectors<Ord, T, false, 1>(v, flat, gain, n, reach, i);
        }
    }
    for (; i < n; ++i) v[i] = StoredLog<T>(Log10Extended(LogArgument<Ord>(v[i], flat, gain, i)));
}

template <LogOrder Ord> constexpr void SetLog(Kernels& k) noexcept {
    k.log[static_cast<int>(Ord)][static_cast<int>(LogTarget::Single)] = &LogStage<Ord, LogTarget::Single>;
    k.log[static_cast<int>(Ord)][static_cast<int>(LogTarget::Integer)] = &LogStage<Ord, LogTarget::Integer>;
    k.log[static_cast<int>(Ord)][static_cast<int>(LogTarget::Double)] = &LogStage<Ord, LogTarget::Double>;
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
    for (size_t i = 0; i < n; ++i) r[i] = WideFlatResult<St, D, kFma>(base[i], flat[i], a, b);
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
    SetDirect<Id, DarkRule::Off, false>(k);
    SetDirect<Id, DarkRule::Off, true>(k);
    SetDirect<Id, DarkRule::Wrap, false>(k);
    SetDirect<Id, DarkRule::Wrap, true>(k);
    if constexpr (kVectorReader<Id> || (Id == ReaderId::ColourMean && kVectorColour)) {
        SetFlatDirects<Id, DarkRule::Off>(k);
        SetFlatDirects<Id, DarkRule::Wrap>(k);
        if constexpr (Id == ReaderId::I32) SetFlatDirects<Id, DarkRule::Wide>(k);
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
    k.accumulate[kI8] = &Accumulate<uint8_t>;
    k.accumulate[kU8] = &Accumulate<uint8_t>;
    k.accumulate[kI16] = &Accumulate<uint16_t>;
    k.accumulate[kU16] = &Accumulate<uint16_t>;
    k.accumulate[kI32] = &Accumulate<uint32_t>;
    k.accumulate[kU32] = &Accumulate<uint32_t>;
    k.accumulate[kF32] = &Accumulate<float>;
    k.accumulate[kF64] = &Accumulate<double>;
    SetLog<LogOrder::NoFlat>(k);
    SetLog<LogOrder::FlatFirst>(k);
    SetLog<LogOrder::GainFirst>(k);
    return k;
}

}  // namespace

extern constinit const Kernels kKernels = MakeKernels();

}  // namespace qm::online::QM_ISA_NS
