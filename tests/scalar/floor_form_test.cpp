// SPDX-License-Identifier: MIT
// Add, subtract, multiply and divide by a constant from 8- and 16-bit sources into integer
// destinations, over frames large enough for the engine to check a floor form (integer_form.h)
// against every source value. Every element is compared with an exact model under every
// instruction set, out of place, in place and with streaming stores, for constants the form takes,
// constants where a single source value breaks the nearest candidate (the call must keep its exact
// evaluation), and results that wrap.
#include <gmpxx.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "core/element_types.h"
#include "core/stream.h"
#include "scalar/scalar_dispatch.h"
#include "scalar/scalar_engine.h"
#include "support/elements.h"
#include "support/exact_model.h"
#include "support/isa.h"

namespace {

using qmtest::BitsAt;
using qmtest::Bytes;

constexpr unsigned kI8 = 1u << qm::kI8, kU8 = 1u << qm::kU8, kI16 = 1u << qm::kI16, kU16 = 1u << qm::kU16;
constexpr unsigned kUnsigned = kU8 | kU16;

struct Case {
    int32_t op;
    double a;
    unsigned taken;  // the sources from which the call runs the floor form into every integer type
    const char* why;
};

// clang-format off
const Case kCases[] = {
    {503, 0.1, kUnsigned, "x 52429 >> 19 from U16: more fraction bits than 16"},
    {504, 0.1, kUnsigned, "10 x - 1 for x >= 1: the double 0.1 is above 0.1"},
    {503, 1.0 / 3, kUnsigned, "floor(x / 3) needs 17 bits"},
    {504, 1.0 / 3, kUnsigned | kI8 | kI16, "3 x: the double 1/3 is below 1/3, for either sign"},
    {504, 1.0 / 7, kUnsigned | kI8 | kI16, "7 x"},
    {503, 1.0 / 7, kUnsigned, ""},
    {503, 0.75, kUnsigned, "a product the plain evaluation holds exactly"},
    {503, -0.1, kU8, "results not above 0 truncate upward: b + 1 - 2^-s"},
    {504, -0.1, kUnsigned, "-10 x + 1 for x >= 1"},
    {503, 12345 * 0x1p-16, kUnsigned, "a step of 2^-16"},
    {503, 1 + 0x1p-16, kUnsigned, ""},
    {503, 0x1p-16 + 0x1p-32 + 0x1p-48, kUnsigned, "1 only at x = 65535: s = 31"},
    {501, 0.1, kUnsigned, ""},
    {502, -2.5, kUnsigned, ""},
    {501, 70000.5, kUnsigned | kI8 | kI16, "sums that wrap in 8 and 16 bits"},
    {503, 1000.1, kUnsigned, "products that wrap in 8 and 16 bits"},
    {503, -3.3, kU8, "negative products that wrap"},
    {502, 0.1, 0, "x - 1 except at x = 0: the first value breaks the candidate"},
    {503, (65535 - 1.5 / 65535) / 65536, kU8, "from U16, only x = 65535 breaks the candidate 65535 / 2^16"},
    {503, 0.18837, kU8, "16 fraction bits are not enough from U16"},
};
// clang-format on

// The exact result of op on every value of the source type (lowest first), truncated toward zero;
// computed once for all instruction sets.
const std::vector<int64_t>& ModelValues(int32_t srcType, const Case& k) {
    static std::map<std::pair<int32_t, const Case*>, std::vector<int64_t>> cache;
    std::vector<int64_t>& out = cache[{srcType, &k}];
    if (!out.empty()) return out;
    const int bits = 8 * static_cast<int>(qm::ElementSize(srcType));
    const bool isSigned = srcType == qm::kI8 || srcType == qm::kI16;
    const int64_t count = int64_t{1} << bits, low = isSigned ? -count / 2 : 0;
    out.resize(static_cast<size_t>(count));
    const int32_t op = k.op;
    const mpq_class c(k.a);
    for (int64_t i = 0; i < count; ++i) {
        const mpq_class x(static_cast<double>(low + i));
        const mpq_class r = op == 501   ? mpq_class(x + c)
                            : op == 502 ? mpq_class(x - c)
                            : op == 503 ? mpq_class(x * c)
                                        : mpq_class(x / c);
        out[static_cast<size_t>(i)] = qmtest::TruncateTowardZero(r);
    }
    return out;
}

class ScalarFloorForm : public testing::TestWithParam<qmtest::IsaAndType> {};

TEST_P(ScalarFloorForm, LargeFramesMatchTheModelWhetherTheFormIsTakenOrNot) {
    const int32_t src = GetParam().type;
    const size_t size = qm::ElementSize(src);
    const int bits = 8 * static_cast<int>(size);
    const bool isSigned = src == qm::kI8 || src == qm::kI16;
    const int64_t count = int64_t{1} << bits, low = isSigned ? -count / 2 : 0;
    // Every value, in a scattered order, about 16 times over, with a tail that is not a whole vector.
    const size_t n = (size == 1 ? size_t{1} << 12 : size_t{1} << 20) + 37;
    Bytes frame(n * size);
    std::vector<uint32_t> index(n);  // the value of element i, counted from the lowest
    for (size_t i = 0; i < n; ++i) {
        index[i] = static_cast<uint32_t>((i * 40503) & static_cast<size_t>(count - 1));
        const auto v = static_cast<uint64_t>(low + index[i]);
        std::memcpy(&frame[i * size], &v, size);
    }
    qmtest::ScopedIsa use(GetParam().isa);
    int failures = 0;
    for (const Case& c : kCases) {
        const std::vector<int64_t>& model = ModelValues(src, c);
        const bool taken = (c.taken >> src) & 1;
        for (int32_t dst : {qm::kI8, qm::kU8, qm::kI16, qm::kU16, qm::kI32, qm::kU32}) {
            const size_t ds = qm::ElementSize(dst);
            const uint64_t mask = ds == 4 ? 0xFFFFFFFFu : (uint64_t{1} << 8 * ds) - 1;
            const std::string where = "op " + std::to_string(c.op) + " A " + std::to_string(c.a) + " type " +
                                      std::to_string(src) + " -> " + std::to_string(dst) + " (" + c.why + ")";
            const bool uses = qm::UsesFloorForm(c.op, src, dst, c.a, n);
            if (taken) {
                EXPECT_TRUE(uses) << where;
            } else if (ds == 4) {
                EXPECT_FALSE(uses) << where;
            }
            // Out of place; in place where the sizes agree; streamed into the widest destination.
            for (int mode = 0; mode < 3; ++mode) {
                if ((mode == 1 && ds != size) || (mode == 2 && dst != qm::kU32)) continue;
                Bytes out = mode == 1 ? frame : Bytes(n * ds, 0xA5);
                if (mode == 2) qm::SetStreamingThreshold(1);
                QmdDataStruct s{mode == 1 ? out.data() : frame.data(), static_cast<uint32_t>(n), 1, src, 1, {}};
                QmdDataStruct d{out.data(), static_cast<uint32_t>(n), 1, dst, 1, {}};
                EXPECT_EQ(qm::ScalarDispatch(c.op, &d, &s, c.a, 0), qm::Status::Ok) << where;
                if (mode == 2) qm::SetStreamingThreshold(0);
                for (size_t i = 0; i < n; ++i) {
                    const uint64_t want = static_cast<uint64_t>(model[index[i]]) & mask;
                    if (BitsAt(out, i, ds) == want) continue;
                    ADD_FAILURE() << where << " mode " << mode << " element " << i << " x " << low + index[i]
                                  << ": got 0x" << std::hex << BitsAt(out, i, ds) << " want 0x" << want;
                    ++failures;
                    break;
                }
            }
        }
    }
    EXPECT_EQ(failures, 0);
}

INSTANTIATE_TEST_SUITE_P(Each, ScalarFloorForm, testing::ValuesIn(qmtest::EveryIsaWith({1, 2, 6, 7})),
                         qmtest::ParamName);

}  // namespace
