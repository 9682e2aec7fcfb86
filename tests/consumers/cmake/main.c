/* SPDX-License-Identifier: MIT */
/* Found through find_package(qmath 3): checks the library against the header's version, then
 * converts a row of F64 values into I16 and divides two images. */
#include <qmath/qmath.h>
#include <stdio.h>

int main(void) {
    uint32_t v[4] = {0, 0, 0, 0};
    double src[4] = {40000.0, -2.9, 2.9, 1e300};
    int16_t dst[4];
    uint8_t num[3] = {10, 20, 30}, den[3] = {3, 0, 7};
    float quot[3];
    QmdDataStruct s = {0}, d = {0}, a = {0}, b = {0}, q = {0};
    QmHandle h;
    QmeErrorCode convert, divide;

    MathVerOfDLL(0, &v[0], &v[1], &v[2], &v[3]);
    printf("header %s, library %u.%u.%u.%u\n", QMATH_VERSION_STRING, v[0], v[1], v[2], v[3]);
    if (v[0] != QMATH_VERSION_MAJOR) return 1;

    s.pData = src, s.nWidth = 4, s.nHeight = 1, s.eType = qmeTypeF64;
    d = s, d.pData = dst, d.eType = qmeTypeI16;
    a.pData = num, a.nWidth = 3, a.nHeight = 1, a.eType = qmeTypeU8;
    b = a, b.pData = den;
    q = a, q.pData = quot, q.eType = qmeTypeF32;
    if (MathCreate(0, 0, &h) != qmeSuccess) return 1;
    MathSetProcess(h, qmeProcessConvert, 1);
    MathSetData(h, qmeDataOperand1, &s);
    convert = MathProcessData(h, &d);
    MathSetProcess(h, qmeProcessDivide, 1);
    MathSetData(h, qmeDataOperand1, &a);
    MathSetData(h, qmeDataOperand2, &b);
    divide = MathProcessData(h, &q);
    MathDelete(h);
    printf("convert F64 -> I16: %d %d %d %d (status %d)\n", dst[0], dst[1], dst[2], dst[3], (int)convert);
    printf("divide U8 / U8 -> F32: %.4f %.4f %.4f (status %d: %.40s...)\n", quot[0], quot[1], quot[2], (int)divide,
           QmStatusText(divide));
    return convert == qmeSuccess && dst[0] == -25536 && dst[1] == -2 && dst[2] == 2 && dst[3] == 0 &&
                   divide == qmeElementNotComputed && quot[1] == 0.0f
               ? 0
               : 1;
}
