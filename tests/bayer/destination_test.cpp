// SPDX-License-Identifier: MIT
// Every Bayer entry writes 3 bytes a pixel whatever the destination's element type: a destination
// whose descriptor holds fewer bytes (nWidth x nHeight x its element size) is refused with 8004
// before anything is written; one holding exactly enough is written, and not a byte past it.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "core/element_types.h"
#include "support/instances.h"

namespace {

constexpr uint8_t kGuard = 0xA5;

struct Shape {
    uint32_t w, h;
    int32_t type;
    size_t bytes() const { return size_t{w} * h * qm::ElementSize(type); }
};

using Entry = std::function<QmeErrorCode(QmdDataStruct*)>;

// Runs `entry` into a destination of `shape` over a buffer of exactly its bytes and a tail of
// guard bytes; checks the status, and that a refusal wrote nothing and a success wrote only the
// colour bytes.
void Expect(const char* name, const Entry& entry, Shape shape, size_t colourBytes) {
    std::vector<uint8_t> buffer(shape.bytes() + 64, kGuard);
    QmdDataStruct dst{buffer.data(), shape.w, shape.h, shape.type, 1, {}};
    const bool fits = colourBytes <= shape.bytes();
    EXPECT_EQ(entry(&dst), fits ? qmeSuccess : qmeCountMismatch)
        << name << ' ' << shape.w << 'x' << shape.h << " type " << shape.type;
    const size_t written = fits ? colourBytes : 0;
    for (size_t i = written; i < buffer.size(); ++i)
        ASSERT_EQ(buffer[i], kGuard) << name << " type " << shape.type << " byte " << i;
    if (fits && colourBytes > 0) {
        EXPECT_NE(std::vector<uint8_t>(buffer.begin(), buffer.begin() + colourBytes),
                  std::vector<uint8_t>(colourBytes, kGuard));
    }
}

TEST(BayerDestination, BinningRefusesDestinationsTooSmallForItsColourBytes) {
    std::vector<uint16_t> mosaic(8 * 6);
    for (size_t i = 0; i < mosaic.size(); ++i) mosaic[i] = static_cast<uint16_t>(40 + i * 3);
    QmdDataStruct src = qmtest::Describe(mosaic, 8, 6, qmeTypeU16);
    qmtest::ScopedInstance instance;
    ASSERT_EQ(MathSetProcess(instance, qmeProcessBayerSimple, 1) | MathSetData(instance, qmeDataOperand1, &src),
              qmeSuccess);
    const std::pair<const char*, Entry> entries[] = {
        {"MathBayerSimple", [&](QmdDataStruct* d) { return MathBayerSimple(d, &src, 0); }},
        {"process 2000", [&](QmdDataStruct* d) { return MathProcessData(instance, d); }},
    };
    // A 4 x 3 destination gets rows 0 and 1: 8 pixels, 24 bytes.
    for (const auto& [name, entry] : entries)
        for (int32_t type : {qmeTypeRgb24, qmeTypeRgb24Alt, qmeTypeU16, qmeTypeI16, qmeTypeF64, qmeTypeU8, qmeTypeI8})
            Expect(name, entry, {4, 3, type}, 24);
    // No columns: nothing to write, however many rows (and no time spent on them).
    for (const auto& [name, entry] : entries) Expect(name, entry, {0, 0xFFFFFFFFu, qmeTypeU8}, 0);
}

TEST(BayerDestination, InterpolationRefusesDestinationsTooSmallForItsColourBytes) {
    std::vector<uint8_t> bytes(16);
    std::vector<uint16_t> halves(16);
    std::vector<uint32_t> words(16);
    for (size_t i = 0; i < 16; ++i)
        bytes[i] = static_cast<uint8_t>(halves[i] = static_cast<uint16_t>(words[i] = 30 + 11 * i));
    QmdDataStruct u8 = qmtest::Describe(bytes, 4, 4, qmeTypeU8), u16 = qmtest::Describe(halves, 4, 4, qmeTypeU16),
                  i16 = qmtest::Describe(halves, 4, 4, qmeTypeI16), u32 = qmtest::Describe(words, 4, 4, qmeTypeU32),
                  i32 = qmtest::Describe(words, 4, 4, qmeTypeI32);
    qmtest::ScopedInstance instance;
    ASSERT_EQ(MathSetProcess(instance, qmeProcessBayerInterpolate, 1) | MathSetData(instance, qmeDataOperand1, &u16) |
                  MathSetConstant(instance, qmeConstBayerGainRed, 1.0) |
                  MathSetConstant(instance, qmeConstBayerGainGreen, 1.0) |
                  MathSetConstant(instance, qmeConstBayerGainBlue, 1.0) |
                  MathSetConstant(instance, qmeConstBayerPhase, 2.0),
              qmeSuccess);
    const auto member = [](auto fn, QmdDataStruct* src) {
        return Entry([=](QmdDataStruct* d) { return fn(d, src, 0, 1.0, 1.0, 1.0, 0, 0, 0, 0, 2); });
    };
    const std::pair<const char*, Entry> entries[] = {
        {"U8", member(MathBayerInterpolateU8, &u8)},
        {"U16", member(MathBayerInterpolateU16, &u16)},
        {"I16", member(MathBayerInterpolateI16, &i16)},
        {"U32", member(MathBayerInterpolateU32, &u32)},
        {"I32", member(MathBayerInterpolateI32, &i32)},
        {"process 2001", [&](QmdDataStruct* d) { return MathProcessData(instance, d); }},
    };
    // A 4 x 4 mosaic gives rows 0 to 2: 12 pixels, 36 bytes. Exactly 36 described bytes are enough,
    // 35 or 34 are not, and a U8 destination of the mosaic's shape (16 bytes) is refused.
    const Shape shapes[] = {{12, 1, qmeTypeRgb24}, {4, 4, qmeTypeRgb24Alt}, {36, 1, qmeTypeU8},
                            {35, 1, qmeTypeU8},    {18, 1, qmeTypeU16},     {17, 1, qmeTypeI16},
                            {9, 1, qmeTypeF32},    {4, 4, qmeTypeU8},       {4, 4, qmeTypeU16}};
    for (const auto& [name, entry] : entries)
        for (const Shape& shape : shapes) Expect(name, entry, shape, 36);
}

}  // namespace
