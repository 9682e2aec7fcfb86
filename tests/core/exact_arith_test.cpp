// SPDX-License-Identifier: MIT
// The one rounding of an exact value hi + lo + tail into floats, doubles and integers, against the
// exact rationals: values that few operations reach, where the parts below hi decide.
#include "core/exact_arith.h"

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "support/exact_model.h"

namespace {

TEST(ExactArithmetic, UnevaluatedSumsRoundOnce) {
    // Float midpoints with a rest on either side, in lo or only in the tail; integral values of hi
    // or lo with a rest below them; the ends of the 64-bit range; just below the float overflow tie.
    const double mid = 1.0 + 0x1p-24;  // halfway between the floats 1 and 1 + 2^-23
    // clang-format off
    const qm::ExactValue cases[] = {
        {mid, 0x1p-60, 0}, {mid, -0x1p-60, 0}, {-mid, 0x1p-60, 0}, {-mid, -0x1p-60, 0}, {mid, 0, 0}, {mid, 0, -1e-300},
        {mid, 0x1p-70, 0}, {0x1p30 + 64, 0x1p-30, 0}, {0x1p30 + 64, -0x1p-30, 0}, {3, -0x1p-60, 0}, {-3, 0, 0x1p-60},
        {7, -0x1p-52, 0}, {-7, 0x1p-52, 0}, {7, 0x1p-52, 0}, {1, -0x1p-54, 0}, {-1, 0x1p-54, 0}, {3.5, 0, 0},
        {-3.5, 0, 0}, {0, 0, 0}, {0x1p60, 1, -1e-30}, {0x1p60, -1, 1e-30}, {0x1p60, -3.5, 0}, {0x1p60, 2, 0},
        {-0x1p60, 3.5, 0}, {0x1p63, -1, 0}, {0x1p63, -512, 0}, {0x1p63, -0.5, 0}, {0x1p63, 0.5, 0}, {-0x1p63, -0.5, 0},
        {-0x1p63, 1, 0}, {-0x1p63, -1024, 0}, {0x1p64, -1024, 0}, {0x1.fffffep127 + 0x1p103, -0x1p-1000, 0}};
    // clang-format on
    for (const qm::ExactValue& v : cases) {
        const mpq_class x = mpq_class(v.hi) + mpq_class(v.lo) + mpq_class(v.tail);
        EXPECT_EQ(qm::RoundToFloat(v), qmtest::RoundToNearestEven<float>(x))
            << v.hi << " + " << v.lo << " + " << v.tail;
        EXPECT_EQ(qm::StoreExact<float>(v), qmtest::RoundToNearestEven<float>(x)) << v.hi << " + " << v.lo;
        EXPECT_EQ(qm::StoreExact<double>(v), qmtest::RoundToNearestEven<double>(x)) << v.hi << " + " << v.lo;
        EXPECT_EQ(qm::TruncateExact(v), qmtest::TruncateTowardZero(x)) << v.hi << " + " << v.lo << " + " << v.tail;
    }
}

}  // namespace
