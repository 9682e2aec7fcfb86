/* SPDX-License-Identifier: MIT */
/*
 * Bayer reconstruction of a 12-bit U16 mosaic of a scene whose left half is orange and right half
 * blue: by 2 x 2 binning (MathBayerSimple, half size, mosaic rows G R / B G) and by bilinear
 * interpolation with per-channel offsets and gains (process 2001, full size, mosaic rows G B / R G,
 * which is phase 2 in the interior and the layout of the first row and the edge columns), both
 * into 24-bit colour.
 * Build: cc bayer.c $(pkg-config --cflags --libs qmath)
 */
#include <stdio.h>

#include "qmath/qmath.h"

enum { kW = 8, kH = 4 };

static QmdDataStruct Image(void* data, uint32_t width, uint32_t height, int32_t type) {
    QmdDataStruct d = {0};
    d.pData = data, d.nWidth = width, d.nHeight = height, d.eType = type, d.nDepth = 1;
    return d;
}

static void Print(const char* title, const QmdRgbTriple* rgb, int width, int rows) {
    int x, y;
    printf("%s (red green blue)\n", title);
    for (y = 0; y < rows; ++y) {
        for (x = 0; x < width; ++x) {
            const QmdRgbTriple p = rgb[y * width + x];
            printf(" %3u %3u %3u |", p.rgbtRed, p.rgbtGreen, p.rgbtBlue);
        }
        printf("\n");
    }
}

/* The scene through a colour filter array: green on the diagonal of each 2 x 2 cell, red on the
 * first row of the cell when redFirst, else blue there. */
static void Mosaic(uint16_t* mosaic, int redFirst) {
    int x, y;
    for (y = 0; y < kH; ++y)
        for (x = 0; x < kW; ++x) {
            const int orange = x < kW / 2, green = (x + y) % 2 == 0;
            const int red = !green && (y % 2 == 0) == (redFirst != 0);
            mosaic[y * kW + x] = (uint16_t)(green ? 1600 : red ? (orange ? 3600 : 400) : (orange ? 400 : 3600));
        }
}

int main(void) {
    uint16_t mosaic[kW * kH];
    QmdRgbTriple half[(kW / 2) * (kH / 2)], full[kW * kH] = {{0}};
    QmdDataStruct src = Image(mosaic, kW, kH, qmeTypeU16);
    QmdDataStruct halfImage = Image(half, kW / 2, kH / 2, qmeTypeRgb24);
    QmdDataStruct fullImage = Image(full, kW, kH, qmeTypeRgb24);
    QmHandle h;
    QmeErrorCode status;

    Mosaic(mosaic, 1);

    /* Shift 4: 12-bit samples to 8-bit channels. The binning writes every row but the last. */
    status = MathBayerSimple(&halfImage, &src, 4);
    if (status != qmeSuccess) {
        fprintf(stderr, "MathBayerSimple: %s\n", QmStatusText(status));
        return 1;
    }
    Print("2 x 2 binning, shift 4", half, kW / 2, kH / 2 - 1);

    Mosaic(mosaic, 0);
    if ((status = MathCreate(0, 0, &h)) != qmeSuccess) return 1;
    /* The Bayer constants are the slot's, not reset by MathCreate: set every one. Offsets of 16
     * counts (a black level) are subtracted before the gain; shift 4 makes 12 bits 8. */
    MathSetProcess(h, qmeProcessBayerInterpolate, 1);
    MathSetConstant(h, qmeConstBayerShift, 4);
    MathSetConstant(h, qmeConstBayerGainRed, 1.0);
    MathSetConstant(h, qmeConstBayerGainGreen, 1.0);
    MathSetConstant(h, qmeConstBayerGainBlue, 1.0);
    MathSetConstant(h, qmeConstBayerOffsetRed, 16);
    MathSetConstant(h, qmeConstBayerOffsetGreen, 16);
    MathSetConstant(h, qmeConstBayerOffsetBlue, 16);
    MathSetConstant(h, qmeConstBayerPhase, 2);
    MathSetData(h, qmeDataOperand1, &src);
    status = MathProcessData(h, &fullImage);
    MathDelete(h);
    if (status != qmeSuccess) {
        fprintf(stderr, "process 2001: %s\n", QmStatusText(status));
        return 1;
    }
    /* The last column reads on into the next row (the module's edge rule), so it mixes the two halves. */
    Print("bilinear interpolation, offsets 16, unit gains, shift 4 (the last row is not written)", full, kW, kH - 1);
    return 0;
}
