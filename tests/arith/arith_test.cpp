// SPDX-License-Identifier: MIT
// Image-to-image arithmetic (processes 1 add, 2 subtract, 3 divide, 4 multiply). First every
// operand type pair x destination type x operation against a model written from the element rules
// in plain scalar code, on boundary and random values, out of place and in place over either
// operand, under every instruction set (U32 operands take part as signed, as the model reads them).
// Then the order of the checks and the four processes through the exported functions.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "arith/arith_dispatch.h"
#include "core/element_types.h"
#include "support/elements.h"
#include "support/instances.h"
#include "support/isa.h"

namespace {

using qm::Status;

using qmtest::BitsAt;
using qmtest::Bytes;
using qmtest::Value;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN(), kInf = std::numeric_limits<double>::infinity();

bool IsFloat(int32_t t) { return t == qm::kF32 || t == qm::kF64; }

// The integer a value takes part with: truncated toward zero (NaN and values beyond 64 bits give
// -2^63), then its low 32 bits, signed.
int64_t Whole(double x) {
    const int64_t t = std::isnan(x) || std::fabs(x) >= 0x1p63 ? INT64_MIN : static_cast<int64_t>(x);
    return static_cast<int32_t>(static_cast<uint32_t>(t));
}

// The bits destination type td receives for operation op on x and y; `zero` is set on a divisor
// that is zero, NaN, or vanishes when reduced to the destination's width.
uint64_t Model(int32_t op, int32_t td, double x, double y, bool& zero) {
    const bool zeroDivisor = op == 3 && (y == 0 || std::isnan(y));
    zero |= zeroDivisor;
    if (IsFloat(td)) {
        const double r = op == 1 ? x + y : op == 2 ? x - y : op == 4 ? x * y : zeroDivisor ? 0 : x / y;
        return td == qm::kF32 ? std::bit_cast<uint32_t>(static_cast<float>(r)) : std::bit_cast<uint64_t>(r);
    }
    const int bits = 8 * static_cast<int>(qm::ElementSize(td));
    const uint64_t mask = (uint64_t{1} << bits) - 1;
    const int64_t i = Whole(x), j = Whole(y);
    if (op != 3) return static_cast<uint64_t>(op == 1 ? i + j : op == 2 ? i - j : i * j) & mask;
    if (zeroDivisor) return 0;
    // Division works on both values reduced to the destination's width and signedness.
    const auto reduce = [&](int64_t v) {
        const uint64_t low = static_cast<uint64_t>(v) & mask;
        return td <= qm::kI32 && low >> (bits - 1) ? static_cast<int64_t>(low) - static_cast<int64_t>(mask) - 1
                                                   : static_cast<int64_t>(low);
    };
    if (reduce(j) == 0) return zero = true, 0;
    return static_cast<uint64_t>(reduce(i) / reduce(j)) & mask;
}

// Per type: limits, signs, divisors that vanish after truncation or reduction (0.5, 256, 65536),
// floats beyond 32 and 64 bits, NaN and infinities.
const std::vector<double> kBoundary[] = {
    {},
    {0, 1, -1, 2, -2, 3, 7, 127, -128, 100, -56},
    {0, 1, -1, 2, -5, 7, 256, -256, 300, 30000, 32767, -32768, -6},
    {0, 1, -1, 3, -7, 256, 65536, -65536, 65535, 100000, INT32_MAX, INT32_MIN},
    {0,    -0.0, 0.5,     -0.5,   2.7,     -2.9,   1,     -1,   3e9,  -3e9,
     1e20, 256,  65536.5, 0x1p31, -0x1p31, 3.4e38, 1e-40, kNaN, kInf, -kInf},
    {0,      -0.0,   0.5,     -0.9,  2.7, -2.9, 1,      -1,   4294967296.5, -4294967297.0,
     9.2e18, 0x1p63, -0x1p63, 1e300, 256, -128, 1e-310, kNaN, kInf,         -kInf},
    {0, 1, 2, 3, 7, 100, 128, 200, 255},
    {0, 1, 3, 256, 300, 32768, 65534, 65535},
    {0, 1, 3, 256, 65536, 0x7FFFFFFF, 0x80000000u, 0x80000001u, 0xFFFFFFFEu, 0xFFFFFFFFu},
};

// Appends v as an element of type t (integers by the low bits of their int64 value), or raw bits.
void Put(Bytes& p, int32_t t, double v, const uint64_t* raw = nullptr) {
    const float f = static_cast<float>(v);
    const int64_t w = IsFloat(t) ? 0 : static_cast<int64_t>(v);
    const void* from = raw             ? static_cast<const void*>(raw)
                       : t == qm::kF32 ? &f
                       : t == qm::kF64 ? static_cast<const void*>(&v)
                                       : &w;
    p.insert(p.end(), static_cast<const unsigned char*>(from),
             static_cast<const unsigned char*>(from) + qm::ElementSize(t));
}

// Every boundary value of t1 against every one of t2, then random pairs: fractions, small
// integers, larger fractions and raw bit patterns.
std::pair<Bytes, Bytes> MakeOperands(int32_t t1, int32_t t2, std::mt19937_64& rng) {
    Bytes a, b;
    for (const double y : kBoundary[t2])
        for (const double x : kBoundary[t1]) Put(a, t1, x), Put(b, t2, y);
    for (int k = 0; k < 203; ++k)
        for (auto [t, p] : {std::pair{t1, &a}, std::pair{t2, &b}}) {
            const uint64_t bits = rng();
            const double fraction = static_cast<double>(static_cast<int64_t>(bits >> 20) % 2000001 - 1000000) / 64.0;
            const uint64_t pick = bits >> 62;
            Put(*p, t,
                pick == 0   ? fraction
                : pick == 1 ? static_cast<double>(bits % 19) - 9
                            : fraction * 1e5,
                pick == 3 ? &bits : nullptr);
        }
    return {a, b};
}

// One call, out of place (place 0) or with the destination over operand 1 or 2; true when the
// status and every element match the model.
bool Check(int32_t op, int32_t td, int32_t t1, const Bytes& a, int32_t t2, const Bytes& b, int place) {
    const size_t s1 = qm::ElementSize(t1), s2 = qm::ElementSize(t2), sd = qm::ElementSize(td), n = a.size() / s1;
    std::vector<uint64_t> want(n);
    bool zero = false;
    for (size_t i = 0; i < n; ++i)
        want[i] = Model(op, td, Value(t1, BitsAt(a, i, s1)), Value(t2, BitsAt(b, i, s2)), zero);
    Bytes a2 = a, b2 = b, out(n * sd, 0xA5);
    Bytes& got = place == 0 ? out : place == 1 ? a2 : b2;
    const auto count = static_cast<uint32_t>(n);
    QmdDataStruct d1{a2.data(), count, 1, t1, 1, {}}, d2{b2.data(), 1, count, t2, 1, {}},
        dst{got.data(), count, 1, td, 1, {}};
    const std::string where = "op " + std::to_string(op) + " types " + std::to_string(t1) + "," + std::to_string(t2) +
                              " -> " + std::to_string(td) + " place " + std::to_string(place) + " count " +
                              std::to_string(n);
    const bool statusOk =
        qm::ArithDispatch(op, &dst, &d1, &d2) == (zero ? qm::Status::ElementNotComputed : qm::Status::Ok);
    EXPECT_TRUE(statusOk) << where;
    for (size_t i = 0; i < n; ++i) {
        const uint64_t g = BitsAt(got, i, sd);
        if (g == want[i] || (IsFloat(td) && std::isnan(Value(td, g)) && std::isnan(Value(td, want[i])))) continue;
        ADD_FAILURE() << where << " element " << i << ": got 0x" << std::hex << g << " want 0x" << want[i];
        return false;
    }
    return statusOk;
}

// Operand 1 of one type against every operand 2 type, destination type and operation, under one
// instruction set. Division also runs element by element, so that each element's own
// zero-divisor status shows.
class ArithModel : public testing::TestWithParam<qmtest::IsaAndType> {};

TEST_P(ArithModel, EveryOperandAndDestinationTypeMatchesTheModel) {
    const int32_t t1 = GetParam().type;
    std::mt19937_64 rng(20240611 + t1);
    qmtest::ScopedIsa use(GetParam().isa);
    for (int32_t t2 = qm::kI8; t2 <= qm::kU32; ++t2) {
        const auto [a, b] = MakeOperands(t1, t2, rng);
        const size_t s1 = qm::ElementSize(t1), s2 = qm::ElementSize(t2);
        for (int32_t td = qm::kI8; td <= qm::kU32; ++td)
            for (int32_t op = 1; op <= 4; ++op) {
                for (int place = 0; place <= 2; ++place) {
                    if (place != 0 && qm::ElementSize(td) != (place == 1 ? s1 : s2)) continue;
                    ASSERT_TRUE(Check(op, td, t1, a, t2, b, place));
                }
                for (size_t i = 0; op == 3 && i < a.size() / s1; ++i)
                    ASSERT_TRUE(Check(op, td, t1, Bytes(&a[i * s1], &a[i * s1] + s1), t2,
                                      Bytes(&b[i * s2], &b[i * s2] + s2), 0));
            }
    }
}

INSTANTIATE_TEST_SUITE_P(Each, ArithModel, testing::ValuesIn(qmtest::EveryIsaWith({1, 2, 3, 4, 5, 6, 7, 8})),
                         qmtest::ParamName);

// One descriptor of a check case: kNone is no descriptor, kNoData a descriptor without data.
enum Presence { kNone, kNoData, kData };
struct Desc {
    uint32_t w, h;
    int32_t type;
    Presence presence = kData;
};

TEST(ArithChecks, FirstFailingCheckDecidesAndNothingIsWritten) {
    const Desc ok{4, 1, qm::kU16};
    const struct {
        Desc dst, op1, op2;
        int32_t op;
        Status want;
    } cases[] = {
        {{3, 3, 7, kNone}, {2, 2, 7}, ok, 1, Status::MissingImage},  // before counts
        {{4, 1, 7, kNoData}, ok, ok, 1, Status::MissingImage},
        {ok, {4, 1, 0, kNone}, {4, 1, 0}, 1, Status::MissingImage},  // before types
        {ok, {4, 1, 7, kNoData}, ok, 1, Status::MissingImage},
        {ok, ok, {4, 1, 7, kNone}, 1, Status::MissingImage},
        {ok, ok, {4, 1, 7, kNoData}, 1, Status::MissingImage},
        {ok, {0, 5, 7}, {4, 1, 7}, 1, Status::MissingImage},  // an empty operand, before counts
        {{4, 0, 7}, ok, ok, 1, Status::MissingImage},
        {ok, ok, {65536, 65536, 7}, 1, Status::MissingImage},  // the count wraps to 0 ...
        {ok, {65536, 32768, 7}, ok, 1, Status::MissingImage},  // ... or below 0
        {ok, {4, 1, 0}, {3, 1, 9}, 1, Status::CountMismatch},  // before types
        {{5, 1, 7}, ok, ok, 1, Status::CountMismatch},
        {ok, {4, 1, 11}, ok, 1, Status::UnsupportedType},
        {ok, ok, {4, 1, 9}, 1, Status::UnsupportedType},
        {{4, 1, 9}, ok, ok, 3, Status::UnsupportedType},
        {{4, 1, 0}, ok, ok, 0, Status::UnsupportedType},  // before the operation
        {ok, ok, ok, 0, Status::Ok},                      // unknown operations write nothing
        {ok, ok, ok, 5, Status::Ok},
    };
    for (const auto& c : cases) {
        std::vector<uint8_t> a(64, 1), b(64, 2), out(64, 0xEE);  // room for any count that passes
        QmdDataStruct d[3];
        const Desc* shape[3] = {&c.dst, &c.op1, &c.op2};
        unsigned char* data[3] = {out.data(), a.data(), b.data()};
        for (int k = 0; k < 3; ++k)
            d[k] = {shape[k]->presence == kData ? data[k] : nullptr, shape[k]->w, shape[k]->h, shape[k]->type, 1, {}};
        const auto at = [&](int k) { return shape[k]->presence == kNone ? nullptr : &d[k]; };
        EXPECT_EQ(qm::ArithDispatch(c.op, at(0), at(1), at(2)), c.want) << &c - cases;
        EXPECT_EQ(out, std::vector<uint8_t>(64, 0xEE)) << &c - cases;
    }
}

// Operands of other shapes but the same count; a zero divisor stores 0 and fails the call.
TEST(ArithExports, TheFourProcessesCombineTheAttachedOperands) {
    qmtest::ScopedInstance h;
    std::vector<uint16_t> a = {100, 7, 65535, 9}, b = {3, 2, 1, 0};
    QmdDataStruct d1 = qmtest::Describe(a, 2, 2, qm::kU16), d2 = qmtest::Describe(b, 4, 1, qm::kU16);
    ASSERT_EQ(MathSetData(h, qmeDataOperand1, &d1), qmeSuccess);
    ASSERT_EQ(MathSetData(h, qmeDataOperand2, &d2), qmeSuccess);
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
        QmdDataStruct dst = qmtest::Describe(out, 1, 4, qm::kF32);
        ASSERT_EQ(MathSetProcess(h, c.process, 1), qmeSuccess);
        EXPECT_EQ(MathProcessData(h, &dst), c.status) << c.process;
        EXPECT_EQ(out, c.want) << c.process;
    }
}

}  // namespace
