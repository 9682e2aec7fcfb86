// SPDX-License-Identifier: MIT
// Distinct instances used from distinct threads at once, and instances created and deleted by
// several threads at once. Built into its own executable so that the thread-sanitizer preset can
// build and run just this; in other builds it checks the results and the slot claims.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "qmath/qmath.h"

namespace {

constexpr int kThreads = 4;

template <class T> QmdDataStruct Describe(std::vector<T>& v, uint32_t w, uint32_t h, int32_t type) {
    return QmdDataStruct{v.data(), w, h, type, 1, {}};
}

template <class T> void Append(std::vector<uint8_t>& digest, const std::vector<T>& v) {
    const auto* p = reinterpret_cast<const uint8_t*>(v.data());
    digest.insert(digest.end(), p, p + v.size() * sizeof(T));
}

// One pass through every family on one instance: identity, scalar operations, image arithmetic,
// reference frames, an online cycle with orientation, and both Bayer reconstructions. Returns
// every output's bytes, which depend only on `seed`.
std::vector<uint8_t> EveryFamily(QmHandle h, uint32_t seed) {
    constexpr uint32_t W = 24, H = 16, N = W * H;
    std::vector<uint8_t> digest;
    std::vector<uint16_t> a(N), b(N), frame(N), mosaic(N);
    for (uint32_t i = 0; i < N; ++i) {
        a[i] = static_cast<uint16_t>(1 + seed * 31 + i * 7);
        b[i] = static_cast<uint16_t>((seed + i) % 97 + 1);
    }
    QmdDataStruct da = Describe(a, W, H, qmeTypeU16), db = Describe(b, W, H, qmeTypeU16);

    uint32_t count = 0, v[4] = {};
    char name[24];
    EXPECT_EQ(GetDeviceCount(&count) | GetDeviceID(name, &v[0], &v[1], 0) | MathVerOfDLL(0, &v[0], &v[1], &v[2], &v[3]),
              qmeSuccess);

    std::vector<double> scalar(N);
    QmdDataStruct ds = Describe(scalar, W, H, qmeTypeF64);
    for (int32_t op : {qmeProcessConvert, qmeProcessMultiplyConstant, qmeProcessLog10, qmeProcessClip}) {
        EXPECT_EQ(MathSetProcess(h, op, 1) | MathSetData(h, qmeDataOperand1, &da), qmeSuccess);
        MathSetConstant(h, qmeConstA, 1.5 + seed);
        MathSetConstant(h, qmeConstB, 300.0);
        EXPECT_EQ(MathProcessData(h, &ds), qmeSuccess);
        Append(digest, scalar);
    }

    std::vector<int32_t> sum(N);
    QmdDataStruct dsum = Describe(sum, W, H, qmeTypeI32);
    for (int32_t op : {qmeProcessAdd, qmeProcessSubtract, qmeProcessDivide, qmeProcessMultiply}) {
        EXPECT_EQ(MathSetProcess(h, op, 1) | MathSetData(h, qmeDataOperand2, &db), qmeSuccess);
        EXPECT_EQ(MathProcessData(h, &dsum), qmeSuccess);
        Append(digest, sum);
    }

    // Online: dark and flat references rebuilt (allocations), accumulated frames, transposition.
    QmdDataStruct dframe = Describe(frame, W, H, qmeTypeU16);
    std::vector<float> out(N);
    QmdDataStruct dout = Describe(out, W, H, qmeTypeF32);
    EXPECT_EQ(MathSetData(h, qmeDataDarkFrame, &db) | MathSetData(h, qmeDataFlatFieldMean, &db) |
                  MathSetData(h, qmeDataSourceFrame, &dframe),
              qmeSuccess);
    for (int32_t option :
         {qmeOnlineDarkSubtract, qmeOnlineFlatField, qmeOnlineAccumulate, qmeOnlineTranspose, qmeOnlineFlipVertical})
        EXPECT_EQ(MathSetProcess(h, option, 1), qmeSuccess);
    MathSetConstant(h, qmeConstFrameCount, 3);
    for (int f = 0; f < 4; ++f) {
        for (uint32_t i = 0; i < N; ++i) frame[i] = static_cast<uint16_t>(a[i] + f * 100);
        EXPECT_EQ(MathProcessData(h, &dout), qmeSuccess);
        Append(digest, out);
        Append(digest, frame);
    }

    // Bayer: binning through process 2000, interpolation through 2001 and a direct member.
    for (uint32_t i = 0; i < N; ++i) mosaic[i] = static_cast<uint16_t>(a[i] % 4096);
    QmdDataStruct dmosaic = Describe(mosaic, W, H, qmeTypeU16);
    std::vector<uint8_t> colour(3 * N);
    QmdDataStruct dcolour = Describe(colour, W, H, qmeTypeRgb24);
    MathSetConstant(h, qmeConstBayerGainRed, 0.5);
    MathSetConstant(h, qmeConstBayerGainGreen, 0.25);
    MathSetConstant(h, qmeConstBayerGainBlue, 0.75);
    MathSetConstant(h, qmeConstBayerPhase, 1 + seed % 4);
    for (int32_t offset : {qmeConstBayerOffsetRed, qmeConstBayerOffsetGreen, qmeConstBayerOffsetBlue})
        MathSetConstant(h, offset, 0.0);  // the slot's previous occupant may have left others
    for (int32_t process : {qmeProcessBayerSimple, qmeProcessBayerInterpolate}) {
        EXPECT_EQ(MathSetProcess(h, process, 1) | MathSetData(h, qmeDataOperand1, &dmosaic), qmeSuccess);
        MathSetConstant(h, qmeConstA, 2.0);
        EXPECT_EQ(MathProcessData(h, &dcolour), qmeSuccess);
        Append(digest, colour);
    }
    EXPECT_EQ(MathBayerInterpolateU16(&dcolour, &dmosaic, 0, 1.0, 0.5, 0.25, 10, 20, 30, 0, 3), qmeSuccess);
    Append(digest, colour);
    QmdDataStruct half = Describe(colour, W / 2, H / 2, qmeTypeRgb24);
    EXPECT_EQ(MathBayerSimple(&half, &dmosaic, 4) | MathReset(h), qmeSuccess);
    Append(digest, colour);
    return digest;
}

// Each thread drives its own instance through every family, round after round, while the others
// do the same; every round must give what the same work gives on one thread.
TEST(Threads, DistinctInstancesRunEveryFamilyAtOnce) {
    std::vector<std::vector<uint8_t>> expected;
    for (uint32_t t = 0; t < kThreads; ++t) {
        QmHandle h = 0;
        ASSERT_EQ(MathCreate(0, 0, &h), qmeSuccess);
        expected.push_back(EveryFamily(h, t));
        MathDelete(h);
    }
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (uint32_t t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            QmHandle h = 0;
            if (MathCreate(0, t << 8, &h) != qmeSuccess) {
                ++mismatches;
                return;
            }
            for (int round = 0; round < 20; ++round)
                if (EveryFamily(h, t) != expected[t]) ++mismatches;
            MathDelete(h);
        });
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(mismatches.load(), 0);
}

