// Image-to-image arithmetic: the order of the checks, the worked examples of the element rules,
// the routing of U32 operands, and the processes through the exported functions.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "arith/arith_dispatch.h"
#include "arith/arith_pairs.h"
#include "core/element_types.h"
#include "support/instances.h"

namespace {

using qm::Status;
using qmtest::Describe;

constexpr int kAdd = 1, kSub = 2, kDiv = 3, kMul = 4;

// ---- Checks, in order: the first failing one decides, and the destination stays untouched. ----

struct CheckCase {
    const char* what;
    bool nullDst, nullDstData, nullOp1, nullOp1Data, nullOp2, nullOp2Data;
    uint32_t dstW, dstH, w1, h1, w2, h2;
    int32_t dstType, type1, type2, op;
    Status want;
};

TEST(ArithChecks, FirstFailingCheckDecidesAndNothingIsWritten) {
    const CheckCase cases[] = {
        {"null destination beats differing counts", true, false, false, false, false, false, 3, 3, 2, 2, 1, 1, 7, 7, 7, kAdd, Status::MissingImage},
        {"null destination data", false, true, false, false, false, false, 4, 1, 4, 1, 4, 1, 7, 7, 7, kAdd, Status::MissingImage},
        {"null operand 1 beats bad types", false, false, true, false, false, false, 4, 1, 4, 1, 4, 1, 0, 0, 0, kAdd, Status::MissingImage},
        {"null operand 1 data", false, false, false, true, false, false, 4, 1, 4, 1, 4, 1, 7, 7, 7, kAdd, Status::MissingImage},
        {"null operand 2", false, false, false, false, true, false, 4, 1, 4, 1, 4, 1, 7, 7, 7, kAdd, Status::MissingImage},
        {"null operand 2 data", false, false, false, false, false, true, 4, 1, 4, 1, 4, 1, 7, 7, 7, kAdd, Status::MissingImage},
        {"empty operand 1 beats differing counts", false, false, false, false, false, false, 4, 1, 0, 5, 4, 1, 7, 7, 7, kAdd, Status::MissingImage},
        {"empty destination", false, false, false, false, false, false, 4, 0, 4, 1, 4, 1, 7, 7, 7, kAdd, Status::MissingImage},
        {"count wraps to 0 (65536 x 65536)", false, false, false, false, false, false, 4, 1, 4, 1, 65536, 65536, 7, 7, 7, kAdd, Status::MissingImage},
        {"count wraps negative (65536 x 32768)", false, false, false, false, false, false, 4, 1, 65536, 32768, 4, 1, 7, 7, 7, kAdd, Status::MissingImage},
        {"operand counts differ, before types", false, false, false, false, false, false, 4, 1, 4, 1, 3, 1, 7, 0, 9, kAdd, Status::CountMismatch},
        {"destination count differs", false, false, false, false, false, false, 5, 1, 4, 1, 4, 1, 7, 7, 7, kAdd, Status::CountMismatch},
        {"operand 1 type 0", false, false, false, false, false, false, 4, 1, 4, 1, 4, 1, 7, 0, 7, kAdd, Status::UnsupportedType},
        {"operand 1 type 11", false, false, false, false, false, false, 4, 1, 4, 1, 4, 1, 7, 11, 7, kAdd, Status::UnsupportedType},
        {"operand 2 type 0", false, false, false, false, false, false, 4, 1, 4, 1, 4, 1, 7, 7, 0, kAdd, Status::UnsupportedType},
        {"operand 2 type 9", false, false, false, false, false, false, 4, 1, 4, 1, 4, 1, 7, 7, 9, kAdd, Status::UnsupportedType},
        {"destination type 9", false, false, false, false, false, false, 4, 1, 4, 1, 4, 1, 9, 7, 7, kDiv, Status::UnsupportedType},
        {"destination type 0 before the operation", false, false, false, false, false, false, 4, 1, 4, 1, 4, 1, 0, 7, 7, 0, Status::UnsupportedType},
        {"operation 0 writes nothing", false, false, false, false, false, false, 4, 1, 4, 1, 4, 1, 7, 7, 7, 0, Status::Ok},
        {"operation 5 writes nothing", false, false, false, false, false, false, 4, 1, 4, 1, 4, 1, 7, 7, 7, 5, Status::Ok},
    };
    for (const CheckCase& c : cases) {
        // Buffers large enough for any descriptor above that gets past the checks.
        std::vector<uint8_t> a(64, 1), b(64, 2), out(64, 0xEE);
        QmdDataStruct dst{c.nullDstData ? nullptr : out.data(), c.dstW, c.dstH, c.dstType, 1, {}};
        QmdDataStruct d1{c.nullOp1Data ? nullptr : a.data(), c.w1, c.h1, c.type1, 1, {}};
        QmdDataStruct d2{c.nullOp2Data ? nullptr : b.data(), c.w2, c.h2, c.type2, 1, {}};
        EXPECT_EQ(qm::ArithDispatch(c.op, c.nullDst ? nullptr : &dst, c.nullOp1 ? nullptr : &d1,
                                    c.nullOp2 ? nullptr : &d2),
                  c.want)
            << c.what;
        EXPECT_EQ(out, std::vector<uint8_t>(64, 0xEE)) << c.what;
    }
}

TEST(ArithChecks, OnlyCountsAreComparedNotShapes) {
    std::vector<uint16_t> a(100, 7), b(100, 5), out(100, 0);
    QmdDataStruct dst = Describe(out, 10, 10, qm::kU16), d1 = Describe(a, 20, 5, qm::kU16), d2 = Describe(b, 1, 100, qm::kU16);
    EXPECT_EQ(qm::ArithDispatch(kSub, &dst, &d1, &d2), Status::Ok);
    EXPECT_EQ(out, std::vector<uint16_t>(100, 2));
}

// ---- U32 operands take the I32 routines on both sides. ----

TEST(ArithRouting, U32OperandsShareTheI32Routines) {
    for (int32_t other = qm::kI8; other <= qm::kU32; ++other) {
        const int32_t same = other == qm::kU32 ? qm::kI32 : other;
        EXPECT_EQ(qm::ArithRoutineFor(qm::kU32, other), qm::ArithRoutineFor(qm::kI32, same)) << other;
        EXPECT_EQ(qm::ArithRoutineFor(other, qm::kU32), qm::ArithRoutineFor(same, qm::kI32)) << other;
    }
    EXPECT_EQ(qm::ArithRoutineFor(qm::kU32, qm::kU32), qm::ArithI32I32);
    EXPECT_EQ(qm::ArithRoutineFor(qm::kF32, qm::kU8), qm::ArithF32U8);
    EXPECT_EQ(qm::ArithRoutineFor(qm::kU16, qm::kI16), qm::ArithU16I16);
}

// ---- Worked examples of the element rules: one element, any types. ----

struct Example {
    const char* what;
    int32_t op, type1;
    double v1;
    int32_t type2;
    double v2;
    int32_t dstType;
    double want;  // the stored element, read as a number of the destination type
    Status status;
};

// Calls f with a value of the C++ element type of a numeric type code.
template <class F> auto WithElementType(int32_t type, F f) {
    switch (type) {
        case qm::kI8: return f(int8_t{});
        case qm::kI16: return f(int16_t{});
        case qm::kI32: return f(int32_t{});
        case qm::kF32: return f(float{});
        case qm::kF64: return f(double{});
        case qm::kU8: return f(uint8_t{});
        case qm::kU16: return f(uint16_t{});
        default: return f(uint32_t{});
    }
}

// Element 0 of an 8-byte buffer; negative numbers given for unsigned types wrap.
void PutElement(unsigned char* buf, int32_t type, double v) {
    WithElementType(type, [&](auto t) {
        if constexpr (std::is_floating_point_v<decltype(t)>) t = static_cast<decltype(t)>(v);
        else t = static_cast<decltype(t)>(static_cast<int64_t>(v));
        std::memcpy(buf, &t, sizeof t);
    });
}

double GetElement(const unsigned char* buf, int32_t type) {
    return WithElementType(type, [&](auto t) {
        std::memcpy(&t, buf, sizeof t);
        return static_cast<double>(t);
    });
}

TEST(ArithRules, WorkedExamples) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const Example examples[] = {
        {"I16 wraps at 16 bits", kAdd, qm::kI16, 30000, qm::kI16, 30000, qm::kI16, -5536, Status::Ok},
        {"I32 sum is exact", kAdd, qm::kI16, 30000, qm::kI16, 30000, qm::kI32, 60000, Status::Ok},
        {"U8 wraps", kAdd, qm::kU8, 200, qm::kU8, 100, qm::kU8, 44, Status::Ok},
        {"signs do not matter for low bits", kMul, qm::kI16, -1, qm::kI16, -1, qm::kU8, 1, Status::Ok},
        {"division truncates toward zero", kDiv, qm::kI16, -5, qm::kI16, 2, qm::kI16, -2, Status::Ok},
        {"floats truncated one by one", kAdd, qm::kF32, 2.7, qm::kF32, 2.7, qm::kI16, 4, Status::Ok},
        {"double sum rounded to F32", kAdd, qm::kF32, 2.7, qm::kF32, 2.7, qm::kF32, static_cast<float>(double(2.7f) + double(2.7f)), Status::Ok},
        {"float operand truncated", kMul, qm::kF32, -2.9, qm::kI16, 3, qm::kI32, -6, Status::Ok},
        {"NaN divisor", kDiv, qm::kI16, 5, qm::kF32, nan, qm::kF32, 0, Status::ElementNotComputed},
        {"U32 read as I32", kAdd, qm::kU32, -1, qm::kU32, 1, qm::kF64, 0, Status::Ok},
        {"-128 / -1 into I8", kDiv, qm::kI8, -128, qm::kI8, -1, qm::kI8, -128, Status::Ok},
        {"-128 / -1 into I16", kDiv, qm::kI8, -128, qm::kI8, -1, qm::kI16, 128, Status::Ok},
        {"U32 division of the pattern", kDiv, qm::kI16, -6, qm::kI16, 2, qm::kU32, 2147483645, Status::Ok},
        {"U8 division of the low bytes", kDiv, qm::kI16, 300, qm::kI16, 7, qm::kU8, 6, Status::Ok},
        {"U16 wrap of a difference", kSub, qm::kI16, -1, qm::kI16, 1, qm::kU16, 65534, Status::Ok},
        {"I8 division reads U8 200 as -56", kDiv, qm::kU8, 200, qm::kU8, 3, qm::kI8, -18, Status::Ok},
        {"U16 division reads -2 as 65534", kDiv, qm::kI16, -2, qm::kI16, 3, qm::kU16, 21844, Status::Ok},
        {"I8 sum of low bytes", kAdd, qm::kI16, 300, qm::kI16, 0, qm::kI8, 44, Status::Ok},
        {"U32 product wraps", kMul, qm::kF32, -1.5, qm::kI16, 4, qm::kU32, 4294967292.0, Status::Ok},
        {"float beyond 64 bits enters as 0", kAdd, qm::kF64, 1e30, qm::kI16, 9, qm::kI32, 9, Status::Ok},
        {"F32 0.5 truncates to a zero divisor", kDiv, qm::kI32, 7, qm::kF32, 0.5, qm::kI32, 0, Status::ElementNotComputed},
        {"256 reduced to 8 bits is zero (U8)", kDiv, qm::kI16, 9, qm::kI16, 256, qm::kU8, 0, Status::ElementNotComputed},
        {"65536 reduced to 16 bits is zero (I16)", kDiv, qm::kI32, 9, qm::kI32, 65536, qm::kI16, 0, Status::ElementNotComputed},
        {"65536 is not zero in 32 bits", kDiv, qm::kI32, 131072, qm::kI32, 65536, qm::kI32, 2, Status::Ok},
        {"INT32_MIN / -1 into I32", kDiv, qm::kI32, INT32_MIN, qm::kI32, -1, qm::kI32, INT32_MIN, Status::Ok},
        {"INT32_MIN / -1 into U32", kDiv, qm::kI32, INT32_MIN, qm::kI32, -1, qm::kU32, 0, Status::Ok},
        {"-32768 / -1 into I16", kDiv, qm::kI16, -32768, qm::kI16, -1, qm::kI16, -32768, Status::Ok},
        {"infinite F64 quotient is stored", kDiv, qm::kF64, 1e300, qm::kF64, 1e-300, qm::kF64, std::numeric_limits<double>::infinity(), Status::Ok},
    };
    for (const Example& e : examples) {
        unsigned char a[8], b[8], out[8];
        PutElement(a, e.type1, e.v1);
        PutElement(b, e.type2, e.v2);
        PutElement(out, e.dstType, 123);
        QmdDataStruct d1{a, 1, 1, e.type1, 1, {}}, d2{b, 1, 1, e.type2, 1, {}}, dst{out, 1, 1, e.dstType, 1, {}};
        EXPECT_EQ(qm::ArithDispatch(e.op, &dst, &d1, &d2), e.status) << e.what;
        EXPECT_EQ(GetElement(out, e.dstType), e.want) << e.what;
    }
}

