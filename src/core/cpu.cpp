#include "core/cpu.h"

#include <atomic>

namespace qm {
namespace {

Isa Detect() noexcept {
#if QM_HAVE_ISA_VARIANTS
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
        __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("fma") && __builtin_cpu_supports("bmi2"))
        return Isa::Avx512;
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") && __builtin_cpu_supports("bmi2"))
        return Isa::Avx2;
#endif
    return Isa::Baseline;
}

const Isa kDetected = Detect();
std::atomic<Isa> g_active{kDetected};

}  // namespace

Isa DetectedIsa() noexcept { return kDetected; }

Isa ActiveIsa() noexcept { return g_active.load(std::memory_order_relaxed); }

Isa SetActiveIsa(Isa wanted) noexcept {
    const Isa chosen = static_cast<uint8_t>(wanted) <= static_cast<uint8_t>(kDetected) ? wanted : kDetected;
    g_active.store(chosen, std::memory_order_relaxed);
    return chosen;
}

}  // namespace qm
