// SPDX-License-Identifier: MIT
// The one rounding of an exact rational, as the reference models state it: nearest even for
// floats (overflow to infinity), toward zero for integers (INT64_MIN beyond int64).
#pragma once

#include <gmpxx.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace qmtest {

// The finite exact value q rounded to nearest even in F, by scaling q so that one unit in the
// last place of its binade (or of the subnormals) is 1.
template <class F> F RoundToNearestEven(const mpq_class& q) {
    int e = std::numeric_limits<F>::min_exponent;
    const double approx = q.get_d();  // truncated: same binade as q
    if (!std::isfinite(approx))
        return approx > 0 ? std::numeric_limits<F>::infinity() : -std::numeric_limits<F>::infinity();
    if (approx != 0) e = std::max(e, std::ilogb(approx) + 1);
    const int shift = std::numeric_limits<F>::digits - e;  // q * 2^shift has `digits` integer bits
    mpq_class scaled = abs(q);
    if (shift >= 0)
        scaled *= mpq_class(mpz_class(1) << shift);
    else
        scaled /= mpq_class(mpz_class(1) << -shift);
    mpz_class n = scaled.get_num() / scaled.get_den();
    const mpq_class rest = scaled - mpq_class(n);
    if (rest > mpq_class(1, 2) || (rest == mpq_class(1, 2) && mpz_odd_p(n.get_mpz_t()))) ++n;
    const double v = std::ldexp(n.get_d(), -shift);  // n has at most digits + 1 bits: exact
    return static_cast<F>(q < 0 ? -v : v);           // beyond the largest finite value: infinity
}

// q truncated toward zero; INT64_MIN beyond the range of int64.
inline int64_t TruncateTowardZero(const mpq_class& q) {
    const mpz_class t = q.get_num() / q.get_den();  // mpz division truncates
    return t.fits_slong_p() ? t.get_si() : std::numeric_limits<int64_t>::min();
}

inline int BitLength(uint64_t v) { return 64 - std::countl_zero(v); }

// An odd factor y of `bits` bits with fixed x y = q 2^s + r, q odd of 25 bits and r = +-1: the
// double nearest the product is the float midpoint q 2^s, which ties to the even float on the side
// away from r, while the exact product rounds toward r. 0 when this odd fixed has none.
inline uint64_t MidpointPartner(uint64_t fixed, int bits, int r) {
    const int s = BitLength(fixed) + bits - 25;  // products of up to 63 bits, fixed below 2^32
    uint64_t inverse = 1;                        // 2^-s modulo fixed
    for (int i = 0; i < s; ++i) inverse = inverse * ((fixed + 1) / 2) % fixed;
    const uint64_t c = r > 0 ? (fixed - inverse) % fixed : inverse;  // q 2^s = -r
    for (uint64_t q = 0x1000000 / fixed * fixed + c; q < 0x2000000; q += fixed) {
        if (q < 0x1000000 || q % 4 != (r > 0 ? 1u : 3u)) continue;  // q 2^s must tie away from r
        const uint64_t y = ((q << s) + static_cast<uint64_t>(static_cast<int64_t>(r))) / fixed;
        if (BitLength(y) == bits) return y;
    }
    return 0;
}

}  // namespace qmtest
