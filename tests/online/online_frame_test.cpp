// SPDX-License-Identifier: MIT
// One online frame's order of checks and its statuses, the colour copy, and the orientation steps
// that rewrite the source in place: small odd and even frames, square and not, each element layout,
// and frames spanning several transposition tiles.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "online/online.h"

namespace {

constexpr uint32_t kDark = qm::kOnlineDarkSubtract, kFlat = qm::kOnlineFlatField, kLog = qm::kOnlineLog10,
                   kClip = qm::kOnlineClipRange, kFlip = qm::kOnlineFlipVertical, kThreshold = qm::kOnlineThreshold,
                   kMirror = qm::kOnlineMirrorHorizontal, kTranspose = qm::kOnlineTranspose;

// A 4 x 2 U16 frame with every reference, each a little different from the others.
struct FrameSetup {
    std::vector<uint16_t> src = {1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<int32_t> dark = std::vector<int32_t>(8, 1);
    std::vector<float> flat = std::vector<float>(8, 2.0f), gain = std::vector<float>(8, 10.0f);
    std::vector<uint32_t> out = std::vector<uint32_t>(10, 0xDEADBEEF);  // two guard elements
    QmdDataStruct srcD{src.data(), 4, 2, 7, 1, {}}, darkD{dark.data(), 4, 2, 3, 1, {}},
        flatD{flat.data(), 4, 2, 4, 1, {}}, gainD{gain.data(), 4, 2, 4, 1, {}}, outD{out.data(), 4, 2, 8, 1, {}};
    qm::OnlineFrame frame{0, &srcD, &gainD, &darkD, &flatD, &outD, 0.0, 0.0, 1, 1, 0};
};

// sourceFlipped: the orientation ran before the status was decided; written: output elements
// written (never past width x height, nothing when the frame fails).
TEST(OnlineFrame, ChecksComeFirstAndAFailedFrameWritesNothing) {
    using S = qm::Status;
    const struct {
        const char* what;
        uint32_t options;
        void (*change)(FrameSetup&);
        S expected;
        bool sourceFlipped;
        size_t written;
    } cases[] = {
        {"no output", kFlip, [](FrameSetup& s) { s.frame.output = nullptr; }, S::MissingImage, false, 0},
        {"output without data", kFlip, [](FrameSetup& s) { s.outD.pData = nullptr; }, S::MissingImage, false, 0},
        {"no source", 0, [](FrameSetup& s) { s.frame.source = nullptr; }, S::MissingImage, false, 0},
        {"source without data", kFlip, [](FrameSetup& s) { s.srcD.pData = nullptr; }, S::MissingImage, false, 0},
        {"source with no elements", kFlip, [](FrameSetup& s) { s.srcD.nHeight = 0; }, S::MissingImage, false, 0},
        {"dark used, not attached", kDark | kFlip, [](FrameSetup& s) { s.frame.dark = nullptr; }, S::MissingImage,
         false, 0},
        {"flat used, no data", kFlat | kFlip, [](FrameSetup& s) { s.flatD.pData = nullptr; }, S::MissingImage, false,
         0},
        {"gain used by the logarithm", kLog | kFlip, [](FrameSetup& s) { s.frame.gain = nullptr; }, S::MissingImage,
         false, 0},
        {"unused references may be missing", kFlip,
         [](FrameSetup& s) { s.frame.dark = s.frame.flat = s.frame.gain = nullptr; }, S::Ok, true, 8},
        {"source smaller than output", kFlip, [](FrameSetup& s) { s.srcD.nWidth = 3; }, S::CountMismatch, false, 0},
        {"dark smaller than output", kDark | kFlip, [](FrameSetup& s) { s.darkD.nHeight = 1; }, S::CountMismatch, false,
         0},
        {"flat smaller than output", kFlat | kFlip, [](FrameSetup& s) { s.flatD.nWidth = 1; }, S::CountMismatch, false,
         0},
        {"reference of 2-byte elements", kDark | kFlip, [](FrameSetup& s) { s.darkD.eType = 7; }, S::CountMismatch,
         false, 0},
        {"source type narrower than the pipeline's pixel", kFlip, [](FrameSetup& s) { s.srcD.eType = 1; },
         S::UnsupportedType, false, 0},
        {"source larger than output is fine", kFlip, [](FrameSetup& s) { s.outD.nWidth = 2; }, S::Ok, true, 4},
        // The checks below come after the orientation, as the module's order has them.
        {"logarithm with clip", kLog | kClip | kFlip, [](FrameSetup& s) { s.frame.gain = nullptr; },
         S::ContradictoryOptions, true, 0},
        {"logarithm with threshold", kLog | kThreshold | kFlip, [](FrameSetup&) {}, S::ContradictoryOptions, true, 0},
        {"output type 11", kDark | kFlip, [](FrameSetup& s) { s.outD.eType = 11; }, S::UnsupportedType, true, 0},
        {"output type 9", kFlip, [](FrameSetup& s) { s.outD.eType = 9; }, S::UnsupportedType, true, 0},
        {"empty output, arithmetic kernel", kDark | kFlip, [](FrameSetup& s) { s.outD.nWidth = 0; }, S::MissingImage,
         true, 0},
        {"empty output, converting copy", kFlip, [](FrameSetup& s) { s.outD.nWidth = 0; }, S::Ok, true, 0},
        {"copy into no planes", 0, [](FrameSetup& s) { s.outD.nDepth = 0; }, S::Ok, false, 0},
        {"copy into three planes", 0, [](FrameSetup& s) { s.outD.nDepth = 3; }, S::Ok, false, 8},
    };
    for (const auto& c : cases) {
        FrameSetup s;
        s.frame.options = c.options;
        c.change(s);
        EXPECT_EQ(qm::OnlinePipeline16(s.frame), c.expected) << c.what;
        EXPECT_EQ(s.src, (c.sourceFlipped ? std::vector<uint16_t>{5, 6, 7, 8, 1, 2, 3, 4}
                                          : std::vector<uint16_t>{1, 2, 3, 4, 5, 6, 7, 8}))
            << c.what;
        for (size_t i = 0; i < 10; ++i) EXPECT_EQ(s.out[i] == 0xDEADBEEF, i >= c.written) << c.what << " " << i;
    }
}

TEST(OnlineFrame, ColourCopyIgnoresOptionsAndChecksItsImages) {
    using S = qm::Status;
    const struct {
        const char* what;
        int outType, srcType;
        uint32_t srcWidth;
        S expected;
        bool copied;
    } cases[] = {
        {"equal colour images", 11, 11, 4, S::Ok, true},
        {"source of type 7", 11, 7, 4, S::UnsupportedType, false},
        {"counts differ", 11, 11, 3, S::CountMismatch, false},
    };
    for (const auto& c : cases) {
        std::vector<unsigned char> src(24), out(24, 0xAA);
        for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<unsigned char>(i + 1);
        QmdDataStruct srcD{src.data(), c.srcWidth, 2, c.srcType, 1, {}};
        QmdDataStruct outD{out.data(), 4, 2, c.outType, 1, {}};
        qm::OnlineFrame frame{kDark | kFlip | kLog, &srcD, nullptr, nullptr, nullptr, &outD};
        uint32_t colourFlag = 7;
        EXPECT_EQ(qm::RunOnline(frame, colourFlag), c.expected) << c.what;
        EXPECT_EQ(out, c.copied ? src : std::vector<unsigned char>(24, 0xAA)) << c.what;
        EXPECT_EQ(src[0], 1) << c.what;
    }
}

// type: source type (7 and 3 move elements, 6 and 15 bytes); in and expected: the source buffer
// before and after, as elements (bytes for 6 and 15).
struct OrientCase {
    const char* what;
    int type;
    uint32_t w, h, options;
    std::vector<uint32_t> in, expected;
};

// Runs one frame that only orients, the kernel being the converting copy into an F64 output, and
// returns the source buffer afterwards; its shape must stay as it was.
std::vector<uint32_t> Orient(const OrientCase& c) {
    const int size = c.type == 7 ? 2 : c.type == 3 ? 4 : 1;
    std::vector<unsigned char> buffer(c.in.size() * size);
    for (size_t i = 0; i < c.in.size(); ++i) std::memcpy(&buffer[i * size], &c.in[i], size);
    QmdDataStruct desc{buffer.data(), c.w, c.h, c.type, 1, {}};
    std::vector<double> out(size_t{c.w} * c.h);
    QmdDataStruct outDesc{out.data(), c.w, c.h, 5, 1, {}};
    const qm::OnlineFrame frame{c.options, &desc, nullptr, nullptr, nullptr, &outDesc, 0.0, 0.0, 1, 1, c.type == 15};
    EXPECT_EQ(size == 1   ? qm::OnlinePipeline8(frame)
              : size == 4 ? qm::OnlinePipeline32(frame)
                          : qm::OnlinePipeline16(frame),
              qm::Status::Ok)
        << c.what;
    EXPECT_TRUE(desc.nWidth == c.w && desc.nHeight == c.h) << c.what;
    std::vector<uint32_t> result(c.in.size(), 0);
    for (size_t i = 0; i < c.in.size(); ++i) std::memcpy(&result[i], &buffer[i * size], size);
    // The kernel reads the oriented frame (a type 3 source converts signed).
    for (size_t i = 0; size > 1 && i < out.size(); ++i)
        EXPECT_EQ(out[i], size == 4 ? static_cast<int32_t>(result[i]) : static_cast<double>(result[i])) << c.what;
    return result;
}

TEST(OnlineOrientation, StepsRewriteTheSourceInPlaceAndKeepItsShape) {
    const std::vector<uint32_t> six = {1, 2, 3, 4, 5, 6}, nine = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    const std::vector<uint32_t> twelve = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const OrientCase cases[] = {
        {"16-bit rotate 3x3 (odd rows: the middle row reverses)",
         7,
         3,
         3,
         kFlip | kMirror,
         nine,
         {9, 8, 7, 6, 5, 4, 3, 2, 1}},
        {"16-bit rotate 3x2", 7, 3, 2, kFlip | kMirror, six, {6, 5, 4, 3, 2, 1}},
        {"16-bit flip 2x3", 7, 2, 3, kFlip, six, {5, 6, 3, 4, 1, 2}},
        {"16-bit mirror 3x2", 7, 3, 2, kMirror, six, {3, 2, 1, 6, 5, 4}},
        {"16-bit flip then transpose 3x3", 7, 3, 3, kFlip | kTranspose, nine, {7, 4, 1, 8, 5, 2, 9, 6, 3}},
        {"16-bit mirror then transpose 2x2", 7, 2, 2, kMirror | kTranspose, {1, 2, 3, 4}, {2, 4, 1, 3}},
        {"32-bit rotate 4x3", 3, 4, 3, kFlip | kMirror, twelve, {12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1}},
        {"32-bit mirror 3x3",
         3,
         3,
         3,
         kMirror,
         {1, 0xFFFFFFFF, 3, 4, 5, 6, 7, 8, 0x80000000},
         {3, 0xFFFFFFFF, 1, 6, 5, 4, 0x80000000, 8, 7}},
        // Wider than high: offsets past the first w x h bytes are dropped, bytes no write reaches keep their value.
        {"8-bit transpose 3x2", 6, 3, 2, kTranspose, six, {1, 4, 3, 2, 5, 6}},
        // Higher than wide: later rows overwrite earlier ones.
        {"8-bit transpose 2x3", 6, 2, 3, kTranspose, six, {1, 3, 5, 4, 6, 6}},
        {"8-bit rotate 2x3", 6, 2, 3, kFlip | kMirror, six, {6, 5, 4, 3, 2, 1}},
        // Colour rows are byte rows: mirroring and rotation reverse the bytes inside each pixel too.
        {"colour mirror 2x1", 15, 2, 1, kMirror, six, {6, 5, 4, 3, 2, 1}},
        {"colour mirror 2x2", 15, 2, 2, kMirror, twelve, {6, 5, 4, 3, 2, 1, 12, 11, 10, 9, 8, 7}},
        {"colour rotate 2x2", 15, 2, 2, kFlip | kMirror, twelve, {12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1}},
        {"colour flip 2x2: pixels stay intact", 15, 2, 2, kFlip, twelve, {7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6}},
        // Pixel (r, c) goes to byte r + 6c; only the first 4 bytes come back, pixel (1, 0) overlapping (0, 0).
        {"colour transpose 2x2", 15, 2, 2, kTranspose, twelve, {1, 7, 8, 9, 5, 6, 7, 8, 9, 10, 11, 12}},
    };
    for (const OrientCase& c : cases) EXPECT_EQ(Orient(c), c.expected) << c.what;
}

// Frames larger than the square tiles the transposition moves (128 bytes of cells a side, 64 for
// bytes), square (transposed in place) and not (through the temporary): sides of k tiles and one
// cell, so that the last tile of a row or column holds a single cell; byte frames square only.
TEST(OnlineOrientation, TranspositionOfFramesSpanningSeveralTiles) {
    for (int type : {7, 3, 6}) {
        const uint32_t t = type == 3 ? 32 : 64, side[] = {1, t - 1, t + 1, 2 * t + 1, 3 * t + 1};
        std::vector<std::pair<uint32_t, uint32_t>> shapes = {{150, 67}, {t, t}};
        for (uint32_t w : side)
            for (uint32_t h : side) shapes.push_back({w, h});
        for (const auto& [w, h] : shapes) {
            if (type == 6 && w != h) continue;  // byte frames that are not square map otherwise
            OrientCase c{"transpose", type, w, h, kTranspose, {}, {}};
            const uint32_t mask = type == 6 ? 0xFF : type == 7 ? 0xFFFF : 0xFFFFFFFF;
            for (uint32_t i = 0; i < w * h; ++i) c.in.push_back((i * 2654435761u + 12345u) & mask);
            c.expected.resize(c.in.size());
            for (uint32_t r = 0; r < h; ++r)
                for (uint32_t col = 0; col < w; ++col) c.expected[size_t{col} * h + r] = c.in[size_t{r} * w + col];
            EXPECT_EQ(Orient(c), c.expected) << "type " << type << " " << w << " x " << h;
        }
    }
}

// Rotation and mirror reverse whole vectors from both ends and the rest cell by cell: rows of every
// length up to a few vectors (and just around 64 cells), for every cell size, against the plain
// reversal.
TEST(OnlineOrientation, ReversalsOfEveryLengthAroundTheVectorWidth) {
    std::vector<uint32_t> widths;
    for (uint32_t w = 1; w <= 40; ++w) widths.push_back(w);
    for (uint32_t w : {63u, 64u, 65u}) widths.push_back(w);
    for (int type : {7, 3, 6, 15}) {
        const size_t cellsPerPixel = type == 15 ? 3 : 1;  // colour frames reverse bytes
        const uint32_t mask = type == 6 || type == 15 ? 0xFF : type == 7 ? 0xFFFF : 0xFFFFFFFF;
        for (uint32_t w : widths)
            for (uint32_t h : {1u, 2u, 3u})
                for (uint32_t options : {kFlip | kMirror, kMirror}) {
                    OrientCase c{"reverse", type, w, h, options, {}, {}};
                    const size_t row = cellsPerPixel * w, n = row * h;
                    for (size_t i = 0; i < n; ++i) c.in.push_back((i * 2654435761u + 777u) & mask);
                    c.expected = c.in;
                    if (options == kMirror) {
                        for (size_t r = 0; r < h; ++r)
                            std::reverse(c.expected.begin() + r * row, c.expected.begin() + (r + 1) * row);
                    } else {
                        std::reverse(c.expected.begin(), c.expected.end());
                    }
                    EXPECT_EQ(Orient(c), c.expected)
                        << "type " << type << " " << w << " x " << h << " options " << options;
                }
    }
}

}  // namespace
