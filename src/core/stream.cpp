// SPDX-License-Identifier: MIT
#include "core/stream.h"

#include <emmintrin.h>

#include <atomic>
#include <cstdint>

#include "core/blocks.h"

#if defined(__linux__) || defined(__unix__)
#include <unistd.h>
#endif

namespace qm {
namespace {

size_t LastLevelCache() noexcept {
#if defined(_SC_LEVEL3_CACHE_SIZE)
    const long l3 = sysconf(_SC_LEVEL3_CACHE_SIZE);
    if (l3 > 0) return static_cast<size_t>(l3);
#endif
    return size_t{16} << 20;  // a common size where the system does not say
}

const size_t kDefaultThreshold = LastLevelCache() / 4 * 3;
std::atomic<size_t> g_threshold{kDefaultThreshold};

}  // namespace

size_t StreamingThreshold() noexcept { return g_threshold.load(std::memory_order_relaxed); }

void SetStreamingThreshold(size_t bytes) noexcept {
    g_threshold.store(bytes == 0 ? kDefaultThreshold : bytes, std::memory_order_relaxed);
}

void StreamCopy(unsigned char* dst, const unsigned char* src, size_t n) noexcept {
    blocks::kTables.Active().streamCopy(dst, src, n);
}

void StreamFence() noexcept { _mm_sfence(); }

}  // namespace qm
