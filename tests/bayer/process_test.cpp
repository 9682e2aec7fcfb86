// Processes 2000 and 2001 through the exported entry, as a host drives them.
#include <gtest/gtest.h>

#include <vector>

#include "support/instances.h"

namespace {

constexpr uint8_t kGuard = 0xA5;

struct BayerConstants {
    double gains[3];
    double offsets[3];
    double phase;
};

void SetBayerConstants(QmHandle h, const BayerConstants& c) {
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(MathSetConstant(h, qmeConstBayerGainRed + i, c.gains[i]), qmeSuccess);
        ASSERT_EQ(MathSetConstant(h, qmeConstBayerOffsetRed + i, c.offsets[i]), qmeSuccess);
    }
    ASSERT_EQ(MathSetConstant(h, qmeConstBayerReserved, 12.0), qmeSuccess);
    ASSERT_EQ(MathSetConstant(h, qmeConstBayerPhase, c.phase), qmeSuccess);
}

std::vector<uint8_t> Process(QmHandle h, int32_t process, double constA, QmdDataStruct* operand, uint32_t w,
                             uint32_t height, QmeErrorCode expected = qmeSuccess) {
    std::vector<uint8_t> out(3 * static_cast<size_t>(w) * height, kGuard);
    QmdDataStruct image = qmtest::Describe(out, w, height, qmeTypeRgb24);
    EXPECT_EQ(MathSetProcess(h, process, 1), qmeSuccess);
    EXPECT_EQ(MathSetConstant(h, process, constA), qmeSuccess);
    EXPECT_EQ(MathSetData(h, qmeDataOperand1, operand), qmeSuccess);
    EXPECT_EQ(MathProcessData(h, &image), expected);
    return out;
}

std::vector<uint16_t> Mosaic(size_t n) {
    std::vector<uint16_t> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = static_cast<uint16_t>((i * 7919) % 1021);
    return v;
}

TEST(BayerProcess, SimpleTakesConstantATruncatedAsShift) {
    qmtest::ScopedInstance instance;
    std::vector<uint16_t> mosaic = Mosaic(8 * 6);
    QmdDataStruct src = qmtest::Describe(mosaic, 8, 6, qmeTypeU16);
    const std::vector<uint8_t> got = Process(instance, qmeProcessBayerSimple, 2.9, &src, 4, 3);
    std::vector<uint8_t> direct(got.size(), kGuard);
    QmdDataStruct dst = qmtest::Describe(direct, 4, 3, qmeTypeRgb24);
    ASSERT_EQ(MathBayerSimple(&dst, &src, 2), qmeSuccess);
    EXPECT_EQ(got, direct);
    Process(instance, qmeProcessBayerSimple, 0.0, nullptr, 4, 3, qmeMissingImage);
}

TEST(BayerProcess, InterpolatePicksTheMemberByOperandType) {
    qmtest::ScopedInstance instance;
    const BayerConstants constants{{1.5, 0.75, 2.0}, {3.0, -2.9, 40.0}, 3.0};
    SetBayerConstants(instance, constants);
    std::vector<uint16_t> mosaic = Mosaic(7 * 5);
    std::vector<uint8_t> bytes(mosaic.size());
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(mosaic[i]);
    std::vector<int32_t> words(mosaic.begin(), mosaic.end());
    struct Case {
        QmdDataStruct src;
        decltype(&MathBayerInterpolateU8) member;
    };
    const Case cases[] = {
        {qmtest::Describe(mosaic, 7, 5, qmeTypeU16), MathBayerInterpolateU16},
        {qmtest::Describe(mosaic, 7, 5, qmeTypeI16), MathBayerInterpolateI16},
        {qmtest::Describe(bytes, 7, 5, qmeTypeU8), MathBayerInterpolateU8},
        {qmtest::Describe(words, 7, 5, qmeTypeI32), MathBayerInterpolateI32},
        {qmtest::Describe(words, 7, 5, qmeTypeU32), MathBayerInterpolateU32},
    };
    for (Case c : cases) {
        for (double constA : {0.0, 65538.7}) {  // shift 0, and 2 after the cut to 16 bits
            const std::vector<uint8_t> got = Process(instance, qmeProcessBayerInterpolate, constA, &c.src, 7, 5);
            std::vector<uint8_t> direct(got.size(), kGuard);
            QmdDataStruct dst = qmtest::Describe(direct, 7, 5, qmeTypeRgb24);
            ASSERT_EQ(c.member(&dst, &c.src, constA == 0.0 ? 0 : 2, 1.5, 0.75, 2.0, 3, -2, 40, 0, 3), qmeSuccess);
            EXPECT_EQ(got, direct) << "type " << c.src.eType << " A " << constA;
            EXPECT_NE(got, std::vector<uint8_t>(got.size(), kGuard));
        }
    }
}

TEST(BayerProcess, InterpolateWithoutMemberOrOperand) {
    qmtest::ScopedInstance instance;
    std::vector<float> floats(16, 3.0f);
    QmdDataStruct src = qmtest::Describe(floats, 4, 4, qmeTypeF32);
    EXPECT_EQ(Process(instance, qmeProcessBayerInterpolate, 0.0, &src, 4, 4), std::vector<uint8_t>(48, kGuard));
    EXPECT_EQ(Process(instance, qmeProcessBayerInterpolate, 0.0, nullptr, 4, 4, qmeMissingImage),
              std::vector<uint8_t>(48, kGuard));
    std::vector<uint16_t> mosaic = Mosaic(16);
    QmdDataStruct big = qmtest::Describe(mosaic, 4, 4, qmeTypeU16);
    EXPECT_EQ(Process(instance, qmeProcessBayerInterpolate, 0.0, &big, 4, 2, qmeCountMismatch),
              std::vector<uint8_t>(24, kGuard));
}

// The Bayer constants stay in a slot across MathDelete and reach the next instance created there.
TEST(BayerProcess, ConstantsCarryOverInAReusedSlot) {
    qmtest::FreeAllSlots();
    std::vector<uint16_t> mosaic = Mosaic(6 * 4);
    QmdDataStruct src = qmtest::Describe(mosaic, 6, 4, qmeTypeU16);
    QmHandle first = 0, second = 0;
    ASSERT_EQ(MathCreate(0, 0x100, &first), qmeSuccess);
    SetBayerConstants(first, {{0.5, 2.0, 1.25}, {1.0, 2.0, 3.0}, 4.0});
    const std::vector<uint8_t> before = Process(first, qmeProcessBayerInterpolate, 1.0, &src, 6, 4);
    ASSERT_EQ(MathDelete(first), qmeSuccess);
    ASSERT_EQ(MathCreate(0, 0x200, &second), qmeSuccess);
    ASSERT_EQ(second & 0xFF, first & 0xFF);
    EXPECT_EQ(Process(second, qmeProcessBayerInterpolate, 1.0, &src, 6, 4), before);
    MathDelete(second);
}

}  // namespace
