// SPDX-License-Identifier: MIT
#include "core/allocation.h"

#include <atomic>
#include <new>

namespace qm {
namespace {
constexpr std::align_val_t kAlignment{64};
std::atomic<AllocationGate> g_gate{nullptr};
}  // namespace

void* Allocate(size_t bytes) noexcept {
    const AllocationGate gate = g_gate.load(std::memory_order_acquire);
    if (gate != nullptr && !gate(bytes)) return nullptr;
    return ::operator new(bytes, kAlignment, std::nothrow);
}

void Release(void* p) noexcept {
    if (p != nullptr) ::operator delete(p, kAlignment);
}

void SetAllocationGate(AllocationGate gate) noexcept { g_gate.store(gate, std::memory_order_release); }

}  // namespace qm
