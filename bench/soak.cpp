// SPDX-License-Identifier: MIT
// Soak run (not a test): many online frames, then many reference rebuilds, on one instance, with
// the resident size and the module's live allocations printed at intervals. A leak or a growing
// heap shows as a column that climbs.
//
//   qmath_soak [frames] [rebuilds]      (default 100000 each)
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/allocation.h"
#include "qmath/qmath.h"

namespace {

long ResidentKiB() {
    long pages = 0, resident = 0;
    if (FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
        std::fclose(f);
    }
    return resident * 4;
}

void Report(const char* phase, long done, std::chrono::steady_clock::time_point start) {
    const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("%-9s %8ld  rss %7ld KiB  live allocations %3zu  %6.1f s\n", phase, done, ResidentKiB(),
                qm::LiveAllocations(), s);
    std::fflush(stdout);
}

void Check(QmeErrorCode s, const char* what) {
    if (s != qmeSuccess) {
        std::fprintf(stderr, "%s: status %d\n", what, static_cast<int>(s));
        std::exit(1);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const long frames = argc > 1 ? std::atol(argv[1]) : 100000;
    const long rebuilds = argc > 2 ? std::atol(argv[2]) : 100000;
    // A non-square frame, so that every transposed frame takes and gives back the temporary.
    constexpr uint32_t W = 256, H = 192, N = W * H;
    std::vector<uint16_t> source(N), dark(N), flat(N);
    std::vector<float> sum(N);
    for (uint32_t i = 0; i < N; ++i) {
        dark[i] = static_cast<uint16_t>(100 + i % 7);
        flat[i] = static_cast<uint16_t>(1000 + i % 13);
    }
    QmdDataStruct src{source.data(), W, H, qmeTypeU16, 1, {}}, drk{dark.data(), W, H, qmeTypeU16, 1, {}},
        flt{flat.data(), W, H, qmeTypeU16, 1, {}}, out{sum.data(), W, H, qmeTypeF32, 1, {}};

    QmHandle h = 0;
    Check(MathCreate(0, 0, &h), "MathCreate");
    Check(MathSetData(h, qmeDataDarkFrame, &drk), "dark");
    Check(MathSetData(h, qmeDataFlatFieldMean, &flt), "flat");
    Check(MathSetData(h, qmeDataSourceFrame, &src), "source");
    for (int32_t option : {qmeOnlineDarkSubtract, qmeOnlineFlatField, qmeOnlineAccumulate, qmeOnlineTranspose})
        Check(MathSetProcess(h, option, 1), "option");
    Check(MathSetConstant(h, qmeConstFrameCount, 16), "frame count");

    std::printf("phase         done  resident size               module allocations  time\n");
    auto start = std::chrono::steady_clock::now();
    Report("start", 0, start);
    const long frameStep = frames / 10 > 0 ? frames / 10 : 1;
    for (long f = 1; f <= frames; ++f) {
        std::memset(source.data(), static_cast<int>(f & 0x3F), sizeof(uint16_t) * N);  // the camera refills the buffer
        Check(MathProcessData(h, &out), "frame");
        if (f % frameStep == 0) Report("frames", f, start);
    }

    // Rebuilds alternate codes and shapes, so the allocator sees frames come and go in every size.
    start = std::chrono::steady_clock::now();
    const int32_t codes[] = {qmeDataDarkFrame, qmeDataGainFrame, qmeDataFlatField, qmeDataFlatFieldMean,
                             qmeDataFlatFieldMax};
    const long rebuildStep = rebuilds / 10 > 0 ? rebuilds / 10 : 1;
    for (long r = 1; r <= rebuilds; ++r) {
        QmdDataStruct image = flt;
        image.nWidth = 64 + static_cast<uint32_t>(r * 37 % (W - 63));
        image.nHeight = 64 + static_cast<uint32_t>(r * 11 % (H - 63));
        Check(MathSetData(h, codes[r % 5], &image), "rebuild");
        if (r % rebuildStep == 0) Report("rebuilds", r, start);
    }
    MathDelete(h);
    Report("deleted", 0, start);
    return 0;
}
