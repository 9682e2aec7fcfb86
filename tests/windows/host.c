/* SPDX-License-Identifier: MIT */
/*
 * A Windows host: loads qmath.dll with LoadLibrary, resolves every export by its plain name with
 * GetProcAddress (the C++ members by their mangled names) and runs one real job of each kind,
 * comparing with results worked out by hand. Prints one line per check; exits 0 when all pass.
 * Usage: qmath_windows_host [path to qmath.dll]
 */
#include <stdio.h>
#include <string.h>
#include <windows.h>

#include "qmath/qmath.h"

typedef QmeErrorCode(QM_CALL* DeviceIdFn)(char*, uint32_t*, uint32_t*, uint32_t);
typedef QmeErrorCode(QM_CALL* VersionFn)(uint32_t, uint32_t*, uint32_t*, uint32_t*, uint32_t*);
typedef QmeErrorCode(QM_CALL* CreateFn)(uint32_t, uint32_t, QmHandle*);
typedef QmeErrorCode(QM_CALL* HandleFn)(QmHandle);
typedef QmeErrorCode(QM_CALL* SetProcessFn)(QmHandle, int32_t, uint8_t);
typedef QmeErrorCode(QM_CALL* SetConstantFn)(QmHandle, int32_t, double);
typedef QmeErrorCode(QM_CALL* SetDataFn)(QmHandle, int32_t, QmdDataStruct*);
typedef QmeErrorCode(QM_CALL* ProcessFn)(QmHandle, QmdDataStruct*);
typedef QmeErrorCode(QM_CALL* BayerSimpleFn)(QmdDataStruct*, QmdDataStruct*, uint16_t);
typedef QmeErrorCode(QM_CALL* BayerMemberFn)(QmdDataStruct*, QmdDataStruct*, uint16_t, double, double, double, int32_t,
                                             int32_t, int32_t, int16_t, uint16_t);
typedef const char*(QM_CALL* StatusTextFn)(QmeErrorCode);

static int g_failures = 0;

static void Report(int ok, const char* what) {
    printf("%-4s %s\n", ok ? "ok" : "FAIL", what);
    if (!ok) ++g_failures;
}

static FARPROC Need(HMODULE dll, const char* name) {
    FARPROC f = GetProcAddress(dll, name);
    if (f == NULL) {
        printf("FAIL GetProcAddress(\"%s\")\n", name);
        ++g_failures;
    }
    return f;
}

static QmdDataStruct Image(void* data, uint32_t width, uint32_t height, int32_t type) {
    QmdDataStruct d;
    memset(&d, 0, sizeof d);
    d.pData = data;
    d.nWidth = width;
    d.nHeight = height;
    d.eType = type;
    d.nDepth = 1;
    return d;
}

