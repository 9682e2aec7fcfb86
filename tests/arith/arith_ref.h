// Reference model of image-to-image arithmetic, written from the element rules in plain scalar
// code: values are held as int64 or double, reduced to a width at the end, one element at a time.
#pragma once

#include <cstdint>
#include <vector>

namespace arithref {

// Writes element i of `dst` (type dstType) from operands of types t1 and t2, for operation op 1..4.
// Returns true when the element met a zero divisor.
bool Element(int op, int dstType, void* dst, int t1, const void* a, int t2, const void* b, int i);

// The whole image: returns 8003 when some element met a zero divisor, else 0. Types 1 to 8 only.
int Image(int op, int dstType, void* dst, int t1, const void* a, int t2, const void* b, int count);

// Bytes of one element of a numeric type.
int Size(int type);

}  // namespace arithref
