/* SPDX-License-Identifier: MIT */
/*
 * A simulated scientific camera driven through the module, as a host application drives it.
 *
 * The camera is a 2048 x 2048 16-bit sensor with a dark offset that varies from pixel to pixel,
 * a vignetting optic (the flat field) and photon and read noise. The scene has a uniform panel on
 * the left and a test pattern on the right. The host loads the module by path, attaches the dark
 * frame and the flat field, and runs accumulation cycles: every camera frame is dark-subtracted,
 * divided by the mean-normalised flat field and summed into an F32 output; after each cycle the
 * output holds the sum of its frames. A second instance sums the raw frames for comparison.
 *
 * It prints frames per second and MB/s of the corrected pipeline beside a memcpy of as many bytes
 * timed in the same run, the relative spread over the uniform panel before and after correction,
 * and writes both sums (as averages) as 8-bit PGM images on one common grey scale, so that any
 * viewer shows them side by side.
 */
#define _POSIX_C_SOURCE 200809L
#include <dlfcn.h>
#include <errno.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "qmath/qmath.h"

#ifndef QMATH_LIBRARY_PATH
#define QMATH_LIBRARY_PATH "libqmath.so"
#endif

enum { kSide = 2048, kPixels = kSide * kSide, kMaxCount = 1000 };

static const char kUsage[] =
    "usage: qmath_camera [--out DIR] [--cycles N] [--frames N] [--module PATH]\n"
    "\n"
    "Simulates a 2048 x 2048 16-bit camera behind a vignetting optic and corrects its frames with\n"
    "the module: dark subtraction, flat field and accumulation of N frames into an F32 sum.\n"
    "\n"
    "  --out DIR      folder for camera_raw.pgm and camera_corrected.pgm (default: .; must exist)\n"
    "  --cycles N     accumulation cycles to run, 1 to 1000 (default 4)\n"
    "  --frames N     frames per cycle, 1 to 1000 (default 8)\n"
    "  --module PATH  the library to load (default: the one built with this program)\n"
    "  --help         this text\n";

typedef struct Module {
    void* handle;
    QmeErrorCode (*create)(uint32_t, uint32_t, QmHandle*);
    QmeErrorCode (*destroy)(QmHandle);
    QmeErrorCode (*setProcess)(QmHandle, int32_t, uint8_t);
    QmeErrorCode (*setConstant)(QmHandle, int32_t, double);
    QmeErrorCode (*setData)(QmHandle, int32_t, QmdDataStruct*);
    QmeErrorCode (*process)(QmHandle, QmdDataStruct*);
    QmeErrorCode (*deviceId)(char*, uint32_t*, uint32_t*, uint32_t);
    QmeErrorCode (*version)(uint32_t, uint32_t*, uint32_t*, uint32_t*, uint32_t*);
    const char* (*statusText)(QmeErrorCode);
} Module;

static Module m;

static int Resolve(Module* m, const char* path) {
    m->handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (m->handle == NULL) {
        fprintf(stderr, "cannot load %s: %s\n", path, dlerror());
        return 0;
    }
    /* The POSIX way to take a function from dlsym: copy the object pointer's bytes. */
    *(void**)&m->create = dlsym(m->handle, "MathCreate");
    *(void**)&m->destroy = dlsym(m->handle, "MathDelete");
    *(void**)&m->setProcess = dlsym(m->handle, "MathSetProcess");
    *(void**)&m->setConstant = dlsym(m->handle, "MathSetConstant");
    *(void**)&m->setData = dlsym(m->handle, "MathSetData");
    *(void**)&m->process = dlsym(m->handle, "MathProcessData");
    *(void**)&m->deviceId = dlsym(m->handle, "GetDeviceID");
    *(void**)&m->version = dlsym(m->handle, "MathVerOfDLL");
    *(void**)&m->statusText = dlsym(m->handle, "QmStatusText"); /* optional: older builds lack it */
    if (!m->create || !m->destroy || !m->setProcess || !m->setConstant || !m->setData || !m->process || !m->deviceId ||
        !m->version) {
        fprintf(stderr, "%s lacks an export\n", path);
        return 0;
    }
    return 1;
}

/* xorshift64*: a small, fast generator; Gaussian noise from the sum of four uniforms. */
static uint64_t g_state = 0x9E3779B97F4A7C15ull;
static double Uniform(void) {
    g_state ^= g_state >> 12;
    g_state ^= g_state << 25;
    g_state ^= g_state >> 27;
    return (double)((g_state * 0x2545F4914F6CDD1Dull) >> 11) * (1.0 / 9007199254740992.0);
}
static double Gaussian(void) { return (Uniform() + Uniform() + Uniform() + Uniform() - 2.0) * 1.7320508075688772; }

