// SPDX-License-Identifier: MIT
// Choosing the process, the constants and the images of an instance, through the exports.
#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <vector>

#include "qmath/qmath.h"
#include "support/instances.h"

namespace {

using qmtest::Describe;
using qmtest::ScopedInstance;

TEST(SetProcess, AcceptsTheSettledCodesAndRefusesEveryOtherUnchanged) {
    ScopedInstance h;
    for (int32_t code : {1, 2, 3, 4, 5, 6, 8, 9, 256, 500, 505, 509, 2000, 2001, 2002, 9000}) {
        EXPECT_EQ(MathSetProcess(h, code, 0), qmeSuccess) << code;
        EXPECT_EQ(h.record().nProcess, code);
    }
    MathSetProcess(h, 9001, 1);
    MathSetProcess(h, 503, 1);
    for (int32_t code : {0, -1, 7, 10, 255, 257, 499, 510, 1999, 2003, 8999, 9010, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(MathSetProcess(h, code, 1), qmeUnknownProcess) << code;
        EXPECT_EQ(h.record().nProcess, 503) << code;
        EXPECT_EQ(h.record().nOptions, 0x001u) << code;
    }
}

TEST(SetProcess, EachOptionCodeTogglesItsOwnScatteredBitAndSelectsOnlineProcessing) {
    const uint32_t bits[] = {0x001, 0x002, 0x004, 0x040, 0x020, 0x080, 0x010, 0x008, 0x100};  // 9001..9009
    ScopedInstance h;
    uint32_t all = 0;
    for (int32_t code = 9001; code <= 9009; ++code) {
        MathSetProcess(h, 503, 1);
        EXPECT_EQ(MathSetProcess(h, code, 0x80), qmeSuccess) << "any non-zero switch is on";
        all |= bits[code - 9001];
        EXPECT_EQ(h.record().nOptions, all) << code;
        EXPECT_EQ(h.record().nProcess, 9000) << code;
    }
    for (int32_t code = 9001; code <= 9009; ++code) {
        MathSetProcess(h, code, 0);
        all &= ~bits[code - 9001];
        EXPECT_EQ(h.record().nOptions, all) << code;
    }
    MathSetProcess(h, 9006, 1);
    MathSetProcess(h, 9000, 0);
    EXPECT_EQ(h.record().nOptions, 0x080u) << "9000 leaves the options alone";
}

TEST(SetProcess, OnlyTheAccumulateCodeRestartsTheFrameCycle) {
    ScopedInstance h;
    MathSetConstant(h, 9002, 100);
    for (int32_t code = 9001; code <= 9009; ++code) {
        for (uint8_t on : {1, 0}) {
            h.record().nFrameCounter = 10;
            MathSetProcess(h, code, on);
            EXPECT_EQ(h.record().nFrameCounter, code == 9003 ? 0u : 10u) << code;
        }
    }
}

TEST(SetConstant, StoresEachCodeInItsFieldTruncatingIntegersTowardZero) {
    ScopedInstance h;
    qm::Instance& r = h.record();
    for (int32_t code : {2, 4, 6, 2000, 2001, 2002}) {
        MathSetConstant(h, code, code + 0.5);
        EXPECT_EQ(r.dConstA, code + 0.5);
    }
    for (int32_t code : {3, 5, 7}) {
        MathSetConstant(h, code, -code - 0.25);
        EXPECT_EQ(r.dConstB, -code - 0.25);
    }
    const struct {
        double value;
        uint32_t stored;
    } counts[] = {
        {3.99, 3}, {-2.9, 0xFFFFFFFEu}, {4294967297.0, 1}, {std::numeric_limits<double>::quiet_NaN(), 0}, {1e300, 0}};
    for (const auto& c : counts) {
        r.nFrameCounter = 5;
        MathSetConstant(h, 9002, c.value);
        EXPECT_EQ(r.nFrameCount, c.stored) << c.value;
        EXPECT_EQ(r.nFrameCounter, 0u);
    }
    MathSetConstant(h, 9008, 7.9);
    MathSetConstant(h, 9011, -2.5);
    MathSetConstant(h, 9012, -2.9);
    MathSetConstant(h, 9013, 2147483648.0);
    MathSetConstant(h, 9015, 70000.0);
    MathSetConstant(h, 9016, -1.0);
    EXPECT_EQ(r.nColourFlag, 7u);
    EXPECT_EQ(r.bayer.dBayer3, -2.5);
    EXPECT_EQ(r.bayer.nBayer1, -2);
    EXPECT_EQ(r.bayer.nBayer2, INT32_MIN) << "low 32 bits of 2^31";
    EXPECT_EQ(r.bayer.nBayerShort, 4464);
    EXPECT_EQ(r.bayer.nBayerWord, 65535);
    for (int32_t code : {0, 1, 8, 1999, 2003, 9000, 9001, 9003, 9007, 9017, -2}) {
        EXPECT_EQ(MathSetConstant(h, code, 99.0), qmeSuccess) << code;
        EXPECT_EQ(r.dConstA, 2002.5) << code;
        EXPECT_EQ(r.dConstB, -7.25) << code;
        EXPECT_EQ(r.nFrameCount, 0u) << code;
    }
}

TEST(SetData, StoresOperandsByAddressAndChecksTheSourceFrameType) {
    ScopedInstance h;
    qm::Instance& r = h.record();
    std::vector<uint16_t> pixels(4);
    QmdDataStruct image = Describe(pixels, 2, 2, qmeTypeU16);
    EXPECT_EQ(MathSetData(h, 0, &image), qmeSuccess);
    EXPECT_EQ(MathSetData(h, 1, nullptr), qmeSuccess) << "operands are not checked";
    EXPECT_EQ(r.pOperand1, &image);
    for (int32_t type : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 14, 15, 16, -7}) {
        const bool accepted = type == 7 || type == 2 || type == 8 || type == 3 || type == 6 || type == 15 || type == 11;
        QmdDataStruct source = image;
        source.eType = type;
        r.pSourceFrame = &image;
        EXPECT_EQ(MathSetData(h, 9004, &source), accepted ? qmeSuccess : qmeUnsupportedSourceType) << type;
        EXPECT_EQ(r.pSourceFrame, accepted ? &source : &image) << type;
    }
    EXPECT_EQ(MathSetData(h, 9004, nullptr), qmeMissingImage);
    for (int32_t code : {2, 9002, 9008, 9010, -1}) {
        EXPECT_EQ(MathSetData(h, code, &image), qmeSuccess) << code;
        EXPECT_TRUE(!r.pDarkFrame && !r.pFlatFieldFrame && !r.pGainFrame) << code;
    }
}

// The reference frames: module-owned copies of the host's image with its shape and depth 1.
TEST(SetData, BuildsReferenceFramesFromTheHostImage) {
    ScopedInstance h;
    std::vector<uint16_t> pixels = {0, 1, 2, 4, 5, 8, 65535, 10};
    QmdDataStruct image = Describe(pixels, 4, 2, qmeTypeU16);
    image.nDepth = 3;
    const double mean = 65565 / 8.0, max = 65535.0;
    auto copy = [](uint16_t x) { return double(x); };
    auto normalised = [](uint16_t x, double by) { return x == 0 ? 0.0 : double(float(double(1.0f / x) * by)); };
    const struct {
        int32_t code;
        QmdDataStruct* qm::Instance::*field;
        int32_t type;
        double statistic;  // 0: a plain copy; 1: the reciprocal
    } frames[] = {{9000, &qm::Instance::pDarkFrame, qmeTypeI32, 0},
                  {9003, &qm::Instance::pGainFrame, qmeTypeF32, 0},
                  {9001, &qm::Instance::pFlatFieldFrame, qmeTypeF32, 1},
                  {9005, &qm::Instance::pFlatFieldFrame, qmeTypeF32, mean},
                  {9006, &qm::Instance::pFlatFieldFrame, qmeTypeF32, max},
                  {9007, &qm::Instance::pFlatFieldFrame, qmeTypeF32, max}};
    for (const auto& f : frames) {
        ASSERT_EQ(MathSetData(h, f.code, &image), qmeSuccess) << f.code;
        const QmdDataStruct* frame = h.record().*f.field;
        ASSERT_NE(frame, nullptr);
        EXPECT_EQ(frame->eType, f.type);
        EXPECT_EQ(frame->nWidth, 4u);
        EXPECT_EQ(frame->nHeight, 2u);
        EXPECT_EQ(frame->nDepth, 1u);
        for (size_t i = 0; i < pixels.size(); ++i) {
            const double got = f.type == qmeTypeI32 ? static_cast<const int32_t*>(frame->pData)[i]
                                                    : static_cast<const float*>(frame->pData)[i];
            EXPECT_EQ(got, f.statistic == 0 ? copy(pixels[i]) : normalised(pixels[i], f.statistic)) << f.code;
        }
    }
}

TEST(SetData, ReferenceFrameStatusIsThatOfItsLastOperation) {
    ScopedInstance h;
    std::vector<uint8_t> colour(12);
    QmdDataStruct unsupported = Describe(colour, 2, 2, qmeTypeRgb24);
    QmdDataStruct empty = Describe(colour, 0, 2, qmeTypeU8);
    for (int32_t code : {9000, 9001, 9003, 9005, 9006, 9007}) {
        // A normalised flat field reports its final in-place multiply, which succeeds on the
        // installed frame even when the reciprocal before it refused the element type.
        EXPECT_EQ(MathSetData(h, code, &unsupported), code >= 9005 ? qmeSuccess : qmeUnsupportedType) << code;
        EXPECT_EQ(MathSetData(h, code, &empty), qmeMissingImage) << code;
        EXPECT_EQ(MathSetData(h, code, nullptr), qmeMissingImage) << code;
    }
}

}  // namespace
