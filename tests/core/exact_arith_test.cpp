// SPDX-License-Identifier: MIT
// The one rounding of an exact value hi + lo + tail into floats, doubles and integers, against the
// exact rationals: values that few operations reach, where the parts below hi decide.
#include <gmpxx.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "core/exact_arith.h"
#include "support/exact_model.h"

namespace {

TEST(ExactArithmetic, UnevaluatedSumsRoundOnce) {
    const double mid = 1.0 + 0x1p-24;  // halfway between the floats 1 and 1 + 2^-23
    const qm::ExactValue cases[] = {
        {mid, 0x1p-60, 0}, {mid, -0x1p-60, 0}, {-mid, 0x1p-60, 0}, {-mid, -0x1p-60, 0}, {mid, 0, 0},  // midpoints
        {mid, 0, -1e-300}, {mid, 0x1p-70, 0}, {0x1p30 + 64, 0x1p-30, 0}, {0x1p30 + 64, -0x1p-30, 0},  // the tail tells
        {3, -0x1p-60, 0}, {-3, 0, 0x1p-60}, {7, -0x1p-52, 0}, {-7, 0x1p-52, 0}, {7, 0x1p-52, 0},  // integral hi
        {1, -0x1p-54, 0}, {-1, 0x1p-54, 0}, {3.5, 0, 0}, {-3.5, 0, 0}, {0, 0, 0},
        {0x1p60, 1, -1e-30}, {0x1p60, -1, 1e-30}, {0x1p60, -3.5, 0}, {0x1p60, 2, 0}, {-0x1p60, 3.5, 0},  // integral lo
        {0x1p63, -1, 0}, {0x1p63, -512, 0}, {0x1p63, -0.5, 0}, {0x1p63, 0.5, 0}, {-0x1p63, -0.5, 0},  // int64 ends
        {-0x1p63, 1, 0}, {-0x1p63, -1024, 0}, {0x1p64, -1024, 0},
        {0x1.fffffep127 + 0x1p103, -0x1p-1000, 0}};  // just below the float overflow tie
    for (const qm::ExactValue& v : cases) {
        const mpq_class x = mpq_class(v.hi) + mpq_class(v.lo) + mpq_class(v.tail);
        EXPECT_EQ(qm::RoundToFloat(v), qmtest::RoundToNearestEven<float>(x)) << v.hi << " + " << v.lo << " + " << v.tail;
        EXPECT_EQ(qm::StoreExact<float>(v), qmtest::RoundToNearestEven<float>(x)) << v.hi << " + " << v.lo;
        EXPECT_EQ(qm::StoreExact<double>(v), qmtest::RoundToNearestEven<double>(x)) << v.hi << " + " << v.lo;
        EXPECT_EQ(qm::TruncateExact(v), qmtest::TruncateTowardZero(x)) << v.hi << " + " << v.lo << " + " << v.tail;
    }
}

}  // namespace