int main(int argc, char** argv) {
    const char* path = argc > 1 ? argv[1] : "qmath.dll";
    HMODULE dll = LoadLibraryA(path);
    DeviceIdFn deviceId;
    VersionFn version;
    CreateFn create;
    HandleFn destroy;
    SetProcessFn setProcess;
    SetConstantFn setConstant;
    SetDataFn setData;
    ProcessFn process;
    BayerSimpleFn bayerSimple;
    BayerMemberFn bayerU16;
    StatusTextFn statusText;
    if (dll == NULL) {
        printf("FAIL LoadLibrary(\"%s\"): error %lu\n", path, (unsigned long)GetLastError());
        return 1;
    }
    /* Function pointers from GetProcAddress, converted through a generic function pointer type
     * (the conversion every Windows host makes; FARPROC itself has no parameters). */
    deviceId = (DeviceIdFn)(void (*)(void))Need(dll, "GetDeviceID");
    version = (VersionFn)(void (*)(void))Need(dll, "MathVerOfDLL");
    create = (CreateFn)(void (*)(void))Need(dll, "MathCreate");
    destroy = (HandleFn)(void (*)(void))Need(dll, "MathDelete");
    setProcess = (SetProcessFn)(void (*)(void))Need(dll, "MathSetProcess");
    setConstant = (SetConstantFn)(void (*)(void))Need(dll, "MathSetConstant");
    setData = (SetDataFn)(void (*)(void))Need(dll, "MathSetData");
    process = (ProcessFn)(void (*)(void))Need(dll, "MathProcessData");
    bayerSimple = (BayerSimpleFn)(void (*)(void))Need(dll, "MathBayerSimple");
    bayerU16 = (BayerMemberFn)(void (*)(void))Need(dll, "_Z23MathBayerInterpolateU16P13QmdDataStructS0_tdddiiist");
    statusText = (StatusTextFn)(void (*)(void))Need(dll, "QmStatusText");
    {
        static const char* const others[] = {"GetDeviceCount",
                                             "MathReset",
                                             "MathBayerInterpolate",
                                             "_Z22MathBayerInterpolateU8P13QmdDataStructS0_tdddiiist",
                                             "_Z23MathBayerInterpolateI16P13QmdDataStructS0_tdddiiist",
                                             "_Z23MathBayerInterpolateU32P13QmdDataStructS0_tdddiiist",
                                             "_Z23MathBayerInterpolateI32P13QmdDataStructS0_tdddiiist"};
        size_t i;
        for (i = 0; i < sizeof others / sizeof others[0]; ++i) Need(dll, others[i]);
    }
    if (g_failures) return 1;
    Report(1, "every export found by its plain name");

    { /* Identity. */
        char name[32] = {0};
        uint32_t id1 = 0, id2 = 0, v[4] = {0, 0, 0, 0};
        deviceId(name, &id1, &id2, 0);
        version(0, &v[0], &v[1], &v[2], &v[3]);
        printf("     module \"%s\" %u.%u.%u.%u, ids 0x%08X %u\n", name, v[0], v[1], v[2], v[3], id1, id2);
        Report(strcmp(name, "General and Online Math") == 0 && id1 == 0x03000000u && id2 == 6 && v[0] == 3 &&
                   v[1] == 0 && v[2] == 10 && v[3] == 0,
               "identity: name, ids 0x03000000 and 6, version 3.0.10.0");
    }

    { /* Scalar conversion: F64 into U8 truncates toward zero and wraps. */
        double src[5] = {300.0, -1.0, 2.9, -2.9, 1e300};
        uint8_t dst[5] = {7, 7, 7, 7, 7};
        const uint8_t want[5] = {44, 255, 2, 254, 0};
        QmdDataStruct s = Image(src, 5, 1, qmeTypeF64), d = Image(dst, 5, 1, qmeTypeU8);
        QmHandle h = 0;
        QmeErrorCode st = create(0, 0x100, &h);
        st = st ? st : setProcess(h, qmeProcessConvert, 1);
        st = st ? st : setData(h, qmeDataOperand1, &s);
        st = st ? st : process(h, &d);
        destroy(h);
        Report(st == 0 && memcmp(dst, want, 5) == 0,
               "scalar convert F64 {300, -1, 2.9, -2.9, 1e300} -> U8 {44, 255, 2, 254, 0}");
    }

    { /* Image arithmetic: I32 / I32 with a zero divisor, U32 read as signed. */
        int32_t a[4] = {7, -7, 5, 6};
        uint32_t b[4] = {2, 2, 0, 0xFFFFFFFEu};
        int32_t q[4] = {9, 9, 9, 9};
        QmdDataStruct da = Image(a, 2, 2, qmeTypeI32), db = Image(b, 4, 1, qmeTypeU32), dq = Image(q, 4, 1, qmeTypeI32);
        QmHandle h = 0;
        QmeErrorCode st = create(0, 0, &h);
        st = st ? st : setProcess(h, qmeProcessDivide, 1);
        st = st ? st : setData(h, qmeDataOperand1, &da);
        st = st ? st : setData(h, qmeDataOperand2, &db);
        st = st ? st : process(h, &dq);
        destroy(h);
        Report(st == qmeElementNotComputed && q[0] == 3 && q[1] == -3 && q[2] == 0 && q[3] == -3,
               "arithmetic I32 / U32 {7, -7, 5, 6} / {2, 2, 0, -2} = {3, -3, 0, -3}, status 8003");
    }

    { /* Online cycle: dark subtraction, flat field normalised by its mean, accumulation of 3 frames. */
        uint16_t dark[4] = {10, 20, 30, 40};
        uint16_t flat[4] = {100, 100, 50, 50}; /* mean 75: factors 0.75 0.75 1.5 1.5 */
        uint16_t frame[4];
        int32_t sum[4] = {0, 0, 0, 0};
        QmdDataStruct dd = Image(dark, 2, 2, qmeTypeU16), df = Image(flat, 2, 2, qmeTypeU16);
        QmdDataStruct ds = Image(frame, 2, 2, qmeTypeU16), dsum = Image(sum, 2, 2, qmeTypeI32);
        QmHandle h = 0;
        int f, ok = 1;
        QmeErrorCode st = create(0, 0, &h);
        st = st ? st : setProcess(h, qmeOnlineDarkSubtract, 1);
        st = st ? st : setProcess(h, qmeOnlineFlatField, 1);
        st = st ? st : setProcess(h, qmeOnlineAccumulate, 1);
        st = st ? st : setConstant(h, qmeConstFrameCount, 3);
        st = st ? st : setData(h, qmeDataDarkFrame, &dd);
        st = st ? st : setData(h, qmeDataFlatFieldMean, &df);
        st = st ? st : setData(h, qmeDataSourceFrame, &ds);
        /* Frames 1 to 3 hold dark + 100 f: each corrected pixel is 100 f x factor. */
        for (f = 1; f <= 3 && st == 0; ++f) {
            int i;
            for (i = 0; i < 4; ++i) frame[i] = (uint16_t)(dark[i] + 100 * f);
            st = process(h, &dsum);
        }
        ok = st == 0 && sum[0] == 450 && sum[1] == 450 && sum[2] == 900 && sum[3] == 900;
        /* Frame 4 starts a new cycle and overwrites. */
        frame[0] = 12, frame[1] = 22, frame[2] = 32, frame[3] = 42;
        st = process(h, &dsum);
        ok = ok && st == 0 && sum[0] == 1 && sum[1] == 1 && sum[2] == 3 && sum[3] == 3;
        destroy(h);
        Report(ok, "online dark + flat (mean) + accumulate, 3 frames: {450, 450, 900, 900}, then a new cycle");
    }

    { /* Bayer: 2 x 2 binning of a 4 x 4 mosaic 0..15 into a 2 x 2 colour image. */
        uint16_t mosaic[16];
        QmdRgbTriple rgb[4];
        QmdDataStruct ds = Image(mosaic, 4, 4, qmeTypeU16), dd = Image(rgb, 2, 2, qmeTypeRgb24);
        QmdDataStruct du8 = Image(rgb, 2, 2, qmeTypeU8);
        QmeErrorCode st, refused;
        int i;
        for (i = 0; i < 16; ++i) mosaic[i] = (uint16_t)i;
        memset(rgb, 0xAB, sizeof rgb);
        st = bayerSimple(&dd, &ds, 0);
        Report(st == 0 && rgb[0].rgbtBlue == 4 && rgb[0].rgbtGreen == 2 && rgb[0].rgbtRed == 1 &&
                   rgb[1].rgbtBlue == 6 && rgb[1].rgbtGreen == 4 && rgb[1].rgbtRed == 3 && rgb[2].rgbtBlue == 0xAB,
               "MathBayerSimple 4 x 4 -> 2 x 2: (4, 2, 1) (6, 4, 3), last row untouched");
        /* The same buffer described as 2 x 2 U8 (4 bytes) cannot take the 6 colour bytes: refused. */
        memset(rgb, 0xAB, sizeof rgb);
        refused = bayerSimple(&du8, &ds, 0);
        Report(refused == 8004 && rgb[0].rgbtBlue == 0xAB && rgb[1].rgbtRed == 0xAB,
               "MathBayerSimple into a 2 x 2 U8 destination: 8004, nothing written");
    }

    { /* The C++ member by its mangled name: a uniform 3 x 4 mosaic stays uniform in rows 0 to 2 (the
       * last column of a row reads the first sample of the row after next, so 4 rows are needed). */
        uint16_t mosaic[12];
        QmdRgbTriple rgb[12];
        QmdDataStruct ds = Image(mosaic, 3, 4, qmeTypeU16), dd = Image(rgb, 3, 4, qmeTypeRgb24);
        QmeErrorCode st;
        int i, ok = 1;
        for (i = 0; i < 12; ++i) mosaic[i] = 100;
        memset(rgb, 0xAB, sizeof rgb);
        st = bayerU16(&dd, &ds, 0, 1.0, 1.0, 1.0, 0, 0, 0, 0, 1);
        for (i = 0; i < 9; ++i) ok = ok && rgb[i].rgbtBlue == 100 && rgb[i].rgbtGreen == 100 && rgb[i].rgbtRed == 100;
        ok = ok && rgb[9].rgbtBlue == 0xAB && rgb[11].rgbtRed == 0xAB;
        if (st != 0) printf("     status %d: %s\n", (int)st, statusText(st));
        if (!ok)
            for (i = 0; i < 12; ++i)
                printf("     pixel %d: (%u, %u, %u)\n", i, rgb[i].rgbtBlue, rgb[i].rgbtGreen, rgb[i].rgbtRed);
        Report(st == 0 && ok, "MathBayerInterpolateU16 3 x 4 of 100: rows 0 to 2 are 100, row 3 untouched");
    }

    { /* A host in another floating-point mode, as hosts built with other compilers run: the x87 unit
       * at 53 bits and rounding toward zero, SSE rounding toward zero, division by zero and invalid
       * operations unmasked in both. The logarithm into doubles (extended precision inside) and the
       * reciprocal of zeros store what they store in the default mode, nothing traps, and the
       * host's mode is back afterwards. */
        const double src[4] = {2.0, 0.0, 1000.0, 0.7};
        const double wantLog[4] = {0.301029995663981195, 0.0, 3.0, -0.154901959985743197}; /* log10 of the double 0.7 */
        const float wantReciprocal[4] = {0.5f, 0.0f, 0.001f, (float)(1.0 / 0.7)};
        double logs[4] = {9, 9, 9, 9};
        float reciprocals[4] = {9, 9, 9, 9};
        QmdDataStruct s = Image((void*)src, 4, 1, qmeTypeF64), dl = Image(logs, 4, 1, qmeTypeF64);
        QmdDataStruct dr = Image(reciprocals, 4, 1, qmeTypeF32);
        unsigned short savedWord, hostWord = 0x0E7A, wordAfter;
        unsigned int savedCsr, hostCsr = 0x7D00, csrAfter;
        QmeErrorCode stLog, stReciprocal;
        QmHandle h = 0;
        create(0, 0, &h);
        setData(h, qmeDataOperand1, &s);
        __asm__ volatile("fnstcw %0" : "=m"(savedWord));
        __asm__ volatile("stmxcsr %0" : "=m"(savedCsr));
        __asm__ volatile("fldcw %0" : : "m"(hostWord));
        __asm__ volatile("ldmxcsr %0" : : "m"(hostCsr));
        setProcess(h, qmeProcessLog10, 1);
        stLog = process(h, &dl);
        setProcess(h, qmeProcessReciprocal, 1);
        stReciprocal = process(h, &dr);
        __asm__ volatile("fnstcw %0" : "=m"(wordAfter));
        __asm__ volatile("stmxcsr %0" : "=m"(csrAfter));
        __asm__ volatile("fnclex");
        __asm__ volatile("fldcw %0" : : "m"(savedWord));
        __asm__ volatile("ldmxcsr %0" : : "m"(savedCsr));
        destroy(h);
        if (stLog != qmeElementNotComputed || stReciprocal != 0 || wordAfter != hostWord ||
            (csrAfter & 0xFFC0u) != hostCsr)
            printf("     statuses %d %d, modes after 0x%04X 0x%08X\n", (int)stLog, (int)stReciprocal, wordAfter,
                   csrAfter);
        for (int i = 0; i < 4; ++i)
            if (memcmp(&logs[i], &wantLog[i], sizeof(double)) != 0 ||
                memcmp(&reciprocals[i], &wantReciprocal[i], 4) != 0)
                printf("     element %d: log %.17g (want %.17g), 1 / x %.9g (want %.9g)\n", i, logs[i], wantLog[i],
                       reciprocals[i], wantReciprocal[i]);
        Report(stLog == qmeElementNotComputed && memcmp(logs, wantLog, sizeof logs) == 0 && stReciprocal == 0 &&
                   memcmp(reciprocals, wantReciprocal, sizeof reciprocals) == 0 && wordAfter == hostWord &&
                   (csrAfter & 0xFFC0u) == hostCsr,
               "log10 and 1 / x from a host at 53 bits, rounding toward zero, traps on: as by default, mode kept");
    }

    { /* Status text. */
        const char* t = statusText(qmeMissingImage);
        const char* u = statusText((QmeErrorCode)12345);
        Report(t != NULL && strncmp(t, "8000", 4) == 0 && u != NULL && strncmp(u, "unknown", 7) == 0,
               "QmStatusText(8000) and an unknown value");
    }

    FreeLibrary(dll);
    printf("%s: %d failure(s)\n", g_failures ? "FAILED" : "passed", g_failures);
    return g_failures ? 1 : 0;
}
