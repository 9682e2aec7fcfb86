#include "arith/arith_dispatch.h"

#include <array>
#include <utility>

#include "arith/arith_pairs.h"
#include "core/element_types.h"

namespace qm {
namespace {

// U32 operands share the I32 routines on both sides, so they take part as signed 32-bit values.
template <int32_t Code> using ArithOperand = Element<Code == kU32 ? kI32 : Code>;

using RoutineTable = std::array<std::array<ArithRoutine, 9>, 9>;  // [operand 1 type][operand 2 type]

template <int32_t Op1, int32_t... Op2>
constexpr std::array<ArithRoutine, 9> MakeRoutineRow(std::integer_sequence<int32_t, Op2...>) noexcept {
    std::array<ArithRoutine, 9> row{};
    ((row[Op2] = &ArithPair<ArithOperand<Op1>, ArithOperand<Op2>>), ...);
    return row;
}

template <int32_t... Op1> constexpr RoutineTable MakeRoutineTable(std::integer_sequence<int32_t, Op1...> codes) noexcept {
    RoutineTable table{};
    ((table[Op1] = MakeRoutineRow<Op1>(codes)), ...);
    return table;
}

constexpr RoutineTable kRoutines =
    MakeRoutineTable(std::integer_sequence<int32_t, kI8, kI16, kI32, kF32, kF64, kU8, kU16, kU32>{});

bool Missing(const QmdDataStruct* d) noexcept { return d == nullptr || d->pData == nullptr; }

}  // namespace

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
