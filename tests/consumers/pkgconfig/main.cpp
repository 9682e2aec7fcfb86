// SPDX-License-Identifier: MIT
// Built with `c++ main.cpp $(pkg-config --cflags --libs qmath)`: a C++ host, so it also links the
// C++-linkage Bayer member from the installed library, and runs an online accumulation cycle.
#include <qmath/qmath.h>

#include <cstdio>
#include <vector>

static QmdDataStruct Image(void* data, uint32_t width, uint32_t height, int32_t type) {
    QmdDataStruct d = {};
    d.pData = data;
    d.nWidth = width;
    d.nHeight = height;
    d.eType = type;
    d.nDepth = 1;
    return d;
}

int main() {
    // A uniform 4 x 4 mosaic of 1000 counts, offsets 0, gains 0.25: every written channel is 250.
    std::vector<uint16_t> mosaic(16, 1000);
    std::vector<QmdRgbTriple> rgb(16, QmdRgbTriple{7, 7, 7});
    QmdDataStruct src = Image(mosaic.data(), 4, 4, qmeTypeU16), dst = Image(rgb.data(), 4, 4, qmeTypeRgb24);
    const QmeErrorCode bayer = MathBayerInterpolateU16(&dst, &src, 0, 0.25, 0.25, 0.25, 0, 0, 0, 0, 2);
    std::printf("MathBayerInterpolateU16: status %d, pixel 5 = (%u, %u, %u), pixel 15 untouched = %u\n",
                static_cast<int>(bayer), rgb[5].rgbtRed, rgb[5].rgbtGreen, rgb[5].rgbtBlue, rgb[15].rgbtRed);

    // Online: sum three U16 frames into U32, then the fourth frame starts a new cycle.
    std::vector<uint16_t> frame(6);
    std::vector<uint32_t> sum(6);
    QmdDataStruct source = Image(frame.data(), 3, 2, qmeTypeU16), output = Image(sum.data(), 3, 2, qmeTypeU32);
    QmHandle h = 0;
    if (MathCreate(0, 0, &h) != qmeSuccess) return 1;
    MathSetProcess(h, qmeOnlineAccumulate, 1);
    MathSetConstant(h, qmeConstFrameCount, 3);
    MathSetData(h, qmeDataSourceFrame, &source);
    QmeErrorCode online = qmeSuccess;
    for (int f = 1; f <= 3 && online == qmeSuccess; ++f) {
        for (auto& v : frame) v = static_cast<uint16_t>(60000 + f);
        online = MathProcessData(h, &output);
    }
    std::printf("online sum of 60001 + 60002 + 60003 into U32: %u (status %d)\n", sum[0], static_cast<int>(online));
    const uint32_t cycle = sum[0];
    online = MathProcessData(h, &output);
    std::printf("next frame starts a new cycle: %u\n", sum[0]);
    MathDelete(h);
    return bayer == qmeSuccess && rgb[5].rgbtRed == 250 && rgb[15].rgbtRed == 7 && cycle == 180006u && sum[0] == 60003u
               ? 0
               : 1;
}
