// Statuses of an online frame and what a failing frame leaves behind; the colour copy.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "online/online.h"

namespace {

constexpr uint32_t kDark = qm::kOnlineDarkSubtract, kFlat = qm::kOnlineFlatField, kLog = qm::kOnlineLog10,
                   kClip = qm::kOnlineClipRange, kFlip = qm::kOnlineFlipVertical, kThreshold = qm::kOnlineThreshold;

// A 4 x 2 U16 frame with every reference, each a little different from the others.
struct FrameSetup {
    std::vector<uint16_t> src = {1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<int32_t> dark = std::vector<int32_t>(8, 1);
    std::vector<float> flat = std::vector<float>(8, 2.0f), gain = std::vector<float>(8, 10.0f);
    std::vector<uint32_t> out = std::vector<uint32_t>(10, 0xDEADBEEF);  // two guard elements
    QmdDataStruct srcD{src.data(), 4, 2, 7, 1, {}}, darkD{dark.data(), 4, 2, 3, 1, {}},
        flatD{flat.data(), 4, 2, 4, 1, {}}, gainD{gain.data(), 4, 2, 4, 1, {}}, outD{out.data(), 4, 2, 8, 1, {}};
    qm::OnlineFrame frame;
    FrameSetup() {
        frame.source = &srcD;
        frame.dark = &darkD;
        frame.flat = &flatD;
        frame.gain = &gainD;
        frame.output = &outD;
        frame.frameNumber = 1;
    }
};

struct StatusCase {
    const char* what;
    uint32_t options;
    void (*change)(FrameSetup&);
    qm::Status expected;
    bool sourceFlipped;  // the orientation ran before the failure
};

TEST(OnlineFrame, ChecksComeFirstAndAFailedFrameWritesNothing) {
    using S = qm::Status;
    const StatusCase cases[] = {
        {"no output", kFlip, [](FrameSetup& s) { s.frame.output = nullptr; }, S::MissingImage, false},
        {"output without data", kFlip, [](FrameSetup& s) { s.outD.pData = nullptr; }, S::MissingImage, false},
        {"no source", 0, [](FrameSetup& s) { s.frame.source = nullptr; }, S::MissingImage, false},
        {"source without data", kFlip, [](FrameSetup& s) { s.srcD.pData = nullptr; }, S::MissingImage, false},
        {"source with no elements", kFlip, [](FrameSetup& s) { s.srcD.nHeight = 0; }, S::MissingImage, false},
        {"dark used, not attached", kDark | kFlip, [](FrameSetup& s) { s.frame.dark = nullptr; }, S::MissingImage, false},
        {"flat used, no data", kFlat | kFlip, [](FrameSetup& s) { s.flatD.pData = nullptr; }, S::MissingImage, false},
        {"gain used by the logarithm", kLog | kFlip, [](FrameSetup& s) { s.frame.gain = nullptr; }, S::MissingImage, false},
        {"unused references may be missing", kFlip, [](FrameSetup& s) { s.frame.dark = s.frame.flat = s.frame.gain = nullptr; }, S::Ok, true},
        {"source smaller than output", kFlip, [](FrameSetup& s) { s.srcD.nWidth = 3; }, S::CountMismatch, false},
        {"dark smaller than output", kDark | kFlip, [](FrameSetup& s) { s.darkD.nHeight = 1; }, S::CountMismatch, false},
        {"flat smaller than output", kFlat | kFlip, [](FrameSetup& s) { s.flatD.nWidth = 1; }, S::CountMismatch, false},
        {"reference of 2-byte elements", kDark | kFlip, [](FrameSetup& s) { s.darkD.eType = 7; }, S::CountMismatch, false},
        {"source type narrower than the pipeline's pixel", kFlip, [](FrameSetup& s) { s.srcD.eType = 1; }, S::UnsupportedType, false},
        {"source larger than output is fine", kFlip, [](FrameSetup& s) { s.outD.nWidth = 2; }, S::Ok, true},
        // The checks below come after the orientation, as the module's order has them.
        {"logarithm with clip", kLog | kClip | kFlip, [](FrameSetup& s) { s.frame.gain = nullptr; }, S::ContradictoryOptions, true},
        {"logarithm with threshold", kLog | kThreshold | kFlip, [](FrameSetup&) {}, S::ContradictoryOptions, true},
        {"output type 11", kDark | kFlip, [](FrameSetup& s) { s.outD.eType = 11; }, S::UnsupportedType, true},
        {"output type 9", kFlip, [](FrameSetup& s) { s.outD.eType = 9; }, S::UnsupportedType, true},
        {"empty output, arithmetic kernel", kDark | kFlip, [](FrameSetup& s) { s.outD.nWidth = 0; }, S::MissingImage, true},
        {"empty output, converting copy", kFlip, [](FrameSetup& s) { s.outD.nWidth = 0; }, S::Ok, true},
    };
    for (const StatusCase& c : cases) {
        FrameSetup s;
        s.frame.options = c.options;
        c.change(s);
        const std::vector<uint16_t> before = s.src;
        EXPECT_EQ(qm::OnlinePipeline16(s.frame), c.expected) << c.what;
        const std::vector<uint16_t> flipped = {5, 6, 7, 8, 1, 2, 3, 4};
        EXPECT_EQ(s.src, c.sourceFlipped ? flipped : before) << c.what;
        if (c.expected != S::Ok) {
            EXPECT_EQ(s.out, std::vector<uint32_t>(10, 0xDEADBEEF)) << c.what;
        }
        EXPECT_EQ(s.out[8], 0xDEADBEEF) << c.what;
    }
}

// The plain converting copy counts the output's planes but never writes past width x height.
TEST(OnlineFrame, ConvertingCopyCountsDepthWithinTheDescribedElements) {
    const struct {
        uint32_t depth;
        size_t written;
    } cases[] = {{0, 0}, {1, 8}, {3, 8}};
    for (const auto& c : cases) {
        FrameSetup s;
        s.outD.nDepth = c.depth;
        ASSERT_EQ(qm::OnlinePipeline16(s.frame), qm::Status::Ok);
        for (size_t i = 0; i < 10; ++i) EXPECT_EQ(s.out[i], i < c.written ? s.src[i] : 0xDEADBEEF) << c.depth << " " << i;
    }
}

TEST(OnlineFrame, ColourCopyIgnoresOptionsAndChecksItsImages) {
    using S = qm::Status;
    const struct {
        const char* what;
        int outType, srcType;
        uint32_t srcWidth;
        bool dataMissing;
        S expected;
        bool copied;
    } cases[] = {
        {"equal colour images", 11, 11, 4, false, S::Ok, true},
        {"shapes differ, counts agree", 11, 11, 2, false, S::Ok, true},
        {"source of type 7", 11, 7, 4, false, S::UnsupportedType, false},
        {"counts differ", 11, 11, 3, false, S::CountMismatch, false},
        {"missing data", 11, 11, 4, true, S::MissingImage, false},
        {"numeric output: checked, nothing written", 7, 11, 4, false, S::Ok, false},
        {"other output", 9, 11, 4, false, S::UnsupportedType, false},
    };
    for (const auto& c : cases) {
        std::vector<unsigned char> src(24), out(24, 0xAA);
        for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<unsigned char>(i + 1);
        QmdDataStruct srcD{c.dataMissing ? nullptr : src.data(), c.srcWidth, c.srcWidth == 2 ? 4u : 2u, c.srcType, 1, {}};
        QmdDataStruct outD{out.data(), 4, 2, c.outType, 1, {}};
        qm::OnlineFrame frame;
        frame.options = kDark | kFlip | kLog;
        frame.source = &srcD;
        frame.output = &outD;
        EXPECT_EQ(qm::OnlineColourCopy(frame), c.expected) << c.what;
        EXPECT_EQ(out, c.copied ? src : std::vector<unsigned char>(24, 0xAA)) << c.what;
        EXPECT_EQ(src[0], 1) << c.what;
    }
}

}  // namespace
