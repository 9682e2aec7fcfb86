// SPDX-License-Identifier: MIT
#include "core/allocation.h"

#include <atomic>
#include <new>

namespace qm {
namespace {
constexpr std::align_val_t kAlignment{64};
std::atomic<AllocationGate> g_gate{nullptr};
std::atomic<size_t> g_live{0};
}  // namespace

void* Allocate(size_t bytes) noexcept {
    const AllocationGate gate = g_gate.load(std::memory_order_acquire);
    if (gate != nullptr && !gate(bytes)) return nullptr;
    void* p = ::operator new(bytes, kAlignment, std::nothrow);
    if (p != nullptr) g_live.fetch_add(1, std::memory_order_relaxed);
    return p;
}

void Release(void* p) noexcept {
    if (p == nullptr) return;
    g_live.fetch_sub(1, std::memory_order_relaxed);
    ::operator delete(p, kAlignment);
}

size_t LiveAllocations() noexcept { return g_live.load(std::memory_order_relaxed); }

void SetAllocationGate(AllocationGate gate) noexcept { g_gate.store(gate, std::memory_order_release); }

}  // namespace qm
