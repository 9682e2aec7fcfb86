/* SPDX-License-Identifier: MIT */
/*
 * Image arithmetic: the difference of two U16 exposures into I32 (negative where the second is
 * brighter), and their ratio into F32, where a zero divisor gives 0 and status 8003 while every
 * other element is still computed.
 * Build: cc arithmetic.c $(pkg-config --cflags --libs qmath)
 */
#include <stdio.h>

#include "qmath/qmath.h"

static QmdDataStruct Image(void* data, uint32_t width, uint32_t height, int32_t type) {
    QmdDataStruct d = {0};
    d.pData = data, d.nWidth = width, d.nHeight = height, d.eType = type, d.nDepth = 1;
    return d;
}

int main(void) {
    uint16_t first[4] = {1000, 2000, 3000, 4000};
    uint16_t second[4] = {1100, 1900, 0, 8000};
    int32_t difference[4];
    float ratio[4];
    QmdDataStruct a = Image(first, 2, 2, qmeTypeU16), b = Image(second, 2, 2, qmeTypeU16);
    QmdDataStruct diff = Image(difference, 2, 2, qmeTypeI32), quot = Image(ratio, 2, 2, qmeTypeF32);
    QmHandle h;
    QmeErrorCode status;
    int i;

    if ((status = MathCreate(0, 0, &h)) != qmeSuccess) {
        fprintf(stderr, "MathCreate: %s\n", QmStatusText(status));
        return 1;
    }
    /* Operands 1 and 2 are kept by address: first and second must outlive the calls below. */
    MathSetData(h, qmeDataOperand1, &a);
    MathSetData(h, qmeDataOperand2, &b);

    MathSetProcess(h, qmeProcessSubtract, 1);
    status = MathProcessData(h, &diff);
    printf("first - second: %s\n", QmStatusText(status));
    if (status != qmeSuccess) return 1;

    MathSetProcess(h, qmeProcessDivide, 1);
    status = MathProcessData(h, &quot);
    printf("first / second: %s\n", QmStatusText(status));
    MathDelete(h);

    printf("%6s %6s %8s %8s\n", "first", "second", "diff", "ratio");
    for (i = 0; i < 4; ++i) printf("%6u %6u %8d %8.3f\n", first[i], second[i], difference[i], ratio[i]);
    return status == qmeElementNotComputed && difference[0] == -100 && ratio[2] == 0.0f ? 0 : 1;
}
