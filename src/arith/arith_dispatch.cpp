// SPDX-License-Identifier: MIT
// The arithmetic dispatcher, the type-pair routines and the block loop they share.
#include "arith/arith_dispatch.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "arith/arith_kernels.h"
#include "arith/arith_rules.h"
#include "core/blocks.h"
#include "core/element_types.h"
#include "core/overlap.h"
#include "core/stream.h"

namespace qm {
namespace {

bool Missing(const QmdDataStruct* d) noexcept { return d == nullptr || d->pData == nullptr; }

// Operation `op` (1 to 4) of n elements of operand types ta and tb into dst, block by block.
Status RunArithmetic(int32_t op, const QmdDataStruct* dstImage, int32_t ta, const void* opA, int32_t tb,
                     const void* opB, size_t n) noexcept {
    const blocks::Kernels& io = blocks::kTables.Active();
    const arith::Kernels& k = arith::kTables.Active();
    const int32_t td = dstImage->eType;
    auto* dst = static_cast<unsigned char*>(dstImage->pData);
    const auto* a = static_cast<const unsigned char*>(opA);
    const auto* b = static_cast<const unsigned char*>(opB);
    const size_t ds = ElementSize(td), as = ElementSize(ta), bs = ElementSize(tb);
    // Element i of both operands is read before element i of the destination is written; blocks
    // keep that order only where no write can reach an operand element of a later index.
    const size_t block = BlockwiseIsSafe(dst, ds, a, as, n) && BlockwiseIsSafe(dst, ds, b, bs, n) ? blocks::kBlock : 1;
    const bool real = td == kF32 || td == kF64;
    const bool stream = Streams(n * ds, Overlaps(dst, n * ds, a, n * as) || Overlaps(dst, n * ds, b, n * bs));
    alignas(64) unsigned char scratch[blocks::kBlock * sizeof(double)];
    alignas(64) double va[blocks::kBlock];
    alignas(64) int32_t wa[blocks::kBlock], wb[blocks::kBlock];
    // Operands of one type go from the operands to the destination in one pass where a direct kernel
    // serves the operation and the destination (arith_kernels_body.h); the others go through blocks
    // of entries or doubles.
    const arith::DirectFn direct = ta == tb ? k.direct[op][ta][td] : nullptr;
    bool zero = false;
    for (size_t i0 = 0; i0 < n; i0 += block) {
        const size_t m = std::min(block, n - i0);
        unsigned char* d = stream ? scratch : dst + i0 * ds;
        if (direct != nullptr) {
            zero |= direct(a + i0 * as, b + i0 * bs, m, d);
        } else if (real) {
            io.load[ta](a + i0 * as, m, va);
            zero |= k.real[op][tb](va, b + i0 * bs, m);
            io.store[td](va, m, d);
        } else if (op == arith::kDivide) {
            io.entry[ta](a + i0 * as, m, wa);
            io.entry[tb](b + i0 * bs, m, wb);
            zero |= k.divide[td](wa, wb, m, d);
        } else {
            io.entry[ta](a + i0 * as, m, wa);
            k.integer[op][tb](wa, b + i0 * bs, m);
            io.storeInt[td](wa, m, d);
        }
        if (stream) StreamCopy(dst + i0 * ds, scratch, m * ds);
    }
    if (stream) StreamFence();
    return zero ? Status::ElementNotComputed : Status::Ok;
}

// U32 operands share the I32 routines on both sides, so they take part as signed 32-bit values.
constexpr int32_t Operand(int32_t code) noexcept { return code == kU32 ? kI32 : code; }

using RoutineTable = std::array<std::array<ArithRoutine, 9>, 9>;  // [operand 1 type][operand 2 type]

template <int32_t Op1, int32_t... Op2>
constexpr std::array<ArithRoutine, 9> MakeRoutineRow(std::integer_sequence<int32_t, Op2...>) noexcept {
    std::array<ArithRoutine, 9> row{};
    ((row[Op2] = &ArithPair<Operand(Op1), Operand(Op2)>), ...);
    return row;
}

template <int32_t... Op1>
constexpr RoutineTable MakeRoutineTable(std::integer_sequence<int32_t, Op1...> codes) noexcept {
    RoutineTable table{};
    ((table[Op1] = MakeRoutineRow<Op1>(codes)), ...);
    return table;
}

constexpr RoutineTable kRoutines =
    MakeRoutineTable(std::integer_sequence<int32_t, kI8, kI16, kI32, kF32, kF64, kU8, kU16, kU32>{});

}  // namespace

template <int32_t A, int32_t B>
Status ArithPair(int32_t op, const QmdDataStruct* dst, const void* op1, const void* op2, int32_t count) noexcept {
    if (!IsNumericType(dst->eType)) return Status::UnsupportedType;
    if (op < arith::kAdd || op > arith::kMultiply) return Status::Ok;
    if (count < 1) return Status::MissingImage;
    return RunArithmetic(op, dst, A, op1, B, op2, static_cast<size_t>(count));
}

ArithRoutine ArithRoutineFor(int32_t op1Type, int32_t op2Type) noexcept {
    if (!IsNumericType(op1Type) || !IsNumericType(op2Type)) return nullptr;
    return kRoutines[static_cast<size_t>(op1Type)][static_cast<size_t>(op2Type)];
}

Status ArithDispatch(int32_t op, const QmdDataStruct* dst, const QmdDataStruct* op1,
                     const QmdDataStruct* op2) noexcept {
    if (Missing(dst) || Missing(op1) || Missing(op2)) return Status::MissingImage;
    const int32_t count = ElementCount(*op1);
    if (ElementCount(*dst) < 1 || count < 1 || ElementCount(*op2) < 1) return Status::MissingImage;
    if (ElementCount(*op2) != count || ElementCount(*dst) != count) return Status::CountMismatch;
    const ArithRoutine routine = ArithRoutineFor(op1->eType, op2->eType);
    if (routine == nullptr) return Status::UnsupportedType;  // operand 1's type, then operand 2's
    return routine(op, dst, op1->pData, op2->pData, count);
}

}  // namespace qm
