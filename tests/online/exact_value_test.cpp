// The exact product and the one-rounding stores, on the cases random pixels almost never reach:
// a double that lands exactly between two floats, an integral double with a rest below it, the
// ends of the 64-bit range.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "online/exact_value.h"
#include "online_model.h"

namespace {

using qm::online::Exact;
using onlinemodel::Q;

mpq_class ExactOf(Exact v) { return Q(v.hi) + Q(v.lo); }

TEST(ExactValue, StoresRoundTheExactSumOnce) {
    const double mid = 1.0 + 0x1p-24;  // halfway between the floats 1 and 1 + 2^-23
    const Exact cases[] = {
        {mid, 0x1p-60},     {mid, -0x1p-60},      {-mid, 0x1p-60},   {-mid, -0x1p-60},    {mid, 0.0},
        {0x1p30 + 64.0, 0x1p-30}, {0x1p30 + 64.0, -0x1p-30}, {7.0, -0x1p-52}, {-7.0, 0x1p-52}, {7.0, 0x1p-52},
        {1.0, -0x1p-54},    {-1.0, 0x1p-54},      {0x1p60, -3.5},    {0x1p60, 2.0},       {-0x1p60, 3.5},
        {0x1p63, -512.0},   {0x1p63, -0.5},       {0x1p63, 0.5},     {-0x1p63, -0.5},     {-0x1p63, 1.0},
        {-0x1p63, -1024.0}, {0x1p64, -1024.0},    {3.5, 0.0},        {-3.5, 0.0},         {0.0, 0.0},
    };
    // Each pair is normalised: hi is the sum rounded to double.
    for (const Exact& v : cases) {
        const mpq_class x = ExactOf(v);
        EXPECT_EQ(qm::online::StoreExact<float>(v), onlinemodel::RoundNearest<float>(x)) << v.hi << " + " << v.lo;
        EXPECT_EQ(qm::online::StoreExact<double>(v), onlinemodel::RoundNearest<double>(x)) << v.hi << " + " << v.lo;
        EXPECT_EQ(qm::online::TruncateExact(v), onlinemodel::TruncQ(x)) << v.hi << " + " << v.lo;
    }
    EXPECT_EQ(qm::online::TruncateExact({NAN, 0.0}), std::numeric_limits<int64_t>::min());
}

TEST(ExactValue, SplitProductIsExactAndRoundedOnce) {
    std::mt19937_64 rng(12345);
    for (int i = 0; i < 20000; ++i) {
        const int64_t v = static_cast<int64_t>(rng() % (uint64_t{1} << 34)) - (int64_t{1} << 33);
        uint32_t bits = static_cast<uint32_t>(rng());
        if (i % 4 == 0) bits = (bits & 0x807FFFFF) | 0x3F800000;  // around 1
        const float f = std::bit_cast<float>(bits);
        const Exact p = qm::online::ExactProduct(v, f);
        if (!std::isfinite(f)) {
            const double plain = static_cast<double>(v) * f;
            EXPECT_TRUE(std::isnan(plain) ? std::isnan(p.hi) : p.hi == plain);
            continue;
        }
        const mpq_class x = Q(static_cast<double>(v)) * Q(f);
        ASSERT_EQ(ExactOf(p), x) << v << " x " << f;
        ASSERT_EQ(p.hi, onlinemodel::RoundNearest<double>(x)) << v << " x " << f;
    }
}

}  // namespace
