// SPDX-License-Identifier: MIT
// The one place where the module takes memory from the heap: the reference frames (record and
// buffer) and the transposition's temporary. A test can install a gate that makes allocations
// fail, to check that every caller turns that into a status and leaves things as they were.
#pragma once

#include <cstddef>

namespace qm {

// 64-byte aligned storage of `bytes` bytes, or null when memory runs out (or the gate says no).
void* Allocate(size_t bytes) noexcept;
// Gives back storage from Allocate; does nothing for null.
void Release(void* p) noexcept;

// Allocations not yet released, for tests and soak runs that look for leaks.
size_t LiveAllocations() noexcept;

// Asked before every allocation with its size; an allocation is refused when it answers false.
// Null (the default) lets every allocation through. Safe to change while other threads allocate.
using AllocationGate = bool (*)(size_t bytes) noexcept;
void SetAllocationGate(AllocationGate gate) noexcept;

}  // namespace qm
