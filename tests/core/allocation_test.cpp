// SPDX-License-Identifier: MIT
// When an allocation fails (a reference frame's record or buffer, the transposition's temporary)
// the call answers 8000, the instance and the host's buffers are as they were, nothing leaks, and
// the next call with memory available works.
#include "core/allocation.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/instances.h"

namespace {

using qmtest::Describe;

// Refuses the n-th allocation from now (and, with `all`, every one after it).
struct FailingAllocator {
    static inline int countdown = 0;
    static inline bool all = false;
    static bool Gate(size_t) noexcept {
        if (countdown <= 0) return !all;
        return --countdown != 0;
    }
    FailingAllocator(int nth, bool andAfter) {
        countdown = nth;
        all = andAfter;
        qm::SetAllocationGate(Gate);
    }
    ~FailingAllocator() { qm::SetAllocationGate(nullptr); }
};

std::vector<uint8_t> Bytes(const QmdDataStruct* image) {
    const auto* p = static_cast<const uint8_t*>(image->pData);
    return {p, p + size_t{image->nWidth} * image->nHeight * 4};
}

// Each reference code, its frame, failing at the record (1st allocation) or the buffer (2nd).
TEST(FailingAllocator, ReferenceRebuildKeepsTheOldFrame) {
    const struct {
        int32_t code;
        QmdDataStruct* qm::Instance::*field;
    } codes[] = {
        {qmeDataDarkFrame, &qm::Instance::pDarkFrame},         {qmeDataGainFrame, &qm::Instance::pGainFrame},
        {qmeDataFlatField, &qm::Instance::pFlatFieldFrame},    {qmeDataFlatFieldMean, &qm::Instance::pFlatFieldFrame},
        {qmeDataFlatFieldMax, &qm::Instance::pFlatFieldFrame},
    };
    std::vector<uint16_t> first = {1, 2, 3, 4, 5, 6}, second(12, 9);
    QmdDataStruct a = Describe(first, 3, 2, qmeTypeU16), b = Describe(second, 4, 3, qmeTypeU16);
    for (const auto& c : codes)
        for (int nth : {1, 2}) {
            qmtest::ScopedInstance h;
            ASSERT_EQ(MathSetData(h, c.code, &a), qmeSuccess);
            const QmdDataStruct* old = h.record().*c.field;
            const QmdDataStruct shape = *old;
            const std::vector<uint8_t> contents = Bytes(old);
            const size_t live = qm::LiveAllocations();
            {
                FailingAllocator fail(nth, false);
                EXPECT_EQ(MathSetData(h, c.code, &b), qmeMissingImage) << c.code << " allocation " << nth;
            }
            EXPECT_EQ(qm::LiveAllocations(), live) << c.code << " allocation " << nth;
            ASSERT_EQ(h.record().*c.field, old);
            EXPECT_EQ(std::memcmp(&shape, old, sizeof shape), 0);
            EXPECT_EQ(Bytes(old), contents) << c.code;
            // With memory back the same call rebuilds the frame in the new shape.
            ASSERT_EQ(MathSetData(h, c.code, &b), qmeSuccess);
            EXPECT_EQ((h.record().*c.field)->nWidth, 4u);
        }
}

// A dark frame that could not be replaced still serves the frames that follow.
TEST(FailingAllocator, InstanceStaysUsableAndDeleteReleasesEverything) {
    const size_t live = qm::LiveAllocations();
    {
        qmtest::ScopedInstance h;
        std::vector<uint16_t> dark = {1, 2, 3, 4}, other(4, 100), src = {11, 12, 13, 14};
        std::vector<int32_t> out(4, -1);
        QmdDataStruct d = Describe(dark, 2, 2, qmeTypeU16), o = Describe(other, 2, 2, qmeTypeU16),
                      s = Describe(src, 2, 2, qmeTypeU16), image = Describe(out, 2, 2, qmeTypeI32);
        ASSERT_EQ(MathSetData(h, qmeDataDarkFrame, &d) | MathSetData(h, qmeDataSourceFrame, &s) |
                      MathSetProcess(h, qmeOnlineDarkSubtract, 1),
                  qmeSuccess);
        {
            FailingAllocator fail(1, true);
            EXPECT_EQ(MathSetData(h, qmeDataDarkFrame, &o), qmeMissingImage);
            EXPECT_EQ(MathProcessData(h, &image), qmeSuccess);  // an online frame allocates nothing
        }
        EXPECT_EQ(out, (std::vector<int32_t>{10, 10, 10, 10}));
        ASSERT_EQ(MathSetData(h, qmeDataGainFrame, &o), qmeSuccess);
        EXPECT_GT(qm::LiveAllocations(), live);
    }
    EXPECT_EQ(qm::LiveAllocations(), live);
}

// Frames that need the temporary: non-square ones of 16 and 32-bit elements, and 8-bit colour
// frames. Both the output and the source are left as they were.
TEST(FailingAllocator, TransposeWithoutItsTemporaryLeavesTheFrame) {
    const struct {
        int32_t type;
        uint32_t w, h, elementBytes;
    } frames[] = {
        {qmeTypeU16, 3, 2, 2},
        {qmeTypeI32, 2, 5, 4},
        {qmeTypeU8, 4, 2, 1},
        {qmeTypeRgb24Alt, 3, 3, 3},
    };
    for (const auto& f : frames) {
        qmtest::ScopedInstance h;
        std::vector<uint8_t> src(size_t{f.w} * f.h * f.elementBytes);
        for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<uint8_t>(i * 37 + 1);
        std::vector<float> out(size_t{f.w} * f.h, -2.0f);
        QmdDataStruct s = Describe(src, f.w, f.h, f.type), image = Describe(out, f.w, f.h, qmeTypeF32);
        ASSERT_EQ(MathSetData(h, qmeDataSourceFrame, &s) | MathSetProcess(h, qmeOnlineTranspose, 1), qmeSuccess);
        const std::vector<uint8_t> srcBefore = src;
        const std::vector<float> outBefore = out;
        const size_t live = qm::LiveAllocations();
        {
            FailingAllocator fail(1, true);
            EXPECT_EQ(MathProcessData(h, &image), qmeMissingImage) << f.type;
        }
        EXPECT_EQ(qm::LiveAllocations(), live);
        EXPECT_EQ(src, srcBefore) << f.type;
        EXPECT_EQ(out, outBefore) << f.type;
        EXPECT_EQ(MathProcessData(h, &image), qmeSuccess) << f.type;
        EXPECT_NE(src, srcBefore) << f.type;
    }
}

}  // namespace
