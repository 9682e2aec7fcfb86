// Choosing the process, the constants and the images of an instance, through the exports.
#include <climits>
#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "qmath/qmath.h"
#include "support/instances.h"

namespace {

using qmtest::Describe;
using qmtest::ScopedInstance;

TEST(SetProcess, AcceptsTheSettledCodesAndRefusesEveryOther) {
    ScopedInstance h;
    const int32_t accepted[] = {1, 2, 3, 4, 5, 6, 8, 9, 256, 500, 501, 502, 503, 504, 505,
                                506, 507, 508, 509, 2000, 2001, 2002, 9000};
    for (int32_t code : accepted) {
        EXPECT_EQ(MathSetProcess(h, code, 0), qmeSuccess) << code;
        EXPECT_EQ(h.record().nProcess, code);
    }
    MathSetProcess(h, 9001, 1);
    MathSetProcess(h, 503, 1);
    const int32_t refused[] = {0, -1, 7, 10, 255, 257, 499, 510, 1999, 2003, 8999, 9010, INT32_MIN, INT32_MAX};
    for (int32_t code : refused) {
        EXPECT_EQ(MathSetProcess(h, code, 1), qmeUnknownProcess) << code;
        EXPECT_EQ(h.record().nProcess, 503) << code;
        EXPECT_EQ(h.record().nOptions, 0x001u) << code;
    }
}

TEST(SetProcess, EachOptionCodeTogglesItsOwnScatteredBitAndSelectsOnlineProcessing) {
    const struct {
        int32_t code;
        uint32_t bit;
    } options[] = {{9001, 0x001}, {9002, 0x002}, {9003, 0x004}, {9004, 0x040}, {9005, 0x020},
                   {9006, 0x080}, {9007, 0x010}, {9008, 0x008}, {9009, 0x100}};
    ScopedInstance h;
    uint32_t all = 0;
    for (const auto& o : options) {
        MathSetProcess(h, 503, 1);
        EXPECT_EQ(MathSetProcess(h, o.code, 1), qmeSuccess);
        all |= o.bit;
        EXPECT_EQ(h.record().nOptions, all) << o.code;
        EXPECT_EQ(h.record().nProcess, 9000) << o.code;
    }
    EXPECT_EQ(all, 0x1FFu);
    for (const auto& o : options) {
        MathSetProcess(h, o.code, 0);
        all &= ~o.bit;
        EXPECT_EQ(h.record().nOptions, all) << o.code;
    }
    // Any non-zero switch value means on; 9000 leaves the options alone.
    MathSetProcess(h, 9006, 0x80);
    MathSetProcess(h, 9000, 0);
    EXPECT_EQ(h.record().nOptions, 0x080u);
}

TEST(SetProcess, OnlyTheAccumulateCodeRestartsTheFrameCycle) {
    ScopedInstance h;
    MathSetConstant(h, 9002, 100);
    QmdDataStruct none{};
    auto advance = [&](int frames) {
        MathSetProcess(h, 5, 1);  // accepted, never handled: only the counter moves
        for (int i = 0; i < frames; ++i) MathProcessData(h, &none);
    };
    advance(10);
    ASSERT_EQ(h.record().nFrameCounter, 10u);
    for (int32_t code : {9001, 9002, 9004, 9005, 9006, 9007, 9008, 9009}) {
        MathSetProcess(h, code, 1);
        EXPECT_EQ(h.record().nFrameCounter, 10u) << code;
    }
    for (uint8_t on : {1, 0}) {
        advance(10);
        EXPECT_EQ(MathSetProcess(h, 9003, on), qmeSuccess);
        EXPECT_EQ(h.record().nFrameCounter, 0u);
        EXPECT_EQ(h.record().nProcess, 9000);
    }
}

TEST(SetConstant, StoresEachCodeInItsFieldTruncatingIntegersTowardZero) {
    ScopedInstance h;
    qm::Instance& r = h.record();
    for (int32_t code : {2, 4, 6, 2000, 2001, 2002}) {
        EXPECT_EQ(MathSetConstant(h, code, code + 0.5), qmeSuccess);
        EXPECT_EQ(r.dConstA, code + 0.5);
    }
    for (int32_t code : {3, 5, 7}) {
        MathSetConstant(h, code, -code - 0.25);
        EXPECT_EQ(r.dConstB, -code - 0.25);
    }
    const struct {
        double value;
        uint32_t stored;
    } counts[] = {{3.99, 3}, {-2.9, 0xFFFFFFFEu}, {4294967297.0, 1}, {0.0, 0},
                  {std::numeric_limits<double>::quiet_NaN(), 0}, {1e300, 0}};
    for (const auto& c : counts) {
        r.nFrameCounter = 5;
        MathSetConstant(h, 9002, c.value);
        EXPECT_EQ(r.nFrameCount, c.stored) << c.value;
        EXPECT_EQ(r.nFrameCounter, 0u);
    }
    MathSetConstant(h, 9008, 7.9);
    EXPECT_EQ(r.nColourFlag, 7u);
    MathSetConstant(h, 9009, 0.5);
    MathSetConstant(h, 9010, 1.5);
    MathSetConstant(h, 9011, -2.5);
    EXPECT_EQ(r.dBayer1, 0.5);
    EXPECT_EQ(r.dBayer2, 1.5);
    EXPECT_EQ(r.dBayer3, -2.5);
    MathSetConstant(h, 9012, -2.9);
    MathSetConstant(h, 9013, 2147483648.0);
    MathSetConstant(h, 9014, 12.7);
    EXPECT_EQ(r.nBayer1, -2);
    EXPECT_EQ(r.nBayer2, INT32_MIN) << "low 32 bits of 2^31";
    EXPECT_EQ(r.nBayer3, 12);
    MathSetConstant(h, 9015, 70000.0);
    MathSetConstant(h, 9016, -1.0);
    EXPECT_EQ(r.nBayerShort, 4464);
    EXPECT_EQ(r.nBayerWord, 65535);
}

TEST(SetConstant, IgnoresEveryOtherCode) {
    ScopedInstance h;
    qm::Instance& r = h.record();
    MathSetConstant(h, 2, 1.0);
    MathSetConstant(h, 3, 2.0);
    MathSetConstant(h, 9002, 4);
    for (int32_t code : {0, 1, 8, 255, 1999, 2003, 9000, 9001, 9003, 9004, 9005, 9006, 9007, 9017, -2}) {
        EXPECT_EQ(MathSetConstant(h, code, 99.0), qmeSuccess) << code;
        EXPECT_EQ(r.dConstA, 1.0) << code;
        EXPECT_EQ(r.dConstB, 2.0) << code;
        EXPECT_EQ(r.nFrameCount, 4u) << code;
        EXPECT_EQ(r.nColourFlag, 0u) << code;
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
    EXPECT_EQ(r.pOperand2, nullptr);

    for (int32_t type : {7, 2, 8, 3, 6, 15, 11}) {
        QmdDataStruct source = image;
        source.eType = type;
        EXPECT_EQ(MathSetData(h, 9004, &source), qmeSuccess) << type;
        EXPECT_EQ(r.pSourceFrame, &source);
        r.pSourceFrame = &image;
    }
    for (int32_t type : {0, 1, 4, 5, 9, 10, 12, 14, 16, -7}) {
        QmdDataStruct source = image;
        source.eType = type;
        EXPECT_EQ(MathSetData(h, 9004, &source), qmeUnsupportedSourceType) << type;
        EXPECT_EQ(r.pSourceFrame, &image) << "the previous source frame stays";
    }
    EXPECT_EQ(MathSetData(h, 9004, nullptr), qmeMissingImage);
    EXPECT_EQ(r.pSourceFrame, &image);

    for (int32_t code : {2, 9002, 9008, 8999, 9010, -1}) {
        EXPECT_EQ(MathSetData(h, code, &image), qmeSuccess) << code;
        EXPECT_EQ(r.pOperand1, &image);
        EXPECT_EQ(r.pDarkFrame, nullptr);
        EXPECT_EQ(r.pFlatFieldFrame, nullptr);
        EXPECT_EQ(r.pGainFrame, nullptr);
    }
}

}  // namespace

namespace {

using qmtest::Describe;
using qmtest::ScopedInstance;

// The reference frames: module-owned copies of the host's image with its shape and depth 1.
TEST(SetData, BuildsReferenceFramesFromTheHostImage) {
    ScopedInstance h;
    qm::Instance& r = h.record();
    std::vector<uint16_t> pixels = {0, 1, 2, 4, 5, 8, 65535, 10};
    QmdDataStruct image = Describe(pixels, 4, 2, qmeTypeU16);
    image.nDepth = 3;
    const double mean = (0 + 1 + 2 + 4 + 5 + 8 + 65535 + 10) / 8.0;

    const struct {
        int32_t code;
        QmdDataStruct* qm::Instance::*field;
        int32_t type;
        double (*expected)(uint16_t, double);
    } frames[] = {
        {9000, &qm::Instance::pDarkFrame, qmeTypeI32, [](uint16_t x, double) { return double(x); }},
        {9003, &qm::Instance::pGainFrame, qmeTypeF32, [](uint16_t x, double) { return double(x); }},
        {9001, &qm::Instance::pFlatFieldFrame, qmeTypeF32,
         [](uint16_t x, double) { return x == 0 ? 0.0 : double(1.0f / x); }},
        {9005, &qm::Instance::pFlatFieldFrame, qmeTypeF32,
         [](uint16_t x, double m) { return x == 0 ? 0.0 : double(float(double(float(1.0 / x)) * m)); }},
        {9006, &qm::Instance::pFlatFieldFrame, qmeTypeF32,
         [](uint16_t x, double) { return x == 0 ? 0.0 : double(float(double(float(1.0 / x)) * 65535.0)); }},
        {9007, &qm::Instance::pFlatFieldFrame, qmeTypeF32,
         [](uint16_t x, double) { return x == 0 ? 0.0 : double(float(double(float(1.0 / x)) * 65535.0)); }},
    };
    for (const auto& f : frames) {
        ASSERT_EQ(MathSetData(h, f.code, &image), qmeSuccess) << f.code;
        const QmdDataStruct* frame = r.*f.field;
        ASSERT_NE(frame, nullptr);
        EXPECT_NE(frame, &image);
        EXPECT_EQ(frame->eType, f.type);
        EXPECT_EQ(frame->nWidth, 4u);
        EXPECT_EQ(frame->nHeight, 2u);
        EXPECT_EQ(frame->nDepth, 1u);
        for (size_t i = 0; i < pixels.size(); ++i) {
            const double got = f.type == qmeTypeI32 ? static_cast<const int32_t*>(frame->pData)[i]
                                                    : static_cast<const float*>(frame->pData)[i];
            EXPECT_EQ(got, f.expected(pixels[i], mean)) << f.code << " element " << i;
        }
    }
    EXPECT_EQ(pixels[6], 65535) << "the host's image is only read";
}

TEST(SetData, ReferenceFrameStatusIsThatOfItsLastOperation) {
    ScopedInstance h;
    std::vector<uint8_t> colour(12);
    QmdDataStruct unsupported = Describe(colour, 2, 2, qmeTypeRgb24);
    QmdDataStruct empty = Describe(colour, 0, 2, qmeTypeU8);
    for (int32_t code : {9000, 9001, 9003, 9005, 9006, 9007}) {
        // A normalised flat field reports its final in-place multiply, which succeeds on the
        // (unspecified) frame even when the reciprocal before it refused the element type.
        const bool normalised = code >= 9005;
        EXPECT_EQ(MathSetData(h, code, &unsupported), normalised ? qmeSuccess : qmeUnsupportedType) << code;
        EXPECT_NE(h.record().*(code == 9000 ? &qm::Instance::pDarkFrame
                               : code == 9003 ? &qm::Instance::pGainFrame
                                              : &qm::Instance::pFlatFieldFrame),
                  nullptr)
            << "a frame whose operation fails is still installed";
        EXPECT_EQ(MathSetData(h, code, &empty), qmeMissingImage) << code;
        EXPECT_EQ(MathSetData(h, code, nullptr), qmeMissingImage) << code;
    }
}

}  // namespace
