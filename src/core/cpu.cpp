// SPDX-License-Identifier: MIT
#include "core/cpu.h"

#include <cstdlib>
#include <cstring>

namespace qm {
namespace {

Isa Detect() noexcept {
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("fma") &&
        __builtin_cpu_supports("bmi2"))
        return Isa::Avx512;
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") && __builtin_cpu_supports("bmi2"))
        return Isa::Avx2;
#endif
    return Isa::Baseline;
}

const Isa kDetected = Detect();

Isa Capped(Isa wanted) noexcept {
    return static_cast<uint8_t>(wanted) <= static_cast<uint8_t>(kDetected) ? wanted : kDetected;
}

std::atomic<Isa> g_active{IsaFromEnvironment(std::getenv("QMATH_ISA"))};

}  // namespace

Isa IsaFromEnvironment(const char* text) noexcept {
    if (text == nullptr) return kDetected;
    if (std::strcmp(text, "baseline") == 0) return Isa::Baseline;
    if (std::strcmp(text, "avx2") == 0) return Capped(Isa::Avx2);
    if (std::strcmp(text, "avx512") == 0) return Capped(Isa::Avx512);
    return kDetected;
}

Isa DetectedIsa() noexcept { return kDetected; }

Isa ActiveIsa() noexcept { return g_active.load(std::memory_order_relaxed); }

Isa SetActiveIsa(Isa wanted) noexcept {
    const Isa chosen = Capped(wanted);
    g_active.store(chosen, std::memory_order_relaxed);
    return chosen;
}

}  // namespace qm
