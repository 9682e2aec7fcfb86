// The dispatcher's checks, the one-element and failing operations, in-place use, the statistics,
// and the exact rounding of unevaluated sums.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "core/exact_arith.h"
#include "scalar/scalar_dispatch.h"

namespace {

using qm::Status;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <class T> QmdDataStruct Image(std::vector<T>& v, int32_t type, uint32_t w = 0, uint32_t h = 1) {
    return QmdDataStruct{v.data(), w ? w : static_cast<uint32_t>(v.size()), h, type, 1, {}};
}

TEST(ScalarDispatch, ChecksInOrderAndWritesNothingOnFailure) {
    std::vector<uint16_t> six(6, 1), four(4, 1), out(6, 7);
    QmdDataStruct src = Image(six, qmeTypeU16), dst = Image(out, qmeTypeU16);
    QmdDataStruct noData = dst, small = Image(four, qmeTypeU16), empty = src, badSrc = src, badDst = dst;
    noData.pData = nullptr;
    empty.nHeight = 0;
    badSrc.eType = 9;
    badDst.eType = qmeTypeRgb24;
    const QmdDataStruct transposed{six.data(), 1, 6, qmeTypeU16, 1, {}};
    struct Case {
        const QmdDataStruct* dst;
        const QmdDataStruct* src;
        int32_t op;
        Status want;
    } cases[] = {
        {nullptr, &src, 509, Status::MissingImage},   {&noData, &badSrc, 509, Status::MissingImage},
        {&dst, nullptr, 509, Status::MissingImage},   {&dst, &noData, 509, Status::MissingImage},
        {&dst, &empty, 509, Status::MissingImage},    {&dst, &small, 509, Status::CountMismatch},
        {&dst, &badSrc, 509, Status::UnsupportedType}, {&badDst, &src, 509, Status::UnsupportedType},
        {&badDst, &src, 42, Status::UnsupportedType}, {&dst, &src, 42, Status::Ok},
        {&dst, &src, 510, Status::Ok},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(qm::ScalarDispatch(c.op, c.dst, c.src, 1, 2), c.want) << c.op;
        EXPECT_EQ(out, std::vector<uint16_t>(6, 7));
    }
    EXPECT_EQ(qm::ScalarDispatch(509, &dst, &transposed, 0, 0), Status::Ok);  // counts, not shapes
}

// One call each: source type and elements, operation, constants, destination type and the
// elements it must hold afterwards (destination filled with 7 before), and the status.
struct OpCase {
    int32_t srcType;
    std::vector<double> src;
    int32_t op;
    double a, b;
    int32_t dstType;
    std::vector<double> want;
    Status status;
};

template <class T> std::vector<double> RunCase(const OpCase& c) {
    std::vector<unsigned char> srcBytes(c.src.size() * 8), dstBytes(c.src.size() * sizeof(T));
    for (size_t i = 0; i < c.src.size(); ++i) {
        const double v = c.src[i];
        switch (c.srcType) {
            case qmeTypeU16: reinterpret_cast<uint16_t*>(srcBytes.data())[i] = static_cast<uint16_t>(v); break;
            case qmeTypeI16: reinterpret_cast<int16_t*>(srcBytes.data())[i] = static_cast<int16_t>(v); break;
            case qmeTypeI8: reinterpret_cast<int8_t*>(srcBytes.data())[i] = static_cast<int8_t>(v); break;
            case qmeTypeU8: reinterpret_cast<uint8_t*>(srcBytes.data())[i] = static_cast<uint8_t>(v); break;
            case qmeTypeU32: reinterpret_cast<uint32_t*>(srcBytes.data())[i] = static_cast<uint32_t>(v); break;
            case qmeTypeI32: reinterpret_cast<int32_t*>(srcBytes.data())[i] = static_cast<int32_t>(v); break;
            case qmeTypeF32: reinterpret_cast<float*>(srcBytes.data())[i] = static_cast<float>(v); break;
            default: reinterpret_cast<double*>(srcBytes.data())[i] = v; break;
        }
    }
    T* d = reinterpret_cast<T*>(dstBytes.data());
    for (size_t i = 0; i < c.src.size(); ++i) d[i] = T(7);
    const auto n = static_cast<uint32_t>(c.src.size());
    QmdDataStruct s{srcBytes.data(), n, 1, c.srcType, 1, {}}, dst{dstBytes.data(), n, 1, c.dstType, 1, {}};
    EXPECT_EQ(qm::ScalarDispatch(c.op, &dst, &s, c.a, c.b), c.status) << "op " << c.op;
    return std::vector<double>(d, d + n);
}

TEST(ScalarDispatch, OperationsStoreByTheRule) {
    const double big = 4294967295.0;
    const OpCase cases[] = {
        {qmeTypeU16, {10, 20, 30}, 500, 10, 30, qmeTypeU8, {0, 1, 0}, Status::Ok},
        {qmeTypeU16, {0, 5}, 256, 1, 3, qmeTypeI16, {1, 3}, Status::Ok},
        {qmeTypeU16, {0, 5}, 256, 3, 1, qmeTypeI16, {3, 1}, Status::Ok},
        {qmeTypeF32, {kNaN}, 256, 3, 5, qmeTypeF32, {3}, Status::Ok},
        {qmeTypeU16, {65535}, 501, 1, 0, qmeTypeU16, {0}, Status::Ok},
        {qmeTypeU16, {65535}, 501, 1, 0, qmeTypeU32, {65536}, Status::Ok},
        {qmeTypeI32, {3}, 501, -1e-17, 0, qmeTypeI32, {2}, Status::Ok},
        {qmeTypeI32, {3}, 501, -1e-17, 0, qmeTypeF64, {3}, Status::Ok},
        {qmeTypeU16, {3, 30}, 504, 0.1, 0, qmeTypeU16, {29, 299}, Status::Ok},
        {qmeTypeI16, {-7}, 504, 2, 0, qmeTypeI16, {-3}, Status::Ok},
        {qmeTypeI16, {-7, 5}, 504, -0.0, 0, qmeTypeF32, {0, 0}, Status::Ok},
        {qmeTypeU16, {100, 0, 1000}, 505, 0, 0, qmeTypeF32, {2, 0, 3}, Status::ElementNotComputed},
        {qmeTypeI8, {0, 100}, 505, 0, 0, qmeTypeU8, {0, 2}, Status::ElementNotComputed},
        {qmeTypeF64, {1e22, 1e15, 999}, 505, 0, 0, qmeTypeI32, {22, 15, 2}, Status::Ok},
        {qmeTypeF64, {1e22, 1e15, 1e6}, 505, 0, 0, qmeTypeF64, {22, 15, 6}, Status::Ok},
        {qmeTypeU16, {4, 9, 16}, 507, 0, 0, qmeTypeU16, {4, 7, 7}, Status::Ok},
        {qmeTypeU16, {4, 9, 0}, 507, 0, 0, qmeTypeU16, {0, 7, 7}, Status::ElementNotComputed},
        {qmeTypeU16, {0, 9, 1}, 506, 0, 0, qmeTypeF64, {0, 7, 7}, Status::Ok},
        {qmeTypeF64, {-1, kNaN}, 506, 0, 0, qmeTypeF64, {0, 7}, Status::ElementNotComputed},
        {qmeTypeF32, {0, 4}, 508, 0, 0, qmeTypeF32, {0, 0.25}, Status::Ok},
        {qmeTypeU8, {2, 1, 0}, 508, 0, 0, qmeTypeU8, {0, 1, 0}, Status::Ok},
        {qmeTypeU32, {big}, 509, 0, 0, qmeTypeF64, {-1}, Status::Ok},
        {qmeTypeU32, {big}, 509, 0, 0, qmeTypeU32, {big}, Status::Ok},
        {qmeTypeF64, {1e300}, 509, 0, 0, qmeTypeI32, {0}, Status::Ok},
        {qmeTypeI16, {-1}, 509, 0, 0, qmeTypeU8, {255}, Status::Ok},
        {qmeTypeI16, {-1}, 509, 0, 0, qmeTypeU32, {big}, Status::Ok},
        {qmeTypeU16, {65535, 0x1234}, 509, 0, 0, qmeTypeU32, {65535, 0x1234}, Status::Ok},
        {qmeTypeU16, {40000, 0x1234}, 509, 0, 0, qmeTypeI16, {-25536, 0x1234}, Status::Ok},
        {qmeTypeF32, {-1.5, -0.5, 2.9}, 509, 0, 0, qmeTypeU16, {65535, 0, 2}, Status::Ok},
        {qmeTypeF64, {300, -2.9, 40000}, 509, 0, 0, qmeTypeI16, {300, -2, -25536}, Status::Ok},
        {qmeTypeF64, {300, -1}, 509, 0, 0, qmeTypeU8, {44, 255}, Status::Ok},
        {qmeTypeI32, {16777217}, 509, 0, 0, qmeTypeF32, {16777216}, Status::Ok},
    };
    for (const OpCase& c : cases) {
        std::vector<double> got;
        switch (c.dstType) {
            case qmeTypeU8: got = RunCase<uint8_t>(c); break;
            case qmeTypeI16: got = RunCase<int16_t>(c); break;
            case qmeTypeU16: got = RunCase<uint16_t>(c); break;
            case qmeTypeI32: got = RunCase<int32_t>(c); break;
            case qmeTypeU32: got = RunCase<uint32_t>(c); break;
            case qmeTypeF32: got = RunCase<float>(c); break;
            default: got = RunCase<double>(c); break;
        }
        EXPECT_EQ(got, c.want) << "op " << c.op << " from type " << c.srcType << " into type " << c.dstType;
    }
}

TEST(ScalarDispatch, InPlaceUseReadsEachElementBeforeWritingIt) {
    std::vector<float> field = {1, -2.5f, 0, 3e38f, 0.1f};
    std::vector<float> want;
    for (float v : field) want.push_back(static_cast<float>(static_cast<double>(v) * 2));
    QmdDataStruct d = Image(field, qmeTypeF32);
    EXPECT_EQ(qm::ScalarDispatch(503, &d, &d, 2, 0), Status::Ok);
    EXPECT_EQ(field, want);
    std::vector<uint16_t> u(1000);
    for (size_t i = 0; i < u.size(); ++i) u[i] = static_cast<uint16_t>(i);
    QmdDataStruct du = Image(u, qmeTypeU16);
    EXPECT_EQ(qm::ScalarDispatch(502, &du, &du, 1, 0), Status::Ok);
    for (size_t i = 0; i < u.size(); ++i) ASSERT_EQ(u[i], static_cast<uint16_t>(i - 1));
}

TEST(ScalarStatistics, MaximumAndMean) {
    std::vector<float> floats = {5, static_cast<float>(kNaN), 1};
    std::vector<uint32_t> words = {0xFFFFFFFFu, 1};
    std::vector<int16_t> none;
    std::vector<uint8_t> colour(3, 9);
    const QmdDataStruct f = Image(floats, qmeTypeF32), w = Image(words, qmeTypeU32);
    const QmdDataStruct emptyI16{nullptr, 0, 1, qmeTypeI16, 1, {}}, emptyF32{nullptr, 0, 1, qmeTypeF32, 1, {}};
    const QmdDataStruct emptyU8{nullptr, 0, 1, qmeTypeU8, 1, {}}, rgb = Image(colour, qmeTypeRgb24, 1);
    struct Case {
        qm::Status (*statistic)(const QmdDataStruct*, double*);
        const QmdDataStruct* image;
        double want;
        Status status;
    } cases[] = {
        {qm::ImageMaximum, &f, 1, Status::Ok},
        {qm::ImageMaximum, &w, 4294967295.0, Status::Ok},
        {qm::ImageMaximum, &emptyI16, -32768, Status::Ok},
        {qm::ImageMaximum, &emptyF32, -3.4028234663852886e38, Status::Ok},
        {qm::ImageMaximum, &rgb, -1, Status::StatisticUnavailable},
        {qm::ImageMean, &w, 2147483648.0, Status::Ok},
        {qm::ImageMean, &emptyU8, kNaN, Status::Ok},
        {qm::ImageMean, &rgb, 0, Status::StatisticUnavailable},
        {qm::ImageMean, nullptr, -1, Status::MissingImage},
    };
    for (const Case& c : cases) {
        double result = -1;
        EXPECT_EQ(c.statistic(c.image, &result), c.status);
        if (std::isnan(c.want)) EXPECT_TRUE(std::isnan(result));
        else EXPECT_EQ(result, c.want);
    }
    // The running sum is rounded after every addition, in element order.
    std::vector<double> order = {1e16, 1, 1, -1e16};
    const QmdDataStruct o = Image(order, qmeTypeF64);
    double mean = -1;
    EXPECT_EQ(qm::ImageMean(&o, &mean), Status::Ok);
    EXPECT_EQ(mean, 0.0);
}

// Unevaluated sums whose rounding depends on the parts below hi.
TEST(ExactArithmetic, RoundsUnevaluatedSumsOnce) {
    struct Case {
        qm::ExactValue v;
        float f;
        int64_t t;
    } cases[] = {
        {{1 + 0x1p-24, 0x1p-70, 0}, 1 + 0x1p-23f, 1},         // midpoint, just above
        {{1 + 0x1p-24, -0x1p-70, 0}, 1.0f, 1},                // midpoint, just below
        {{1 + 0x1p-24, 0, -1e-300}, 1.0f, 1},                 // only the tail tells
        {{3.0, -0x1p-60, 0}, 3.0f, 2},                        // an integer hi, truncated down
        {{-3.0, 0x1p-60, 0}, -3.0f, -2},
        {{0x1p60, 1.0, -1e-30}, 0x1p60f, int64_t{1} << 60},   // integer lo, tail below zero
        {{0x1p60, -1.0, 1e-30}, 0x1p60f, (int64_t{1} << 60) - 1},
        {{0x1p63, -1.0, 0}, 0x1p63f, INT64_MAX},              // just below 2^63
        {{0x1p63, 0, 0}, 0x1p63f, INT64_MIN},
        {{-0x1p63, 1.0, 0}, -0x1p63f, INT64_MIN + 1},
        {{-0x1p63, -1.0, 0}, -0x1p63f, INT64_MIN},
        {{0x1p64, -1.0, 0}, 0x1p64f, INT64_MIN},
        {{0x1.fffffep127 + 0x1p103, -0x1p-1000, 0}, 0x1.fffffep127f, INT64_MIN},  // below the overflow tie
    };
    for (const Case& c : cases) {
        EXPECT_EQ(qm::RoundToFloat(c.v), c.f) << c.v.hi << " " << c.v.lo;
        EXPECT_EQ(qm::TruncateExact(c.v), c.t) << c.v.hi << " " << c.v.lo;
    }
}

}  // namespace
