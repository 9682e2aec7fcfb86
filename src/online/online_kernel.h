// The online kernel: one template over (pixel reader, dark rule, flat field, final stage, mode,
// output element), and the table of its instantiations that a pipeline picks from once a frame.
//
// The per-pixel rule is written twice: Result is the general one, exact for every value; the
// narrow one holds for blocks whose values are small enough that a plain double product is exact
// and every converted value fits int32, and vectorises. KernelLoop tests each block (in the first-
// level cache, so the test costs no memory traffic) and takes the narrow rule where it may. Every
// combination is its own function, so the loops carry no option tests.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

#include "core/cpu.h"
#include "core/truncate.h"
#include "online/exact_value.h"
#include "online/frame_plan.h"
#include "online/pixel_readers.h"

namespace qm::online {

// How the dark pixel enters: not at all, as a 32-bit wrapping difference read back as signed, or
// as an exact (33-bit) difference of the signed source pixel.
enum class DarkRule : uint8_t { Off, Wrap, Wide };

struct KernelArgs {
    unsigned char* out = nullptr;
    const unsigned char* src = nullptr;
    const int32_t* dark = nullptr;
    const float* flat = nullptr;
    const float* gain = nullptr;
    double a = 0.0;
    double b = 0.0;
    size_t n = 0;
};
using Kernel = void (*)(const KernelArgs&) noexcept;

// Output element classes: 8-, 16- and 32-bit integers (signed and unsigned stored alike), F32, F64.
inline constexpr int kOutputClasses = 5;
template <int C>
using OutputElement = std::tuple_element_t<C, std::tuple<uint8_t, uint16_t, uint32_t, float, double>>;
constexpr int OutputClassOf(int32_t type) noexcept {
    constexpr int kClass[] = {-1, 0, 1, 2, 3, 4, 0, 1, 2};
    return type >= 1 && type <= 8 ? kClass[type] : -1;
}

// The integer the arithmetic starts from: the source pixel, less the dark pixel if there is one,
// in the narrowest type that holds it.
template <class R, DarkRule Dk>
using BaseType = std::conditional_t<Dk == DarkRule::Off, typename R::Value,
                                    std::conditional_t<Dk == DarkRule::Wrap, int32_t, int64_t>>;

template <class R, DarkRule Dk> QM_INLINE BaseType<R, Dk> BaseValue(const KernelArgs& k, size_t i) noexcept {
    const auto s = R::Read(k.src, i);
    if constexpr (Dk == DarkRule::Off) {
        return s;
    } else if constexpr (Dk == DarkRule::Wrap) {
        return static_cast<int32_t>(static_cast<uint32_t>(s) - static_cast<uint32_t>(k.dark[i]));
    } else {
        return int64_t{s} - k.dark[i];
    }
}

template <class R, DarkRule Dk> inline constexpr int kBaseBits =
    Dk == DarkRule::Off ? R::kBits : Dk == DarkRule::Wrap ? 32 : 33;

// The corrected value before the final stage, exactly. An integer of up to 29 bits times a float
// is exact in double; wider ones take the split product.
template <class R, DarkRule Dk, bool Flat> QM_INLINE Exact CorrectedValue(const KernelArgs& k, size_t i) noexcept {
    const int64_t v = BaseValue<R, Dk>(k, i);
    if constexpr (!Flat) {
        return {static_cast<double>(v), 0.0};
    } else if constexpr (kBaseBits<R, Dk> <= 29) {
        return {static_cast<double>(v) * static_cast<double>(k.flat[i]), 0.0};
    } else if constexpr (Dk == DarkRule::Wrap) {
        return ExactProduct(static_cast<int32_t>(v), k.flat[i]);  // the wrapped difference is 32-bit
    } else {
        return ExactProduct(v, k.flat[i]);
    }
}

inline constexpr long double kPowersOfTen[] = {1e0L,  1e1L,  1e2L,  1e3L,  1e4L,  1e5L,  1e6L,  1e7L,  1e8L,  1e9L,
                                                1e10L, 1e11L, 1e12L, 1e13L, 1e14L, 1e15L, 1e16L, 1e17L, 1e18L, 1e19L,
                                                1e20L, 1e21L, 1e22L, 1e23L, 1e24L, 1e25L, 1e26L, 1e27L};

// log10 in extended precision; the powers of ten that extended precision holds exactly give
// their exponent exactly (the library logarithm may miss it by an ulp).
inline long double Log10Extended(long double x) noexcept {
    const long double l = std::log10(x);
    if (l > -0.5L && l < 27.5L) {
        const int k = static_cast<int>(l + 0.5L);
        if (x == kPowersOfTen[k]) return static_cast<long double>(k);
    }
    return l;
}

// The argument of the logarithm, in extended precision: the value times the gain, with the flat
// factor applied before the gain on a plain source and after it on a dark-subtracted one.
template <class R, DarkRule Dk, bool Flat> QM_INLINE long double LogArgument(const KernelArgs& k, size_t i) noexcept {
    const long double v = static_cast<long double>(BaseValue<R, Dk>(k, i));
    const long double g = k.gain[i];
    if constexpr (!Flat) {
        return v * g;
    } else if constexpr (Dk == DarkRule::Off) {
        return v * static_cast<long double>(k.flat[i]) * g;
    } else {
        return v * g * static_cast<long double>(k.flat[i]);
    }
}

// Kernels without a float: the low bits of the integer, or the integer converted to floating.
template <class R, DarkRule Dk, class D> QM_INLINE D IntegerResult(const KernelArgs& k, size_t i) noexcept {
    const auto v = BaseValue<R, Dk>(k, i);
    if constexpr (kIsFloat<D>) {
        return static_cast<D>(v);
    } else {
        return LowBits<D>(v);
    }
}

// The general per-pixel rule: the result of pixel i converted to the output element D.
template <class R, DarkRule Dk, bool Flat, Stage St, class D>
QM_INLINE D Result(const KernelArgs& k, size_t i) noexcept {
    if constexpr (St == Stage::Log) {
        return StoreFloat<D>(Log10Extended(LogArgument<R, Dk, Flat>(k, i)));
    } else if constexpr (!Flat && St == Stage::None) {
        return IntegerResult<R, Dk, D>(k, i);
    } else {
        const Exact v = CorrectedValue<R, Dk, Flat>(k, i);
        if constexpr (St == Stage::Threshold) {
            return Above(v, k.a) ? D{1} : D{0};
        } else if constexpr (St == Stage::Clip) {
            if (Above(v, k.b)) return StoreFloat<D>(k.b);  // the upper bound is tested first
            if (Below(v, k.a)) return StoreFloat<D>(k.a);
            return StoreExact<D>(v);
        } else {
            return StoreExact<D>(v);
        }
    }
}

// Adds a converted result into an output element: integers wrap at their width, floats add in
// their own precision.
template <class D> QM_INLINE D AddInto(D old, D r) noexcept { return static_cast<D>(old + r); }

// --- The narrow rule ------------------------------------------------------------------------------

// What the narrow rule needs of a block: integer values of at most 29 bits (a product with a
// float factor is then exact in double, and the value converts through int32), and, for integer
// outputs of a product, every value that is converted within int32. Kernels without a float
// never need a test; the logarithm and the luminance reader have no narrow rule.
template <class R, DarkRule Dk, bool Flat, Stage St, class D> struct NarrowTraits {
    static constexpr bool kIntegerOnly = !Flat && St == Stage::None;
    static constexpr bool kTestsBase = !kIntegerOnly && kBaseBits<R, Dk> > 29;
    static constexpr bool kTestsConversion = !kIsFloat<D> && Flat && St != Stage::Threshold;
    static constexpr bool kTestsBlocks = kTestsBase || kTestsConversion;
    static constexpr bool kExists = St != Stage::Log && !std::is_same_v<R, ReadColourLuminance>;
};

template <class B> QM_INLINE bool Fits29Bits(B b) noexcept {
    using U = std::make_unsigned_t<B>;
    constexpr U kLimit = U{1} << 29;
    if constexpr (std::is_unsigned_v<B>) {
        return b < kLimit;
    } else {
        return static_cast<U>(static_cast<U>(b) + kLimit) < 2 * kLimit;
    }
}

// The value before the final stage as a double: exact once the block has passed its test. The
// conversion goes through int32, which every instruction set converts in vectors.
template <class R, DarkRule Dk, bool Flat> QM_INLINE double NarrowValue(const KernelArgs& k, size_t i) noexcept {
    const double v = static_cast<double>(static_cast<int32_t>(BaseValue<R, Dk>(k, i)));
    if constexpr (Flat) {
        return v * static_cast<double>(k.flat[i]);
    } else {
        return v;
    }
}

// An exact double into D; integer outputs rely on the block's test that it fits int32.
template <class D> QM_INLINE D ConvertNarrow(double v) noexcept {
    if constexpr (kIsFloat<D>) {
        return static_cast<D>(v);
    } else {
        return LowBits<D>(static_cast<int32_t>(v));
    }
}

// The clip bounds as stored in D, converted once a frame.
template <class D> struct StoredBounds {
    D a;
    D b;
};

template <class R, DarkRule Dk, bool Flat, Stage St, class D>
QM_INLINE D NarrowResult(const KernelArgs& k, size_t i, StoredBounds<D> c) noexcept {
    if constexpr (!Flat && St == Stage::None) {
        return IntegerResult<R, Dk, D>(k, i);
    } else {
        const double v = NarrowValue<R, Dk, Flat>(k, i);
        if constexpr (St == Stage::Threshold) {
            return v > k.a ? D{1} : D{0};
        } else if constexpr (St == Stage::Clip) {
            return v > k.b ? c.b : v < k.a ? c.a : ConvertNarrow<D>(v);  // the upper bound is tested first
        } else {
            return ConvertNarrow<D>(v);
        }
    }
}

template <class R, DarkRule Dk, bool Flat, Stage St, class D>
QM_INLINE bool BlockIsNarrow(const KernelArgs& k, size_t i0, size_t i1) noexcept {
    using T = NarrowTraits<R, Dk, Flat, St, D>;
    const double a = k.a, b = k.b;
    // Two separate flags: masks of integer and of double compares mix badly in vectors.
    unsigned wideBase = 0, wideResult = 0;
    for (size_t i = i0; i < i1; ++i) {
        if constexpr (T::kTestsBase) wideBase |= Fits29Bits(BaseValue<R, Dk>(k, i)) ? 0u : 1u;
        if constexpr (T::kTestsConversion) {
            const double v = NarrowValue<R, Dk, Flat>(k, i);
            const double converted = St == Stage::Clip && ((v > b) | (v < a)) ? 0.0 : v;  // clamped: a or b
            wideResult |= std::fabs(converted) < 0x1p31 ? 0u : 1u;
        }
    }
    return (wideBase | wideResult) == 0;
}

// --- The loops -------------------------------------------------------------------------------------

// Pixels per block of the narrow test: the block is read twice, the second time from the cache.
inline constexpr size_t kBlockPixels = 512;

template <class D, class Rule> QM_INLINE void StoreLoop(const KernelArgs& k, size_t i0, size_t i1, bool accumulate, Rule rule) noexcept {
    for (size_t i = i0; i < i1; ++i) {
        D r = rule(i);
        if (accumulate) r = AddInto<D>(LoadAt<D>(k.out, i), r);
        StoreAt<D>(k.out, i, r);
    }
}

template <class R, DarkRule Dk, bool Flat, Stage St, bool Acc, class D>
QM_INLINE void KernelLoop(const KernelArgs& args) noexcept {
    // A local copy: stores through the output's bytes cannot change it, so the loops need not
    // reload the pointers after each store.
    const KernelArgs k = args;
    const auto general = [&k](size_t i) { return Result<R, Dk, Flat, St, D>(k, i); };
    using T = NarrowTraits<R, Dk, Flat, St, D>;
    if constexpr (!T::kExists) {
        StoreLoop<D>(k, 0, k.n, Acc, general);
    } else {
        StoredBounds<D> c{};
        if constexpr (St == Stage::Clip) c = {StoreFloat<D>(k.a), StoreFloat<D>(k.b)};
        const auto narrow = [&k, c](size_t i) { return NarrowResult<R, Dk, Flat, St, D>(k, i, c); };
        if constexpr (!T::kTestsBlocks) {
            StoreLoop<D>(k, 0, k.n, Acc, narrow);
        } else {
            for (size_t i0 = 0; i0 < k.n; i0 += kBlockPixels) {
                const size_t i1 = std::min(k.n, i0 + kBlockPixels);
                if (BlockIsNarrow<R, Dk, Flat, St, D>(k, i0, i1)) {
                    StoreLoop<D>(k, i0, i1, Acc, narrow);
                } else {
                    StoreLoop<D>(k, i0, i1, Acc, general);
                }
            }
        }
    }
}

// Names one kernel, so the variant wrappers can deduce it from an argument.
template <class R, DarkRule Dk, bool Flat, Stage St, bool Acc, class D> struct KernelTag {};

template <class R, DarkRule Dk, bool Flat, Stage St, bool Acc, class D>
QM_INLINE void TaggedLoop(const KernelArgs& k, KernelTag<R, Dk, Flat, St, Acc, D>) noexcept {
    KernelLoop<R, Dk, Flat, St, Acc, D>(k);
}

QM_MULTIVERSION((class R, DarkRule Dk, bool Flat, Stage St, bool Acc, class D), void, KernelVariants, TaggedLoop,
                (const KernelArgs& k, KernelTag<R, Dk, Flat, St, Acc, D> tag), (k, tag))

// One online kernel. The logarithm and the luminance reader work in x87 extended precision,
// which no vector set speeds up, so they have one variant only.
template <class R, DarkRule Dk, bool Flat, Stage St, bool Acc, class D> void OnlineKernel(const KernelArgs& k) noexcept {
    constexpr KernelTag<R, Dk, Flat, St, Acc, D> tag;
    if constexpr (St == Stage::Log || std::is_same_v<R, ReadColourLuminance>) {
        KernelVariantsBaseline(k, tag);
    } else {
        KernelVariants(k, tag);
    }
}

// --- The table a pipeline picks from -------------------------------------------------------------

enum class ReaderId : uint8_t { U16, U32, I32, Byte, ColourMean, ColourLuminance };
template <ReaderId Id>
using ReaderOf = std::tuple_element_t<static_cast<size_t>(Id),
                                      std::tuple<ReadU16, ReadU32, ReadI32, ReadByte, ReadColourMean, ReadColourLuminance>>;

// How one kernel of a pipeline reads its source and subtracts the dark frame.
struct Reading {
    ReaderId reader;
    DarkRule dark;
};

inline constexpr size_t kKernelSlots = size_t{kOutputClasses} * 2 * 2 * kStages * 2;

constexpr size_t KernelSlot(int outputClass, bool dark, bool flat, Stage stage, bool accumulate) noexcept {
    return (((static_cast<size_t>(outputClass) * 2 + dark) * 2 + flat) * kStages + static_cast<size_t>(stage)) * 2 +
           accumulate;
}

template <class Policy, size_t Slot> void KernelAtSlot(const KernelArgs& k) noexcept {
    constexpr bool acc = Slot % 2;
    constexpr Stage stage = static_cast<Stage>(Slot / 2 % kStages);
    constexpr bool flat = Slot / (2 * kStages) % 2;
    constexpr bool dark = Slot / (4 * kStages) % 2;
    constexpr int out = static_cast<int>(Slot / (8 * kStages));
    constexpr Reading how = Policy::Pick(dark, flat, stage, acc);
    OnlineKernel<ReaderOf<how.reader>, dark ? how.dark : DarkRule::Off, flat, stage, acc, OutputElement<out>>(k);
}

using KernelTable = std::array<Kernel, kKernelSlots>;

template <class Policy, size_t... Slot> constexpr KernelTable MakeKernelTable(std::index_sequence<Slot...>) noexcept {
    return {&KernelAtSlot<Policy, Slot>...};
}

// Every kernel of a pipeline, indexed by KernelSlot. Policy::Pick(dark, flat, stage, accumulate)
// names the reader and dark rule of each.
template <class Policy>
inline constexpr KernelTable kKernelTable = MakeKernelTable<Policy>(std::make_index_sequence<kKernelSlots>{});

}  // namespace qm::online
