// The instance table and module identity, through the exported functions.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "interface/instance_table.h"
#include "qmath/qmath.h"
#include "support/instances.h"

namespace {

using qmtest::FreeAllSlots;

class InstanceTable : public ::testing::Test {
protected:
    void SetUp() override { FreeAllSlots(); }
    void TearDown() override { FreeAllSlots(); }
};

TEST(Identity, ReportsOneDeviceItsNameIdentifiersAndVersion) {
    uint32_t count = 7;
    EXPECT_EQ(GetDeviceCount(&count), qmeSuccess);
    EXPECT_EQ(count, 1u);

    char name[40];
    std::memset(name, '#', sizeof name);
    uint32_t id1 = 0, id2 = 0;
    EXPECT_EQ(GetDeviceID(name, &id1, &id2, 0xDEADBEEF), qmeSuccess);
    EXPECT_STREQ(name, "General and Online Math");
    EXPECT_EQ(name[24], '#') << "the name takes exactly 24 bytes";
    EXPECT_EQ(id1, 50331648u);
    EXPECT_EQ(id2, 6u);

    uint32_t v[4] = {9, 9, 9, 9};
    EXPECT_EQ(MathVerOfDLL(123, &v[0], &v[1], &v[2], &v[3]), qmeSuccess);
    EXPECT_EQ(std::vector<uint32_t>(v, v + 4), (std::vector<uint32_t>{3, 0, 10, 0}));
}

TEST(Identity, NullOutputsAreSkipped) {
    EXPECT_EQ(GetDeviceCount(nullptr), qmeSuccess);
    EXPECT_EQ(GetDeviceID(nullptr, nullptr, nullptr, 0), qmeSuccess);
    EXPECT_EQ(MathVerOfDLL(0, nullptr, nullptr, nullptr, nullptr), qmeSuccess);
}

TEST_F(InstanceTable, HandsOutTheLowestFreeSlotUntilFullThenReusesTheLowest) {
    std::vector<QmHandle> handles;
    for (uint32_t i = 0; i < 255; ++i) {
        QmHandle h = 0xFFFFFFFF;
        ASSERT_EQ(MathCreate(0, 0, &h), qmeSuccess) << i;
        EXPECT_EQ(h, i);
        handles.push_back(h);
    }
    QmHandle untouched = 0xABCDEF12;
    EXPECT_EQ(MathCreate(0, 0x500, &untouched), qmeNoFreeInstance);
    EXPECT_EQ(untouched, 0xABCDEF12u) << "a full table writes nothing";

    EXPECT_EQ(MathDelete(7), qmeSuccess);
    EXPECT_EQ(MathDelete(200), qmeSuccess);
    QmHandle reused = 0;
    EXPECT_EQ(MathCreate(0, 0, &reused), qmeSuccess);
    EXPECT_EQ(reused, 7u) << "lowest free slot, never the spare 255";
    EXPECT_EQ(MathCreate(0, 0, &reused), qmeSuccess);
    EXPECT_EQ(reused, 200u);
    EXPECT_EQ(MathCreate(0, 0, &reused), qmeNoFreeInstance);
}

TEST_F(InstanceTable, TagIsOredIntoTheHandleAndOnlyTheLowByteAddressesTheSlot) {
    QmHandle filler[3];
    for (QmHandle& h : filler) ASSERT_EQ(MathCreate(0, 0, &h), qmeSuccess);
    QmHandle handle = 0;
    ASSERT_EQ(MathCreate(0, 0x1200, &handle), qmeSuccess);
    EXPECT_EQ(handle, 0x1203u);
    EXPECT_EQ(qm::InstanceFor(handle).nSlot, 3u);
    EXPECT_EQ(qm::InstanceFor(handle).nTag, 0x1200u);

    EXPECT_EQ(MathSetProcess(handle, 503, 1), qmeSuccess);
    EXPECT_EQ(qm::InstanceFor(3).nProcess, 503) << "every call with the handle addresses slot 3";

    // A tag with a non-zero low byte yields a handle that addresses another slot; not checked.
    QmHandle odd = 0;
    ASSERT_EQ(MathCreate(0, 0x0101, &odd), qmeSuccess);
    EXPECT_EQ(odd, 0x0105u);
}

TEST_F(InstanceTable, CreateFillsTheRecordAndDeleteClearsIt) {
    QmHandle h = 0;
    ASSERT_EQ(MathCreate(0, 0x300, &h), qmeSuccess);
    const qm::Instance& rec = qm::InstanceFor(h);
    EXPECT_EQ(rec.nSlot, 0u);
    EXPECT_EQ(rec.nProcess, 0);
    EXPECT_EQ(rec.nOptions, 0u);
    EXPECT_EQ(rec.nFrameCount, 1u);
    EXPECT_EQ(rec.nFrameCounter, 0u);
    EXPECT_EQ(rec.bInUse.load(), 1);
    EXPECT_EQ(rec.nColourFlag, 0u);

    MathSetProcess(h, 9001, 1);
    MathSetConstant(h, 2, 4.5);
    MathSetConstant(h, 3, -1.5);
    MathSetConstant(h, 9002, 5);
    MathSetConstant(h, 9008, 1);
    QmdDataStruct operand{};
    MathSetData(h, 0, &operand);
    MathSetData(h, 1, &operand);

    EXPECT_EQ(MathDelete(h), qmeSuccess);
    EXPECT_EQ(rec.nSlot, 0u);
    EXPECT_EQ(rec.nTag, 0u);
    EXPECT_EQ(rec.nProcess, 0);
    EXPECT_EQ(rec.nOptions, 0u);
    EXPECT_EQ(rec.dConstA, 0.0);
    EXPECT_EQ(rec.dConstB, 0.0);
    EXPECT_EQ(rec.pOperand1, nullptr);
    EXPECT_EQ(rec.pOperand2, nullptr);
    EXPECT_EQ(rec.pSourceFrame, nullptr);
    EXPECT_EQ(rec.nFrameCount, 1u);
    EXPECT_EQ(rec.nFrameCounter, 0u);
    EXPECT_EQ(rec.bInUse.load(), 0);
    EXPECT_EQ(rec.nColourFlag, 1u) << "the colour flag is not cleared by MathDelete";
}

TEST_F(InstanceTable, DeleteOfAFreeSlotAndOfTheSpareRecordIsHarmless) {
    EXPECT_EQ(MathDelete(42), qmeSuccess);
    EXPECT_EQ(qm::InstanceFor(42).bInUse.load(), 0);
    // Low byte 255 addresses the spare record: usable, never handed out.
    EXPECT_EQ(MathSetProcess(0xFF, 501, 1), qmeSuccess);
    EXPECT_EQ(MathSetConstant(0x12FF, 2, 3.0), qmeSuccess);
    EXPECT_EQ(MathReset(0xFF), qmeSuccess);
    EXPECT_EQ(MathDelete(0xFF), qmeSuccess);
    QmHandle h = 0;
    ASSERT_EQ(MathCreate(0, 0, &h), qmeSuccess);
    EXPECT_EQ(h, 0u);
}

TEST_F(InstanceTable, ResetClearsOnlyTheFrameCounter) {
    QmHandle h = 0;
    ASSERT_EQ(MathCreate(0, 0, &h), qmeSuccess);
    MathSetConstant(h, 9002, 10);
    MathSetProcess(h, 9005, 1);
    MathSetConstant(h, 2, 7.0);
    QmdDataStruct image{};
    for (int i = 0; i < 4; ++i) MathProcessData(h, &image);
    const qm::Instance& rec = qm::InstanceFor(h);
    ASSERT_EQ(rec.nFrameCounter, 4u);
    EXPECT_EQ(MathReset(h), qmeSuccess);
    EXPECT_EQ(rec.nFrameCounter, 0u);
    EXPECT_EQ(rec.nFrameCount, 10u);
    EXPECT_EQ(rec.nProcess, 9000);
    EXPECT_EQ(rec.nOptions, 0x20u);
    EXPECT_EQ(rec.dConstA, 7.0);
}

TEST_F(InstanceTable, BayerConstantsSurviveDeleteIntoTheNextInstanceOfTheSlot) {
    QmHandle h = 0;
    ASSERT_EQ(MathCreate(0, 0, &h), qmeSuccess);
    MathSetConstant(h, 9009, 1.25);
    MathSetConstant(h, 9010, 2.5);
    MathSetConstant(h, 9011, 0.75);
    MathSetConstant(h, 9012, -3.9);
    MathSetConstant(h, 9013, 4.2);
    MathSetConstant(h, 9014, 70000.0);
    MathSetConstant(h, 9015, 70000.0);
    MathSetConstant(h, 9016, 3.0);
    MathDelete(h);
    QmHandle again = 0;
    ASSERT_EQ(MathCreate(0, 0x700, &again), qmeSuccess);
    ASSERT_EQ(again & 0xFF, h & 0xFF);
    const qm::Instance& rec = qm::InstanceFor(again);
    EXPECT_EQ(rec.dBayer1, 1.25);
    EXPECT_EQ(rec.dBayer2, 2.5);
    EXPECT_EQ(rec.dBayer3, 0.75);
    EXPECT_EQ(rec.nBayer1, -3);
    EXPECT_EQ(rec.nBayer2, 4);
    EXPECT_EQ(rec.nBayer3, 70000);
    EXPECT_EQ(rec.nBayerShort, 4464);
    EXPECT_EQ(rec.nBayerWord, 3);
}

TEST_F(InstanceTable, CreateWithoutAHandleTakesNoSlot) {
    EXPECT_EQ(MathCreate(0, 0, nullptr), qmeMissingImage);
    QmHandle h = 9;
    ASSERT_EQ(MathCreate(0, 0, &h), qmeSuccess);
    EXPECT_EQ(h, 0u);
}

TEST_F(InstanceTable, LoadNotificationClearsEveryInUseFlag) {
    QmHandle h = 0;
    for (int i = 0; i < 5; ++i) ASSERT_EQ(MathCreate(0, 0, &h), qmeSuccess);
    qm::ClearInUseFlags();
    ASSERT_EQ(MathCreate(0, 0, &h), qmeSuccess);
    EXPECT_EQ(h, 0u);
}

TEST_F(InstanceTable, DeleteReleasesReferenceFramesAndClearsTheirPointers) {
    // Exercised under the sanitizers: a slot reused after MathDelete must neither leak nor
    // release twice what its previous occupant held.
    std::vector<uint16_t> pixels(64, 100);
    QmdDataStruct flat{pixels.data(), 8, 8, qmeTypeU16, 1, {}};
    for (int round = 0; round < 3; ++round) {
        QmHandle h = 0;
        ASSERT_EQ(MathCreate(0, 0, &h), qmeSuccess);
        ASSERT_EQ(h, 0u);
        MathSetData(h, 9000, &flat);
        MathSetData(h, 9001, &flat);
        MathSetData(h, 9001, &flat);  // replaced: the first frame is released
        MathSetData(h, 9003, &flat);
        const qm::Instance& rec = qm::InstanceFor(h);
        EXPECT_NE(rec.pDarkFrame, nullptr);
        EXPECT_NE(rec.pFlatFieldFrame, nullptr);
        EXPECT_NE(rec.pGainFrame, nullptr);
        MathDelete(h);
        EXPECT_EQ(rec.pDarkFrame, nullptr);
        EXPECT_EQ(rec.pFlatFieldFrame, nullptr);
        EXPECT_EQ(rec.pGainFrame, nullptr);
    }
}

TEST_F(InstanceTable, ConcurrentCreateAndDeleteNeverShareASlot) {
    // Each thread repeatedly takes a slot, marks it as its own and checks nobody else marked it
    // before giving it back.
    std::atomic<int> owner[256];
    for (auto& o : owner) o.store(-1);
    std::atomic<int> clashes{0};
    std::atomic<int> created{0};
    auto worker = [&](int id) {
        for (int i = 0; i < 20000; ++i) {
            QmHandle h = 0;
            if (MathCreate(0, 0, &h) != qmeSuccess) continue;
            const int slot = static_cast<int>(h & 0xFF);
            int expected = -1;
            if (!owner[slot].compare_exchange_strong(expected, id)) clashes.fetch_add(1);
            created.fetch_add(1);
            owner[slot].store(-1);
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