/* The optic: brightness falls off towards the corners to 55 % of the centre. */
static double Vignette(int x, int y) {
    const double dx = (x - kSide / 2) / (double)(kSide / 2), dy = (y - kSide / 2) / (double)(kSide / 2);
    const double r2 = (dx * dx + dy * dy) / 2.0;
    return 1.0 - 0.45 * r2;
}

/* The scene in photo-electrons: a uniform panel on the left, bars and a disc on the right. */
static double Scene(int x, int y) {
    if (x < kSide / 3) return 6000.0;
    const int cx = x - 3 * kSide / 4, cy = y - kSide / 2;
    if (cx * cx + cy * cy < 300 * 300) return 12000.0;
    return ((x / 64) % 2 == 0) ? 3000.0 : 9000.0;
}

static uint16_t Clamp16(double v) { return v <= 0.0 ? 0 : v >= 65535.0 ? 65535 : (uint16_t)(v + 0.5); }

static double Seconds(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec + 1e-9 * (double)t.tv_nsec;
}

/* Relative spread (standard deviation over mean) of an F32 image over the uniform panel. */
static double PanelSpread(const float* image) {
    double sum = 0.0, sum2 = 0.0;
    long n = 0;
    for (int y = 64; y < kSide - 64; ++y)
        for (int x = 64; x < kSide / 3 - 64; ++x) {
            const double v = image[(size_t)y * kSide + x];
            sum += v;
            sum2 += v * v;
            ++n;
        }
    const double mean = sum / (double)n;
    return sqrt(sum2 / (double)n - mean * mean) / mean;
}

/* The grey scale of both images: from the 0.1 % to the 99.9 % point of the raw average (a
 * histogram of 4096 bins), so that the panel, the bars and the disc use the whole range. */
static void DisplayRange(const float* image, double divisor, double* lo, double* hi) {
    enum { kBins = 4096 };
    static long histogram[kBins];
    double min = image[0], max = image[0], width;
    long seen = 0;
    size_t i;
    int b;
    for (i = 0; i < (size_t)kPixels; ++i) {
        if (image[i] < min) min = image[i];
        if (image[i] > max) max = image[i];
    }
    width = (max - min) / kBins + 1e-9;
    memset(histogram, 0, sizeof histogram);
    for (i = 0; i < (size_t)kPixels; ++i) {
        b = (int)((image[i] - min) / width);
        ++histogram[b < kBins ? b : kBins - 1];
    }
    *lo = min / divisor;
    *hi = max / divisor;
    for (b = 0; b < kBins; ++b) {
        seen += histogram[b];
        if (seen <= kPixels / 1000) *lo = (min + b * width) / divisor;
        if (seen < kPixels - kPixels / 1000) *hi = (min + (b + 1) * width) / divisor;
    }
}

/* Writes image / divisor as an 8-bit PGM: lo counts black, hi counts white. */
static int WritePgm(const char* dir, const char* name, const float* image, double divisor, double lo, double hi) {
    char path[4096];
    FILE* f;
    size_t i;
    int failed;
    unsigned char* row = malloc(kSide);
    const double scale = 255.0 / (hi - lo);
    snprintf(path, sizeof path, "%s/%s", dir, name);
    if (row == NULL) {
        fprintf(stderr, "error: cannot write %s: out of memory\n", path);
        return 0;
    }
    f = fopen(path, "wb");
    if (f == NULL) {
        fprintf(stderr, "error: cannot write %s: %s\n", path, strerror(errno));
        free(row);
        return 0;
    }
    fprintf(f, "P5\n%d %d\n255\n", kSide, kSide);
    for (i = 0; i < (size_t)kPixels; ++i) {
        const double v = (image[i] / divisor - lo) * scale;
        row[i % kSide] = (unsigned char)(v <= 0.0 ? 0 : v >= 255.0 ? 255 : v + 0.5);
        if (i % kSide == kSide - 1) fwrite(row, 1, kSide, f);
    }
    failed = ferror(f);
    if (fclose(f) != 0 || failed) {
        fprintf(stderr, "error: cannot write %s: %s\n", path, strerror(errno));
        free(row);
        return 0;
    }
    free(row);
    printf("wrote       %s\n", path);
    return 1;
}

static int Check(QmeErrorCode status, const char* what) {
    if (status != qmeSuccess)
        fprintf(stderr, "error: %s failed: %s\n", what, m.statusText ? m.statusText(status) : "(no status text)");
    return status == qmeSuccess;
}

