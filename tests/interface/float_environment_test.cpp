// SPDX-License-Identifier: MIT
// Hosts in other floating-point modes: every computing call stores what it stores in the default
// mode, raises no trap when the host has unmasked exceptions, and gives the host its mode back.
#include <gtest/gtest.h>

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
#include <xmmintrin.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "core/float_environment.h"
#include "qmath/qmath.h"
#include "support/instances.h"

namespace {

using qmtest::Describe;
using qmtest::ScopedInstance;

struct Mode {
    uint32_t mxcsr;
    uint16_t x87;
};
constexpr Mode kDefault{0x1F80, 0x037F};

Mode Current() {
    Mode m{_mm_getcsr() & 0xFFC0u, 0};
    __asm__ volatile("fnstcw %0" : "=m"(m.x87));
    return m;
}
void Set(Mode m) {
    __asm__ volatile("fnclex");
    __asm__ volatile("fldcw %0" : : "m"(m.x87));
    _mm_setcsr(m.mxcsr);
}

// What a workload left: the statuses of its calls and the bytes of its outputs.
struct Outcome {
    std::vector<QmeErrorCode> status;
    std::vector<uint8_t> bytes;
    bool operator==(const Outcome&) const = default;
};
template <class T> void Append(Outcome& o, const std::vector<T>& v) {
    const auto* p = reinterpret_cast<const uint8_t*>(v.data());
    o.bytes.insert(o.bytes.end(), p, p + v.size() * sizeof(T));
}

// Runs the calls of `f` in the host's mode `m` and puts the default back; `seen` gets the mode the
// host had right after the calls.
using Hosted = std::function<void(const std::function<void()>&)>;
using Workload = std::function<Outcome(const Hosted&)>;

// Values that tell the modes apart: inexact products and quotients, subnormals, zeros, exact powers
// of ten, values next to them, NaN and infinities.
std::vector<double> Doubles() {
    std::vector<double> v = {0.0,   -0.0,   1.0,     10.0,    1000.0,   std::nextafter(1000.0, 0.0),
                             0.1,   1e-310, -1e-310, 4e-320,  1e300,    std::numeric_limits<double>::infinity(),
                             -7.25, 3.0,    1e-30,   65535.0, 2.5e9,    std::numeric_limits<double>::quiet_NaN(),
                             1e-45, 1.5,    -3.0,    0.3,     1e16 + 2, std::nextafter(1.0, 2.0)};
    std::mt19937_64 rng(7);
    std::uniform_real_distribution<double> u(-40.0, 40.0);
    while (v.size() < 4096) v.push_back(std::exp2(u(rng)) * (rng() % 5 == 0 ? -1 : 1));
    return v;
}
std::vector<uint16_t> Words(size_t n, uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<uint16_t> v(n);
    for (auto& x : v) x = static_cast<uint16_t>(rng() % 5 == 0 ? 0 : rng());
    return v;
}

Workload Scalar(int32_t process, double a, int32_t srcType, int32_t dstType) {
    return [=](const Hosted& hosted) {
        std::vector<double> values = Doubles();
        std::vector<uint8_t> src(values.size() * 8), dst(values.size() * 8, 0xEE);
        for (size_t i = 0; i < values.size(); ++i) {
            const double x = values[i];
            switch (srcType) {
                case qmeTypeU16: reinterpret_cast<uint16_t*>(src.data())[i] = static_cast<uint16_t>(i * 40503u); break;
                case qmeTypeF32: reinterpret_cast<float*>(src.data())[i] = static_cast<float>(x); break;
                default: reinterpret_cast<double*>(src.data())[i] = x; break;
            }
        }
        const auto n = static_cast<uint32_t>(values.size());
        QmdDataStruct s{src.data(), n, 1, srcType, 1, {}}, d{dst.data(), n, 1, dstType, 1, {}};
        ScopedInstance h;
        Outcome o;
        hosted([&] {
            o.status.push_back(MathSetProcess(h, process, 1));
            o.status.push_back(MathSetConstant(h, qmeConstA, a));
            o.status.push_back(MathSetData(h, qmeDataOperand1, &s));
            o.status.push_back(MathProcessData(h, &d));
        });
        Append(o, dst);
        return o;
    };
}

Workload Arithmetic(int32_t process) {
    return [=](const Hosted& hosted) {
        std::vector<double> a = Doubles(), b = Doubles();
        std::vector<float> fa(a.begin(), a.end()), fb(b.rbegin(), b.rend()), out(a.size(), 9.0f);
        const auto n = static_cast<uint32_t>(a.size());
        QmdDataStruct s1 = Describe(fa, n, 1, qmeTypeF32), s2 = Describe(fb, n, 1, qmeTypeF32),
                      d = Describe(out, n, 1, qmeTypeF32);
        ScopedInstance h;
        Outcome o;
        hosted([&] {
            o.status.push_back(MathSetProcess(h, process, 1));
            o.status.push_back(MathSetData(h, qmeDataOperand1, &s1));
            o.status.push_back(MathSetData(h, qmeDataOperand2, &s2));
            o.status.push_back(MathProcessData(h, &d));
        });
        Append(o, out);
        return o;
    };
}

// Dark, flat field by its mean and threshold, or the logarithm with a gain frame, summed over a cycle.
Workload Online(bool log) {
    return [=](const Hosted& hosted) {
        constexpr uint32_t kW = 67, kH = 9, kN = kW * kH;
        std::vector<uint16_t> dark = Words(kN, 1), flat = Words(kN, 2), frame = Words(kN, 3);
        std::vector<float> gain(kN), out(kN, 5.0f);
        for (uint32_t i = 0; i < kN; ++i) gain[i] = static_cast<float>(0.1 * (i % 13) + 1e-39 * (i % 3));
        QmdDataStruct d = Describe(dark, kW, kH, qmeTypeU16), f = Describe(flat, kW, kH, qmeTypeU16),
                      g = Describe(gain, kW, kH, qmeTypeF32), s = Describe(frame, kW, kH, qmeTypeU16),
                      o = Describe(out, kW, kH, qmeTypeF32);
        ScopedInstance h;
        Outcome result;
        hosted([&] {
            result.status.push_back(MathSetData(h, qmeDataDarkFrame, &d));
            result.status.push_back(MathSetData(h, qmeDataFlatFieldMean, &f));
            result.status.push_back(MathSetData(h, qmeDataGainFrame, &g));
            result.status.push_back(MathSetData(h, qmeDataSourceFrame, &s));
            result.status.push_back(MathSetProcess(h, qmeOnlineDarkSubtract, 1));
            result.status.push_back(MathSetProcess(h, log ? qmeOnlineLog10 : qmeOnlineFlatField, 1));
            result.status.push_back(MathSetProcess(h, log ? qmeOnlineAccumulate : qmeOnlineClipRange, 1));
            result.status.push_back(MathSetConstant(h, qmeConstA, 0.3));
            result.status.push_back(MathSetConstant(h, qmeConstB, 3e4));
            result.status.push_back(MathSetConstant(h, qmeConstFrameCount, std::numeric_limits<double>::quiet_NaN()));
            result.status.push_back(MathSetConstant(h, qmeConstFrameCount, 3.7));
            for (int k = 0; k < 3; ++k) result.status.push_back(MathProcessData(h, &o));
        });
        Append(result, out);
        return result;
    };
}

Workload Bayer() {
    return [](const Hosted& hosted) {
        constexpr uint32_t kW = 70, kH = 12;
        std::vector<uint16_t> mosaic = Words(kW * kH, 4);
        std::vector<uint8_t> rgb(3 * kW * kH, 1);
        QmdDataStruct s = Describe(mosaic, kW, kH, qmeTypeU16), d = Describe(rgb, kW, kH, qmeTypeRgb24);
        Outcome o;
        hosted([&] { o.status.push_back(MathBayerInterpolateU16(&d, &s, 3, 1.1, 0.7, 2.3, 5, -9, 0, 0, 1)); });
        Append(o, rgb);
        return o;
    };
}

TEST(FloatEnvironment, HostModesChangeNoResultRaiseNoTrapAndAreGivenBack) {
    const struct {
        const char* name;
        Workload run;
    } workloads[] = {
        {"x * 0.1 U16 -> F32", Scalar(qmeProcessMultiplyConstant, 0.1, qmeTypeU16, qmeTypeF32)},
        {"x + 0.1 U16 -> U16", Scalar(qmeProcessAddConstant, 0.1, qmeTypeU16, qmeTypeU16)},
        {"x / 3 F64 -> F32", Scalar(qmeProcessDivideConstant, 3.0, qmeTypeF64, qmeTypeF32)},
        {"x / 0.1 F32 -> I32", Scalar(qmeProcessDivideConstant, 0.1, qmeTypeF32, qmeTypeI32)},
        {"x / 0 F64 -> F64", Scalar(qmeProcessDivideConstant, 0.0, qmeTypeF64, qmeTypeF64)},
        {"1 / x F64 -> F32", Scalar(qmeProcessReciprocal, 0.0, qmeTypeF64, qmeTypeF32)},
        {"log10 F64 -> F32", Scalar(qmeProcessLog10, 0.0, qmeTypeF64, qmeTypeF32)},
        {"log10 F64 -> F64", Scalar(qmeProcessLog10, 0.0, qmeTypeF64, qmeTypeF64)},
        {"log10 U16 -> F64", Scalar(qmeProcessLog10, 0.0, qmeTypeU16, qmeTypeF64)},
        {"ln of last F32 -> F64", Scalar(qmeProcessLnOfLast, 0.0, qmeTypeF32, qmeTypeF64)},
        {"convert F64 -> I16", Scalar(qmeProcessConvert, 0.0, qmeTypeF64, qmeTypeI16)},
        {"F32 / F32", Arithmetic(qmeProcessDivide)},
        {"F32 x F32", Arithmetic(qmeProcessMultiply)},
        {"online dark, flat, clip", Online(false)},
        {"online dark, log, sum", Online(true)},
        {"Bayer U16 with gains", Bayer()},
    };
    const struct {
        const char* name;
        Mode mode;
    } hosts[] = {
        {"round toward zero", {0x7F80, 0x037F}},
        {"round up", {0x5F80, 0x037F}},
        {"round down", {0x3F80, 0x037F}},
        {"flush to zero, denormals are zero", {0x9FC0, 0x037F}},
        {"every SSE exception unmasked", {0x0000, 0x037F}},
        {"x87 at 53 bits (Windows hosts)", {0x1F80, 0x027F}},
        {"x87 at 24 bits, rounding down", {0x1F80, 0x047F}},
        {"x87 exceptions unmasked", {0x1F80, 0x0340}},
        {"everything at once", {0xE000, 0x0E40}},
    };
    ASSERT_EQ(Current().mxcsr, kDefault.mxcsr);
    ASSERT_EQ(Current().x87, kDefault.x87);
    for (const auto& w : workloads) {
        const Outcome expected = w.run([](const std::function<void()>& f) { f(); });
        ASSERT_FALSE(expected.bytes.empty()) << w.name;
        for (const auto& host : hosts) {
            Mode after{};
            const Outcome got = w.run([&](const std::function<void()>& f) {
                Set(host.mode);
                f();
                after = Current();
                Set(kDefault);
            });
            EXPECT_TRUE(got == expected) << w.name << " under " << host.name;
            EXPECT_EQ(after.mxcsr, host.mode.mxcsr & 0xFFC0u) << w.name << " under " << host.name;
            EXPECT_EQ(after.x87, host.mode.x87) << w.name << " under " << host.name;
        }
    }
}

// The guard itself: inside it the module's mode holds whatever the host's; after it the host's is
// back, its sticky flags included (an inexact flag it had stays, a division by zero inside is not
// reported to it).
TEST(FloatEnvironment, TheModuleModeHoldsInsideAndTheHostModeAfter) {
    const Mode hosts[] = {kDefault,         {0x7FA0, 0x037F}, {0x9FC0, 0x037F}, {0x0020, 0x037F},
                          {0x1F80, 0x027F}, {0x1F80, 0x0C7F}, {0x1FA0, 0x0340}, {0xE020, 0x0E40}};
    for (const Mode host : hosts) {
        Mode inside{}, after{};
        uint32_t flagsAfter = 0;
        Set(host);
        _mm_setcsr(host.mxcsr);  // with its flags
        {
            const qm::FloatEnvironment mode;
            inside = Current();
            volatile double zero = 0.0;
            volatile double quotient = 1.0 / zero;  // raises divide-by-zero, masked inside
            (void)quotient;
        }
        after = Current();
        flagsAfter = _mm_getcsr() & 0x3F;
        Set(kDefault);
        EXPECT_EQ(inside.mxcsr, kDefault.mxcsr) << std::hex << host.mxcsr;
        EXPECT_EQ(inside.x87 & 0x0F3F, kDefault.x87 & 0x0F3F) << std::hex << host.x87;
        EXPECT_EQ(after.mxcsr, host.mxcsr & 0xFFC0u) << std::hex << host.mxcsr;
        EXPECT_EQ(after.x87, host.x87) << std::hex << host.x87;
        if ((host.mxcsr & 0xFFC0u) != kDefault.mxcsr) {  // where the modes agree, nothing is touched
            EXPECT_EQ(flagsAfter, host.mxcsr & 0x3Fu) << std::hex << host.mxcsr;
        }
    }
}

}  // namespace

#endif
