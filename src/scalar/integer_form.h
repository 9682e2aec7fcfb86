// SPDX-License-Identifier: MIT
// The floor form: add, subtract, multiply and divide by a constant from 8- and 16-bit integer
// sources into integer destinations, in 32-bit integer lanes, checked once per call.
//
// The form is y = x A + C + ((x F + B) >> s), stored as the low bits of y. A and C wrap in 32
// bits; 0 <= F, B and x F + B stays within 32 bits: unsigned for U8 and U16 sources (a logical
// shift), within int32 for I8 and I16 ones (an arithmetic shift). Over the integers it is
// floor(x m + b) for m = A + F / 2^s and b = C + B / 2^s, and its low 32 bits are those of the
// wrapping evaluation.
//
// Exactness argument: exact by exhaustion over the source's values. An 8- or 16-bit source has 256
// or 65536 values and every stored element is a function of its source element alone, so a form
// whose results equal the engine's exact evaluation for every one of them, in the destination's
// width, gives the exact result for every element of any frame. The engine (scalar_engine.cpp)
// runs its exact evaluation and the form's kernel over all the values, chunk by chunk, and uses
// the form only when every stored element agrees; otherwise the call keeps the exact evaluation.
// The candidates below are only guesses: nothing rests on how they are derived.
//
// Candidates, from the operation's slope m and intercept b (multiply m = a, b = 0; add m = 1,
// b = a; subtract m = 1, b = -a; divide m = 1 / a, b = 0): m and b are held as a double-double
// (hi + lo), so that a reciprocal just below an integer is seen as such (x / 0.1 truncates to
// 10 x - 1 for x >= 1, since the double 0.1 lies above 0.1). The shift s takes as many fraction bits
// of m as the bound on x F allows (F < 2^16 for 16-bit sources, 2^24 for 8-bit ones, s <= 31), so
// x * 0.1 from U16 is (x 52429) >> 19. The slope is m 2^s rounded down or up; the intercept b 2^s
// rounded down or up, or rounded down plus 2^s - 1, which is a truncation toward zero of results
// that stay negative. A truncation is a floor only where the results are not negative, so most
// constants whose results go negative keep the exact evaluation.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qm::scalar {

struct FloorForm {
    uint32_t a;  // wrapping
    uint32_t c;  // wrapping
    uint32_t f;
    uint32_t b;
    int s;  // 0 to 31
    bool operator==(const FloorForm&) const = default;
};

// The form on one element of S (8- or 16-bit), as the low 32 bits of y.
template <class S> constexpr uint32_t ApplyFloorForm(S x, const FloorForm& k) noexcept {
    const auto u = static_cast<uint32_t>(static_cast<int32_t>(x));
    const uint32_t t = u * k.f + k.b;
    const uint32_t q =
        std::is_signed_v<S> ? static_cast<uint32_t>(static_cast<int32_t>(t) >> k.s) : static_cast<uint32_t>(t >> k.s);
    return u * k.a + k.c + q;
}

// An operation as a line x m + b, m and b as double-doubles; `valid` false where the line has no
// form (not finite, or beyond 2^31).
struct Line {
    double mHi, mLo, bHi, bLo;
    bool valid;
};

inline Line LineOf(double mHi, double mLo, double bHi, double bLo) noexcept {
    const bool valid = std::isfinite(mHi) && std::isfinite(mLo) && std::isfinite(bHi) && std::isfinite(bLo) &&
                       std::fabs(mHi) < 0x1p31 && std::fabs(bHi) < 0x1p31;
    return {mHi, mLo, bHi, bLo, valid};
}
// x / a as x (1 / a): the reciprocal and its residual from one fused multiply-add.
inline Line DivisionLine(double a) noexcept {
    const double hi = 1.0 / a;
    const double lo = std::fma(-hi, a, 1.0) / a;
    return LineOf(hi, lo, 0.0, 0.0);
}

// floor((hi + lo) 2^s), for |hi| < 2^31 and |lo| <= ulp(hi): the low part moves the floor of the
// high one by at most one.
inline int64_t FloorScaled(double hi, double lo, int s) noexcept {
    const double h = std::ldexp(hi, s), l = std::ldexp(lo, s);
    const double fh = std::floor(h);
    return static_cast<int64_t>(fh) + static_cast<int64_t>(std::floor((h - fh) + l));
}

inline constexpr int kMaxFloorCandidates = 6;

// The candidates for a source of `bits` bits (8 or 16, signed or not), into `out`; their count.
inline int FloorCandidates(const Line& line, int bits, bool isSigned, FloorForm (&out)[kMaxFloorCandidates]) noexcept {
    if (!line.valid) return 0;
    const int64_t xMin = isSigned ? -(int64_t{1} << (bits - 1)) : 0;
    const int64_t xMax = isSigned ? (int64_t{1} << (bits - 1)) - 1 : (int64_t{1} << bits) - 1;
    const int w = bits == 8 ? 24 : 16;  // bits of F
    const int64_t whole = FloorScaled(line.mHi, line.mLo, 0);
    const double fraction = (line.mHi - static_cast<double>(whole)) + line.mLo;
    int s = w;
    if (fraction > 0) {
        s = 0;
        while (s < 31 && std::ldexp(fraction, s + 1) < std::ldexp(1.0, w)) ++s;
    }
    const int64_t one = int64_t{1} << s;
    const int64_t m0 = FloorScaled(line.mHi, line.mLo, s), b0 = FloorScaled(line.bHi, line.bLo, s);
    const int64_t b1 = -FloorScaled(-line.bHi, -line.bLo, s);
    const int64_t slopes[] = {m0, m0 + 1};
    const int64_t intercepts[] = {b0, b1, b0 + one - 1};
    int count = 0;
    for (const int64_t m : slopes) {
        for (const int64_t b : intercepts) {
            // Floor division by 2^s (arithmetic shifts of the signed values).
            const int64_t f = m - ((m >> s) << s), bb = b - ((b >> s) << s);
            const int64_t top = xMax * f + bb, bottom = xMin * f + bb;
            const bool fits =
                isSigned ? top < (int64_t{1} << 31) && bottom >= -(int64_t{1} << 31) : top < (int64_t{1} << 32);
            if (!fits) continue;
            const FloorForm k{static_cast<uint32_t>(static_cast<uint64_t>(m >> s)),
                              static_cast<uint32_t>(static_cast<uint64_t>(b >> s)), static_cast<uint32_t>(f),
                              static_cast<uint32_t>(bb), s};
            bool seen = false;
            for (int i = 0; i < count; ++i) seen |= out[i] == k;
            if (!seen) out[count++] = k;
        }
    }
    return count;
}

}  // namespace qm::scalar