// Threads create and delete instances at once (with reference frames built in between, so the
// module allocates and releases concurrently): a slot is never handed to two threads, and the
// table is empty again at the end.
TEST(Threads, CreateAndDeleteConcurrently) {
    std::array<std::atomic<int>, 256> owner;
    for (auto& o : owner) o.store(-1);
    std::atomic<int> shared{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            std::vector<uint16_t> pixels(64, static_cast<uint16_t>(t + 1));
            QmdDataStruct image = Describe(pixels, 8, 8, qmeTypeU16);
            std::vector<QmHandle> mine;
            for (int i = 0; i < 2000; ++i) {
                if (mine.size() < 40 && (i % 3 != 2 || mine.empty())) {
                    QmHandle h = 0;
                    const QmeErrorCode s = MathCreate(0, 0, &h);
                    if (s == qmeNoFreeInstance) continue;
                    if (s != qmeSuccess || owner[h & 0xFF].exchange(t) != -1) ++shared;
                    MathSetData(h, i % 2 ? qmeDataDarkFrame : qmeDataFlatFieldMax, &image);
                    mine.push_back(h);
                } else {
                    const QmHandle h = mine.back();
                    mine.pop_back();
                    if (owner[h & 0xFF].exchange(-1) != t) ++shared;
                    MathDelete(h);
                }
            }
            for (QmHandle h : mine) {
                owner[h & 0xFF].store(-1);
                MathDelete(h);
            }
        });
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(shared.load(), 0);
    // Every slot is free again: 255 creations succeed and the 256th is refused.
    std::vector<QmHandle> all(255);
    for (QmHandle& h : all) ASSERT_EQ(MathCreate(0, 0, &h), qmeSuccess);
    QmHandle extra = 0;
    EXPECT_EQ(MathCreate(0, 0, &extra), qmeNoFreeInstance);
    for (QmHandle h : all) MathDelete(h);
}

}  // namespace
