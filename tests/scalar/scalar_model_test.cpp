// Every source type x destination type x operation against the reference, on boundary and random
// elements and on constants where rounding and truncation are hard, under every loop variant.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "core/cpu.h"
#include "core/element_types.h"
#include "scalar/scalar_dispatch.h"
#include "scalar_ref.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Elements that sit on type limits, on float midpoints, near powers of ten, or are special.
const double kElements[] = {0, -0.0, 1, -1, 2, 3, 7, 10, 30, 100, 999, 1000, 0.5, -1.5, 2.9, -2.9, 127, 128,
                            -129, 255, 256, 32767, -32768, 65535, 65536, 2147483647.0, -2147483648.0,
                            4294967295.0, 2147483648.0, 1e9, 1e10, 16777217.0, 1 + 0x1p-24, 0x1p-24 + 0x1p-60,
                            1e30, 3.4028234663852886e38, 1e300, 1e-300, 1e-45, 5e-324, 0.1, 1.0 / 3,
                            0x1.fffffffffffffp62, 0x1p63, -0x1p63, 0x1p64, kNaN, kInf, -kInf};

// Constants where a plain double evaluation would store a different element.
const double kConstants[] = {0, -0.0, 1, -1, 3, -7, 0.5, 0.1, 1.0 / 3, -1e-17, 0x1p-60, 1e300, 1e-310, 2.5,
                             65535.5, 0x1p31, (1 + 0x1p-24) / 3, 0x1p-24 + 0x1p-70, 3 / (1 + 0x1p-24), 1e20,
                             1e-10, kNaN, kInf};

constexpr int32_t kOperations[] = {256, 500, 501, 502, 503, 504, 505, 506, 507, 508, 509};

struct Source {
    int32_t type;
    std::vector<unsigned char> bytes;
    std::vector<double> read;  // each element as the engine reads it (type 8 as signed)
};

// Stores v into element i of the source: integers by the low bits of their int64 value.
void Put(Source& s, size_t i, double v) {
    const size_t size = qm::ElementSize(s.type);
    unsigned char* p = s.bytes.data() + i * size;
    if (s.type == qm::kF32) {
        const auto f = static_cast<float>(v);
        std::memcpy(p, &f, 4);
        s.read[i] = f;
    } else if (s.type == qm::kF64) {
        std::memcpy(p, &v, 8);
        s.read[i] = v;
    } else {
        const int64_t w = std::isfinite(v) && std::fabs(v) < 0x1p63 ? static_cast<int64_t>(v) : 0;
        std::memcpy(p, &w, size);  // little-endian: the low bytes
        const bool isSigned = s.type <= qm::kI32 || s.type == qm::kU32;
        const int shift = 64 - 8 * static_cast<int>(size);
        const uint64_t low = static_cast<uint64_t>(w) << shift;
        s.read[i] = isSigned ? static_cast<double>(static_cast<int64_t>(low) >> shift) : static_cast<double>(low >> shift);
    }
}

Source MakeSource(int32_t type, std::mt19937_64& rng) {
    constexpr size_t kRandom = 24;
    const size_t n = std::size(kElements) + kRandom;
    Source s{type, std::vector<unsigned char>(n * qm::ElementSize(type)), std::vector<double>(n)};
    for (size_t i = 0; i < std::size(kElements); ++i) Put(s, i, kElements[i]);
    for (size_t i = std::size(kElements); i < n; ++i) {
        const uint64_t bits = rng();
        const double v = i % 2 ? std::bit_cast<double>(bits) : static_cast<double>(static_cast<int64_t>(bits) >> (bits % 62));
        Put(s, i, type == qm::kF32 && i % 2 ? std::bit_cast<float>(static_cast<uint32_t>(bits)) : v);
    }
    return s;
}

uint64_t ElementBits(const std::vector<unsigned char>& bytes, size_t i, size_t size) {
    uint64_t v = 0;
    std::memcpy(&v, bytes.data() + i * size, size);
    return v;
}

