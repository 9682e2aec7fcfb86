// Independent reference of the scalar operations: exact rationals for the arithmetic, long double
// for the logarithms and the square root, and the store rule written from its definition.
#pragma once

#include <cstdint>
#include <optional>

namespace qmtest {

// One stored element, as the bits of the destination type (floats by their bit patterns).
struct RefElement {
    uint64_t bits = 0;
    bool failed = false;  // 505: the element was not positive
};

// The element a destination of type `dst` receives for operation `op` on the source element
// `x` (already read: integers as their signed or unsigned value, floats widened) and constants
// a and b. Empty for 506 and 507, whose result depends on the last element only.
std::optional<RefElement> ReferenceElement(int32_t op, int32_t dst, double x, double a, double b);

// Rounds the long double v into destination type dst (506, 507 and 505 results).
uint64_t ReferenceStoreExtended(int32_t dst, long double v);

}  // namespace qmtest