// ---- Through the exported functions, as a host drives processes 1 to 4. ----

class ArithExports : public ::testing::Test {
protected:
    void SetUp() override { qmtest::FreeAllSlots(); }
    void TearDown() override { qmtest::FreeAllSlots(); }
};

TEST_F(ArithExports, TheFourProcessesCombineTheAttachedOperands) {
    qmtest::ScopedInstance h;
    ASSERT_EQ(h.status(), qmeSuccess);
    std::vector<uint16_t> a = {100, 7, 65535, 9}, b = {3, 2, 1, 0};
    QmdDataStruct d1 = Describe(a, 2, 2, qm::kU16), d2 = Describe(b, 4, 1, qm::kU16);
    ASSERT_EQ(MathSetData(h, 0, &d1), qmeSuccess);
    ASSERT_EQ(MathSetData(h, 1, &d2), qmeSuccess);
    const struct {
        int32_t process;
        std::vector<float> want;
        QmeErrorCode status;
    } cases[] = {
        {1, {103, 9, 65536, 9}, qmeSuccess},
        {2, {97, 5, 65534, 9}, qmeSuccess},
        {3, {100.0f / 3.0f, 3.5f, 65535, 0}, qmeElementNotComputed},
        {4, {300, 14, 65535, 0}, qmeSuccess},
    };
    for (const auto& c : cases) {
        std::vector<float> out(4, -1.0f);
        QmdDataStruct dst = Describe(out, 4, 1, qm::kF32);
        ASSERT_EQ(MathSetProcess(h, c.process, 1), qmeSuccess);
        EXPECT_EQ(MathProcessData(h, &dst), c.status) << c.process;
        EXPECT_EQ(out, c.want) << c.process;
    }
}

TEST_F(ArithExports, MissingOperandIsReportedAndNothingIsWritten) {
    qmtest::ScopedInstance h;
    std::vector<int32_t> a = {1, 2, 3}, out(3, 42);
    QmdDataStruct d1 = Describe(a, 3, 1, qm::kI32), dst = Describe(out, 3, 1, qm::kI32);
    ASSERT_EQ(MathSetProcess(h, 4, 1), qmeSuccess);
    ASSERT_EQ(MathSetData(h, 0, &d1), qmeSuccess);
    EXPECT_EQ(MathProcessData(h, &dst), qmeMissingImage);
    ASSERT_EQ(MathSetData(h, 1, &d1), qmeSuccess);
    ASSERT_EQ(MathSetData(h, 0, nullptr), qmeSuccess);
    EXPECT_EQ(MathProcessData(h, &dst), qmeMissingImage);
    EXPECT_EQ(out, (std::vector<int32_t>{42, 42, 42}));
    ASSERT_EQ(MathSetData(h, 0, &d1), qmeSuccess);
    EXPECT_EQ(MathProcessData(h, &dst), qmeSuccess);
    EXPECT_EQ(out, (std::vector<int32_t>{1, 4, 9}));
}

}  // namespace
