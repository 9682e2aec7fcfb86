/* SPDX-License-Identifier: MIT */
/*
 * Scalar operations and conversion: scale a 12-bit U16 camera image to 8 bits for display
 * (multiply by 255/4095 into U8), then take the decimal logarithm into F32. Shows the store rule:
 * results going into integer elements are truncated toward zero, and nothing saturates.
 * Build: cc convert.c $(pkg-config --cflags --libs qmath)
 */
#include <stdio.h>

#include "qmath/qmath.h"

static int Check(QmeErrorCode status, const char* what) {
    if (status != qmeSuccess) fprintf(stderr, "%s: %s\n", what, QmStatusText(status));
    return status == qmeSuccess;
}

int main(void) {
    uint16_t raw[6] = {0, 1, 100, 1000, 2048, 4095};
    uint8_t display[6];
    float decades[6];
    QmdDataStruct rawImage = {0}, displayImage = {0}, logImage = {0};
    QmHandle h;
    QmeErrorCode logStatus;
    int i;

    rawImage.pData = raw, rawImage.nWidth = 3, rawImage.nHeight = 2, rawImage.eType = qmeTypeU16;
    displayImage = rawImage, displayImage.pData = display, displayImage.eType = qmeTypeU8;
    logImage = rawImage, logImage.pData = decades, logImage.eType = qmeTypeF32;

    if (!Check(MathCreate(0, 0, &h), "MathCreate")) return 1;
    /* display = raw * (255 / 4095), truncated into U8. */
    if (!Check(MathSetProcess(h, qmeProcessMultiplyConstant, 1), "select 503") ||
        !Check(MathSetConstant(h, qmeConstA, 255.0 / 4095.0), "constant A") ||
        !Check(MathSetData(h, qmeDataOperand1, &rawImage), "operand 1") ||
        !Check(MathProcessData(h, &displayImage), "multiply into U8"))
        return 1;
    /* log10 into F32: the zero pixel cannot be taken, is set to 0 and reported with 8003. */
    Check(MathSetProcess(h, qmeProcessLog10, 1), "select 505");
    logStatus = MathProcessData(h, &logImage);
    printf("log10 status: %s\n", QmStatusText(logStatus));
    MathDelete(h);

    printf("%6s %8s %8s\n", "raw", "8-bit", "log10");
    for (i = 0; i < 6; ++i) printf("%6u %8u %8.4f\n", raw[i], display[i], decades[i]);
    return logStatus == qmeElementNotComputed && display[5] == 255 && display[3] == 62 ? 0 : 1;
}
