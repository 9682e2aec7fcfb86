// The one rounding of an exact rational, as the reference models state it: nearest even for
// floats (overflow to infinity), toward zero for integers (INT64_MIN beyond int64).
#pragma once

#include <gmpxx.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace qmtest {

// The finite exact value q rounded to nearest even in F, by scaling q so that one unit in the
// last place of its binade (or of the subnormals) is 1.
template <class F> F RoundToNearestEven(const mpq_class& q) {
    int e = std::numeric_limits<F>::min_exponent;
    const double approx = q.get_d();  // truncated: same binade as q
    if (!std::isfinite(approx)) return approx > 0 ? std::numeric_limits<F>::infinity() : -std::numeric_limits<F>::infinity();
    if (approx != 0) e = std::max(e, std::ilogb(approx) + 1);
    const int shift = std::numeric_limits<F>::digits - e;  // q * 2^shift has `digits` integer bits
    mpq_class scaled = abs(q);
    if (shift >= 0) scaled *= mpq_class(mpz_class(1) << shift); else scaled /= mpq_class(mpz_class(1) << -shift);
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

}  // namespace qmtest