/* A whole number from 1 to kMaxCount, or 0 with a message. */
static int Count(const char* option, const char* text) {
    char* end;
    long value;
    errno = 0;
    value = strtol(text, &end, 10);
    if (errno != 0 || end == text || *end != '\0' || value < 1 || value > kMaxCount) {
        fprintf(stderr, "error: %s takes a whole number from 1 to %d, not '%s'\n", option, kMaxCount, text);
        return 0;
    }
    return (int)value;
}

/* The output folder must exist and be writable before the camera runs for a minute. */
static int UsableFolder(const char* dir) {
    struct stat st;
    if (stat(dir, &st) != 0) {
        fprintf(stderr, "error: output folder %s: %s\n", dir, strerror(errno));
        return 0;
    }
    if (!S_ISDIR(st.st_mode)) {
        fprintf(stderr, "error: output folder %s is not a folder\n", dir);
        return 0;
    }
    if (access(dir, W_OK) != 0) {
        fprintf(stderr, "error: output folder %s: %s\n", dir, strerror(errno));
        return 0;
    }
    return 1;
}

int main(int argc, char** argv) {
    const char* out = ".";
    const char* path = QMATH_LIBRARY_PATH;
    int cycles = 4, frames = 8, i, c, f, x, y, ok = 1;
    QmHandle corrected = 0, raw = 0;
    uint16_t *dark, *flat, *source;
    float *sum, *rawSum;
    double busy = 0.0, copying = 0.0;
    /* A frame moves 18 bytes a pixel (read and written, see below); memcpy of n bytes moves 2 n. */
    const size_t kCopyBytes = (size_t)kPixels * 9;
    unsigned char *copyFrom, *copyTo;
    QmdDataStruct darkImage, flatImage, sourceImage, sumImage, rawSumImage;
    char name[32];
    uint32_t id1, id2, v[4];

    for (i = 1; i < argc; ++i) {
        const char* option = argv[i];
        if (strcmp(option, "--help") == 0 || strcmp(option, "-h") == 0) {
            fputs(kUsage, stdout);
            return 0;
        }
        if (strcmp(option, "--out") != 0 && strcmp(option, "--cycles") != 0 && strcmp(option, "--frames") != 0 &&
            strcmp(option, "--module") != 0) {
            fprintf(stderr, "error: unknown option '%s'\n\n%s", option, kUsage);
            return 2;
        }
        if (i + 1 == argc) {
            fprintf(stderr, "error: %s needs a value\n\n%s", option, kUsage);
            return 2;
        }
        ++i;
        if (strcmp(option, "--out") == 0)
            out = argv[i];
        else if (strcmp(option, "--module") == 0)
            path = argv[i];
        else if ((strcmp(option, "--cycles") == 0 ? (cycles = Count(option, argv[i]))
                                                  : (frames = Count(option, argv[i]))) == 0)
            return 2;
    }
    setvbuf(stdout, NULL, _IOLBF, 0);
    if (!UsableFolder(out) || !Resolve(&m, path)) return 1;
    m.deviceId(name, &id1, &id2, 0);
    m.version(0, &v[0], &v[1], &v[2], &v[3]);
    printf("module      %s %u.%u.%u.%u\n", name, v[0], v[1], v[2], v[3]);

    dark = malloc(sizeof *dark * kPixels);
    flat = malloc(sizeof *flat * kPixels);
    source = malloc(sizeof *source * kPixels);
    sum = malloc(sizeof *sum * kPixels);
    rawSum = malloc(sizeof *rawSum * kPixels);
    copyFrom = malloc(kCopyBytes);
    copyTo = malloc(kCopyBytes);
    if (!dark || !flat || !source || !sum || !rawSum || !copyFrom || !copyTo) {
        fprintf(stderr, "error: out of memory for the frames\n");
        return 1;
    }
    memset(copyFrom, 1, kCopyBytes);
    memset(copyTo, 0, kCopyBytes);

    /* Calibration frames: a dark offset of about 100 counts with fixed-pattern variation, and a
     * flat field taken of a uniform source through the optic (about 30000 counts at the centre). */
    for (y = 0; y < kSide; ++y)
        for (x = 0; x < kSide; ++x) {
            const size_t p = (size_t)y * kSide + x;
            dark[p] = Clamp16(100.0 + 4.0 * Gaussian() + ((x % 16) == 0 ? 12.0 : 0.0));
            flat[p] = Clamp16(30000.0 * Vignette(x, y) + 20.0 * Gaussian());
        }
    darkImage = (QmdDataStruct){dark, kSide, kSide, qmeTypeU16, 1, {0}};
    flatImage = (QmdDataStruct){flat, kSide, kSide, qmeTypeU16, 1, {0}};
    sourceImage = (QmdDataStruct){source, kSide, kSide, qmeTypeU16, 1, {0}};
    sumImage = (QmdDataStruct){sum, kSide, kSide, qmeTypeF32, 1, {0}};
    rawSumImage = (QmdDataStruct){rawSum, kSide, kSide, qmeTypeF32, 1, {0}};

    ok &= Check(m.create(0, 0x100, &corrected), "MathCreate");
    ok &= Check(m.create(0, 0x200, &raw), "MathCreate");
    if (!ok) return 1;
    /* Corrected: dark subtraction, flat field normalised by its mean, accumulation. */
    ok &= Check(m.setProcess(corrected, qmeOnlineDarkSubtract, 1), "dark subtraction on");
    ok &= Check(m.setProcess(corrected, qmeOnlineFlatField, 1), "flat field on");
    ok &= Check(m.setProcess(corrected, qmeOnlineAccumulate, 1), "accumulation on");
    ok &= Check(m.setConstant(corrected, qmeConstFrameCount, frames), "frame count");
    ok &= Check(m.setData(corrected, qmeDataDarkFrame, &darkImage), "dark frame");
    ok &= Check(m.setData(corrected, qmeDataFlatFieldMean, &flatImage), "flat field");
    ok &= Check(m.setData(corrected, qmeDataSourceFrame, &sourceImage), "source frame");
    /* Raw: accumulation only. */
    ok &= Check(m.setProcess(raw, qmeOnlineAccumulate, 1), "accumulation on");
    ok &= Check(m.setConstant(raw, qmeConstFrameCount, frames), "frame count");
    ok &= Check(m.setData(raw, qmeDataSourceFrame, &sourceImage), "source frame");
    if (!ok) return 1;

    printf("camera      %d x %d U16, %d cycles of %d frames, dark + flat field + accumulate into F32\n", kSide, kSide,
           cycles, frames);
    for (c = 0; c < cycles && ok; ++c) {
        for (f = 0; f < frames && ok; ++f) {
            double t0;
            /* The camera fills its buffer: dark offset + vignetted scene + photon and read noise. */
            for (y = 0; y < kSide; ++y)
                for (x = 0; x < kSide; ++x) {
                    const size_t p = (size_t)y * kSide + x;
                    const double signal = Scene(x, y) * Vignette(x, y);
                    source[p] = Clamp16(dark[p] + signal + (sqrt(signal) + 3.0) * Gaussian());
                }
            t0 = Seconds();
            ok &= Check(m.process(corrected, &sumImage), "MathProcessData");
            busy += Seconds() - t0;
            /* The yardstick, timed beside every frame: memcpy of as many bytes as the frame moves. */
            t0 = Seconds();
            memcpy(copyTo, copyFrom, kCopyBytes);
            copying += Seconds() - t0;
            ok &= Check(m.process(raw, &rawSumImage), "MathProcessData (raw)");
        }
    }
    if (ok) {
        const int total = cycles * frames;
        /* Per frame: source (2 B), dark (4 B) and flat factor (4 B) read, output (4 B) read and
         * written. */
        const double bytes = (double)kPixels * (2 + 4 + 4 + 4 + 4) * total;
        const double rawSpread = PanelSpread(rawSum), correctedSpread = PanelSpread(sum);
        double lo, hi;
        printf("throughput  %.1f frames/s, %.0f MB/s through MathProcessData (%.2f ms a frame)\n", total / busy,
               bytes / busy / 1e6, 1e3 * busy / total);
        printf("memcpy      %.0f MB/s moving the same bytes in the same run: the pipeline runs at %.2f x memcpy\n",
               bytes / copying / 1e6, copying / busy);
        printf("uniform     relative spread raw %.2f %%, corrected %.2f %%: %.1f times flatter\n", 100.0 * rawSpread,
               100.0 * correctedSpread, rawSpread / correctedSpread);
        printf(
            "            (spread = standard deviation / mean over the uniform left panel: the raw one is\n"
            "            the optic's fall-off to the corners; what is left after correction is noise)\n");
        DisplayRange(rawSum, frames, &lo, &hi);
        printf("images      8-bit PGM, one grey scale for both: black = %.0f, white = %.0f counts a frame\n", lo, hi);
        ok &= WritePgm(out, "camera_raw.pgm", rawSum, frames, lo, hi);
        ok &= WritePgm(out, "camera_corrected.pgm", sum, frames, lo, hi);
    }
    m.destroy(corrected);
    m.destroy(raw);
    free(dark);
    free(flat);
    free(source);
    free(sum);
    free(rawSum);
    free(copyFrom);
    free(copyTo);
    dlclose(m.handle);
    return ok ? 0 : 1;
}
