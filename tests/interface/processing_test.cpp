// SPDX-License-Identifier: MIT
// The processing entry: the frame counter, the routing by process and the colour copy.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "qmath/qmath.h"
#include "support/instances.h"

namespace {

using qmtest::Describe;
using qmtest::ScopedInstance;

TEST(ProcessData, TheCounterAdvancesAndWrapsWhateverTheProcessAndStatus) {
    for (int32_t process : {0, 5, 6, 8, 9, 2002}) {  // never set, or accepted and never handled
        ScopedInstance h;
        MathSetProcess(h, process, 0);
        EXPECT_EQ(MathProcessData(h, nullptr), qmeUnknownProcess) << process;
        EXPECT_EQ(h.record().nFrameCounter, 0u) << "1 >= frame count 1 wraps at once";
        MathSetConstant(h, 9002, 3);
        for (uint32_t counter : {1u, 2u, 0u, 1u}) {
            MathProcessData(h, nullptr);
            EXPECT_EQ(h.record().nFrameCounter, counter) << process;
        }
    }
    ScopedInstance h;
    const struct {
        double count;
        uint32_t before;
    } wraps[] = {{0, 0}, {4294967295.0, 0xFFFFFFFEu}, {5, 0xFFFFFFFFu}};  // unsigned compare; increment wraps
    for (const auto& w : wraps) {
        MathSetConstant(h, 9002, w.count);
        h.record().nFrameCounter = w.before;
        MathProcessData(h, nullptr);
        EXPECT_EQ(h.record().nFrameCounter, 0u) << w.count;
    }
}

TEST(ProcessData, ScalarProcessOnAColourImageIsAPlainCopyWithItsOwnChecks) {
    const struct {
        uint32_t width, height;
        int32_t type;
        bool data;
        QmeErrorCode status;
    } cases[] = {{2, 6, 11, true, qmeSuccess},       {4, 3, 7, true, qmeUnsupportedType},
                 {4, 4, 11, true, qmeCountMismatch}, {5, 1, 4, true, qmeCountMismatch},
                 {4, 3, 11, false, qmeMissingImage}, {0, 3, 11, true, qmeMissingImage}};
    for (int32_t process : {256, 500, 503, 509}) {
        for (const auto& c : cases) {
            ScopedInstance h;
            std::vector<uint8_t> source(3 * 16), image(3 * 12, 0xEE);
            for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<uint8_t>(i * 7 + 1);
            QmdDataStruct operand{c.data ? source.data() : nullptr, c.width, c.height, c.type, 1, {}};
            QmdDataStruct dst = Describe(image, 4, 3, qmeTypeRgb24);
            MathSetProcess(h, process, 0);
            MathSetConstant(h, 2, 1000.0);
            MathSetData(h, 0, &operand);
            EXPECT_EQ(MathProcessData(h, &dst), c.status) << process << " " << c.width << "x" << c.height;
            const bool copied = std::memcmp(image.data(), source.data(), image.size()) == 0;
            EXPECT_TRUE(c.status == qmeSuccess ? copied : image == std::vector<uint8_t>(3 * 12, 0xEE));
        }
    }
}

TEST(ProcessData, MissingOperandGives8000ForEveryImageProcessAndWritesNothing) {
    for (int32_t type : {qmeTypeU16, qmeTypeRgb24}) {
        for (int32_t process : {1, 2, 3, 4, 256, 503, 509, 2000, 2001}) {
            ScopedInstance h;
            std::vector<uint16_t> pixels(24, 5);
            QmdDataStruct image = Describe(pixels, 4, 4, type);
            MathSetProcess(h, process, 0);
            EXPECT_EQ(MathProcessData(h, &image), qmeMissingImage) << process;
            EXPECT_EQ(pixels, std::vector<uint16_t>(24, 5)) << process;
        }
    }
}

}  // namespace
