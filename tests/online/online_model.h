// A plain reference model of the online per-pixel rules, independent of the engine: exact
// rationals for products and comparisons, rounding done by comparing exact distances.
#pragma once

#include <gmpxx.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace onlinemodel {

// An exact value, or a special one (NaN or an infinity) the rationals cannot hold.
struct Value {
    mpq_class q;
    bool special = false;
    double sp = 0.0;
};

inline Value Exact(const mpq_class& q) { return Value{q, false, 0.0}; }
inline mpq_class Q(double d) {
    mpq_class q(d);  // GMP converts a finite double exactly
    return q;
}

inline Value Times(const Value& v, double f) {
    if (v.special || !std::isfinite(f)) {
        const double a = v.special ? v.sp : (sgn(v.q) > 0 ? 1.0 : sgn(v.q) < 0 ? -1.0 : 0.0);
        return Value{0, true, a * f};
    }
    return Exact(v.q * Q(f));
}

inline bool Greater(const Value& v, double a) {
    if (std::isnan(a)) return false;
    if (v.special) return v.sp > a;
    if (std::isinf(a)) return a < 0;
    return v.q > Q(a);
}
inline bool Less(const Value& v, double a) {
    if (std::isnan(a)) return false;
    if (v.special) return v.sp < a;
    if (std::isinf(a)) return a > 0;
    return v.q < Q(a);
}

// Nearest T to an exact rational, ties to even.
template <class T> T RoundNearest(const mpq_class& x) {
    if (x == 0) return T(0);
    if (std::is_same_v<T, float>) {
        const mpq_class limit = Q(0x1p128) - Q(0x1p103);  // halfway from the largest float to 2^128
        if (abs(x) >= limit) return sgn(x) > 0 ? std::numeric_limits<T>::infinity() : -std::numeric_limits<T>::infinity();
    }
    const T c = static_cast<T>(x.get_d());
    T best = c;
    for (T cand : {std::nextafter(c, T(-INFINITY)), c, std::nextafter(c, T(INFINITY))}) {
        if (!std::isfinite(cand)) continue;
        const mpq_class db = abs(Q(best) - x), dc = abs(Q(cand) - x);
        if (dc < db) {
            best = cand;
        } else if (dc == db && cand != best) {
            using Bits = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
            if ((std::bit_cast<Bits>(cand) & 1) == 0) best = cand;
        }
    }
    return best;
}

// Truncation toward zero to int64; outside the range INT64_MIN.
inline int64_t TruncQ(const mpq_class& x) {
    mpz_class t;
    mpz_tdiv_q(t.get_mpz_t(), x.get_num_mpz_t(), x.get_den_mpz_t());
    if (t > mpz_class("9223372036854775807") || t < mpz_class("-9223372036854775808"))
        return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(t.get_si());
}

// Stores a value into an output of type 1..8 (as bytes of its element size).
inline void StoreValue(unsigned char* out, int type, const Value& v) {
    if (type == 4 || type == 5) {
        if (type == 4) {
            const float f = v.special ? static_cast<float>(v.sp) : RoundNearest<float>(v.q);
            std::memcpy(out, &f, 4);
        } else {
            const double d = v.special ? v.sp : RoundNearest<double>(v.q);
            std::memcpy(out, &d, 8);
        }
        return;
    }
    const int64_t t = v.special ? std::numeric_limits<int64_t>::min() : TruncQ(v.q);
    const uint64_t bits = static_cast<uint64_t>(t);
    const int size = (type == 1 || type == 6) ? 1 : (type == 2 || type == 7) ? 2 : 4;
    std::memcpy(out, &bits, size);  // little endian: the low bytes
}

// Adds `add` (already stored in the output type) into `out`.
inline void AddStored(unsigned char* out, int type, const unsigned char* add) {
    if (type == 4) {
        float a, b;
        std::memcpy(&a, out, 4);
        std::memcpy(&b, add, 4);
        a = a + b;
        std::memcpy(out, &a, 4);
    } else if (type == 5) {
        double a, b;
        std::memcpy(&a, out, 8);
        std::memcpy(&b, add, 8);
        a = a + b;
        std::memcpy(out, &a, 8);
    } else {
        const int size = (type == 1 || type == 6) ? 1 : (type == 2 || type == 7) ? 2 : 4;
        uint64_t a = 0, b = 0;
        std::memcpy(&a, out, size);
        std::memcpy(&b, add, size);
        a += b;
        std::memcpy(out, &a, size);
    }
}

