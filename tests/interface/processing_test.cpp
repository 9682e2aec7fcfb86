// The processing entry: the frame counter, the routing by process and the colour copy.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "qmath/qmath.h"
#include "support/instances.h"

namespace {

using qmtest::Describe;
using qmtest::ScopedInstance;

TEST(ProcessData, UnhandledProcessesAnswer8005AndStillAdvanceAndWrapTheCounter) {
    for (int32_t process : {0, 5, 6, 8, 9, 2002}) {
        ScopedInstance h;
        if (process != 0) {
            ASSERT_EQ(MathSetProcess(h, process, 0), qmeSuccess);
        }
        QmdDataStruct image{};
        EXPECT_EQ(MathProcessData(h, &image), qmeUnknownProcess) << process;
        EXPECT_EQ(h.record().nFrameCounter, 0u) << "1 >= frame count 1 wraps at once";
        MathSetConstant(h, 9002, 3);
        const uint32_t expected[] = {1, 2, 0, 1};
        for (uint32_t counter : expected) {
            EXPECT_EQ(MathProcessData(h, nullptr), qmeUnknownProcess);
            EXPECT_EQ(h.record().nFrameCounter, counter) << process;
        }
    }
}

TEST(ProcessData, FrameCountZeroWrapsAfterEveryFrameAndTheCounterWrapsAt32Bits) {
    ScopedInstance h;
    MathSetProcess(h, 5, 0);
    MathSetConstant(h, 9002, 0);
    MathProcessData(h, nullptr);
    EXPECT_EQ(h.record().nFrameCounter, 0u);
    MathSetConstant(h, 9002, 4294967295.0);
    h.record().nFrameCounter = 0xFFFFFFFEu;
    MathProcessData(h, nullptr);
    EXPECT_EQ(h.record().nFrameCounter, 0u) << "0xFFFFFFFF reaches the frame count";
    MathSetConstant(h, 9002, 5);
    h.record().nFrameCounter = 0xFFFFFFFFu;
    MathProcessData(h, nullptr);
    EXPECT_EQ(h.record().nFrameCounter, 0u) << "the increment wraps to 0";
}

struct ColourCase {
    const char* what;
    uint32_t operandWidth;
    uint32_t operandHeight;
    int32_t operandType;
    bool operandData;
    QmeErrorCode status;
};

TEST(ProcessData, ScalarProcessOnAColourImageIsAPlainCopyWithItsOwnChecks) {
    const ColourCase cases[] = {
        {"same count, other shape", 2, 6, 11, true, qmeSuccess},
        {"operand not colour", 4, 3, 7, true, qmeUnsupportedType},
        {"counts differ", 4, 4, 11, true, qmeCountMismatch},
        {"counts differ and not colour", 5, 1, 4, true, qmeCountMismatch},
        {"operand without data", 4, 3, 11, false, qmeMissingImage},
        {"empty operand", 0, 3, 11, true, qmeMissingImage},
    };
    for (int32_t process : {256, 500, 503, 509}) {
        for (const ColourCase& c : cases) {
            ScopedInstance h;
            std::vector<uint8_t> source(3 * 16), image(3 * 12, 0xEE);
            for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<uint8_t>(i * 7 + 1);
            QmdDataStruct operand{c.operandData ? source.data() : nullptr, c.operandWidth, c.operandHeight,
                                  c.operandType, 1, {}};
            QmdDataStruct dst = Describe(image, 4, 3, qmeTypeRgb24);
            MathSetProcess(h, process, 0);
            MathSetConstant(h, 2, 1000.0);
            MathSetData(h, 0, &operand);
            EXPECT_EQ(MathProcessData(h, &dst), c.status) << c.what;
            if (c.status == qmeSuccess) {
                EXPECT_EQ(0, std::memcmp(image.data(), source.data(), image.size())) << c.what;
            } else {
                EXPECT_EQ(image, std::vector<uint8_t>(3 * 12, 0xEE)) << c.what << ": nothing written";
            }
        }
    }
}

TEST(ProcessData, MissingOperandOrImageGives8000ForEveryImageProcess) {
    for (int32_t process : {1, 2, 3, 4, 256, 503, 509, 2000, 2001}) {
        ScopedInstance h;
        std::vector<uint16_t> pixels(16, 5);
        QmdDataStruct image = Describe(pixels, 4, 4, qmeTypeU16);
        MathSetProcess(h, process, 0);
        EXPECT_EQ(MathProcessData(h, &image), qmeMissingImage) << process;
        EXPECT_EQ(pixels, std::vector<uint16_t>(16, 5)) << process;
    }
    ScopedInstance h;
    std::vector<uint8_t> colour(3 * 4);
    QmdDataStruct image = Describe(colour, 2, 2, qmeTypeRgb24);
    MathSetProcess(h, 503, 0);
    EXPECT_EQ(MathProcessData(h, &image), qmeMissingImage) << "colour copy without operand 1";
}

TEST(ProcessData, BayerInterpolationOfAnUnsupportedOperandTypeWritesNothing) {
    for (int32_t type : {4, 5, 1, 11, 9}) {
        ScopedInstance h;
        std::vector<float> mosaic(16, 100.0f);
        std::vector<uint8_t> colour(3 * 16, 0x5A);
        QmdDataStruct operand = Describe(mosaic, 4, 4, type);
        QmdDataStruct image = Describe(colour, 4, 4, qmeTypeRgb24);
        MathSetProcess(h, 2001, 0);
        MathSetData(h, 0, &operand);
        EXPECT_EQ(MathProcessData(h, &image), qmeSuccess) << type;
        EXPECT_EQ(colour, std::vector<uint8_t>(3 * 16, 0x5A)) << type;
    }
}

}  // namespace
