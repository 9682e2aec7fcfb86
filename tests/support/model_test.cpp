// SPDX-License-Identifier: MIT
// The tests' own reference models against values worked out by hand, so that a model comparison
// that passes does not rest on a model that is wrong in the same way as the module.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include "bayer/bayer_model.h"
#include "online/online_model.h"

namespace {

// Online: 16-bit and most 32-bit reads are unsigned, the plain copy of type 3 and the exact
// dark-and-flat difference signed; the colour mean truncates; clip with A above B; threshold is
// strict; exact powers of ten.
TEST(Models, OnlinePixelsWorkedByHand) {
    using F = onlinemodel::Final;
    // clang-format off
    const struct { int srcType; uint32_t src; int32_t dark; float flat, gain; onlinemodel::Options o; double a, b; int outType; double expected; } cases[] = {
        {7, 1000, 1200, 1, 1, {.dark = true}, 0, 0, 7, 65336},
        {7, 1000, 1200, 1, 1, {.dark = true}, 0, 0, 4, -200},
        {7, 101, 0, 0.5f, 1, {.flat = true}, 0, 0, 7, 50},
        {7, 1000, 0, 1, 1e6f, {.final = F::Log}, 0, 0, 5, 9},
        {7, 0, 0, 1, 1, {.final = F::Log}, 0, 0, 4, -INFINITY},
        {7, 100, 0, 1, 1, {.final = F::Threshold}, 100, 0, 7, 0},
        {7, 150, 0, 1, 1, {.final = F::Clip}, 200, 100, 7, 100},
        {7, 100, 0, 1, 1, {.final = F::Clip}, 200, 100, 7, 200},
        {2, 0xFFFF, 0, 1, 1, {}, 0, 0, 5, 65535},
        {3, 0xFFFFFFFF, 0, 1, 1, {.flat = true}, 0, 0, 5, 4294967295.0},
        {3, 0xFFFFFFFF, 0, 1, 1, {}, 0, 0, 5, -1},
        {3, 0x7FFFFFFF, -1, 1, 1, {.dark = true, .flat = true}, 0, 0, 5, 2147483648.0},
        {3, 0x7FFFFFFF, -1, 1, 1, {.dark = true, .flat = true, .final = F::Clip}, -1e300, 1e300, 5, -2147483648.0},
        {15, 0x1F140A, 0, 1, 1, {}, 0, 0, 7, 20},
    };
    // clang-format on
    for (const auto& c : cases) {
        unsigned char out[8] = {};
        onlinemodel::ModelPixel(out, c.outType, reinterpret_cast<const unsigned char*>(&c.src), c.srcType, 0, &c.dark,
                                &c.flat, &c.gain, c.a, c.b, c.o);
        double d;
        float f;
        uint16_t u;
        std::memcpy(&d, out, 8), std::memcpy(&f, out, 4), std::memcpy(&u, out, 2);
        const double got = c.outType == 5 ? d : c.outType == 4 ? f : u;
        EXPECT_EQ(got, c.expected) << "source " << c.srcType << " pixel " << c.src;
    }
}

// Bayer channel rule: value, gain, offset, blue, shift -> byte.
TEST(Models, BayerChannelWorkedByHand) {
    // clang-format off
    const struct { int64_t x; double gain; int32_t offset; bool blue; uint16_t shift; uint8_t byte; } cases[] = {
        {1000, 1, 0, false, 2, 250}, {1000, 1, 0, false, 0, 255},  // shifted, and clipped without a shift
        {100, 1, 50, true, 1, 50},   {100, 1, 50, false, 1, 25},   // blue keeps its offset out of the product
        {50, 1, 50, false, 1, 0},    {10, 1, 20, false, 0, 255},   // cut off at the offset; below it wraps high
        {5, 1, 7, false, 32, 0},     {9, 1, 0, false, 33, 4},      // shift 32 cuts off; 33 shifts by 1
        {-600, 1, INT32_MIN, true, 1, 0xD4}, {3, -1.5, 0, false, 0, 255},  // negative products: low byte; wrap
    };
    // clang-format on
    for (const auto& c : cases)
        EXPECT_EQ(bayermodel::Channel(c.x, c.gain, c.offset, c.blue, c.shift), c.byte) << &c - cases;
}

}  // namespace
