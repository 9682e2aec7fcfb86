// The engine against the reference model: every operand type pair, destination type and
// operation, on boundary and random values, under every instruction-set variant, out of place and
// in place.
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "arith/arith_dispatch.h"
#include "arith/arith_ref.h"
#include "core/cpu.h"

namespace {

using Bytes = std::vector<unsigned char>;

template <class T> void Append(Bytes& out, T v) {
    const size_t at = out.size();
    out.resize(at + sizeof v);
    std::memcpy(out.data() + at, &v, sizeof v);
}

template <class T> Bytes Pool(std::initializer_list<T> values) {
    Bytes out;
    for (T v : values) Append(out, v);
    return out;
}

// Values that sit on the edges of each type's arithmetic: limits, signs, divisors that vanish
// after truncation or reduction, floats beyond 32 and 64 bits, NaN and infinities.
Bytes Boundary(int type) {
    constexpr float fnan = std::numeric_limits<float>::quiet_NaN(), finf = std::numeric_limits<float>::infinity();
    constexpr double dnan = std::numeric_limits<double>::quiet_NaN(), dinf = std::numeric_limits<double>::infinity();
    switch (type) {
        case 1: return Pool<int8_t>({0, 1, -1, 2, -2, 3, 7, 127, -128, 100, -56});
        case 2: return Pool<int16_t>({0, 1, -1, 2, -5, 7, 256, -256, 300, 30000, 32767, -32768, -6});
        case 3: return Pool<int32_t>({0, 1, -1, 3, -7, 256, 65536, -65536, 65535, 100000, INT32_MAX, INT32_MIN});
        case 4:
            return Pool<float>({0.0f, -0.0f, 0.5f, -0.5f, 2.7f, -2.9f, 1.0f, -1.0f, 3e9f, -3e9f, 1e20f, 256.0f,
                                65536.5f, 2147483648.0f, -2147483648.0f, 3.4e38f, 1e-40f, fnan, finf, -finf});
        case 5:
            return Pool<double>({0.0, -0.0, 0.5, -0.9, 2.7, -2.9, 1.0, -1.0, 4294967296.5, -4294967297.0,
                                 9.2e18, 0x1p63, -0x1p63, 1e300, 256.0, -128.0, 1e-310, dnan, dinf, -dinf});
        case 6: return Pool<uint8_t>({0, 1, 2, 3, 7, 100, 128, 200, 255});
        case 7: return Pool<uint16_t>({0, 1, 3, 256, 300, 32768, 65534, 65535});
        default:
            return Pool<uint32_t>({0, 1, 3, 256, 65536, 0x7FFFFFFF, 0x80000000u, 0x80000001u, 0xFFFFFFFEu,
                                   0xFFFFFFFFu});
    }
}

// Random elements: raw bits for integers; for floats a mix of fractions, small integers and raw bits.
void AppendRandom(Bytes& out, int type, std::mt19937_64& rng) {
    const uint64_t bits = rng();
    const double fraction = static_cast<double>(static_cast<int64_t>(bits >> 20) % 2000001 - 1000000) / 64.0;
    const double small = static_cast<double>(static_cast<int64_t>(bits % 19) - 9);
    const int pick = static_cast<int>((bits >> 60) % 4);
    const double real = pick == 0 ? fraction : pick == 1 ? small : pick == 2 ? fraction * 1e5 : 0.0;
    if (type == 4) {
        uint32_t raw = static_cast<uint32_t>(bits >> 7);
        float f;
        std::memcpy(&f, &raw, sizeof f);
        Append(out, pick == 3 ? f : static_cast<float>(real));
    } else if (type == 5) {
        double d;
        std::memcpy(&d, &bits, sizeof d);
        Append(out, pick == 3 ? d : real);
    } else {
        const int size = arithref::Size(type);
        for (int k = 0; k < size; ++k) out.push_back(static_cast<unsigned char>(bits >> (8 * k)));
    }
}

struct Operands {
    Bytes a, b;
    int count = 0;
};

// Every boundary value of type t1 against every one of t2, then random pairs; an odd count.
Operands MakeOperands(int t1, int t2, std::mt19937_64& rng) {
    const Bytes p1 = Boundary(t1), p2 = Boundary(t2);
    const int n1 = static_cast<int>(p1.size()) / arithref::Size(t1), n2 = static_cast<int>(p2.size()) / arithref::Size(t2);
    Operands ops;
    for (int j = 0; j < n2; ++j)
        for (int i = 0; i < n1; ++i) {
            ops.a.insert(ops.a.end(), p1.begin() + i * arithref::Size(t1), p1.begin() + (i + 1) * arithref::Size(t1));
            ops.b.insert(ops.b.end(), p2.begin() + j * arithref::Size(t2), p2.begin() + (j + 1) * arithref::Size(t2));
        }
    ops.count = n1 * n2 + 203;
    for (int k = n1 * n2; k < ops.count; ++k) {
        AppendRandom(ops.a, t1, rng);
        AppendRandom(ops.b, t2, rng);
    }
    return ops;
}

// Same element, or both NaN for float types (the NaN payload is not part of the rules).
bool SameElement(int type, const unsigned char* x, const unsigned char* y) {
    if (type == 4) {
        float f, g;
        std::memcpy(&f, x, 4);
        std::memcpy(&g, y, 4);
        if (std::isnan(f) && std::isnan(g)) return true;
    } else if (type == 5) {
        double f, g;
        std::memcpy(&f, x, 8);
        std::memcpy(&g, y, 8);
        if (std::isnan(f) && std::isnan(g)) return true;
    }
    return std::memcmp(x, y, static_cast<size_t>(arithref::Size(type))) == 0;
}

// Elements that differ from the model, described; empty when all agree.
std::string Differences(int type, const Bytes& got, const Bytes& want, const Operands& ops) {
    std::string out;
    const int size = arithref::Size(type);
    int shown = 0;
    for (int i = 0; i < ops.count && shown < 3; ++i) {
        if (SameElement(type, &got[static_cast<size_t>(i * size)], &want[static_cast<size_t>(i * size)])) continue;
        out += " element " + std::to_string(i);
        ++shown;
    }
    return out;
}

class ArithModel : public ::testing::TestWithParam<qm::Isa> {
protected:
    void SetUp() override {
        if (qm::SetActiveIsa(GetParam()) != GetParam()) GTEST_SKIP() << "instruction set not available";
    }
    void TearDown() override { qm::SetActiveIsa(qm::DetectedIsa()); }
};

// Each combination runs out of place, then in place over operand 1 and over operand 2 where the
// element sizes allow it (element i of both operands is read before element i is written).
TEST_P(ArithModel, EveryTypeCombinationAgreesWithTheModel) {
    std::mt19937_64 rng(20240611);
    for (int t1 = 1; t1 <= 8; ++t1)
        for (int t2 = 1; t2 <= 8; ++t2) {
            const Operands ops = MakeOperands(t1, t2, rng);
            const uint32_t n = static_cast<uint32_t>(ops.count);
            for (int td = 1; td <= 8; ++td)
                for (int op = 1; op <= 4; ++op) {
                    Bytes want(n * static_cast<size_t>(arithref::Size(td)));
                    const int wantStatus = arithref::Image(op, td, want.data(), t1, ops.a.data(), t2, ops.b.data(), ops.count);
                    for (int place = 0; place <= 2; ++place) {
                        if (place != 0 && arithref::Size(td) != arithref::Size(place == 1 ? t1 : t2)) continue;
                        Bytes a = ops.a, b = ops.b, out(want.size(), 0xA5);
                        Bytes& got = place == 0 ? out : place == 1 ? a : b;
                        QmdDataStruct d1{a.data(), n, 1, t1, 1, {}}, d2{b.data(), 1, n, t2, 1, {}};
                        QmdDataStruct dst{got.data(), n, 1, td, 1, {}};
                        const std::string where = "op " + std::to_string(op) + " types " + std::to_string(t1) + "," +
                                                  std::to_string(t2) + " -> " + std::to_string(td) + " place " +
                                                  std::to_string(place);
                        ASSERT_EQ(static_cast<int>(qm::ArithDispatch(op, &dst, &d1, &d2)), wantStatus) << where;
                        ASSERT_EQ(Differences(td, got, want, ops), "") << where;
                    }
                }
        }
}

std::string IsaName(const ::testing::TestParamInfo<qm::Isa>& info) {
    switch (info.param) {
        case qm::Isa::Avx512: return "Avx512";
        case qm::Isa::Avx2: return "Avx2";
        default: return "Baseline";
    }
}

INSTANTIATE_TEST_SUITE_P(AllIsas, ArithModel, ::testing::Values(qm::Isa::Baseline, qm::Isa::Avx2, qm::Isa::Avx512),
                         IsaName);

}  // namespace
