// SPDX-License-Identifier: MIT
// The decimal logarithm where a fast evaluation is least sure of the stored element: the vector
// logarithm's bound itself, then 505 from wide sources on arguments whose logarithm lies closest
// to a single's rounding midpoint or to an integer, on powers of ten and their neighbours, on the
// ends of each type's range and on the values that fail, under every instruction set. Each
// element must be what the extended logarithm, rounded or truncated once, gives.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "core/element_types.h"
#include "core/log10.h"
#include "scalar/log10_probe.h"
#include "scalar/scalar_dispatch.h"
#include "support/isa.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity(), kNaN = std::numeric_limits<double>::quiet_NaN();
using DL = std::numeric_limits<double>;

// Singles whose logarithm lies closest to a rounding midpoint of a single (within 2e-9 of an ulp)
// and closest to an integer without being one, found by walking every positive single
// (log10_edges.cpp).
constexpr float kNearMidpoint[] = {0x1.0acfc8p+67f, 0x1.4d83bap+70f, 0x1.7bdb9p+12f,  0x1.fddcf4p-98f,
                                   0x1.9be058p+65f, 0x1.1727b8p-91f, 0x1.5cf1a6p-88f, 0x1.292424p-33f,
                                   0x1.b25878p+95f, 0x1.9a99dp-107f, 0x1.207a4ap+76f, 0x1.f451d2p+5f};
constexpr float kNearInteger[] = {0x1.82db34p-77f, 0x1.158e46p+63f, 0x1.0c6f7ap-20f, 0x1.4484cp-100f, 0x1.95a5fp-97f,
                                  0x1.fb0f6cp-94f, 0x1.203afap-50f, 0x1.6bcc42p+46f, 0x1.197998p-40f};

// Random bit patterns of the doubles from `lowest` up, and the neighbourhoods of 1, of the ends of
// either reduction (sqrt(2)/2 and its double; the table's steps of 1/16 of a binade, near 2^0, 2^-1
// and 2^-1020) and of powers of ten; a multiple of `lanes` of them.
std::vector<double> ProbeArguments(uint64_t lowest, size_t lanes) {
    std::mt19937_64 rng(505);
    std::vector<double> xs;
    for (int i = 0; i < 200000; ++i) {
        const uint64_t bits = lowest + rng() % (0x7FF0000000000000ull - lowest);
        double x;
        std::memcpy(&x, &bits, sizeof x);
        xs.push_back(x);
    }
    std::vector<double> centres = {1.0, 0x1.6a09e667f3bcdp-1, 0x1.6a09e667f3bcdp+0, 1e3, 1e-5, 1e22};
    for (int i = 1; i < 16; ++i)
        for (double scale : {1.0, 0.5, 0x1p-1020}) centres.push_back((1.0 + i / 16.0) * scale);
    for (double centre : centres) {
        double below = centre, above = centre;
        for (int k = 0; k < 2000; ++k) {
            xs.push_back(below = std::nextafter(below, 0.0));
            xs.push_back(above = std::nextafter(above, kInf));
        }
        for (int k = 1; k < 2000; ++k) xs.push_back(centre * (1.0 + k * 0x1p-20));
    }
    xs.resize(xs.size() / lanes * lanes);
    return xs;
}

qmtest::Log10Probe ProbeOf(qm::Isa isa) {
    return isa == qm::Isa::Avx512 ? qmtest::Log10ProbeAvx512()
           : isa == qm::Isa::Avx2 ? qmtest::Log10ProbeAvx2()
                                  : qmtest::Log10ProbeBaseline();
}

TEST(Log10Lanes, StaysWithinItsBound) {
    for (qm::Isa isa : qmtest::AvailableIsas()) {
        const qmtest::Log10Probe probe = ProbeOf(isa);
        SCOPED_TRACE("isa " + qmtest::IsaName(isa));
        const std::vector<double> xs = ProbeArguments(probe.lowestArgument, probe.lanes);
        std::vector<double> ys(xs.size());
        probe.run(xs.data(), ys.data(), xs.size());
        long double worst = 0.0L;
        for (size_t i = 0; i < xs.size(); ++i) {
            const long double exact = std::log10(static_cast<long double>(xs[i]));
            if (exact == 0.0L) {
                EXPECT_EQ(ys[i], 0.0) << "log10(1)";
                continue;
            }
            worst = std::max(worst, std::fabs((ys[i] - exact) / exact));
        }
        EXPECT_LT(worst, probe.bound) << static_cast<double>(worst);
        std::printf("%s: worst relative error %.3Lg, bound %.3g\n", qmtest::IsaName(isa).c_str(), worst, probe.bound);
    }
}

