// The scalar engine template: per operation, the once-per-call choice of evaluation, and the
// tables of instantiations over (destination type x operation).
#include "scalar/scalar_engine.h"

#include <array>
#include <bit>
#include <cmath>
#include <type_traits>

#include "core/element_types.h"
#include "scalar/scalar_loop.h"
#include "scalar/scalar_rules.h"

namespace qm {
namespace {

// Integer sources: every |x| is at most 2^kSourceBits, and x has at most that many significant bits.
template <class S> constexpr int kSourceBits = std::is_signed_v<S> ? static_cast<int>(sizeof(S) * 8 - 1)
                                                                   : static_cast<int>(sizeof(S) * 8);
template <class S> constexpr double kSourceMax = static_cast<double>(uint64_t{1} << kSourceBits<S>);

template <class T> constexpr bool kIsInt = std::is_integral_v<T>;
template <class T> constexpr bool kIsF64 = std::is_same_v<T, double>;

bool IsIntegral(double a) noexcept { return std::isfinite(a) && std::trunc(a) == a; }

// Finite non-zero a = m * 2^e with 0.5 <= |m| < 1: the number of bits from the highest to the
// lowest set bit of m, and e.
struct Significand {
    int bits;
    int exponent;
};
Significand Analyse(double a) noexcept {
    int e = 0;
    const double m = std::frexp(std::fabs(a), &e);
    const auto mantissa = static_cast<uint64_t>(std::ldexp(m, 53));
    return {53 - std::countr_zero(mantissa), e};
}

bool Within(double a, double low, double high) noexcept {
    const double m = std::fabs(a);
    return m >= low && m <= high;
}

// x + a (a already negated for subtraction).
template <class S, class D> Eval ChooseAdd(double a) noexcept {
    if (kIsF64<D> || !std::isfinite(a) || a == 0.0) return Eval::Plain;
    if constexpr (kIsInt<S>) {
        if (IsIntegral(a) && std::fabs(a) <= 0x1p52) return kIsInt<D> ? Eval::Integer : Eval::Plain;
        // x and a are multiples of 2^low; the sum is exact while it stays below 2^(53 + low).
        const Significand s = Analyse(a);
        const int low = std::min(0, s.exponent - s.bits);
        const double bound = kSourceMax<S> + std::fabs(a);
        if (bound <= std::ldexp(1.0, 52 + low)) {
            return (kIsInt<D> && bound < 0x1p31) ? Eval::Plain32 : Eval::Plain;
        }
        if (kIsInt<D> && bound < 0x1p30) return Eval::Exact32;
    }
    return Eval::Exact;  // TwoSum is exact at every magnitude
}

template <class S, class D> Eval ChooseMul(double a) noexcept {
    if (kIsF64<D> || !std::isfinite(a) || a == 0.0) return Eval::Plain;
    const Significand s = Analyse(a);
    if constexpr (kIsInt<S>) {
        // Beyond these bounds every non-zero product leaves the float and int64 ranges (or
        // falls below 2^-869), so its plain rounding stores the same element.
        if (!Within(a, 0x1p-900, 0x1p900)) return Eval::Plain;
        if (s.bits + kSourceBits<S> > 53) {
            return kIsInt<D> && kSourceMax<S> * std::fabs(a) < 0x1p30 ? Eval::Exact32 : Eval::Exact;
        }
        if constexpr (kIsInt<D>) {
            if (IsIntegral(a) && std::fabs(a) < 0x1p31) return Eval::Integer;
            return kSourceMax<S> * std::fabs(a) < 0x1p31 ? Eval::Plain32 : Eval::Plain;
        }
        return Eval::Plain;
    } else if constexpr (std::is_same_v<S, float>) {
        if (!Within(a, 0x1p-700, 0x1p700)) return Eval::Plain;
        return s.bits + 24 <= 53 ? Eval::Plain : Eval::Exact;
    } else {
        return s.bits == 1 ? Eval::Plain : Eval::Scaled;  // a power of two only moves the exponent
    }
}

// x / a for a neither 0, NaN nor a power of two.
template <class S, class D> Eval ChooseDiv(double a) noexcept {
    if (kIsF64<D> || std::isinf(a)) return Eval::Plain;
    if constexpr (kIsInt<S>) {
        if (!Within(a, 0x1p-900, 0x1p900)) return Eval::Plain;
        if (IsIntegral(a)) {
            // |x| < 2^53: a quotient of integers never rounds across an integer, and it lands on
            // a float midpoint only when it is that midpoint, as long as |a| < 2^28.
            if constexpr (kIsInt<D>) return kSourceMax<S> / std::fabs(a) < 0x1p31 ? Eval::Plain32 : Eval::Plain;
            return std::fabs(a) < 0x1p28 ? Eval::Plain : Eval::Exact;
        }
        return kIsInt<D> && kSourceMax<S> / std::fabs(a) < 0x1p30 ? Eval::Exact32 : Eval::Exact;
    } else if constexpr (std::is_same_v<S, float>) {
        return Within(a, 0x1p-700, 0x1p700) ? Eval::Exact : Eval::Plain;
    } else {
        return Eval::Scaled;
    }
}

// 1 / x: a reciprocal of at most 24 significant bits lands on a float midpoint only when exact.
template <class S, class D> Eval ChooseReciprocal() noexcept {
    if constexpr (kIsF64<D>) {
        return Eval::Plain;
    } else if constexpr (kIsInt<S>) {
        if constexpr (kIsInt<D>) return Eval::Plain32;  // |1 / x| <= 1
        return kSourceBits<S> <= 16 ? Eval::Plain : Eval::Exact;
    } else if constexpr (std::is_same_v<S, float>) {
        return kIsInt<D> ? Eval::Exact : Eval::Plain;
    } else {
        return Eval::Scaled;
    }
}

template <class D, class S, class Rule> Status Run(void* d, const S* s, int32_t n, const Rule& rule) noexcept {
    MapElements<D>(d, s, n, rule);
    return Status::Ok;
}

// Runs Op under the chosen evaluation, instantiating only the evaluations the types allow.
template <class Op, class S, class D> Status RunArith(Eval eval, void* d, const S* s, int32_t n, double a) noexcept {
    switch (eval) {
        case Eval::Zero:
            if constexpr (std::is_same_v<Op, DivOp>) return Run<D>(d, s, n, ArithRule<Op, Eval::Zero>{a});
            break;
        case Eval::Integer:
            if constexpr (kIsInt<S> && kIsInt<D> && requires { Op::Integer(0u, 0u); }) {
                const auto ai = static_cast<uint32_t>(static_cast<uint64_t>(TruncateToInteger(a)));
                return Run<D>(d, s, n, ArithRule<Op, Eval::Integer>{a, ai});
            }
            break;
        case Eval::Plain32:
            if constexpr (kIsInt<S> && kIsInt<D>) return Run<D>(d, s, n, ArithRule<Op, Eval::Plain32>{a});
            break;
        case Eval::Exact:
            if constexpr (!kIsF64<D>) return Run<D>(d, s, n, ArithRule<Op, Eval::Exact>{a});
            break;
        case Eval::Exact32:
            if constexpr (kIsInt<S> && kIsInt<D>) return Run<D>(d, s, n, ArithRule<Op, Eval::Exact32>{a});
            break;
        case Eval::Scaled:
            if constexpr (kIsF64<S> && !kIsF64<D>) return Run<D>(d, s, n, ArithRule<Op, Eval::Scaled>{a});
            break;
        case Eval::Plain: break;
    }
    return Run<D>(d, s, n, ArithRule<Op, Eval::Plain>{a});
}

template <class S, class D> Status RunClip(void* d, const S* s, double a, double b, int32_t n) noexcept {
    if constexpr (kIsInt<S> && kIsInt<D>) {
        const auto inInt32 = [](double c) { return c > -0x1p31 && c < 0x1p31; };
        if (inInt32(a) && inInt32(b)) return Run<D>(d, s, n, ClipRule<true>{a, b});
    }
    return Run<D>(d, s, n, ClipRule<false>{a, b});
}
template <class S, class D> Status RunBand(void* d, const S* s, double a, double b, int32_t n) noexcept {
    return Run<D>(d, s, n, BandRule{a, b});
}
template <class S, class D> Status RunAdd(void* d, const S* s, double a, double, int32_t n) noexcept {
    return RunArith<AddOp, S, D>(ChooseAdd<S, D>(a), d, s, n, a);
}
template <class S, class D> Status RunSub(void* d, const S* s, double a, double, int32_t n) noexcept {
    return RunArith<AddOp, S, D>(ChooseAdd<S, D>(-a), d, s, n, -a);
}
template <class S, class D> Status RunMul(void* d, const S* s, double a, double, int32_t n) noexcept {
    return RunArith<MulOp, S, D>(ChooseMul<S, D>(a), d, s, n, a);
}
template <class S, class D> Status RunDiv(void* d, const S* s, double a, double, int32_t n) noexcept {
    if (a == 0.0 || std::isnan(a)) return RunArith<DivOp, S, D>(Eval::Zero, d, s, n, a);
    // Dividing by a power of two is multiplying by its reciprocal: the same exact value.
    const double inverse = 1.0 / a;
    if (std::isfinite(a) && std::isfinite(inverse) && Analyse(a).bits == 1) {
        return RunArith<MulOp, S, D>(ChooseMul<S, D>(inverse), d, s, n, inverse);
    }
    return RunArith<DivOp, S, D>(ChooseDiv<S, D>(a), d, s, n, a);
}
template <class S, class D> Status RunReciprocal(void* d, const S* s, double, double, int32_t n) noexcept {
    return RunArith<ReciprocalOp, S, D>(ChooseReciprocal<S, D>(), d, s, n, 1.0);
}
template <class S, class D> Status RunConvert(void* d, const S* s, double, double, int32_t n) noexcept {
    return Run<D>(d, s, n, ConvertRule{});
}
template <class S, class D> Status RunLog10(void* d, const S* s, double, double, int32_t n) noexcept {
    const uint32_t failed = MapCheckedElements<D>(d, s, n, Log10Rule<kIsInt<S> && kIsInt<D>>{});
    return failed != 0 ? Status::ElementNotComputed : Status::Ok;
}

// 506 and 507 keep only the last element and write destination element 0 alone.
template <bool kRoot, class S, class D> Status RunLast(void* d, const S* s, double, double, int32_t n) noexcept {
    const auto v = static_cast<long double>(s[n - 1]);
    D* out = static_cast<D*>(d);
    if (!(v > 0.0L)) {
        out[0] = D(0);
        return Status::ElementNotComputed;
    }
    out[0] = StoreFloat<D>(kRoot ? std::sqrt(v) : std::log(v));
    return Status::Ok;
}

template <class S> using OperationFn = Status (*)(void*, const S*, double, double, int32_t) noexcept;

// Operation index: 256 is 0, 500 to 509 are 1 to 10.
int OperationIndex(int32_t op) noexcept {
    if (op == qmeProcessClip) return 0;
    if (op >= 500 && op <= 509) return op - 499;
    return -1;
}

template <class S, class D>
constexpr std::array<OperationFn<S>, 11> kOperations = {
    RunClip<S, D>, RunBand<S, D>, RunAdd<S, D>,       RunSub<S, D>,          RunMul<S, D>,    RunDiv<S, D>,
    RunLog10<S, D>, RunLast<false, S, D>, RunLast<true, S, D>, RunReciprocal<S, D>, RunConvert<S, D>,
};

// Indexed by destination type code - 1.
template <class S>
constexpr std::array<const std::array<OperationFn<S>, 11>*, 8> kByDestination = {
    &kOperations<S, Element<kI8>>,  &kOperations<S, Element<kI16>>, &kOperations<S, Element<kI32>>,
    &kOperations<S, Element<kF32>>, &kOperations<S, Element<kF64>>, &kOperations<S, Element<kU8>>,
    &kOperations<S, Element<kU16>>, &kOperations<S, Element<kU32>>,
};

}  // namespace

template <class S>
Status ScalarEngine(int32_t op, const QmdDataStruct* dst, const void* src, double a, double b, int32_t n) noexcept {
    if (!IsNumericType(dst->eType)) return Status::UnsupportedType;
    const int index = OperationIndex(op);
    if (index < 0) return Status::Ok;
    if (n < 1) return Status::MissingImage;
    const auto& row = *kByDestination<S>[static_cast<size_t>(dst->eType - 1)];
    return row[static_cast<size_t>(index)](dst->pData, static_cast<const S*>(src), a, b, n);
}

template Status ScalarEngine<int8_t>(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;
template Status ScalarEngine<int16_t>(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;
template Status ScalarEngine<int32_t>(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;
template Status ScalarEngine<float>(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;
template Status ScalarEngine<double>(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;
template Status ScalarEngine<uint8_t>(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;
template Status ScalarEngine<uint16_t>(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;

}  // namespace qm
