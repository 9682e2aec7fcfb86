// SPDX-License-Identifier: MIT
#include "interface/instance_table.h"

#include "core/owned_image.h"

namespace qm {
namespace {

Instance g_table[kInstanceRecords];

// The module's load notification: a process that loads the module starts with every slot free.
[[gnu::constructor]] void OnModuleLoad() { ClearInUseFlags(); }

// The fields a slot starts with and is left with: no process, no options, no images, a
// frame count of 1. The Bayer parameters and the colour flag are not touched here.
void ClearRecord(Instance& instance, uint32_t slot, uint32_t tag) noexcept {
    instance.nSlot = slot;
    instance.nTag = tag;
    instance.nProcess = 0;
    instance.nOptions = 0;
    instance.dConstA = 0.0;
    instance.dConstB = 0.0;
    ReleaseOwnedImage(instance.pFlatFieldFrame);
    ReleaseOwnedImage(instance.pDarkFrame);
    ReleaseOwnedImage(instance.pGainFrame);
    instance.pSourceFrame = nullptr;
    instance.pOperand1 = nullptr;
    instance.pOperand2 = nullptr;
    instance.nFrameCount = 1;
    instance.nFrameCounter = 0;
}

}  // namespace

Instance& InstanceFor(QmHandle handle) noexcept { return g_table[handle & 0xFFu]; }

void ClearInUseFlags() noexcept {
    for (Instance& instance : g_table) instance.bInUse.store(0, std::memory_order_relaxed);
}

Status CreateInstance(uint32_t tag, QmHandle* handle) noexcept {
    // A slot handed to nobody could never be deleted: without somewhere to put the handle,
    // nothing is taken.
    if (handle == nullptr) return Status::MissingImage;
    for (uint32_t slot = 0; slot < kInstanceSlots; ++slot) {
        Instance& instance = g_table[slot];
        uint8_t expected = 0;
        if (!instance.bInUse.compare_exchange_strong(expected, 1, std::memory_order_acq_rel)) continue;
        *handle = slot;
        ClearRecord(instance, slot, tag);  // MathDelete released the reference frames already
        instance.nColourFlag = 0;
        *handle |= tag;
        return Status::Ok;
    }
    return Status::NoFreeInstance;
}

void DeleteInstance(QmHandle handle) noexcept {
    Instance& instance = InstanceFor(handle);
    ClearRecord(instance, 0, 0);
    instance.bInUse.store(0, std::memory_order_release);
}

void ResetInstance(QmHandle handle) noexcept { InstanceFor(handle).nFrameCounter = 0; }

}  // namespace qm
