#include "scalar_ref.h"

#include <gmpxx.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace qmtest {
namespace {

// Nearest of the candidates to q; ties to the even last bit.
template <class F> F Nearest(const mpq_class& q, F guess) {
    F best = guess;
    mpq_class bestDistance = abs(mpq_class(static_cast<double>(guess)) - q);
    for (F c : {std::nextafter(guess, -std::numeric_limits<F>::infinity()),
                std::nextafter(guess, std::numeric_limits<F>::infinity())}) {
        if (!std::isfinite(c)) continue;
        const mpq_class d = abs(mpq_class(static_cast<double>(c)) - q);
        const bool evenTie = d == bestDistance && (std::bit_cast<std::conditional_t<sizeof(F) == 4, uint32_t, uint64_t>>(c) & 1) == 0;
        if (d < bestDistance || evenTie) best = c, bestDistance = d;
    }
    return best;
}

// q rounded to nearest even in F, overflowing to infinity past the largest finite value plus
// half an ulp.
template <class F> F RoundRational(const mpq_class& q) {
    constexpr int kDigits = std::numeric_limits<F>::digits, kMaxExp = std::numeric_limits<F>::max_exponent;
    mpq_class limit(1);
    mpz_class scale(1);
    scale <<= kMaxExp;  // 2^emax * (1 - 2^-(digits+1))
    limit = mpq_class(scale) - mpq_class(scale) / mpq_class(mpz_class(1) << (kDigits + 1));
    if (abs(q) >= limit) return q > 0 ? std::numeric_limits<F>::infinity() : -std::numeric_limits<F>::infinity();
    return Nearest<F>(q, static_cast<F>(q.get_d()));
}

// The store rule for a value that is either finite (q) or not (special, as a double).
uint64_t Store(int32_t dst, const mpq_class* q, double special) {
    switch (dst) {
        case 4: return std::bit_cast<uint32_t>(q ? RoundRational<float>(*q) : static_cast<float>(special));
        case 5: return std::bit_cast<uint64_t>(q ? RoundRational<double>(*q) : special);
        default: {
            uint64_t t = 0x8000000000000000u;
            if (q) {
                const mpz_class z(q->get_num() / q->get_den());  // truncates toward zero
                if (z.fits_slong_p()) t = static_cast<uint64_t>(z.get_si());
            }
            const int width = dst == 1 || dst == 6 ? 8 : dst == 2 || dst == 7 ? 16 : 32;
            return t & ((uint64_t{1} << width) - 1);
        }
    }
}

uint64_t StoreDouble(int32_t dst, double v) {
    if (!std::isfinite(v) || (v == 0.0 && dst == 4)) return Store(dst, nullptr, v);  // keeps the sign of zero
    if (v == 0.0 && dst == 5) return std::bit_cast<uint64_t>(v);
    const mpq_class q(v);
    return Store(dst, &q, v);
}

}  // namespace

uint64_t ReferenceStoreExtended(int32_t dst, long double v) {
    if (dst == 4) return std::bit_cast<uint32_t>(static_cast<float>(v));
    if (dst == 5) return std::bit_cast<uint64_t>(static_cast<double>(v));
    // An extended value is a finite binary fraction: exact as the rational of its two halves.
    if (!std::isfinite(v)) return Store(dst, nullptr, 0.0);
    const auto hi = static_cast<double>(v);
    const mpq_class q = mpq_class(hi) + mpq_class(static_cast<double>(v - hi));
    return Store(dst, &q, 0.0);
}

std::optional<RefElement> ReferenceElement(int32_t op, int32_t dst, double x, double a, double b) {
    const bool finite = std::isfinite(x) && std::isfinite(a);
    switch (op) {
        case 256:  // an unordered comparison with A counts as below
            return RefElement{StoreDouble(dst, std::isnan(x) || std::isnan(a) || x < a ? a : (x > b ? b : x))};
        case 500: return RefElement{StoreDouble(dst, a < x && x < b ? 1.0 : 0.0)};
        case 509: return RefElement{StoreDouble(dst, x)};
        case 501:
        case 502: {
            const double s = op == 501 ? a : -a;
            if (!finite) return RefElement{StoreDouble(dst, x + s)};
            const mpq_class q = mpq_class(x) + mpq_class(s);
            return RefElement{Store(dst, &q, 0.0)};
        }
        case 503: {
            if (!finite) return RefElement{StoreDouble(dst, x * a)};
            const mpq_class q = mpq_class(x) * mpq_class(a);
            return RefElement{Store(dst, &q, 0.0)};
        }
        case 504:
        case 508: {
            const double num = op == 504 ? x : 1.0, den = op == 504 ? a : x;
            if (den == 0.0 || std::isnan(den)) return RefElement{StoreDouble(dst, 0.0)};
            if (!std::isfinite(num) || !std::isfinite(den)) return RefElement{StoreDouble(dst, num / den)};
            const mpq_class q = mpq_class(num) / mpq_class(den);
            return RefElement{Store(dst, &q, 0.0)};
        }
        case 505:
            if (!(x > 0.0)) return RefElement{StoreDouble(dst, 0.0), true};
            return RefElement{ReferenceStoreExtended(dst, std::log10(static_cast<long double>(x)))};
        default: return std::nullopt;
    }
}

}  // namespace qmtest
