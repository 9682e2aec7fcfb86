// SPDX-License-Identifier: MIT
// A plain reference model of the online per-pixel rules, independent of the engine: exact
// rationals for products and comparisons, one rounding by comparing exact distances.
#pragma once

#include <gmpxx.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "support/exact_model.h"

namespace onlinemodel {

enum class Final { None, Log, Threshold, Clip };
struct Options {
    bool dark = false, flat = false, accumulate = false;
    Final final = Final::None;
};

constexpr int kSize[] = {0, 1, 2, 4, 4, 8, 1, 2, 4};  // element size of output types 1..8

inline mpq_class Q(double d) { return mpq_class(d); }  // exact for finite doubles

// An exact value, or a special one (NaN or an infinity) held as a double.
struct Value {
    mpq_class q;
    bool special = false;
    double sp = 0.0;
};
inline Value Of(long double l) {  // exact: a long double is the sum of two doubles
    if (!std::isfinite(l)) return {0, true, static_cast<double>(l)};
    const double hi = static_cast<double>(l);
    return {Q(hi) + Q(static_cast<double>(l - hi))};
}

using qmtest::TruncateTowardZero;
template <class T> T RoundNearest(const mpq_class& x) { return qmtest::RoundToNearestEven<T>(x); }

// Stores v into an output element of type 1..8: floats round once, integers keep the low bits
// of the truncation (NaN and infinities truncate to INT64_MIN).
inline void Store(unsigned char* out, int type, const Value& v) {
    const float f = type != 4 ? 0.0f : v.special ? static_cast<float>(v.sp) : RoundNearest<float>(v.q);
    const double d = type != 5 ? 0.0 : v.special ? v.sp : RoundNearest<double>(v.q);
    const int64_t t =
        type == 4 || type == 5 || v.special ? std::numeric_limits<int64_t>::min() : TruncateTowardZero(v.q);
    std::memcpy(out,
                type == 4   ? static_cast<const void*>(&f)
                : type == 5 ? static_cast<const void*>(&d)
                            : &t,
                kSize[type]);
}

// Stores x, a value that a long double holds exactly, by the same rules: converting it rounds
// once, and a zero is stored as +0 as the exact value 0 is.
inline void StoreHeld(unsigned char* out, int type, long double x) {
    x += 0.0L;
    const float f = static_cast<float>(x);
    const double d = static_cast<double>(x);
    const int64_t t = std::isfinite(x) && std::fabs(x) < 0x1p63L ? static_cast<int64_t>(x) : INT64_MIN;
    const void* from = type == 4 ? static_cast<const void*>(&f) : &d;
    std::memcpy(out, type == 4 || type == 5 ? from : &t, kSize[type]);
}

// out += add, both already in the output type; integers wrap in the output width.
inline void Accumulate(unsigned char* out, int type, const unsigned char* add) {
    auto sum = [&](auto a, auto b) {
        std::memcpy(&a, out, sizeof a);
        std::memcpy(&b, add, sizeof b);
        a = static_cast<decltype(a)>(a + b);
        std::memcpy(out, &a, sizeof a);
    };
    if (type == 4)
        sum(0.0f, 0.0f);
    else if (type == 5)
        sum(0.0, 0.0);
    else if (kSize[type] == 1)
        sum(uint8_t{}, uint8_t{});
    else if (kSize[type] == 2)
        sum(uint16_t{}, uint16_t{});
    else
        sum(uint32_t{}, uint32_t{});
}

// IEEE v > a (greater) or v < a; NaN on either side compares false.
inline bool Beyond(const Value& v, double a, bool greater) {
    if (v.special || !std::isfinite(a)) {
        const double x = v.special ? v.sp : 0.0;  // any finite value orders the same against infinities
        return greater ? x > a : x < a;
    }
    return greater ? v.q > Q(a) : v.q < Q(a);
}

// Pixel i as the kernel takes it. Colour pixels: the rounded-up mean of the three bytes,
// truncated. 32-bit pixels are read unsigned, except that a plain copy reads type 3 signed and
// the dark-and-flat write kernel forms the difference exactly from the signed pixel.
struct Pixel {
    int64_t s;
    bool exactDifference;
};
inline Pixel TakePixel(const unsigned char* src, size_t i, int srcType, const Options& o) {
    if (srcType == 6) return {src[i], false};
    if (srcType == 15)
        return {static_cast<int64_t>((src[3 * i] + src[3 * i + 1] + src[3 * i + 2] + 0.5) * 0.3333333333333333), false};
    if (srcType == 8 || srcType == 3) {
        uint32_t u;
        std::memcpy(&u, src + 4 * i, 4);
        const bool stage = o.final != Final::None || o.accumulate;
        if (!stage && !o.dark && !o.flat && srcType == 3) return {static_cast<int32_t>(u), false};
        if (!stage && o.dark && o.flat) return {static_cast<int32_t>(u), true};
        return {u, false};
    }
    uint16_t u;
    std::memcpy(&u, src + 2 * i, 2);
    return {u, false};
}

// The write-form result of pixel i, stored into `out`.
inline void ModelPixel(unsigned char* out, int outType, const unsigned char* src, int srcType, size_t i,
                       const int32_t* dark, const float* flat, const float* gain, double a, double b,
                       const Options& o) {
    const Pixel px = TakePixel(src, i, srcType, o);
    int64_t v = px.s;
    if (o.dark)
        v = px.exactDifference ? v - dark[i]
                               : static_cast<int32_t>(static_cast<uint32_t>(v) - static_cast<uint32_t>(dark[i]));
    if (o.final == Final::Log) {  // extended precision; f before g without dark, g before f with it
        long double x = static_cast<long double>(v);
        x = !o.flat  ? x * gain[i]
            : o.dark ? x * gain[i] * static_cast<long double>(flat[i])
                     : x * static_cast<long double>(flat[i]) * gain[i];
        long double l = std::log10(x);
        const long double k = std::round(l);
        if (k >= 0 && k <= 27 && std::pow(10.0L, k) == x) l = k;
        return StoreHeld(out, outType, l);
    }
    if (v > -(1 << 29) && v < (1 << 29) && (!o.flat || std::isfinite(flat[i]))) {
        // Up to 29 bits times a float factor: the double product is exact, and so are its comparisons.
        double x = static_cast<double>(v) * (o.flat ? static_cast<double>(flat[i]) : 1.0);
        if (o.final == Final::Threshold) x = x > a ? 1 : 0;
        if (o.final == Final::Clip) x = x > b ? b : x < a ? a : x;
        return StoreHeld(out, outType, x);
    }
    Value val{mpq_class(static_cast<long>(v))};
    if (o.flat && (!std::isfinite(flat[i])))
        val = {0, true, static_cast<double>(sgn(val.q)) * flat[i]};
    else if (o.flat)
        val.q *= Q(flat[i]);
    if (o.final == Final::Threshold) val = {Beyond(val, a, true) ? 1 : 0};
    if (o.final == Final::Clip && Beyond(val, b, true))
        val = Of(b);
    else if (o.final == Final::Clip && Beyond(val, a, false))
        val = Of(a);
    Store(out, outType, val);
}

}  // namespace onlinemodel
