// SPDX-License-Identifier: MIT
// Every online kernel against the reference model: each source type, output type, dark and flat
// on or off, final stage and mode, on boundary and random pixels, one test per instruction set and
// source type. Then corrected values that lie one unit off a float midpoint.
#include <gmpxx.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "online/online.h"
#include "online_model.h"
#include "support/isa.h"

namespace {

using onlinemodel::Final;

struct Frames {
    size_t n;
    std::vector<unsigned char> src;
    std::vector<int32_t> dark;
    std::vector<float> flat, gain;
    double tie = 0;  // the rounded value of pixel 8 times its flat factor 1 + 2^-23
};

// Boundary frames (131 pixels, odd so vector loops need their tails) open with the edge values
// of the source width. Camera-like frames (1187 pixels, several blocks of the narrow rule) hold
// 16-bit sources, darks below 3000, factors within 0.5 to 2 and small gains, except one wild
// pixel (dark INT32_MIN, factor 3e38) and one product beyond int32, each sending its block down
// the general rule.
Frames MakeFrames(int srcType, bool camera) {
    static const std::vector<uint32_t> kEdges[5] = {
        {},
        {0, 1, 100, 128, 200, 255},
        {0, 1, 2, 100, 101, 1000, 5000, 32767, 32768, 65534, 65535},
        {0x000000, 0xFFFFFF, 0x1F140A, 0x646464, 0xC8C8C8, 0x010000},
        {0, 1, 5, 1000, 70000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFFFFFFFE, 0x40000001}};
    static const int32_t kDark[] = {0, 0, INT32_MIN, INT32_MAX, -1};
    static const float kFlat[] = {1.0f,   0.5f,  0.0f,     2.0f, 1.0f + 0x1p-23f, 1.0f - 0x1p-24f, 1e-45f,
                                  1e-38f, 3e38f, INFINITY, NAN,  -1.5f,           0.333333343f};
    static const float kGain[] = {1.0f, 0.5f, 2.0f, 0.0f, -1.0f, 10.0f};
    std::mt19937 rng(srcType * 7919u + camera);
    const int bytes = srcType == 6 ? 1 : srcType == 15 ? 3 : srcType == 8 || srcType == 3 ? 4 : 2;
    Frames f{camera ? 1187u : 131u, {}, {}, {}, {}};
    f.src.resize(f.n * 4);
    for (size_t i = 0; i < f.n; ++i) {
        uint32_t v = rng();
        if (camera)
            v &= bytes == 1 ? 0xFF : bytes == 3 ? 0xFFFFFF : 0xFFFF;
        else if (i < kEdges[bytes].size())
            v = kEdges[bytes][i];
        else if (bytes == 4 && i % 3 == 0)
            v &= 0xFFFF;
        std::memcpy(&f.src[i * bytes], &v, bytes);
        const int64_t taken = bytes == 4 ? v : v & 0xFFFF;
        if (camera) {
            f.dark.push_back(static_cast<int32_t>(rng() % 3000));
            f.flat.push_back(0.5f + static_cast<float>(rng() & 0xFFFFFF) * 0x1.8p-24f);
            f.gain.push_back(1.0f + static_cast<float>(rng() % 7));
            continue;
        }
        const size_t d = i % 7;
        f.dark.push_back(d == 1   ? static_cast<int32_t>(taken + 200)
                         : d == 5 ? static_cast<int32_t>(rng() % 2000) - 1000
                         : d == 6 ? static_cast<int32_t>(rng())
                                  : kDark[d]);
        f.flat.push_back(i % 2 == 0 && i / 2 < std::size(kFlat) ? kFlat[i / 2]
                         : i % 3 == 0                           ? 1.0f + static_cast<float>(rng() & 0x7FFFFF) * 0x1p-23f
                                                                : static_cast<float>(rng() % 40000) / 10000.0f);
        f.gain.push_back(i < std::size(kGain) ? kGain[i] : static_cast<float>(rng() % 100000 + 1) / 997.0f);
        if (i == 8) f.tie = static_cast<double>(taken) * static_cast<double>(f.flat[8]);
    }
    if (camera) {
        f.dark[700] = INT32_MIN, f.flat[700] = 3e38f;
        // In the last block a small pixel times a large factor makes about 3e9: beyond int32.
        std::memset(&f.src[1100 * bytes], 0x7F, std::min(bytes, 3));
        f.dark[1100] = 0, f.flat[1100] = static_cast<float>(3e9 / (bytes == 2 ? 0x7F7F : bytes == 4 ? 0x7F7F7F : 0x7F));
    }
    return f;
}

qm::Status RunPipeline(qm::OnlineFrame& frame, int srcType) {
    frame.colourFlag = srcType == 15;
    if (srcType == 6 || srcType == 15) return qm::OnlinePipeline8(frame);
    return srcType == 8 || srcType == 3 ? qm::OnlinePipeline32(frame) : qm::OnlinePipeline16(frame);
}

// Equal bytes, or NaN in both (the sign and payload of a NaN are not part of the result).
bool Same(const unsigned char* x, const unsigned char* y, int type) {
    if (std::memcmp(x, y, onlinemodel::kSize[type]) == 0) return true;
    float f[2];
    double d[2];
    if (type == 4) return std::memcpy(&f[0], x, 4), std::memcpy(&f[1], y, 4), std::isnan(f[0]) && std::isnan(f[1]);
    return type == 5 && (std::memcpy(&d[0], x, 8), std::memcpy(&d[1], y, 8), std::isnan(d[0]) && std::isnan(d[1]));
}

// One source type under one instruction set: every output type, option combination and mode.
class OnlineModel : public testing::TestWithParam<qmtest::IsaAndType> {};

TEST_P(OnlineModel, EveryKernelMatchesTheReferenceModel) {
    const int srcType = GetParam().type;
    qmtest::ScopedIsa use(GetParam().isa);
    int checked = 0;
    for (bool camera : {false, true}) {
        Frames f = MakeFrames(srcType, camera);
        const std::vector<unsigned char> original = f.src;
        const uint32_t n = static_cast<uint32_t>(f.n);
        QmdDataStruct src{f.src.data(), n, 1, srcType, 1, {}}, dark{f.dark.data(), n, 1, 3, 1, {}},
            flat{f.flat.data(), n, 1, 4, 1, {}}, gain{f.gain.data(), n, 1, 4, 1, {}};
        // A bound equal to the rounded value of one pixel: its exact rest decides. Camera
        // frames: bounds inside the values, and bounds that store outside int32.
        const std::vector<std::pair<double, double>> bounds =
            camera ? std::vector<std::pair<double, double>>{{1000.5, 3000.0}, {3e9, -3e9}}
                   : std::vector<std::pair<double, double>>{
                         {100.0, 60000.0}, {-5e8, 3e9}, {1000.5, 200.0}, {f.tie, f.tie}};
        for (int outType = 1; outType <= 8; ++outType) {
            const int size = onlinemodel::kSize[outType];
            std::mt19937 rng(outType * 31 + srcType);
            std::vector<unsigned char> old(f.n * size), one(8);
            for (size_t i = 0; i < f.n; ++i) {  // old floats finite and ordinary
                const double d = static_cast<double>(rng() % 100000) - 50000.0;
                const float x = static_cast<float>(d);
                const uint32_t bits = static_cast<uint32_t>(rng());
                std::memcpy(&old[i * size],
                            outType == 4   ? static_cast<const void*>(&x)
                            : outType == 5 ? static_cast<const void*>(&d)
                                           : &bits,
                            size);
            }
            for (int combo = 0; combo < 48;
                 ++combo) {  // dark, flat, final stage; write, accumulate bit on frame 1 or 2
                const int mode = combo >> 4;
                const onlinemodel::Options o{(combo & 1) != 0, (combo & 2) != 0, mode == 2,
                                             static_cast<Final>((combo >> 2) & 3)};
                const uint32_t stageBit[] = {0, qm::kOnlineLog10, qm::kOnlineThreshold, qm::kOnlineClipRange};
                qm::OnlineFrame frame;
                frame.options = (o.dark ? qm::kOnlineDarkSubtract : 0u) | (o.flat ? qm::kOnlineFlatField : 0u) |
                                (mode > 0 ? qm::kOnlineAccumulate : 0u) | stageBit[(combo >> 2) & 3];
                const bool bounded = o.final == Final::Threshold || o.final == Final::Clip;
                for (size_t bi = 0; bi < (bounded ? bounds.size() : 1); ++bi) {
                    std::tie(frame.a, frame.b) = bounds[bi];
                    std::vector<unsigned char> expected = old, out = old;
                    for (size_t i = 0; i < f.n; ++i) {
                        onlinemodel::ModelPixel(one.data(), outType, original.data(), srcType, i, f.dark.data(),
                                                f.flat.data(), f.gain.data(), frame.a, frame.b, o);
                        if (o.accumulate)
                            onlinemodel::Accumulate(&expected[i * size], outType, one.data());
                        else
                            std::memcpy(&expected[i * size], one.data(), size);
                    }
                    QmdDataStruct output{out.data(), n, 1, outType, 1, {}};
                    frame.source = &src, frame.dark = &dark, frame.flat = &flat, frame.gain = &gain,
                    frame.output = &output;
                    frame.frameCount = 5;
                    frame.frameNumber = mode == 2 ? 2 : 1;
                    ASSERT_EQ(RunPipeline(frame, srcType), qm::Status::Ok);
                    for (size_t i = 0; i < f.n; ++i)
                        ASSERT_TRUE(Same(&out[i * size], &expected[i * size], outType))
                            << "out " << outType << " options 0x" << std::hex << frame.options << std::dec << " frame "
                            << frame.frameNumber << " bounds " << bi << " pixel " << i;
                    ++checked;
                }
            }
        }
        EXPECT_EQ(f.src, original) << "no orientation option: the source stays as it was";
    }
    EXPECT_GT(checked, 100);
}

INSTANTIATE_TEST_SUITE_P(Each, OnlineModel, testing::ValuesIn(qmtest::EveryIsaWith({7, 2, 11, 8, 3, 6, 15})),
                         qmtest::ParamName);

// Corrected values (s - d) x f one unit off a float midpoint, with 30 to 32 significant bits in
// s - d (a double then holds the midpoint, not the value): the value decides how its block is
// evaluated, and the F32 output must hold it rounded once, written or accumulated onto 0.
TEST(OnlineKernels, ValuesOneUnitOffAFloatMidpointRoundOnce) {
    const int cases[][3] = {{7, 1, 31}, {2, 1, 31}, {8, 0, 32}, {8, 1, 31}, {3, 1, 31}};  // source, dark, bits
    qmtest::OnEveryIsa([&](qm::Isa) {
        for (const auto& [type, dark, maxBits] : cases)
            for (int bits = 30; bits <= maxBits; ++bits)
                for (const int r : {1, -1})
                    for (const int64_t sign : {dark ? -1 : 1, 1}) {  // flat alone: the unsigned pixel
                        uint64_t m = 0xFFFFFF, v = 0;                // the factor's significand, then |s - d|
                        while ((v = qmtest::MidpointPartner(m, bits, r)) == 0) m -= 2;
                        const int64_t value = sign * static_cast<int64_t>(v);
                        const float f = std::ldexp(static_cast<float>(m), -23);
                        const float want = qmtest::RoundToNearestEven<float>(mpq_class(static_cast<long>(value)) * f);
                        ASSERT_NE(want, static_cast<float>(static_cast<double>(value) * f));  // rounded twice
                        // 16-bit pixels: s = 5 and the dark makes up the value; 32-bit ones: the dark is -3.
                        for (const uint32_t n : {16u, 1u}) {
                            // Frames of equal pixels: 16 (whole vectors of every set) and 1 (a tail alone).
                            const bool wide = type == 8 || type == 3;
                            const int32_t d0 = !dark  ? 0
                                               : wide ? -3
                                                      : static_cast<int32_t>(5u - static_cast<uint32_t>(value));
                            std::vector<int32_t> d(n, d0);
                            std::vector<uint32_t> s(n, wide ? static_cast<uint32_t>(value + d0) : 5u);
                            std::vector<uint16_t> s16(n, 5);
                            std::vector<float> fs(n, f), outs(n);
                            QmdDataStruct srcD{wide ? static_cast<void*>(s.data()) : s16.data(), n, 1, type, 1, {}},
                                darkD{d.data(), n, 1, 3, 1, {}}, flatD{fs.data(), n, 1, 4, 1, {}},
                                outD{outs.data(), n, 1, 4, 1, {}};
                            for (uint32_t frameNumber : {1u, 2u}) {  // write, then accumulate onto 0
                                std::fill(outs.begin(), outs.end(), 0.0f);
                                const uint32_t options = (dark ? qm::kOnlineDarkSubtract : 0u) | qm::kOnlineFlatField |
                                                         (frameNumber == 2 ? qm::kOnlineAccumulate : 0u);
                                qm::OnlineFrame frame{options, &srcD, nullptr, &darkD, &flatD,
                                                      &outD,   0,     0,       5,      frameNumber};
                                ASSERT_EQ(RunPipeline(frame, type), qm::Status::Ok);
                                for (const float got : outs)
                                    EXPECT_EQ(got, want)
                                        << "source " << type << " value " << value << " x " << f << " frame "
                                        << frameNumber << std::hexfloat << ": got " << got << " want " << want;
                            }
                        }
                    }
    });
}

// Base values (32-bit pixels less the dark pixel, up to 33 bits) at or beyond 2^29 take the exact
// product of their flat factor in lanes: its rounded value p and the sign of its rest decide
// threshold and clip at a bound equal to p, and integer outputs of products of 2^52 or more (whose
// truncation need not be a double) go lane by lane. Each case fills whole vectors (16 pixels) and a frame with a tail
// (19), for every output type, stage and mode, against the model.
TEST(OnlineKernels, WideProductsAtTheEdgesOfTheirLanes) {
    struct Case {
        int type;
        int64_t value;  // the base value: the pixel less the dark one
        float flat;
        int32_t dark = 0;
    };
    std::vector<Case> cases = {{8, 0xFFFFFFFF, 2097152.5f},
                               {8, 0xFFFFFFFF, 4194303.5f},
                               {3, -0x7FFFFFFF, 4194303.5f},
                               {8, 0xC0000001, 3145727.75f},
                               {8, 0x80000001, 1048576.75f},
                               {8, 0x20000000, 1.0f + 0x1p-23f},
                               {3, -0x20000001, 1.5f},
                               {3, 0xFFFFFFFF, 2097152.5f, INT32_MIN},
                               {3, -0xFFFFFFFF, 1.75f, INT32_MAX},
                               {8, -0x80000000, 3145727.75f, 0x7FFFFFFF}};
    int restSigns[2] = {0, 0};  // products below and above their rounded value
    for (int bits = 30; bits <= 32; ++bits)
        for (const int r : {1, -1}) {
            uint64_t m = 0xFFFFFF, v = 0;  // the factor's significand, then the pixel
            while ((v = qmtest::MidpointPartner(m, bits, r)) == 0) m -= 2;
            const float f = std::ldexp(static_cast<float>(m), -23);
            cases.push_back({8, static_cast<int64_t>(v), f});
            if (bits < 32) cases.push_back({3, -static_cast<int64_t>(v), f});
        }
    for (const Case& c : cases) {
        const double p = static_cast<double>(c.value) * c.flat;
        const mpq_class rest = mpq_class(static_cast<long>(c.value)) * c.flat - p;
        if (rest != 0) ++restSigns[rest > 0];
    }
    ASSERT_GT(restSigns[0], 2);
    ASSERT_GT(restSigns[1], 2);
    const Final stages[] = {Final::None, Final::Threshold, Final::Clip};
    qmtest::OnEveryIsa([&](qm::Isa) {
        for (const Case& c : cases)
            for (const uint32_t n : {16u, 19u}) {
                std::vector<uint32_t> src(n, static_cast<uint32_t>(c.value + c.dark));
                std::vector<int32_t> dark(n, c.dark);
                std::vector<float> flat(n, c.flat), gain(n, 1.0f);
                const auto* bytes = reinterpret_cast<const unsigned char*>(src.data());
                const double p = static_cast<double>(c.value) * c.flat;
                for (int outType = 1; outType <= 8; ++outType)
                    for (const Final stage : stages)
                        for (const bool accumulate : {false, true}) {
                            const int size = onlinemodel::kSize[outType];
                            const onlinemodel::Options o{c.dark != 0, true, accumulate, stage};
                            std::vector<unsigned char> out(n * size, 0x11), expected = out, one(8);
                            for (uint32_t i = 0; i < n; ++i) {
                                onlinemodel::ModelPixel(one.data(), outType, bytes, c.type, i, dark.data(), flat.data(),
                                                        gain.data(), p, p, o);
                                if (accumulate)
                                    onlinemodel::Accumulate(&expected[i * size], outType, one.data());
                                else
                                    std::memcpy(&expected[i * size], one.data(), size);
                            }
                            QmdDataStruct srcD{src.data(), n, 1, c.type, 1, {}}, darkD{dark.data(), n, 1, 3, 1, {}},
                                flatD{flat.data(), n, 1, 4, 1, {}}, outD{out.data(), n, 1, outType, 1, {}};
                            qm::OnlineFrame frame;
                            frame.options = qm::kOnlineFlatField | (c.dark != 0 ? qm::kOnlineDarkSubtract : 0u) |
                                            (accumulate ? qm::kOnlineAccumulate : 0u) |
                                            (stage == Final::Threshold ? qm::kOnlineThreshold
                                             : stage == Final::Clip    ? qm::kOnlineClipRange
                                                                       : 0u);
                            frame.source = &srcD, frame.dark = &darkD, frame.flat = &flatD, frame.output = &outD;
                            frame.a = frame.b = p;
                            frame.frameCount = 5, frame.frameNumber = accumulate ? 2 : 1;
                            ASSERT_EQ(RunPipeline(frame, c.type), qm::Status::Ok);
                            for (uint32_t i = 0; i < n; ++i)
                                ASSERT_TRUE(Same(&out[i * size], &expected[i * size], outType))
                                    << "pixel " << c.value << " x " << std::hexfloat << c.flat << std::defaultfloat
                                    << ", output " << outType << ", stage " << static_cast<int>(stage) << ", "
                                    << (accumulate ? "accumulated" : "written") << ", " << n << " pixels";
                        }
            }
    });
}

// Colour pixels reduced to their mean take a multiply-and-shift in place of the division by 6 in
// vectors: every byte sum from 0 to 765, in frames long enough for whole vectors and in ones that
// end a pixel or two past the last whole vector (the vector loads reach past their pixels).
TEST(OnlineKernels, ColourMeanOfEveryByteSum) {
    qmtest::OnEveryIsa([&](qm::Isa) {
        for (const uint32_t n : {766u, 17u, 18u, 19u, 34u, 35u}) {
            std::vector<unsigned char> src(3 * n);
            std::vector<int32_t> want(n);
            for (uint32_t i = 0; i < n; ++i) {
                const int sum = static_cast<int>((i * 7919u + (n == 766 ? 0 : 700)) % 766);
                const int b0 = std::min(sum, 255), b1 = std::min(sum - b0, 255), b2 = sum - b0 - b1;
                src[3 * i] = static_cast<unsigned char>(b1), src[3 * i + 1] = static_cast<unsigned char>(b2);
                src[3 * i + 2] = static_cast<unsigned char>(b0);
                want[i] = static_cast<int32_t>(std::trunc((sum + 0.5) * 0.3333333333333333));
            }
            for (const int outType : {6, 7, 4}) {  // U8, U16, F32; written, then added onto the first
                std::vector<unsigned char> out(n * 4, 0);
                QmdDataStruct srcD{src.data(), n, 1, 15, 1, {}}, outD{out.data(), n, 1, outType, 1, {}};
                for (const uint32_t frameNumber : {1u, 2u}) {
                    qm::OnlineFrame frame;
                    frame.options = frameNumber == 2 ? qm::kOnlineAccumulate : 0u;
                    frame.source = &srcD, frame.output = &outD, frame.frameNumber = frameNumber;
                    ASSERT_EQ(RunPipeline(frame, 15), qm::Status::Ok);
                }
                for (uint32_t i = 0; i < n; ++i) {
                    const int32_t twice = outType == 6 ? 2 * want[i] & 0xFF : 2 * want[i];  // U8 wraps
                    const size_t size = outType == 6 ? 1 : outType == 7 ? 2 : 4;
                    float f = 0;
                    uint16_t w = 0;
                    std::memcpy(outType == 4 ? static_cast<void*>(&f) : &w, &out[i * size], size);
                    const int32_t got = outType == 4 ? static_cast<int32_t>(f) : w;
                    ASSERT_EQ(got, twice) << "pixel " << i << " of " << n << ", output type " << outType;
                }
            }
        }
    });
}

}  // namespace
