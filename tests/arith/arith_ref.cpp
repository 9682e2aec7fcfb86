#include "arith/arith_ref.h"

#include <cmath>
#include <cstring>

namespace arithref {
namespace {

template <class T> T Load(const void* p, int i) {
    T v;
    std::memcpy(&v, static_cast<const unsigned char*>(p) + static_cast<size_t>(i) * sizeof(T), sizeof(T));
    return v;
}

template <class T> void Put(void* p, int i, T v) {
    std::memcpy(static_cast<unsigned char*>(p) + static_cast<size_t>(i) * sizeof(T), &v, sizeof(T));
}

bool IsFloat(int t) { return t == 4 || t == 5; }

// The value of an element as a real number; an unsigned 32-bit element counts as signed.
double Real(int t, const void* p, int i) {
    switch (t) {
        case 1: return Load<int8_t>(p, i);
        case 2: return Load<int16_t>(p, i);
        case 3: case 8: return Load<int32_t>(p, i);
        case 4: return Load<float>(p, i);
        case 5: return Load<double>(p, i);
        case 6: return Load<uint8_t>(p, i);
        default: return Load<uint16_t>(p, i);
    }
}

// Keeps the low `bits` bits of v and reads them signed or unsigned.
int64_t Wrap(int64_t v, int bits, bool isSigned) {
    const uint64_t mask = (uint64_t{1} << bits) - 1;
    const uint64_t low = static_cast<uint64_t>(v) & mask;
    if (isSigned && (low >> (bits - 1)) != 0) return static_cast<int64_t>(low) - static_cast<int64_t>(mask) - 1;
    return static_cast<int64_t>(low);
}

// The integer an element takes part with: floats are chopped toward zero, values beyond 64 bits
// (and NaN) become -2^63; then the low 32 bits, signed.
int64_t Whole(int t, const void* p, int i) {
    const double x = Real(t, p, i);
    if (!IsFloat(t)) return static_cast<int64_t>(x);
    int64_t v = INT64_MIN;
    if (!std::isnan(x) && x >= -9223372036854775808.0 && x < 9223372036854775808.0)
        v = static_cast<int64_t>(std::trunc(x));
    return Wrap(v, 32, true);
}

int Bits(int t) { return Size(t) * 8; }
bool Signed(int t) { return t == 1 || t == 2 || t == 3; }

}  // namespace

int Size(int type) {
    static const int sizes[] = {0, 1, 2, 4, 4, 8, 1, 2, 4};
    return sizes[type];
}

bool Element(int op, int dstType, void* dst, int t1, const void* a, int t2, const void* b, int i) {
    const double divisor = Real(t2, b, i);
    const bool zeroTest = op == 3 && (divisor == 0.0 || std::isnan(divisor));
    if (IsFloat(dstType)) {
        const double x = Real(t1, a, i);
        double r = 0.0;
        if (op == 1) r = x + divisor;
        if (op == 2) r = x - divisor;
        if (op == 3) r = zeroTest ? 0.0 : x / divisor;
        if (op == 4) r = x * divisor;
        if (dstType == 4) Put<float>(dst, i, static_cast<float>(r)); else Put<double>(dst, i, r);
        return zeroTest;
    }
    const int bits = Bits(dstType);
    const bool isSigned = Signed(dstType);
    int64_t x = Whole(t1, a, i), y = Whole(t2, b, i), r = 0;
    bool zero = zeroTest;
    if (op == 1) r = x + y;
    if (op == 2) r = x - y;
    if (op == 4) r = x * y;
    if (op == 3 && !zero) {
        x = Wrap(x, bits, isSigned);
        y = Wrap(y, bits, isSigned);
        zero = y == 0;  // a divisor that vanished on the way counts as zero
        r = zero ? 0 : x / y;
    }
    r = Wrap(r, bits, isSigned);
    switch (bits) {
        case 8: Put<uint8_t>(dst, i, static_cast<uint8_t>(r)); break;
        case 16: Put<uint16_t>(dst, i, static_cast<uint16_t>(r)); break;
        default: Put<uint32_t>(dst, i, static_cast<uint32_t>(r)); break;
    }
    return zero;
}

int Image(int op, int dstType, void* dst, int t1, const void* a, int t2, const void* b, int count) {
    bool zero = false;
    for (int i = 0; i < count; ++i) zero |= Element(op, dstType, dst, t1, a, t2, b, i);
    return zero ? 8003 : 0;
}

}  // namespace arithref