inline int OutputSize(int type) {
    static const int kSize[] = {0, 1, 2, 4, 4, 8, 1, 2, 4};
    return kSize[type];
}

// Stores an extended-precision value: floats round, integers truncate (out of range or NaN: 0).
inline void StoreExtended(unsigned char* out, int type, long double l) {
    if (type == 4) {
        const float f = static_cast<float>(l);
        std::memcpy(out, &f, 4);
    } else if (type == 5) {
        const double d = static_cast<double>(l);
        std::memcpy(out, &d, 8);
    } else {
        const int64_t t = (l > -0x1p63L - 1 && l < 0x1p63L) ? static_cast<int64_t>(l) : std::numeric_limits<int64_t>::min();
        std::memcpy(out, &t, OutputSize(type));
    }
}

enum class Final { None, Log, Threshold, Clip };

struct Options {
    bool dark = false, flat = false, accumulate = false;
    Final final = Final::None;
};

// How the source pixel is taken, per source type and kernel.
// src: the bytes of pixel i; srcType: 7, 2, 11 (16-bit), 8, 3 (32-bit), 6, 15 (8-bit).
struct Pixel {
    int64_t s;          // the pixel as the kernel takes it
    bool wideDark;      // the dark pixel is subtracted exactly instead of with 32-bit wrap
};

inline Pixel TakePixel(const unsigned char* src, size_t i, int srcType, const Options& o) {
    if (srcType == 6) return {src[i], false};
    if (srcType == 15) {
        const unsigned char* p = src + 3 * i;
        const double m = (p[0] + p[1] + p[2] + 0.5) * 0.3333333333333333;
        return {static_cast<int64_t>(m), false};
    }
    if (srcType == 8 || srcType == 3) {
        uint32_t u;
        std::memcpy(&u, src + 4 * i, 4);
        const int64_t asSigned = static_cast<int32_t>(u);
        const bool noStage = o.final == Final::None && !o.accumulate;
        if (noStage && !o.dark && !o.flat) return {srcType == 3 ? asSigned : int64_t{u}, false};  // copy
        if (noStage && o.dark && o.flat) return {asSigned, true};
        return {int64_t{u}, false};
    }
    uint16_t u;
    std::memcpy(&u, src + 2 * i, 2);
    return {u, false};
}

// The result of pixel i in write form, stored into `out` (element size of the output type).
inline void ModelPixel(unsigned char* out, int outType, const unsigned char* src, int srcType, size_t i,
                       const int32_t* dark, const float* flat, const float* gain, double a, double b,
                       const Options& o) {
    const Pixel px = TakePixel(src, i, srcType, o);
    int64_t v = px.s;
    if (o.dark) {
        v = px.wideDark ? v - dark[i]
                        : static_cast<int32_t>(static_cast<uint32_t>(v) - static_cast<uint32_t>(dark[i]));
    }
    if (o.final == Final::Log) {
        long double x = static_cast<long double>(v);
        if (o.flat && !o.dark) x = x * static_cast<long double>(flat[i]) * gain[i];
        else if (o.flat) x = x * gain[i] * static_cast<long double>(flat[i]);
        else x = x * gain[i];
        long double l = std::log10(x);
        const long double k = std::round(l);
        if (k >= 0 && k <= 27 && std::pow(10.0L, k) == x) l = k;
        StoreExtended(out, outType, l);
        return;
    }
    Value val = Exact(mpq_class(static_cast<long>(v)));
    if (o.flat) val = Times(val, flat[i]);
    if (o.final == Final::Threshold) {
        val = Exact(Greater(val, a) ? 1 : 0);
    } else if (o.final == Final::Clip) {
        if (Greater(val, b)) val = std::isfinite(b) ? Exact(Q(b)) : Value{0, true, b};
        else if (Less(val, a)) val = std::isfinite(a) ? Exact(Q(a)) : Value{0, true, a};
    }
    StoreValue(out, outType, val);
}

}  // namespace onlinemodel