// Zeros of either sign, and NaNs of any sign or payload, count as one value each.
bool SameFloatClass(uint64_t got, uint64_t want, int32_t type) {
    if (type == qm::kF32) {
        const float g = std::bit_cast<float>(static_cast<uint32_t>(got)), w = std::bit_cast<float>(static_cast<uint32_t>(want));
        return (std::isnan(g) && std::isnan(w)) || (g == 0 && w == 0);
    }
    if (type == qm::kF64) {
        const double g = std::bit_cast<double>(got), w = std::bit_cast<double>(want);
        return (std::isnan(g) && std::isnan(w)) || (g == 0 && w == 0);
    }
    return false;
}

// Runs one call and compares every element and the status; returns whether all matched.
bool Check(const Source& src, int32_t dstType, int32_t op, double a, double b) {
    const size_t n = src.read.size(), size = qm::ElementSize(dstType);
    std::vector<unsigned char> dst(n * size, 0xA5);
    const std::vector<unsigned char> before = dst;
    QmdDataStruct s{const_cast<unsigned char*>(src.bytes.data()), static_cast<uint32_t>(n), 1, src.type, 1, {}};
    QmdDataStruct d{dst.data(), static_cast<uint32_t>(n), 1, dstType, 1, {}};
    const qm::Status status = qm::ScalarDispatch(op, &d, &s, a, b);

    qm::Status expectedStatus = qm::Status::Ok;
    std::vector<uint64_t> expected(n);
    for (size_t i = 0; i < n; ++i) {
        expected[i] = ElementBits(before, i, size);
        if (const auto e = qmtest::ReferenceElement(op, dstType, src.read[i], a, b)) {
            expected[i] = e->bits;
            if (e->failed) expectedStatus = qm::Status::ElementNotComputed;
        }
    }
    if (op == 506 || op == 507) {
        const long double last = src.read[n - 1];
        expected[0] = 0;
        if (last > 0) {
            expected[0] = qmtest::ReferenceStoreExtended(dstType, op == 506 ? std::log(last) : std::sqrt(last));
        } else {
            expectedStatus = qm::Status::ElementNotComputed;
        }
    }
    bool ok = status == expectedStatus;
    EXPECT_EQ(status, expectedStatus) << "op " << op << " src " << src.type << " dst " << dstType << " A " << a;
    for (size_t i = 0; i < n && ok; ++i) {
        const uint64_t got = ElementBits(dst, i, size);
        // The sign of an exact zero result is not part of the rule for the arithmetic operations.
        const bool same = SameFloatClass(got, expected[i], dstType) && (op != 509 || got == expected[i] || std::isnan(src.read[i]));
        if (got != expected[i] && !same) {
            ok = false;
            ADD_FAILURE() << "op " << op << " src type " << src.type << " dst type " << dstType << " A " << a
                          << " B " << b << " element " << i << " x " << src.read[i] << ": got 0x" << std::hex
                          << got << " want 0x" << expected[i];
        }
    }
    return ok;
}

TEST(ScalarModel, EveryTypePairAndOperationMatchesReference) {
    const qm::Isa detected = qm::DetectedIsa();
    std::mt19937_64 rng(2024);
    std::vector<Source> sources;
    for (int32_t type = qm::kI8; type <= qm::kU32; ++type) sources.push_back(MakeSource(type, rng));
    for (const qm::Isa isa : {qm::Isa::Baseline, qm::Isa::Avx2, qm::Isa::Avx512}) {
        if (qm::SetActiveIsa(isa) != isa) continue;
        int failures = 0;
        for (const Source& src : sources) {
            for (int32_t dst = qm::kI8; dst <= qm::kU32 && failures < 20; ++dst) {
                for (const int32_t op : kOperations) {
                    const bool usesA = op <= 504;
                    for (size_t k = 0; k < (usesA ? std::size(kConstants) : 1); ++k) {
                        const double a = kConstants[k], b = kConstants[(k + 5) % std::size(kConstants)];
                        failures += Check(src, dst, op, a, b) ? 0 : 1;
                    }
                }
            }
        }
        EXPECT_EQ(failures, 0) << "loop variant " << static_cast<int>(isa);
    }
    qm::SetActiveIsa(detected);
}

}  // namespace
