// Orientation steps on small frames, odd and even, square and not, for every element layout.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "online/online.h"

namespace {

constexpr uint32_t kFlip = qm::kOnlineFlipVertical, kMirror = qm::kOnlineMirrorHorizontal,
                   kTranspose = qm::kOnlineTranspose;

struct OrientCase {
    const char* what;
    int type;  // source type: 7 and 3 move elements, 6 and 15 bytes
    uint32_t w, h, options;
    std::vector<uint32_t> in;        // elements (bytes for 6 and 15)
    std::vector<uint32_t> expected;  // the source buffer afterwards
};

int Bytes(int type) { return type == 7 ? 2 : type == 3 ? 4 : 1; }

// Runs one frame that only orients: the kernel is the converting copy into an F64 output.
std::vector<uint32_t> Orient(const OrientCase& c, QmdDataStruct& desc, std::vector<unsigned char>& buffer) {
    const int size = Bytes(c.type);
    buffer.assign(c.in.size() * size, 0);
    for (size_t i = 0; i < c.in.size(); ++i) std::memcpy(&buffer[i * size], &c.in[i], size);
    desc = QmdDataStruct{buffer.data(), c.w, c.h, c.type, 1, {}};
    std::vector<double> out(size_t{c.w} * c.h);
    QmdDataStruct outDesc{out.data(), c.w, c.h, 5, 1, {}};
    qm::OnlineFrame frame;
    frame.options = c.options;
    frame.source = &desc;
    frame.output = &outDesc;
    frame.frameNumber = 1;
    qm::Status s;
    if (c.type == 6 || c.type == 15) {
        frame.colourFlag = c.type == 15;
        s = qm::OnlinePipeline8(frame);
    } else if (c.type == 3) {
        s = qm::OnlinePipeline32(frame);
    } else {
        s = qm::OnlinePipeline16(frame);
    }
    EXPECT_EQ(s, qm::Status::Ok) << c.what;
    std::vector<uint32_t> result(c.in.size(), 0);
    for (size_t i = 0; i < c.in.size(); ++i) std::memcpy(&result[i], &buffer[i * size], size);
    // The kernel reads the oriented frame (a type 3 source converts signed).
    for (size_t i = 0; c.type == 7 && i < out.size(); ++i) EXPECT_EQ(out[i], static_cast<double>(result[i])) << c.what;
    for (size_t i = 0; c.type == 3 && i < out.size(); ++i)
        EXPECT_EQ(out[i], static_cast<double>(static_cast<int32_t>(result[i]))) << c.what;
    return result;
}

TEST(Orientation, StepsRewriteTheSourceInPlaceAndKeepItsShape) {
    const std::vector<uint32_t> six = {1, 2, 3, 4, 5, 6}, nine = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    const std::vector<uint32_t> twelve = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const OrientCase cases[] = {
        {"16-bit rotate 3x3 (odd rows: the middle row reverses)", 7, 3, 3, kFlip | kMirror, nine, {9, 8, 7, 6, 5, 4, 3, 2, 1}},
        {"16-bit rotate 3x2", 7, 3, 2, kFlip | kMirror, six, {6, 5, 4, 3, 2, 1}},
        {"16-bit flip 2x3", 7, 2, 3, kFlip, six, {5, 6, 3, 4, 1, 2}},
        {"16-bit flip 3x2", 7, 3, 2, kFlip, six, {4, 5, 6, 1, 2, 3}},
        {"16-bit mirror 3x2", 7, 3, 2, kMirror, six, {3, 2, 1, 6, 5, 4}},
        {"16-bit transpose 3x2", 7, 3, 2, kTranspose, six, {1, 4, 2, 5, 3, 6}},
        {"16-bit transpose 2x3", 7, 2, 3, kTranspose, six, {1, 3, 5, 2, 4, 6}},
        {"16-bit transpose 3x3", 7, 3, 3, kTranspose, nine, {1, 4, 7, 2, 5, 8, 3, 6, 9}},
        {"16-bit flip then transpose 3x3", 7, 3, 3, kFlip | kTranspose, nine, {7, 4, 1, 8, 5, 2, 9, 6, 3}},
        {"16-bit mirror then transpose 2x2", 7, 2, 2, kMirror | kTranspose, {1, 2, 3, 4}, {2, 4, 1, 3}},
        {"32-bit rotate 4x3", 3, 4, 3, kFlip | kMirror, twelve, {12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1}},
        {"32-bit transpose 4x3", 3, 4, 3, kTranspose, twelve, {1, 5, 9, 2, 6, 10, 3, 7, 11, 4, 8, 12}},
        {"32-bit mirror 3x3", 3, 3, 3, kMirror, {1, 0xFFFFFFFF, 3, 4, 5, 6, 7, 8, 0x80000000}, {3, 0xFFFFFFFF, 1, 6, 5, 4, 0x80000000, 8, 7}},
        {"8-bit transpose 3x3", 6, 3, 3, kTranspose, nine, {1, 4, 7, 2, 5, 8, 3, 6, 9}},
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
    for (const OrientCase& c : cases) {
        QmdDataStruct desc;
        std::vector<unsigned char> buffer;
        EXPECT_EQ(Orient(c, desc, buffer), c.expected) << c.what;
        EXPECT_EQ(desc.nWidth, c.w) << c.what;
        EXPECT_EQ(desc.nHeight, c.h) << c.what;
    }
}

// Every call orients again: the host refills the buffer between frames.
TEST(Orientation, AFrameProcessedTwiceIsFlippedTwice) {
    std::vector<uint16_t> src = {1, 2, 3, 4, 5, 6};
    std::vector<uint16_t> out(6);
    QmdDataStruct s{src.data(), 3, 2, 7, 1, {}}, o{out.data(), 3, 2, 7, 1, {}};
    qm::OnlineFrame frame;
    frame.options = kFlip;
    frame.source = &s;
    frame.output = &o;
    frame.frameNumber = 1;
    ASSERT_EQ(qm::OnlinePipeline16(frame), qm::Status::Ok);
    EXPECT_EQ(out, (std::vector<uint16_t>{4, 5, 6, 1, 2, 3}));
    ASSERT_EQ(qm::OnlinePipeline16(frame), qm::Status::Ok);
    EXPECT_EQ(out, (std::vector<uint16_t>{1, 2, 3, 4, 5, 6}));
}

// Frames larger than the tiles the transposition moves, square (transposed in place) and not
// (through the temporary), with partial tiles at the edges; byte frames square only.
TEST(Orientation, TranspositionOfFramesSpanningSeveralTiles) {
    const uint32_t shapes[][2] = {{150, 150}, {150, 67}, {67, 150}, {1, 200}, {200, 1}, {64, 64}};
    for (int type : {7, 3, 6}) {
        for (const auto& shape : shapes) {
            const uint32_t w = shape[0], h = shape[1];
            if (type == 6 && w != h) continue;  // byte frames that are not square map otherwise
            OrientCase c{"transpose", type, w, h, kTranspose, {}, {}};
            const uint32_t mask = type == 6 ? 0xFF : type == 7 ? 0xFFFF : 0xFFFFFFFF;
            for (uint32_t i = 0; i < w * h; ++i) c.in.push_back((i * 2654435761u + 12345u) & mask);
            c.expected.resize(c.in.size());
            for (uint32_t r = 0; r < h; ++r)
                for (uint32_t col = 0; col < w; ++col) c.expected[size_t{col} * h + r] = c.in[size_t{r} * w + col];
            QmdDataStruct desc;
            std::vector<unsigned char> buffer;
            EXPECT_EQ(Orient(c, desc, buffer), c.expected) << "type " << type << " " << w << " x " << h;
        }
    }
}

}  // namespace
