// SPDX-License-Identifier: MIT
// Processes 2000 and 2001 through the exported entry, as a host drives them.
#include <gtest/gtest.h>

#include <vector>

#include "support/instances.h"

namespace {

constexpr uint8_t kGuard = 0xA5;

// Red, green, blue gains and offsets, then the phase.
void SetBayerConstants(QmHandle h, const std::vector<double>& c) {
    for (int i = 0; i < 6; ++i) ASSERT_EQ(MathSetConstant(h, qmeConstBayerGainRed + i, c[i]), qmeSuccess);
    ASSERT_EQ(MathSetConstant(h, qmeConstBayerReserved, 12.0), qmeSuccess);
    ASSERT_EQ(MathSetConstant(h, qmeConstBayerPhase, c[6]), qmeSuccess);
}

// Runs `process` with constant A and operand 1 over a w x h colour image of guard bytes.
std::vector<uint8_t> Drive(QmHandle h, int32_t process, double constA, QmdDataStruct* operand, uint32_t w,
                           uint32_t height, QmeErrorCode expected = qmeSuccess) {
    std::vector<uint8_t> out(3 * static_cast<size_t>(w) * height, kGuard);
    QmdDataStruct image = qmtest::Describe(out, w, height, qmeTypeRgb24);
    EXPECT_EQ(MathSetProcess(h, process, 1), qmeSuccess);
    EXPECT_EQ(MathSetConstant(h, process, constA) | MathSetData(h, qmeDataOperand1, operand), qmeSuccess);
    EXPECT_EQ(MathProcessData(h, &image), expected);
    return out;
}

std::vector<uint16_t> Mosaic() {  // 8 x 6 samples
    std::vector<uint16_t> v(48);
    for (size_t i = 0; i < v.size(); ++i) v[i] = static_cast<uint16_t>(i * 7919 % 1021);
    return v;
}

// Binning takes constant A truncated as its shift; interpolation picks its member by the operand's
// type, with constant A cut to 16 bits as the shift and the Bayer constants truncated.
TEST(BayerProcess, MatchTheDirectCalls) {
    qmtest::ScopedInstance instance;
    std::vector<uint16_t> mosaic = Mosaic();
    std::vector<uint8_t> bytes(mosaic.begin(), mosaic.end()), expected(3 * 4 * 3, kGuard);
    std::vector<int32_t> words(mosaic.begin(), mosaic.end());
    const auto at = [](auto& v, uint32_t w, uint32_t h, int32_t type) { return qmtest::Describe(v, w, h, type); };
    QmdDataStruct bin = at(mosaic, 8, 6, qmeTypeU16), dst = at(expected, 4, 3, qmeTypeRgb24);
    ASSERT_EQ(MathBayerSimple(&dst, &bin, 2), qmeSuccess);
    EXPECT_EQ(Drive(instance, qmeProcessBayerSimple, 2.9, &bin, 4, 3), expected);
    SetBayerConstants(instance, {1.5, 0.75, 2.0, 3.0, -2.9, 40.0, 3.0});
    const struct {
        QmdDataStruct src;
        decltype(&MathBayerInterpolateU8) member;
    } cases[] = {
        {at(mosaic, 7, 5, qmeTypeU16), MathBayerInterpolateU16}, {at(bytes, 7, 5, qmeTypeU8), MathBayerInterpolateU8},
        {at(mosaic, 7, 5, qmeTypeI16), MathBayerInterpolateI16}, {at(words, 7, 5, qmeTypeI32), MathBayerInterpolateI32},
        {at(words, 7, 5, qmeTypeU32), MathBayerInterpolateU32},
    };
    for (auto c : cases)
        for (double constA : {0.0, 65538.7}) {
            expected.assign(3 * 7 * 5, kGuard);
            dst = at(expected, 7, 5, qmeTypeRgb24);
            ASSERT_EQ(c.member(&dst, &c.src, constA == 0.0 ? 0 : 2, 1.5, 0.75, 2.0, 3, -2, 40, 0, 3), qmeSuccess);
            ASSERT_NE(expected, std::vector<uint8_t>(expected.size(), kGuard));
            EXPECT_EQ(Drive(instance, qmeProcessBayerInterpolate, constA, &c.src, 7, 5), expected) << c.src.eType;
        }
}

// An operand no member takes gives 0 with the image untouched; a missing one, or an image too small
// for the operand, is refused with nothing written.
TEST(BayerProcess, UnusableOperandsWriteNothing) {
    qmtest::ScopedInstance instance;
    std::vector<float> floats(16, 3.0f);
    std::vector<uint16_t> mosaic = Mosaic();
    QmdDataStruct f32 = qmtest::Describe(floats, 4, 4, qmeTypeF32), u16 = qmtest::Describe(mosaic, 4, 4, qmeTypeU16);
    const struct {
        int32_t process;
        QmdDataStruct* operand;
        uint32_t h;
        QmeErrorCode want;
    } cases[] = {
        {qmeProcessBayerInterpolate, &f32, 4, qmeSuccess},
        {qmeProcessBayerInterpolate, nullptr, 4, qmeMissingImage},
        {qmeProcessBayerInterpolate, &u16, 2, qmeCountMismatch},
        {qmeProcessBayerSimple, nullptr, 4, qmeMissingImage},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Drive(instance, c.process, 0, c.operand, 4, c.h, c.want), std::vector<uint8_t>(12 * c.h, kGuard));
}

// The Bayer constants stay in a slot across MathDelete and reach the next instance created there.
TEST(BayerProcess, ConstantsCarryOverInAReusedSlot) {
    qmtest::FreeAllSlots();
    std::vector<uint16_t> mosaic = Mosaic();
    QmdDataStruct src = qmtest::Describe(mosaic, 6, 4, qmeTypeU16);
    QmHandle first = 0, second = 0;
    ASSERT_EQ(MathCreate(0, 0x100, &first), qmeSuccess);
    SetBayerConstants(first, {0.5, 2.0, 1.25, 1.0, 2.0, 3.0, 4.0});
    const std::vector<uint8_t> before = Drive(first, qmeProcessBayerInterpolate, 1.0, &src, 6, 4);
    ASSERT_EQ(MathDelete(first), qmeSuccess);
    ASSERT_EQ(MathCreate(0, 0x200, &second), qmeSuccess);
    ASSERT_EQ(second & 0xFF, first & 0xFF);
    EXPECT_EQ(Drive(second, qmeProcessBayerInterpolate, 1.0, &src, 6, 4), before);
    MathDelete(second);
}

}  // namespace
