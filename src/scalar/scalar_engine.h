// SPDX-License-Identifier: MIT
// The per-source-type operation engines: one template over the source element type, seven
// instantiations. An engine selects the destination type, then the operation, and runs one loop.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/status.h"
#include "qmath/qmath.h"

namespace qm {

// Destination type outside 1 to 8: UnsupportedType, before the operation is looked at. Unknown
// operation: Ok with nothing written. n below 1: MissingImage. 505 to 507 may give
// ElementNotComputed. src holds n elements of S.
template <class S>
Status ScalarEngine(int32_t op, const QmdDataStruct* dst, const void* src, double a, double b, int32_t n) noexcept;

using ScalarEngineFn = Status (*)(int32_t, const QmdDataStruct*, const void*, double, double, int32_t) noexcept;

// U32 sources have no engine of their own: they share the I32 engine and are read as signed.
inline constexpr ScalarEngineFn ScalarEngineI8 = &ScalarEngine<int8_t>;
inline constexpr ScalarEngineFn ScalarEngineI16 = &ScalarEngine<int16_t>;
inline constexpr ScalarEngineFn ScalarEngineI32 = &ScalarEngine<int32_t>;
inline constexpr ScalarEngineFn ScalarEngineF32 = &ScalarEngine<float>;
inline constexpr ScalarEngineFn ScalarEngineF64 = &ScalarEngine<double>;
inline constexpr ScalarEngineFn ScalarEngineU8 = &ScalarEngine<uint8_t>;
inline constexpr ScalarEngineFn ScalarEngineU16 = &ScalarEngine<uint16_t>;

// Whether a call of op from srcType into dstType with constant A over n elements would run the
// floor form of integer_form.h under the active instruction set (for tests and benchmarks; the
// stored elements are the same either way).
bool UsesFloorForm(int32_t op, int32_t srcType, int32_t dstType, double a, size_t n) noexcept;

}  // namespace qm
