// SPDX-License-Identifier: MIT
// How a host recognises the module: one device, its name, identifiers and version.
#pragma once

#include <cstdint>

namespace qm {

inline constexpr char kDeviceName[] = "General and Online Math";  // 24 bytes with the terminator
inline constexpr uint32_t kDeviceCount = 1;
inline constexpr uint32_t kDeviceId1 = 0x03000000u;
inline constexpr uint32_t kDeviceId2 = 6;
inline constexpr uint32_t kVersion[4] = {3, 0, 10, 0};  // major, minor, build, revision

static_assert(sizeof(kDeviceName) == 24);

}  // namespace qm
