// Every online kernel against the reference model: each source type, output type, dark and flat
// on or off, final stage and mode, on boundary and random pixels, under every instruction set.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "core/cpu.h"
#include "online/online.h"
#include "online_model.h"

namespace {

using onlinemodel::Final;

constexpr size_t kPixels = 131;  // odd: vector loops need their tails
// Camera-like frames: small dark pixels and ordinary factors, long enough for several blocks of
// the narrow rule, with one wild pixel that sends its block down the general one.
constexpr size_t kCameraPixels = 1187;
constexpr size_t kWildPixel = 700;

struct Frames {
    std::vector<unsigned char> src;
    std::vector<int32_t> dark;
    std::vector<float> flat, gain;
    double tie = 0;  // the rounded value of pixel 8 times its flat factor 1 + 2^-23
    size_t pixels = kPixels;
};

int PixelBytes(int srcType) { return srcType == 6 ? 1 : srcType == 15 || srcType == 11 ? 3 : (srcType == 8 || srcType == 3) ? 4 : 2; }

Frames MakeFrames(int srcType, uint32_t seed) {
    std::mt19937 rng(seed);
    Frames f;
    f.src.resize(kPixels * PixelBytes(srcType));
    std::vector<int64_t> taken(kPixels);
    const int bytes = PixelBytes(srcType);
    for (size_t i = 0; i < kPixels; ++i) {
        uint64_t v = rng();
        if (bytes == 2 || srcType == 11) {
            static const uint16_t kEdge[] = {0, 1, 2, 100, 101, 1000, 5000, 32767, 32768, 65534, 65535};
            if (i < std::size(kEdge)) v = kEdge[i];
            v &= 0xFFFF;
        } else if (bytes == 4) {
            static const uint32_t kEdge[] = {0, 1, 5, 1000, 70000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFFFFFFFE, 0x40000001};
            if (i < std::size(kEdge)) v = kEdge[i];
            else if (i % 3 == 0) v &= 0xFFFF;
            v &= 0xFFFFFFFF;
        } else if (bytes == 1) {
            static const uint8_t kEdge[] = {0, 1, 100, 128, 200, 255};
            if (i < std::size(kEdge)) v = kEdge[i];
        } else {
            static const uint32_t kEdge[] = {0x000000, 0xFFFFFF, 0x1F140A, 0x646464, 0xC8C8C8, 0x010000};
            if (i < std::size(kEdge)) v = kEdge[i];
        }
        std::memcpy(&f.src[i * bytes], &v, bytes);
        taken[i] = static_cast<int64_t>(v & ((bytes == 4) ? 0xFFFFFFFFu : 0xFFFFu));
    }
    // Dark pixels: zero, above the source (negative differences), the 32-bit extremes, random.
    f.dark.resize(kPixels);
    for (size_t i = 0; i < kPixels; ++i) {
        switch (i % 7) {
            case 0: f.dark[i] = 0; break;
            case 1: f.dark[i] = static_cast<int32_t>(taken[i] + 200); break;
            case 2: f.dark[i] = INT32_MIN; break;
            case 3: f.dark[i] = INT32_MAX; break;
            case 4: f.dark[i] = -1; break;
            case 5: f.dark[i] = static_cast<int32_t>(rng() % 2000) - 1000; break;
            default: f.dark[i] = static_cast<int32_t>(rng()); break;
        }
    }
    // Flat factors: 0, tiny, huge, infinite, NaN, factors one ulp from 1, negative, random.
    static const float kFlat[] = {1.0f, 0.5f, 0.0f, 2.0f, 1.0f + 0x1p-23f, 1.0f - 0x1p-24f, 1e-45f, 1e-38f, 3e38f,
                                  INFINITY, NAN, -1.5f, 0.333333343f};
    f.flat.resize(kPixels);
    for (size_t i = 0; i < kPixels; ++i) {
        if (i % 2 == 0 && i / 2 < std::size(kFlat)) f.flat[i] = kFlat[i / 2];
        else if (i % 3 == 0) f.flat[i] = 1.0f + static_cast<float>(rng() & 0x7FFFFF) * 0x1p-23f;
        else f.flat[i] = static_cast<float>(rng() % 40000) / 10000.0f;
    }
    f.tie = static_cast<double>(taken[8]) * static_cast<double>(f.flat[8]);
    static const float kGain[] = {1.0f, 0.5f, 2.0f, 0.0f, -1.0f, 10.0f};
    f.gain.resize(kPixels);
    for (size_t i = 0; i < kPixels; ++i)
        f.gain[i] = i < std::size(kGain) ? kGain[i] : static_cast<float>(rng() % 100000 + 1) / 997.0f;
    return f;
}

// Sources of up to 16 bits, dark pixels within 0 to 2999, factors within 0.5 to 2 and gains
// within 1 to 8, except at kWildPixel (dark INT32_MIN, factor 3e38).
Frames MakeCameraFrames(int srcType, uint32_t seed) {
    std::mt19937 rng(seed);
    Frames f;
    f.pixels = kCameraPixels;
    const int bytes = PixelBytes(srcType);
    f.src.resize(f.pixels * bytes);
    f.dark.resize(f.pixels);
    f.flat.resize(f.pixels);
    f.gain.resize(f.pixels);
    for (size_t i = 0; i < f.pixels; ++i) {
        const uint32_t v = rng() & (bytes == 1 ? 0xFFu : 0xFFFFu);
        std::memcpy(&f.src[i * bytes], &v, std::min(bytes, 4));
        if (bytes == 3) f.src[i * 3 + 2] = static_cast<unsigned char>(rng());
        f.dark[i] = static_cast<int32_t>(rng() % 3000);
        f.flat[i] = 0.5f + static_cast<float>(rng() & 0xFFFFFF) * 0x1.8p-24f;
        f.gain[i] = 1.0f + static_cast<float>(rng() % 7);
    }
    f.dark[kWildPixel] = INT32_MIN;
    f.flat[kWildPixel] = 3e38f;
    return f;
}

qm::Status RunPipeline(qm::OnlineFrame& frame, int srcType) {
    if (srcType == 6 || srcType == 15) {
        frame.colourFlag = srcType == 15 ? 1 : 0;
        return qm::OnlinePipeline8(frame);
    }
    if (srcType == 8 || srcType == 3) return qm::OnlinePipeline32(frame);
    return qm::OnlinePipeline16(frame);
}

struct Bounds {
    double a, b;
};

TEST(OnlineKernels, MatchTheReferenceModelForEveryCombination) {
    const qm::Isa detected = qm::DetectedIsa();
    int checked = 0;
    for (qm::Isa isa : {qm::Isa::Baseline, qm::Isa::Avx2, qm::Isa::Avx512}) {
        if (qm::SetActiveIsa(isa) != isa) continue;
        for (int family = 0; family < 14; ++family) {
            const int srcType = std::array{7, 2, 11, 8, 3, 6, 15}[family % 7];
            const bool camera = family >= 7;
            const uint32_t seed = static_cast<uint32_t>(srcType) * 7919u;
            const Frames f = camera ? MakeCameraFrames(srcType, seed) : MakeFrames(srcType, seed);
            std::vector<unsigned char> srcCopy = f.src;
            // A bound equal to the rounded value of one pixel: its exact rest decides the comparison.
            // Camera frames: bounds inside the values, and bounds that store outside int32.
            const std::vector<Bounds> bounds = camera ? std::vector<Bounds>{{1000.5, 3000.0}, {3e9, -3e9}}
                                                      : std::vector<Bounds>{{100.0, 60000.0}, {-5e8, 3e9}, {1000.5, 200.0}, {f.tie, f.tie}};
            for (int outType = 1; outType <= 8; ++outType) {
                const int size = onlinemodel::OutputSize(outType);
                std::vector<unsigned char> old(f.pixels * size);
                std::mt19937 rng(static_cast<uint32_t>(outType * 31 + srcType));
                for (auto& byte : old) byte = static_cast<unsigned char>(rng());
                if (outType == 4 || outType == 5) {  // keep old floats finite and ordinary
                    for (size_t i = 0; i < f.pixels; ++i) {
                        const double d = static_cast<double>(rng() % 100000) - 50000.0;
                        if (outType == 4) { const float x = static_cast<float>(d); std::memcpy(&old[i * 4], &x, 4); }
                        else std::memcpy(&old[i * 8], &d, 8);
                    }
                }
                for (int bits = 0; bits < 16; ++bits) {
                    onlinemodel::Options o;
                    o.dark = bits & 1;
                    o.flat = bits & 2;
                    o.final = static_cast<Final>(bits >> 2);
                    for (int mode = 0; mode < 3; ++mode) {  // write; accumulate bit on frame 1; on frame 2
                        o.accumulate = mode == 2;
                        uint32_t options = (o.dark ? uint32_t{qm::kOnlineDarkSubtract} : 0u) | (o.flat ? uint32_t{qm::kOnlineFlatField} : 0u) |
                                           (mode > 0 ? uint32_t{qm::kOnlineAccumulate} : 0u);
                        if (o.final == Final::Log) options |= qm::kOnlineLog10;
                        if (o.final == Final::Threshold) options |= qm::kOnlineThreshold;
                        if (o.final == Final::Clip) options |= qm::kOnlineClipRange;
                        const size_t boundCount = (o.final == Final::Threshold || o.final == Final::Clip) ? bounds.size() : 1;
                        for (size_t bi = 0; bi < boundCount; ++bi) {
                            const Bounds bd = bounds[bi];
                            std::vector<unsigned char> expected = old;
                            std::vector<unsigned char> one(8);
                            for (size_t i = 0; i < f.pixels; ++i) {
                                onlinemodel::ModelPixel(one.data(), outType, f.src.data(), srcType, i, f.dark.data(),
                                                        f.flat.data(), f.gain.data(), bd.a, bd.b, o);
                                if (o.accumulate) onlinemodel::AddStored(&expected[i * size], outType, one.data());
                                else std::memcpy(&expected[i * size], one.data(), size);
                            }
                            std::vector<unsigned char> out = old;
                            QmdDataStruct srcDesc{srcCopy.data(), static_cast<uint32_t>(f.pixels), 1, srcType, 1, {}};
                            std::vector<int32_t> dark = f.dark;
                            std::vector<float> flat = f.flat, gain = f.gain;
                            QmdDataStruct darkDesc{dark.data(), static_cast<uint32_t>(f.pixels), 1, 3, 1, {}};
                            QmdDataStruct flatDesc{flat.data(), static_cast<uint32_t>(f.pixels), 1, 4, 1, {}};
                            QmdDataStruct gainDesc{gain.data(), static_cast<uint32_t>(f.pixels), 1, 4, 1, {}};
                            QmdDataStruct outDesc{out.data(), static_cast<uint32_t>(f.pixels), 1, outType, 1, {}};
                            qm::OnlineFrame frame;
                            frame.options = options;
                            frame.source = &srcDesc;
                            frame.dark = &darkDesc;
                            frame.flat = &flatDesc;
                            frame.gain = &gainDesc;
                            frame.output = &outDesc;
                            frame.a = bd.a;
                            frame.b = bd.b;
                            frame.frameCount = 5;
                            frame.frameNumber = mode == 2 ? 2 : 1;
                            ASSERT_EQ(RunPipeline(frame, srcType), qm::Status::Ok);
                            int shown = 0;
                            for (size_t i = 0; i < f.pixels && shown < 3; ++i) {
                                const bool same = std::memcmp(&out[i * size], &expected[i * size], size) == 0;
                                bool bothNan = false;
                                if (!same && outType == 4) { float x, y; std::memcpy(&x, &out[i * 4], 4); std::memcpy(&y, &expected[i * 4], 4); bothNan = std::isnan(x) && std::isnan(y); }
                                if (!same && outType == 5) { double x, y; std::memcpy(&x, &out[i * 8], 8); std::memcpy(&y, &expected[i * 8], 8); bothNan = std::isnan(x) && std::isnan(y); }
                                if (!same && !bothNan) {
                                    ++shown;
                                    ADD_FAILURE() << "isa " << int(isa) << " src " << srcType << " out " << outType << " options 0x"
                                                  << std::hex << options << std::dec << " frame " << frame.frameNumber << " bounds " << bi
                                                  << " pixel " << i << " dark " << f.dark[i] << " flat " << f.flat[i];
                                }
                            }
                            if (shown) return;
                            ++checked;
                        }
                    }
                }
            }
            EXPECT_EQ(srcCopy, f.src) << "no orientation option: the source stays as it was";
        }
    }
    qm::SetActiveIsa(detected);
    EXPECT_GT(checked, 1000);
}

}  // namespace
