// SPDX-License-Identifier: MIT
// The fixed table of processing instances and the lifecycle of one instance.
#pragma once

#include <atomic>
#include <cstdint>

#include "bayer/bayer.h"
#include "core/status.h"
#include "qmath/qmath.h"

namespace qm {

// One processing instance. Host-owned images are kept by address only; the three reference
// frames are the module's own (CreateOwnedImage).
struct Instance {
    uint32_t nSlot = 0;
    uint32_t nTag = 0;
    int32_t nProcess = 0;
    uint32_t nOptions = 0;
    double dConstA = 0.0;
    double dConstB = 0.0;
    QmdDataStruct* pFlatFieldFrame = nullptr;  // module-owned, F32
    QmdDataStruct* pDarkFrame = nullptr;       // module-owned, I32
    QmdDataStruct* pGainFrame = nullptr;       // module-owned, F32
    QmdDataStruct* pSourceFrame = nullptr;     // host-owned
    QmdDataStruct* pOperand1 = nullptr;        // host-owned
    QmdDataStruct* pOperand2 = nullptr;        // host-owned
    uint32_t nFrameCount = 1;
    uint32_t nFrameCounter = 0;
    std::atomic<uint8_t> bInUse{0};
    uint32_t nColourFlag = 0;
    // The Bayer parameters are neither set by MathCreate nor cleared by MathDelete: a new
    // instance starts with what the slot's previous occupant left.
    BayerConstants bayer;
};

// 255 slots a host can be given, and a spare 256th record so that any low byte of a handle
// addresses a record.
inline constexpr uint32_t kInstanceSlots = 255;
inline constexpr uint32_t kInstanceRecords = 256;

// The record a handle addresses: its low 8 bits. Whether the slot is in use is not checked.
Instance& InstanceFor(QmHandle handle) noexcept;

// Clears every in-use flag, as when the module is loaded into a process.
void ClearInUseFlags() noexcept;

// Takes the lowest free slot atomically; writes the handle only on success. A null handle
// pointer takes nothing and gives MissingImage.
Status CreateInstance(uint32_t tag, QmHandle* handle) noexcept;

// Frees the addressed slot, whatever its state: releases the reference frames completely.
void DeleteInstance(QmHandle handle) noexcept;

// Restarts the addressed instance's frame cycle.
void ResetInstance(QmHandle handle) noexcept;

}  // namespace qm
