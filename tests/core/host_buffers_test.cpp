// SPDX-License-Identifier: MIT
// Host buffers as hosts really pass them: at any address (a slice of a byte buffer), holding NaN,
// infinities and values beyond every integer range, and with the output laid over a source.
//
// Misaligned images must give exactly the bytes the same call gives on aligned ones. An output
// that overlaps a source must give the module's element order: element i read just before element
// i is written, in index order; the reference runs the same call one element at a time.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "arith/arith_dispatch.h"
#include "core/element_types.h"
#include "core/stream.h"
#include "online/online.h"
#include "scalar/scalar_dispatch.h"
#include "support/elements.h"
#include "support/isa.h"

namespace {

using qmtest::Bytes;

constexpr int32_t kTypes[] = {qm::kI8, qm::kI16, qm::kI32, qm::kF32, qm::kF64, qm::kU8, qm::kU16, qm::kU32};
constexpr size_t kCount = 1100;             // crosses two block boundaries and leaves a tail
constexpr size_t kSpan = 16 * kCount + 64;  // room for one image of any type

// Elements of every kind, special floating values included (NaN, infinities, beyond int64).
void FillElements(unsigned char* p, int32_t type, size_t n, uint32_t seed) {
    std::mt19937 rng(seed);
    const double specials[] = {std::nan(""), INFINITY, -INFINITY, 1e300, -1e300, 3e9, -3e9, -0.0, 0.5, -2.5};
    for (size_t i = 0; i < n; ++i) {
        const uint64_t bits = (uint64_t{rng()} << 32) | rng();
        if (type == qm::kF32 || type == qm::kF64) {
            const double v = i % 7 == 0 ? specials[i / 7 % std::size(specials)]
                                        : static_cast<double>(static_cast<int32_t>(rng())) / 64.0;
            if (type == qm::kF32) {
                const auto f = static_cast<float>(v);
                std::memcpy(p + 4 * i, &f, 4);
            } else {
                std::memcpy(p + 8 * i, &v, 8);
            }
        } else {
            std::memcpy(p + i * qm::ElementSize(type), &bits, qm::ElementSize(type));
        }
    }
}

QmdDataStruct Image(void* data, int32_t type, size_t n) {
    return QmdDataStruct{data, static_cast<uint32_t>(n), 1, type, 1, {}};
}

// One call over images placed in a shared buffer: (destination, sources) -> status.
using Call = std::function<qm::Status(QmdDataStruct& dst, std::vector<QmdDataStruct>& srcs)>;

// Runs `call` on images at byte offsets `at` of a buffer and returns the buffer and the status.
struct Layout {
    int32_t dstType;
    size_t dstAt;
    std::vector<int32_t> srcTypes;
    std::vector<size_t> srcAt;
    size_t moving = 2;  // sources that a misaligned run moves too (reference frames stay aligned)
};

qm::Status Run(const Call& call, const Layout& l, Bytes& buffer, size_t first, size_t n) {
    QmdDataStruct dst = Image(buffer.data() + l.dstAt + first * qm::ElementSize(l.dstType), l.dstType, n);
    std::vector<QmdDataStruct> srcs;
    for (size_t s = 0; s < l.srcTypes.size(); ++s)
        srcs.push_back(Image(buffer.data() + l.srcAt[s] + first * qm::ElementSize(l.srcTypes[s]), l.srcTypes[s], n));
    return call(dst, srcs);
}

// The result of the whole call against the same call one element at a time, in index order.
void ExpectElementOrder(const Call& call, const Layout& l, const Bytes& start, const char* what) {
    Bytes whole = start, single = start;
    const qm::Status s = Run(call, l, whole, 0, kCount);
    qm::Status worst = qm::Status::Ok;
    for (size_t i = 0; i < kCount; ++i) {
        const qm::Status e = Run(call, l, single, i, 1);
        if (e != qm::Status::Ok) worst = e;
    }
    EXPECT_EQ(s, worst) << what;
    EXPECT_TRUE(whole == single) << what << ": destination at " << l.dstAt << ", sources at " << l.srcAt[0];
}

// The same call at aligned offsets and at `shift` bytes past them gives the same bytes.
void ExpectAlignmentFree(const Call& call, const Layout& l, size_t shift, const char* what) {
    Bytes aligned(6 * kSpan), moved(6 * kSpan);
    Layout m = l;
    m.dstAt += shift;
    for (size_t s = 0; s < l.srcAt.size(); ++s) {
        if (s < l.moving) m.srcAt[s] += (shift * (s + 3)) % 8;
        FillElements(aligned.data() + l.srcAt[s], l.srcTypes[s], kCount, static_cast<uint32_t>(7 * s + shift));
        FillElements(moved.data() + m.srcAt[s], l.srcTypes[s], kCount, static_cast<uint32_t>(7 * s + shift));
    }
    const qm::Status sa = Run(call, l, aligned, 0, kCount), sm = Run(call, m, moved, 0, kCount);
    EXPECT_EQ(sa, sm) << what;
    const size_t bytes = kCount * qm::ElementSize(l.dstType);
    EXPECT_EQ(0, std::memcmp(aligned.data() + l.dstAt, moved.data() + m.dstAt, bytes))
        << what << " shifted by " << shift;
}

Call Scalar(int32_t op, double a, double b) {
    return [=](QmdDataStruct& d, std::vector<QmdDataStruct>& s) { return qm::ScalarDispatch(op, &d, &s[0], a, b); };
}
Call Arith(int32_t op) {
    return [=](QmdDataStruct& d, std::vector<QmdDataStruct>& s) { return qm::ArithDispatch(op, &d, &s[0], &s[1]); };
}
// Online frames of source s[0] with the dark frame s[1] (I32), the flat field s[2] and the gain
// s[3] (F32), which the test fills like any image (NaN and infinite factors included).
Call Online(uint32_t options, uint32_t frameNumber) {
    return [=](QmdDataStruct& d, std::vector<QmdDataStruct>& s) {
        qm::OnlineFrame frame;
        frame.options = options;
        frame.source = &s[0];
        frame.dark = &s[1];
        frame.flat = &s[2];
        frame.gain = &s[3];
        frame.output = &d;
        frame.a = 100.0;
        frame.b = 3e9;
        frame.frameNumber = frameNumber;
        const int32_t t = s[0].eType;
        if (t == qm::kU8) return qm::OnlinePipeline8(frame);
        return t == qm::kU32 || t == qm::kI32 ? qm::OnlinePipeline32(frame) : qm::OnlinePipeline16(frame);
    };
}

// Online layouts: the source at `at`, then the dark, flat and gain frames.
Layout OnlineLayout(int32_t dst, size_t dstAt, int32_t src, size_t at) {
    return {dst, dstAt, {src, qm::kI32, qm::kF32, qm::kF32}, {at, 3 * kSpan, 4 * kSpan, 5 * kSpan}, 1};
}
constexpr uint32_t kOnlineOptions[] = {0x000u, 0x001u, 0x003u, 0x103u, 0x00Bu, 0x013u, 0x107u, 0x012u};

TEST(HostBuffers, MisalignedImagesGiveTheSameBytes) {
    qmtest::OnEveryIsa([&](qm::Isa) {
        for (size_t shift = 1; shift < 8; shift += 3) {
            for (int32_t s : kTypes)
                for (int32_t d : kTypes) {
                    for (int32_t op : {256, 501, 503, 504, 505, 508, 509}) {
                        const double k = op == 256 ? -5.5 : op == 503 ? 0.1 : op == 504 ? 3.0 : 1e-17;
                        ExpectAlignmentFree(Scalar(op, k, 70000.5), {d, 0, {s}, {kSpan}}, shift, "scalar");
                    }
                    for (int32_t op = 1; op <= 4; ++op)
                        ExpectAlignmentFree(Arith(op), {d, 0, {s, d}, {kSpan, 2 * kSpan}}, shift, "arith");
                }
            for (int32_t s : {qm::kU16, qm::kU32, qm::kI32, qm::kU8})
                for (int32_t d : kTypes)
                    for (uint32_t options : kOnlineOptions)
                        ExpectAlignmentFree(Online(options, options & 0x004 ? 2 : 1), OnlineLayout(d, 0, s, kSpan),
                                            shift, "online");
        }
    });
}

TEST(HostBuffers, OutputsOverSourcesFollowTheElementOrder) {
    // Destinations starting before, on and after their source, narrower, as wide and wider.
    const std::pair<int32_t, int32_t> widths[] = {{qm::kU16, qm::kI32}, {qm::kI32, qm::kU16}, {qm::kU8, qm::kF64},
                                                  {qm::kF64, qm::kU8},  {qm::kF32, qm::kF32}, {qm::kU16, qm::kU16}};
    qmtest::OnEveryIsa([&](qm::Isa) {
        for (auto [s, d] : widths)
            for (int delta : {-8, -2, 0, 1, 2, 6, 16}) {
                const size_t base = 64, at = static_cast<size_t>(static_cast<int>(base) + delta);
                Bytes start(6 * kSpan);
                FillElements(start.data() + base, s, kCount, 11);
                FillElements(start.data() + kSpan, d, kCount, 12);
                FillElements(start.data() + 3 * kSpan, qm::kI32, kCount, 13);
                FillElements(start.data() + 4 * kSpan, qm::kF32, kCount, 14);
                FillElements(start.data() + 5 * kSpan, qm::kF32, kCount, 15);
                for (int32_t op : {256, 502, 503, 504, 508, 509})
                    ExpectElementOrder(Scalar(op, op == 503 ? 0.1 : 7.0, 300.0), {d, at, {s}, {base}}, start, "scalar");
                for (int32_t op = 1; op <= 4; ++op) {
                    ExpectElementOrder(Arith(op), {d, at, {s, d}, {base, kSpan}}, start, "arith over operand 1");
                    ExpectElementOrder(Arith(op), {d, at, {d, s}, {kSpan, base}}, start, "arith over operand 2");
                }
                if (s == qm::kU16 || s == qm::kI32)
                    for (uint32_t options : kOnlineOptions)
                        ExpectElementOrder(Online(options, options & 0x004 ? 2 : 1), OnlineLayout(d, at, s, base),
                                           start, "online");
            }
    });
}

TEST(HostBuffers, OutputsLargerThanTheCacheAreStreamedWithTheSameBytes) {
    // One call over an output past the streaming size, at an odd address, against the same
    // elements in calls small enough to be written plainly. Sources: U16 images a and b, a dark
    // frame and a flat field (the online call reads a, dark and flat; arithmetic a and b).
    // A threshold of 1 MiB stands for the cache, so that the test is the same on any machine.
    struct Threshold {
        Threshold() { qm::SetStreamingThreshold(size_t{1} << 20); }
        ~Threshold() { qm::SetStreamingThreshold(0); }
    } threshold;
    const size_t n = qm::StreamingThreshold() / sizeof(double) + 1001, parts = 4;
    Bytes a(n * 2 + 1), b(n * 2), dark(n * 4), flat(n * 4), whole(n * 8 + 3), pieces(n * 8 + 3);
    FillElements(a.data() + 1, qm::kU16, n, 5);
    FillElements(b.data(), qm::kU16, n, 6);
    FillElements(dark.data(), qm::kI32, n, 7);
    FillElements(flat.data(), qm::kF32, n, 8);
    const auto run = [&](const Call& call, bool online, Bytes& out, size_t first, size_t count) {
        QmdDataStruct d = Image(out.data() + 3 + first * 8, qm::kF64, count);
        const QmdDataStruct sa = Image(a.data() + 1 + first * 2, qm::kU16, count);
        std::vector<QmdDataStruct> s = {sa, Image(b.data() + first * 2, qm::kU16, count)};
        if (online)
            s = {sa, Image(dark.data() + first * 4, qm::kI32, count), Image(flat.data() + first * 4, qm::kF32, count),
                 sa};
        return call(d, s);
    };
    const std::pair<Call, bool> calls[] = {
        {Scalar(503, 0.1, 0.0), false}, {Scalar(509, 0.0, 0.0), false}, {Arith(3), false}, {Online(0x003, 1), true}};
    qmtest::OnEveryIsa([&](qm::Isa) {  // each set streams with its own widest stores
        for (const auto& [call, online] : calls) {
            std::fill(whole.begin(), whole.end(), 0x5A), std::fill(pieces.begin(), pieces.end(), 0xA5);
            const qm::Status s = run(call, online, whole, 0, n);
            for (size_t p = 0; p < parts; ++p) {
                const size_t first = p * (n / parts), count = p + 1 < parts ? n / parts : n - first;
                EXPECT_EQ(run(call, online, pieces, first, count), s);
            }
            EXPECT_TRUE(std::equal(whole.begin() + 3, whole.end(), pieces.begin() + 3));
        }
    });
}

TEST(HostBuffers, SpecialValuesConvertByTheStoreRule) {
    // NaN, infinities and values beyond int64 store 0 into every integer type; floats keep them.
    const double specials[] = {std::nan(""), INFINITY, -INFINITY, 1e300, -0x1p63 * 2, 0x1p63};
    qmtest::OnEveryIsa([&](qm::Isa) {
        std::vector<double> src(kCount);
        for (size_t i = 0; i < kCount; ++i) src[i] = specials[i % std::size(specials)];
        QmdDataStruct s = Image(src.data(), qm::kF64, kCount);
        for (int32_t d : {qm::kI8, qm::kI16, qm::kI32, qm::kU8, qm::kU16, qm::kU32}) {
            Bytes out(kCount * 4, 0xAB);
            QmdDataStruct o = Image(out.data(), d, kCount);
            ASSERT_EQ(qm::ScalarDispatch(509, &o, &s, 0.0, 0.0), qm::Status::Ok);
            for (size_t i = 0; i < kCount; ++i)
                ASSERT_EQ(qmtest::BitsAt(out, i, qm::ElementSize(d)), 0u) << d << " " << i;
        }
    });
}

}  // namespace
