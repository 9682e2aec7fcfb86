// SPDX-License-Identifier: MIT
// The instance table, through the exported functions.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "interface/instance_table.h"
#include "qmath/qmath.h"
#include "support/instances.h"

namespace {

class InstanceTable : public ::testing::Test {
protected:
    void SetUp() override { qmtest::FreeAllSlots(); }
    void TearDown() override { qmtest::FreeAllSlots(); }
};

TEST_F(InstanceTable, HandsOutTheLowestFreeSlotUntilFullThenReusesTheLowest) {
    for (uint32_t i = 0; i < 255; ++i) {
        QmHandle h = 0xFFFFFFFF;
        ASSERT_EQ(MathCreate(0, 0, &h), qmeSuccess);
        ASSERT_EQ(h, i);
    }
    QmHandle untouched = 0xABCDEF12;
    EXPECT_EQ(MathCreate(0, 0x500, &untouched), qmeNoFreeInstance);
    EXPECT_EQ(untouched, 0xABCDEF12u) << "a full table writes nothing";
    MathDelete(200);
    MathDelete(7);
    for (QmHandle expected : {7u, 200u}) {
        QmHandle h = 0;
        EXPECT_EQ(MathCreate(0, 0, &h), qmeSuccess);
        EXPECT_EQ(h, expected) << "lowest free slot, never the spare 255";
    }
    EXPECT_EQ(MathCreate(0, 0, nullptr), qmeMissingImage) << "no handle to give: no slot taken";
    // A free slot and the spare record (low byte 255) are harmless to address.
    EXPECT_EQ(MathDelete(42) | MathSetProcess(0xFF, 501, 1) | MathReset(0x12FF) | MathDelete(0xFF), qmeSuccess);
    // The load notification frees every slot.
    qm::ClearInUseFlags();
    QmHandle h = 9;
    ASSERT_EQ(MathCreate(0, 0, &h), qmeSuccess);
    EXPECT_EQ(h, 0u);
}

TEST_F(InstanceTable, TheTagIsOredInAndOnlyTheLowByteAddressesTheSlot) {
    QmHandle h = 0;
    for (int i = 0; i < 3; ++i) MathCreate(0, 0, &h);
    ASSERT_EQ(MathCreate(0, 0x1200, &h), qmeSuccess);
    EXPECT_EQ(h, 0x1203u);
    MathSetProcess(h, 503, 1);
    EXPECT_EQ(qm::InstanceFor(3).nProcess, 503);
    EXPECT_EQ(qm::InstanceFor(3).nTag, 0x1200u);
    ASSERT_EQ(MathCreate(0, 0x0101, &h), qmeSuccess);
    EXPECT_EQ(h, 0x0105u) << "a tag with a low byte addresses another slot; not checked";
}

TEST_F(InstanceTable, CreateFillsTheRecordDeleteClearsItAndResetTouchesOnlyTheCounter) {
    QmHandle h = 0;
    ASSERT_EQ(MathCreate(0, 0x300, &h), qmeSuccess);
    const qm::Instance& r = qm::InstanceFor(h);
    EXPECT_EQ(r.nFrameCount, 1u);
    EXPECT_EQ(r.bInUse.load(), 1);
    QmdDataStruct operand{};
    MathSetProcess(h, 9005, 1);
    MathSetConstant(h, 2, 4.5);
    MathSetConstant(h, 3, -1.5);
    MathSetConstant(h, 9002, 5);
    MathSetConstant(h, 9008, 1);
    MathSetData(h, 0, &operand);
    MathSetData(h, 1, &operand);
    for (int i = 0; i < 3; ++i) MathProcessData(h, &operand);
    ASSERT_EQ(r.nFrameCounter, 3u);
    EXPECT_EQ(MathReset(h), qmeSuccess);
    EXPECT_EQ(r.nFrameCounter, 0u);
    EXPECT_EQ(r.nFrameCount, 5u);
    EXPECT_EQ(r.nOptions, 0x20u);
    EXPECT_EQ(r.dConstA, 4.5);

    EXPECT_EQ(MathDelete(h), qmeSuccess);
    EXPECT_TRUE(r.nTag == 0 && r.nProcess == 0 && r.nOptions == 0 && r.dConstA == 0.0 && r.dConstB == 0.0);
    EXPECT_TRUE(!r.pOperand1 && !r.pOperand2 && r.nFrameCount == 1 && r.nFrameCounter == 0 && !r.bInUse.load());
    EXPECT_EQ(r.nColourFlag, 1u) << "the colour flag is not cleared by MathDelete";
}

TEST_F(InstanceTable, DeleteReleasesReferenceFramesAndClearsTheirPointers) {
    // Under the sanitizers: a reused slot neither leaks nor releases twice what it held.
    std::vector<uint16_t> pixels(64, 100);
    QmdDataStruct flat = qmtest::Describe(pixels, 8, 8, qmeTypeU16);
    for (int round = 0; round < 3; ++round) {
        QmHandle h = 0;
        ASSERT_EQ(MathCreate(0, 0, &h), qmeSuccess);
        for (int32_t code : {9000, 9001, 9001, 9003}) MathSetData(h, code, &flat);
        const qm::Instance& r = qm::InstanceFor(h);
        ASSERT_TRUE(r.pDarkFrame && r.pFlatFieldFrame && r.pGainFrame);
        MathDelete(h);
        EXPECT_TRUE(!r.pDarkFrame && !r.pFlatFieldFrame && !r.pGainFrame);
    }
}

TEST_F(InstanceTable, ConcurrentCreateAndDeleteNeverShareASlot) {
    std::atomic<int> owner[256];
    for (auto& o : owner) o.store(-1);
    std::atomic<int> clashes{0}, created{0};
    auto worker = [&](int id) {
        for (int i = 0; i < 20000; ++i) {
            QmHandle h = 0;
            if (MathCreate(0, 0, &h) != qmeSuccess) continue;
            int expected = -1;
            if (!owner[h & 0xFF].compare_exchange_strong(expected, id)) clashes.fetch_add(1);
            created.fetch_add(1);
            owner[h & 0xFF].store(-1);
            MathDelete(h);
        }
    };
    std::vector<std::thread> threads;
    for (int id = 0; id < 4; ++id) threads.emplace_back(worker, id);
    for (auto& t : threads) t.join();
    EXPECT_EQ(clashes.load(), 0);
    EXPECT_EQ(created.load(), 80000);
}

}  // namespace
