/* SPDX-License-Identifier: MIT */
/*
 * An online cycle: each camera frame has the dark frame subtracted, is divided by the flat field
 * (normalised by its mean) and summed into an F32 output; after the cycle's last frame the output
 * holds the sum of its frames, and the next frame starts a new sum.
 * Build: cc online.c $(pkg-config --cflags --libs qmath)
 */
#include <stdio.h>

#include "qmath/qmath.h"

enum { kW = 4, kH = 2, kN = kW * kH, kFrames = 4 };

static QmdDataStruct Image(void* data, int32_t type) {
    QmdDataStruct d = {0};
    d.pData = data, d.nWidth = kW, d.nHeight = kH, d.eType = type, d.nDepth = 1;
    return d;
}

static int Check(QmeErrorCode status, const char* what) {
    if (status != qmeSuccess) fprintf(stderr, "%s: %s\n", what, QmStatusText(status));
    return status == qmeSuccess;
}

int main(void) {
    /* Calibration: a dark offset near 100 and an optic that loses light towards the right. */
    uint16_t dark[kN] = {100, 101, 99, 100, 102, 100, 98, 100};
    uint16_t flat[kN] = {4000, 3600, 3200, 2800, 4000, 3600, 3200, 2800};
    uint16_t camera[kN]; /* the buffer the camera refills; attached once, by address */
    float sum[kN];
    QmdDataStruct darkImage = Image(dark, qmeTypeU16), flatImage = Image(flat, qmeTypeU16);
    QmdDataStruct cameraImage = Image(camera, qmeTypeU16), sumImage = Image(sum, qmeTypeF32);
    QmHandle h;
    int f, i, ok;

    if (!Check(MathCreate(0, 0, &h), "MathCreate")) return 1;
    ok = Check(MathSetProcess(h, qmeOnlineDarkSubtract, 1), "option 9001") &&
         Check(MathSetProcess(h, qmeOnlineFlatField, 1), "option 9002") &&
         Check(MathSetProcess(h, qmeOnlineAccumulate, 1), "option 9003") &&
         Check(MathSetConstant(h, qmeConstFrameCount, kFrames), "frame count") &&
         /* The dark and flat frames are copied: dark[] and flat[] could be freed now. */
         Check(MathSetData(h, qmeDataDarkFrame, &darkImage), "dark frame") &&
         Check(MathSetData(h, qmeDataFlatFieldMean, &flatImage), "flat field") &&
         Check(MathSetData(h, qmeDataSourceFrame, &cameraImage), "source frame");
    for (f = 0; ok && f < kFrames; ++f) {
        /* A uniform scene of 500 electrons seen through the optic, on top of the dark offset. */
        for (i = 0; i < kN; ++i) camera[i] = (uint16_t)(dark[i] + 500.0 * flat[i] / 3400.0 + (f % 2 ? 2 : -2));
        ok = Check(MathProcessData(h, &sumImage), "MathProcessData");
    }
    MathDelete(h);
    if (!ok) return 1;

    printf("sum of %d corrected frames, divided by %d (the module leaves averaging to the host):\n", kFrames, kFrames);
    for (i = 0; i < kN; ++i) printf("%8.1f%s", sum[i] / kFrames, i % kW == kW - 1 ? "\n" : "");
    printf("the raw frames fell from %u to %u across a row; corrected, the row is flat\n", camera[0] - dark[0],
           camera[3] - dark[3]);
    return 0;
}