// The double lanes: every lane they settle holds the extended logarithm rounded to double, and
// they leave few open. Among 200,000 random arguments and the neighbourhoods above, some hundreds
// have logarithms within the reach of a double's midpoint, where a reach too narrow for the
// evaluation's error (or the extended logarithm's) settles lanes on the wrong double.
TEST(Log10Lanes, DoublesSettleOnlyWhereTheExtendedLogarithmRoundsTheSame) {
    for (qm::Isa isa : qmtest::AvailableIsas()) {
        const qmtest::Log10Probe probe = ProbeOf(isa);
        if (probe.runDouble == nullptr) continue;
        SCOPED_TRACE("isa " + qmtest::IsaName(isa));
        std::vector<double> xs = ProbeArguments(uint64_t{1} << 52, probe.lanes);
        for (int k = 0; k <= 22; ++k) {  // powers of ten a double holds, and their neighbours
            const double p = std::pow(10.0, k);
            xs.insert(xs.end(), {std::nextafter(p, 0.0), p, std::nextafter(p, kInf)});
        }
        xs.insert(xs.end(), {0.0, -1.0, 0x1p-1074, kInf, kNaN, 0x1p-1022, 0x1.fffffffffffffp+1023});
        xs.resize((xs.size() + probe.lanes - 1) / probe.lanes * probe.lanes, 2.0);
        std::vector<double> zs(xs.size());
        std::unique_ptr<bool[]> settled(new bool[xs.size()]);
        probe.runDouble(xs.data(), zs.data(), settled.get(), xs.size());
        size_t open = 0, wrong = 0;
        for (size_t i = 0; i < xs.size(); ++i) {
            if (!settled[i]) {
                ++open;
                continue;
            }
            ASSERT_TRUE(xs[i] >= 0x1p-1022 && xs[i] <= DL::max()) << std::hexfloat << xs[i];
            const auto want = static_cast<double>(qm::Log10Extended(xs[i]));
            if (std::memcmp(&zs[i], &want, sizeof want) != 0 && ++wrong <= 5)
                ADD_FAILURE() << std::hexfloat << "x " << xs[i] << " settled on " << zs[i] << ", extended " << want;
        }
        EXPECT_EQ(wrong, 0u);
        EXPECT_LT(open, xs.size() / 50) << "lanes left open";
        std::printf("%s: %zu of %zu double lanes left open\n", qmtest::IsaName(isa).c_str(), open, xs.size());
    }
}

// 505 of the source values `xs` (each at several lane positions) into every destination.
template <class S> void CheckEdges(int32_t srcType, const std::vector<S>& xs) {
    std::vector<S> src;
    for (int shift = 0; shift < 3; ++shift) {  // each value in more than one lane, and in the tail
        src.insert(src.end(), xs.begin() + shift, xs.end());
        src.insert(src.end(), xs.begin(), xs.begin() + shift);
    }
    src.push_back(xs[0]);
    const size_t n = src.size();
    QmdDataStruct in{src.data(), static_cast<uint32_t>(n), 1, srcType, 1, {}};
    for (int32_t d : {qm::kF32, qm::kF64, qm::kI32, qm::kU32, qm::kI8, qm::kU16}) {
        const size_t ds = qm::ElementSize(d);
        std::vector<unsigned char> out(n * ds, 0xA5);
        QmdDataStruct o{out.data(), static_cast<uint32_t>(n), 1, d, 1, {}};
        const qm::Status status = qm::ScalarDispatch(505, &o, &in, 0.0, 0.0);
        bool failed = false;
        for (size_t i = 0; i < n; ++i) {
            const auto x = static_cast<double>(src[i]);
            failed |= !(x > 0.0);
            const long double l = x > 0.0 ? qm::Log10Extended(x) : 0.0L;
            unsigned char want[8];
            if (d == qm::kF32) {
                const auto f = static_cast<float>(l);
                std::memcpy(want, &f, 4);
            } else if (d == qm::kF64) {
                const auto f = static_cast<double>(l);
                std::memcpy(want, &f, 8);
            } else {
                const int64_t t = qm::TruncateToInteger(l);
                std::memcpy(want, &t, ds);  // the low bytes
            }
            EXPECT_EQ(std::memcmp(&out[i * ds], want, ds), 0)
                << "source " << srcType << " value " << std::hexfloat << x << " into " << std::defaultfloat << d;
        }
        EXPECT_EQ(status, failed ? qm::Status::ElementNotComputed : qm::Status::Ok) << srcType << " -> " << d;
    }
}

// Powers of ten in the type, each with its neighbours.
template <class S> void AddPowersOfTen(std::vector<S>& xs, int from, int to) {
    for (int k = from; k <= to; ++k) {
        const auto p = static_cast<S>(std::pow(10.0L, k));
        if constexpr (std::is_integral_v<S>)
            xs.insert(xs.end(), {static_cast<S>(p - 1), p, static_cast<S>(p + 1)});
        else
            xs.insert(xs.end(), {std::nextafter(p, S{0}), p, std::nextafter(p, std::numeric_limits<S>::infinity())});
    }
}

