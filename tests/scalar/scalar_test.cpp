// SPDX-License-Identifier: MIT
// The scalar operations (256, 500 to 509) and the statistics. First every source type x
// destination type x operation against an independent model, on boundary and random elements and
// on constants where rounding and truncation are hard, out of place and in place, one test per
// instruction set and source type: the model computes with exact rationals (long double for the
// logarithms and the square root) and rounds once by the store rule, written from its definition.
// Then constants and elements on the bounds of the per-call choice of evaluation, the
// dispatcher's checks, the processes through the exported functions and the statistics.
#include <gmpxx.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "core/element_types.h"
#include "scalar/scalar_dispatch.h"
#include "support/elements.h"
#include "support/exact_model.h"
#include "support/instances.h"
#include "support/isa.h"

namespace {

using qm::Status;
using qmtest::Describe;

constexpr double kInf = std::numeric_limits<double>::infinity(), kNaN = std::numeric_limits<double>::quiet_NaN();

// Integer destinations: the low bits of t (NaN, infinities and values beyond int64 give INT64_MIN).
uint64_t LowBits(int32_t dst, int64_t t) {
    return static_cast<uint64_t>(t) & ((uint64_t{1} << 8 * qm::ElementSize(dst)) - 1);
}

uint64_t StoreExact(int32_t dst, const mpq_class& q) {
    if (dst == qm::kF32) return std::bit_cast<uint32_t>(qmtest::RoundToNearestEven<float>(q));
    if (dst == qm::kF64) return std::bit_cast<uint64_t>(qmtest::RoundToNearestEven<double>(q));
    return LowBits(dst, qmtest::TruncateTowardZero(q));
}

// A double result: non-finite values and zeros (keeping their sign) directly, the rest exactly.
uint64_t StoreDouble(int32_t dst, double v) {
    if (std::isfinite(v) && v != 0) return StoreExact(dst, mpq_class(v));
    if (dst == qm::kF32) return std::bit_cast<uint32_t>(static_cast<float>(v));
    return dst == qm::kF64 ? std::bit_cast<uint64_t>(v) : 0;
}

uint64_t StoreLong(int32_t dst, long double v) {
    if (dst == qm::kF32) return std::bit_cast<uint32_t>(static_cast<float>(v));
    if (dst == qm::kF64) return std::bit_cast<uint64_t>(static_cast<double>(v));
    return LowBits(dst, std::isfinite(v) && std::fabs(v) < 0x1p63L ? static_cast<int64_t>(v) : INT64_MIN);
}

// The element operation op (except 506 and 507) stores for the source element x; `failed` is set
// for 505 on an element that is not positive.
uint64_t Model(int32_t op, int32_t dst, double x, double a, double b, bool& failed) {
    const bool finite = std::isfinite(x) && std::isfinite(a);
    const double s = op == 502 ? -a : a, num = op == 504 ? x : 1, den = op == 504 ? a : x;
    switch (op) {
        case 256: return StoreDouble(dst, !(x >= a) ? a : x > b ? b : x);  // unordered counts as below A
        case 500: return StoreDouble(dst, a < x && x < b ? 1 : 0);
        case 501:
        case 502: return finite ? StoreExact(dst, mpq_class(x) + mpq_class(s)) : StoreDouble(dst, x + s);
        case 503: return finite ? StoreExact(dst, mpq_class(x) * mpq_class(a)) : StoreDouble(dst, x * a);
        case 504:
        case 508:
            if (den == 0 || std::isnan(den)) return StoreDouble(dst, 0);
            if (!std::isfinite(num) || !std::isfinite(den)) return StoreDouble(dst, num / den);
            return StoreExact(dst, mpq_class(num) / mpq_class(den));
        case 505:
            if (!(x > 0)) return failed = true, 0;
            return StoreLong(dst, std::log10(static_cast<long double>(x)));
        default: return StoreDouble(dst, x);  // 509
    }
}

// Elements on type limits, float midpoints, powers of ten, zeros of both signs, NaN and infinities.
const double kElements[] = {0,
                            -0.0,
                            1,
                            -1,
                            2,
                            3,
                            7,
                            9,
                            10,
                            30,
                            99,
                            100,
                            999,
                            1000,
                            9999,
                            10000,
                            999999999,
                            0.5,
                            -1.5,
                            2.9,
                            -2.9,
                            127,
                            128,
                            -129,
                            255,
                            256,
                            32767,
                            -32768,
                            65535,
                            65536,
                            2147483647.0,
                            -2147483648.0,
                            4294967295.0,
                            2147483648.0,
                            1e9,
                            1e10,
                            16777217.0,
                            1 + 0x1p-24,
                            0x1p-24 + 0x1p-60,
                            1e30,
                            3.4028234663852886e38,
                            1e300,
                            1e-300,
                            1e-45,
                            5e-324,
                            0.1,
                            1.0 / 3,
                            0x1.fffffffffffffp62,
                            0x1p63,
                            -0x1p63,
                            0x1p64,
                            kNaN,
                            kInf,
                            -kInf};
// Constants where a plain double evaluation would store a different element.
const double kConstants[] = {0,
                             -0.0,
                             1,
                             -1,
                             3,
                             -7,
                             0.5,
                             0.1,
                             1.0 / 3,
                             -1e-17,
                             0x1p-60,
                             1e300,
                             1e-310,
                             2.5,
                             65535.5,
                             0x1p31,
                             (1 + 0x1p-24) / 3,
                             0x1p-24 + 0x1p-70,
                             3 / (1 + 0x1p-24),
                             1e20,
                             1e-10,
                             kNaN,
                             kInf};

using qmtest::BitLength;
using qmtest::BitsAt;
using qmtest::Bytes;
using qmtest::MidpointPartner;
using qmtest::Value;

// The given elements, then `random` random ones: integers of every magnitude and raw bit patterns.
Bytes MakeSource(int32_t type, const std::vector<double>& given, size_t random, std::mt19937_64& rng) {
    const size_t size = qm::ElementSize(type), n = given.size() + random;
    Bytes s(n * size);
    for (size_t i = 0; i < n; ++i) {
        const uint64_t bits = rng();
        const double v = i < given.size() ? given[i] : static_cast<double>(static_cast<int64_t>(bits) >> (bits % 62));
        const float f = static_cast<float>(v);
        const int64_t w = std::isfinite(v) && std::fabs(v) < 0x1p63 ? static_cast<int64_t>(v) : 0;
        const void* from = i >= given.size() && i % 2 ? &bits
                           : type == qm::kF32         ? &f
                           : type == qm::kF64         ? static_cast<const void*>(&v)
                                                      : &w;
        std::memcpy(&s[i * size], from, size);
    }
    return s;
}

// One call against the model, in place over the destination's memory or not; true when the
// status and every element match.
bool Check(int32_t srcType, const Bytes& src, int32_t dstType, int inPlace, int32_t op, double a, double b) {
    const size_t n = src.size() / qm::ElementSize(srcType), size = qm::ElementSize(dstType);
    Bytes out = inPlace ? src : Bytes(n * size, 0xA5);
    std::vector<double> x(n);
    std::vector<uint64_t> want(n);
    bool failed = false;
    for (size_t i = 0; i < n; ++i) {
        x[i] = Value(srcType, BitsAt(src, i, qm::ElementSize(srcType)));
        want[i] = op == 506 || op == 507 ? BitsAt(out, i, size) : Model(op, dstType, x[i], a, b, failed);
    }
    if (op == 506 || op == 507) {  // element 0 alone, from the last source element
        const long double last = x[n - 1];
        failed = !(last > 0);
        want[0] = failed ? 0 : StoreLong(dstType, op == 506 ? std::log(last) : std::sqrt(last));
    }
    QmdDataStruct s{
        inPlace ? out.data() : const_cast<unsigned char*>(src.data()), static_cast<uint32_t>(n), 1, srcType, 1, {}};
    QmdDataStruct d{out.data(), static_cast<uint32_t>(n), 1, dstType, 1, {}};
    const bool statusOk =
        qm::ScalarDispatch(op, &d, &s, a, b) == (failed ? qm::Status::ElementNotComputed : qm::Status::Ok);
    const std::string where = "op " + std::to_string(op) + " type " + std::to_string(srcType) + " -> " +
                              std::to_string(dstType) + (inPlace ? " in place" : "") + " A " + std::to_string(a);
    EXPECT_TRUE(statusOk) << where;
    for (size_t i = 0; i < n; ++i) {
        const uint64_t got = BitsAt(out, i, size);
        const double g = Value(dstType, got), w = Value(dstType, want[i]);
        // NaN payloads, and the sign of a zero result other than a copied one, are not part of the rules.
        const bool isFloat = dstType == qm::kF32 || dstType == qm::kF64;
        if (got == want[i] || (isFloat && ((std::isnan(g) && std::isnan(w)) || (g == 0 && w == 0 && op != 509))))
            continue;
        ADD_FAILURE() << where << " B " << b << " element " << i << " x " << x[i] << ": got 0x" << std::hex << got
                      << " want 0x" << want[i];
        return false;
    }
    return statusOk;
}

// Every destination type, operation and constant for one source type under one instruction set.
// 505 to 507 also run element by element, so that each element's own status and result show.
class ScalarModel : public testing::TestWithParam<qmtest::IsaAndType> {};

TEST_P(ScalarModel, EveryDestinationAndOperationMatchesTheModel) {
    const int32_t src = GetParam().type;
    std::mt19937_64 rng(2024 + src);
    const Bytes all = MakeSource(src, {std::begin(kElements), std::end(kElements)}, 24, rng);
    qmtest::ScopedIsa use(GetParam().isa);
    int failures = 0;
    for (int32_t dst = qm::kI8; dst <= qm::kU32 && failures < 20; ++dst) {
        for (const int32_t op : {256, 500, 501, 502, 503, 504, 505, 506, 507, 508, 509})
            for (size_t k = 0; k < (op <= 504 ? std::size(kConstants) : 1); ++k)
                for (int inPlace = 0; inPlace <= (qm::ElementSize(src) == qm::ElementSize(dst)); ++inPlace)
                    failures +=
                        !Check(src, all, dst, inPlace, op, kConstants[k], kConstants[(k + 5) % std::size(kConstants)]);
        for (size_t i = 0, size = qm::ElementSize(src); i < all.size(); i += size)
            for (const int32_t op : {505, 506, 507})
                failures += !Check(src, Bytes(&all[i], &all[i] + size), dst, false, op, 0, 0);
    }
    EXPECT_EQ(failures, 0);
}

INSTANTIATE_TEST_SUITE_P(Each, ScalarModel, testing::ValuesIn(qmtest::EveryIsaWith({1, 2, 3, 4, 5, 6, 7, 8})),
                         qmtest::ParamName);

// The engine decides once per call whether plain double or 32-bit arithmetic is exact for every
// element the call can see: products and sums of at most 53 significant bits (the source's bits
// plus the constant's), float significands of 24 bits, results within 2^30 or 2^31 for the 32-bit
// stores, integral addends up to 2^52. The constants and elements below sit on either side of
// each of these bounds, so that a bound one bit too generous stores a different element.

// Elements (first): the type's extremes, all significant bits set, and the partners of the
// midpoint products. Constants (second): k significant bits (all set, or random) for every k
// around a bound, at magnitudes that put products, quotients and sums around 2^28, 2^30, 2^31,
// 2^52 and 2^53.
std::pair<std::vector<double>, std::vector<double>> MakeEdges(int32_t type) {
    const int w = std::array{0, 7, 15, 31, 24, 53, 8, 16, 31}[type];  // significant bits of an element
    const bool isFloat = type == qm::kF32 || type == qm::kF64;
    std::mt19937_64 rng(type);
    std::vector<double> x, a;
    const double ones = std::ldexp(1, w) - 1;  // every bit set
    if (isFloat) {
        for (int exp : {0, 22, 23, 29, 30, 31, 52, 53, 127, 1023, -126, -1022})
            for (double sign : {1, -1}) x.push_back(sign * std::ldexp(ones, exp - w + 1));
        x.insert(x.end(), {0, 1, std::ldexp(1, -1074), 1 + 0x1p-23, -1 - 0x1p-52, 3.4028234663852886e38});
    } else {
        x.insert(x.end(),
                 {0, 1, ones, ones - 1, std::ldexp(1, w - 1) + 1, std::ldexp(1, w - 1), std::ldexp(1, w - 2) + 1});
        if (type != qm::kU8 && type != qm::kU16) x.insert(x.end(), {-1, -ones, -ones - 1, -std::ldexp(1, w - 1) - 1});
    }
    // Products of 54 and 55 bits one unit off a float midpoint; the smaller factor is fixed.
    for (int k = 54 - w; k <= 55 - w && w < 53; ++k)
        for (int r : {1, -1})
            for (uint64_t fixed = (uint64_t{1} << std::min(w, k)) - 1; BitLength(fixed) == std::min(w, k); fixed -= 2) {
                const uint64_t other = MidpointPartner(fixed, std::max(w, k), r);
                if (other == 0) continue;
                const double element = std::ldexp(static_cast<double>(w <= k ? fixed : other), isFloat ? 1 - w : 0);
                const double m = static_cast<double>(w <= k ? other : fixed);
                x.insert(x.end(), {element, -element});  // floats: in [1, 2)
                a.insert(a.end(), {m, -m, std::ldexp(m, 1 - k), std::ldexp(-m, -1)});
                break;
            }
    for (int k : {1, 2, 23, 24, 25, 29, 30, 52 - w, 53 - w, 54 - w, 51, 52, 53}) {
        if (k < 1 || k > 53) continue;
        const uint64_t all = (uint64_t{1} << k) - 1, random = (rng() | (uint64_t{1} << (k - 1)) | 1) & all;
        for (int exp : {0, 1, 28, 29, 30 - w, 31 - w, 32 - w, w - 31, w - 30, 30, 31, 32, 52, 53, 54, k - 1})
            for (uint64_t m : {all, random})  // each sign in turn
                a.push_back(((k + exp) % 2 == (m == all) ? 1 : -1) * std::ldexp(static_cast<double>(m), exp - k));
    }
    // Addends whose sum with the largest element straddles 2^(52 + low) to 2^(54 + low), low being
    // the addend's lowest set bit.
    for (int low : {0, -1, -24, w - 53})
        for (int top = 52; top <= 54 && !isFloat; ++top)
            for (int step : {-1, 0, 1})
                for (double sign : {1, -1})
                    a.push_back(sign * (std::ldexp(1, top + low) - std::ldexp(1, w) + std::ldexp(step, low)));
    // Integral divisors that 8- and 16-bit elements divide by in singles, up to where a divisor
    // stops being a single (2^24 + 1), and elements on and one off their multiples (41 and 61:
    // multiples whose quotient a product by the single reciprocal would put below the integer).
    for (const double d : {3.0, 41.0, 61.0, 255.0, 257.0, 65535.0, 65537.0, 0x1p24 - 1, 0x1p24 + 1, 0x1p24 + 2}) {
        a.insert(a.end(), {d, -d});
        for (const double k : {1.0, 2.0, 3.0, 100.0, 1000.0, std::floor(ones / d)})
            for (const double e : {-1.0, 0.0, 1.0})
                if (!isFloat && k * d + e <= ones) x.push_back(k * d + e);
    }
    std::sort(a.begin(), a.end());
    a.erase(std::unique(a.begin(), a.end()), a.end());
    return {x, a};
}

// The bounds of a clip that truncates in 32 bits: within int32, at its ends and just beyond.
const double kClipBounds[] = {0x1p31, 0x1p31 - 1, 0x1p31 - 0.5, 0x1p31 + 0.5, 0x1p31 + 1, 0x1p30, 0x1p32};

class ScalarExactness : public testing::TestWithParam<qmtest::IsaAndType> {};

TEST_P(ScalarExactness, ConstantsAndElementsOnEveryBoundOfTheEvaluation) {
    const int32_t src = GetParam().type;
    std::mt19937_64 rng(src);
    const auto [elements, constants] = MakeEdges(src);
    const Bytes all = MakeSource(src, elements, 8, rng);
    qmtest::ScopedIsa use(GetParam().isa);
    int failures = 0;
    for (int32_t dst = qm::kI8; dst <= qm::kU32 && failures < 20; ++dst) {
        for (const double a : constants)
            for (const int32_t op : {501, 503, 504}) failures += !Check(src, all, dst, false, op, a, 0);
        for (const double c : kClipBounds)
            failures += !Check(src, all, dst, false, 256, -c, c) + !Check(src, all, dst, false, 256, c, -c);
    }
    EXPECT_EQ(failures, 0) << constants.size() << " constants";
}

INSTANTIATE_TEST_SUITE_P(Each, ScalarExactness, testing::ValuesIn(qmtest::EveryIsaWith({1, 2, 3, 4, 5, 6, 7, 8})),
                         qmtest::ParamName);

TEST(ScalarDispatch, ChecksInOrderAndWritesNothingOnFailure) {
    std::vector<uint16_t> six(6, 1), four(4, 1), out(6, 7);
    QmdDataStruct src = Describe(six, 6, 1, qmeTypeU16), dst = Describe(out, 6, 1, qmeTypeU16);
    QmdDataStruct noData = dst, small = Describe(four, 4, 1, 9), empty = src, badSrc = src, badDst = dst;
    noData.pData = nullptr;
    empty.nHeight = 0;
    badSrc.eType = 9;
    badDst.eType = qmeTypeRgb24;
    const struct {
        const QmdDataStruct *dst, *src;
        int32_t op;
        Status want;
    } cases[] = {
        {nullptr, &src, 509, Status::MissingImage},
        {&noData, &badSrc, 509, Status::MissingImage},
        {&dst, nullptr, 509, Status::MissingImage},
        {&dst, &noData, 509, Status::MissingImage},
        {&dst, &empty, 509, Status::MissingImage},
        {&dst, &small, 509, Status::CountMismatch},  // before the type
        {&dst, &badSrc, 509, Status::UnsupportedType},
        {&badDst, &src, 509, Status::UnsupportedType},
        {&badDst, &src, 42, Status::UnsupportedType},
        {&dst, &src, 42, Status::Ok},
        {&dst, &src, 510, Status::Ok},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(qm::ScalarDispatch(c.op, c.dst, c.src, 1, 2), c.want) << c.op;
        EXPECT_EQ(out, std::vector<uint16_t>(6, 7));
    }
}

// Through the exported functions: A and B reach the engine; 506 and 507 store one element from
// the last source element; an element that is not positive fails the call, the others are stored.
// Source and destination have the same count in different shapes.
TEST(ScalarExports, ProcessesUseTheConstantsAndReportElementsNotComputed) {
    const struct {
        std::vector<uint16_t> src;
        int32_t process;
        double a, b;
        std::vector<double> want;  // destination filled with 7 before
        QmeErrorCode status;
    } cases[] = {
        {{0, 5, 9}, 256, 1, 6, {1, 5, 6}, qmeSuccess},
        {{3, 30}, 504, 0.1, 0, {30, 300}, qmeSuccess},
        {{100, 0, 1000}, 505, 0, 0, {2, 0, 3}, qmeElementNotComputed},
        {{0, 9, 1}, 506, 0, 0, {0, 7, 7}, qmeSuccess},
        {{4, 9, 16}, 507, 0, 0, {4, 7, 7}, qmeSuccess},
        {{4, 9, 0}, 507, 0, 0, {0, 7, 7}, qmeElementNotComputed},
    };
    for (auto c : cases) {
        qmtest::ScopedInstance h;
        std::vector<double> out(c.src.size(), 7);
        QmdDataStruct src = Describe(c.src, 1, static_cast<uint32_t>(c.src.size()), qmeTypeU16);
        QmdDataStruct dst = Describe(out, static_cast<uint32_t>(out.size()), 1, qmeTypeF64);
        MathSetProcess(h, c.process, 1);
        MathSetConstant(h, qmeConstA, c.a);
        MathSetConstant(h, qmeConstB, c.b);
        MathSetData(h, qmeDataOperand1, &src);
        EXPECT_EQ(MathProcessData(h, &dst), c.status) << c.process;
        EXPECT_EQ(out, c.want) << c.process;
    }
}

// Products of more significant bits than a double holds, one unit off a float midpoint, through
// the exported functions: the stored float is the exact product rounded once.
TEST(ScalarExports, ProductsBeyondDoublePrecisionRoundOnceIntoFloats) {
    const double cases[][3] = {{1672147523, 8350315, 1.39629591e16},  // element, A, the float stored
                               {-1672147523, 8350315, -1.39629591e16},
                               {1672147523, -8350315.0 / 1024, -1.39629591e16 / 1024}};
    for (const auto& [element, a, want] : cases) {
        qmtest::ScopedInstance h;
        std::vector<int32_t> src = {static_cast<int32_t>(element)};
        std::vector<float> out = {0};
        QmdDataStruct s = Describe(src, 1, 1, qmeTypeI32), d = Describe(out, 1, 1, qmeTypeF32);
        MathSetProcess(h, 503, 1);
        MathSetConstant(h, qmeConstA, a);
        MathSetData(h, qmeDataOperand1, &s);
        EXPECT_EQ(MathProcessData(h, &d), qmeSuccess);
        EXPECT_EQ(out[0], static_cast<float>(want)) << element << " x " << a;
    }
}

// Quotients of integers within a few doubles of a float midpoint, by divisors whose reciprocal
// is off by nearly half its last bit (a quotient formed through such a reciprocal can miss the two
// doubles around the true one, where only its last bits decide the float): elements near 2^31
// over midpoints of 25 bits with the significand near 2, the divisors nudged by up to 3 bits each
// way; each sign.
TEST(ScalarDivide, QuotientsBesideFloatMidpointsRoundOnce) {
    std::mt19937_64 rng(504);
    std::vector<std::pair<double, double>> cases;  // element, divisor
    while (cases.size() < 200) {
        const double x = static_cast<double>((rng() >> 33) | (uint64_t{1} << 30));
        const double midpoint = std::ldexp(static_cast<double>((uint64_t{1} << 25) - 1 - 2 * (rng() % 64)), 6);
        const double a = std::bit_cast<double>(std::bit_cast<uint64_t>(x / midpoint) + rng() % 7 - 3);
        if (std::fabs(std::fma(1.0 / a, a, -1.0)) >= 0.8 * 0x1p-53) cases.emplace_back(x, a);
    }
    int failures = 0;
    qmtest::OnEveryIsa([&](qm::Isa) {
        for (const auto& [x, a] : cases) {
            const Bytes src = MakeSource(qm::kI32, {x, -x, x - 1, x + 1}, 0, rng);
            failures +=
                !Check(qm::kI32, src, qm::kF32, false, 504, a, 0) + !Check(qm::kI32, src, qm::kF32, false, 504, -a, 0);
        }
    });
    EXPECT_EQ(failures, 0);
}

TEST(ScalarStatistics, MaximumAndMean) {
    std::vector<float> floats = {5, static_cast<float>(kNaN), 1};
    std::vector<uint32_t> words = {0xFFFFFFFFu, 1};
    std::vector<double> order = {1e16, 1, 1, -1e16};
    std::vector<uint8_t> colour(3, 9);
    const QmdDataStruct f = Describe(floats, 3, 1, qmeTypeF32), w = Describe(words, 2, 1, qmeTypeU32);
    const QmdDataStruct o = Describe(order, 4, 1, qmeTypeF64), rgb = Describe(colour, 1, 1, qmeTypeRgb24);
    const QmdDataStruct emptyI16{nullptr, 0, 1, qmeTypeI16, 1, {}}, emptyF32{nullptr, 0, 1, qmeTypeF32, 1, {}};
    const QmdDataStruct emptyU8{nullptr, 0, 1, qmeTypeU8, 1, {}};
    const struct {
        Status (*statistic)(const QmdDataStruct*, double*);
        const QmdDataStruct* image;
        double want;
        Status status;
    } cases[] = {
        {qm::ImageMaximum, &f, 1, Status::Ok},              // a NaN is taken, the next element replaces it
        {qm::ImageMaximum, &w, 4294967295.0, Status::Ok},   // U32 read unsigned here
        {qm::ImageMaximum, &emptyI16, -32768, Status::Ok},  // starts at the type's lowest value
        {qm::ImageMaximum, &emptyF32, -3.4028234663852886e38, Status::Ok},
        {qm::ImageMaximum, &rgb, -1, Status::StatisticUnavailable},
        {qm::ImageMean, &w, 2147483648.0, Status::Ok},
        {qm::ImageMean, &o, 0, Status::Ok},  // rounded after every addition, in order
        {qm::ImageMean, &emptyU8, kNaN, Status::Ok},
        {qm::ImageMean, &rgb, 0, Status::StatisticUnavailable},
        {qm::ImageMean, nullptr, -1, Status::MissingImage},
    };
    for (const auto& c : cases) {
        double result = -1;
        EXPECT_EQ(c.statistic(c.image, &result), c.status);
        if (std::isnan(c.want))
            EXPECT_TRUE(std::isnan(result));
        else
            EXPECT_EQ(result, c.want);
    }
}

}  // namespace