TEST(ScalarLog10, WideSourcesAtTheEdgesOfTheBound) {
    using FL = std::numeric_limits<float>;
    std::vector<float> singles(std::begin(kNearMidpoint), std::end(kNearMidpoint));
    singles.insert(singles.end(), std::begin(kNearInteger), std::end(kNearInteger));
    AddPowersOfTen(singles, -38, 38);
    singles.insert(singles.end(),
                   {FL::denorm_min(), 0x1.fffffcp-127f, FL::min(), FL::max(), 1.0f, 0x1.fffffep-1f, 0x1.000002p+0f,
                    0.0f, -0.0f, -1.0f, -FL::max(), FL::quiet_NaN(), FL::infinity(), -FL::infinity()});

    std::vector<double> doubles(singles.begin(), singles.end());
    AddPowersOfTen(doubles, -307, 308);
    // Doubles whose logarithm lies within an ulp of a double of a single's midpoint: 10^m for
    // midpoints m of singles across the range of logarithms.
    for (float f : {0.1f, 0.75f, 1.5f, 2.0f, 3.3f, 7.125f, 12.7f, 100.1f, 300.5f}) {
        for (float g : {f, -f}) {
            const long double m = (static_cast<long double>(g) + std::nextafter(g, FL::infinity())) / 2;
            doubles.push_back(static_cast<double>(std::pow(10.0L, m)));
        }
    }
    // Logarithms at about the settling reach from a single's midpoint or from an integer (a
    // relative 2^-37 about a midpoint, 2^-27 about an integer, for the table evaluation; 2^-42
    // and 2^-33 for the other), on either side of it.
    for (float f : {0.1f, 3.3f, 12.7f, -0.75f, -100.1f}) {
        const long double m = (static_cast<long double>(f) + std::nextafter(f, FL::infinity())) / 2;
        for (int b : {-36, -37, -38, -41, -42, -43})
            for (long double side : {1.0L, -1.0L})
                doubles.push_back(static_cast<double>(std::pow(10.0L, m * (1.0L + side * std::ldexp(1.0L, b)))));
    }
    for (int k : {1, 2, 7, -3, -60})
        for (int b : {-26, -27, -28, -32, -33, -34})
            for (long double side : {1.0L, -1.0L})
                doubles.push_back(static_cast<double>(std::pow(10.0L, k + side * std::ldexp(1.0L, b))));
    // Just below 1 + 1/16, where the table evaluation's series leaves its largest error (about
    // log10(e) r^10 / 10 above the logarithm, near 2^13 ulps of it): logarithms 0.1 of that error
    // from a single's midpoint, on either side. A reach narrower than the error lets one of
    // each pair settle on the wrong single.
    for (long double m : {1.0605L, 1.061L, 1.0615L, 1.062L, 1.0624L}) {
        const auto f = static_cast<float>(std::log10(m));
        const long double mid = (static_cast<long double>(f) + std::nextafter(f, FL::infinity())) / 2;
        const long double error = 0.4342944819L * std::pow(m - 1.0L, 10) / 10;
        for (long double side : {0.1L, -0.1L})
            doubles.push_back(static_cast<double>(std::pow(10.0L, mid + side * error)));
    }
    // The table's steps (significands 1 + i/16) and their neighbours, in a few binades and among
    // the subnormals; 1 + 1/16 less an ulp is where its series is least exact.
    for (int i = 0; i <= 16; ++i) {
        for (int e : {0, -1, 1, 40, -70}) {
            const float step = std::ldexp(1.0f + i / 16.0f, e);
            singles.insert(singles.end(), {std::nextafter(step, 0.0f), step, std::nextafter(step, FL::infinity())});
        }
        for (int e : {0, -1, 300, -1030, -1070}) {
            const double step = std::ldexp(1.0 + i / 16.0, e);
            doubles.insert(doubles.end(), {std::nextafter(step, 0.0), step, std::nextafter(step, kInf)});
        }
    }
    doubles.insert(doubles.end(), {DL::denorm_min(), 0x0.fffffffffffffp-1022, DL::min(), DL::max(),
                                   0x1.fffffffffffffp-1, 0x1.0000000000001p+0, -DL::denorm_min(), kNaN, kInf});

    std::vector<int32_t> integers;
    AddPowersOfTen(integers, 0, 9);
    integers.insert(integers.end(), {2, 3, 0, -1, -1000, INT32_MAX, INT32_MIN, 0x1000000, 0x1000001, 6077});

    qmtest::OnEveryIsa([&](qm::Isa) {
        CheckEdges(qm::kF32, singles);
        CheckEdges(qm::kF64, doubles);
        CheckEdges(qm::kI32, integers);
    });
}

}  // namespace
