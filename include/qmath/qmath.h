/* SPDX-License-Identifier: MIT */
/*
 * qmath.h -- interface of the qmath library, the "General and Online Math" module, 3.0.10.0.
 *
 * Copyright (c) the qmath authors. Distributed under the MIT licence (see LICENSE).
 *
 * qmath converts and combines images, corrects and sums live camera frames, and reconstructs
 * colour from Bayer mosaics. It reads no files, starts no threads and logs nothing; it keeps its
 * state in a fixed table of 255 processing instances for the life of the process.
 *
 * This header is the whole public interface. It compiles as C89 and later and as C++98 and later.
 * Link with -lqmath (pkg-config qmath, or CMake's find_package(qmath) and qmath::qmath); on
 * Windows load qmath.dll, whose exports carry their plain names on both x86_64 and i686.
 *
 * USING IT
 *
 *   Every function returns a QmeErrorCode; 0 (qmeSuccess) is success. QmStatusText turns any
 *   status into a line of text that names its usual causes. The calling order is:
 *
 *     GetDeviceCount, GetDeviceID, MathVerOfDLL   identify the module (optional)
 *     MathCreate                                  obtain an instance handle
 *     MathSetProcess, MathSetConstant, MathSetData
 *                                                 choose what the instance does, any order, as
 *                                                 often as needed; they only store settings
 *                                                 (except the reference frames, built at once)
 *     MathProcessData                             run it: once per image or camera frame
 *     MathReset                                   restart an online frame cycle
 *     MathDelete                                  give the instance back
 *
 *   The four jobs and what MathProcessData(handle, image) does with them:
 *
 *     process 1 to 4       image = operand 1 (+ - / x) operand 2, element by element
 *     process 256, 500-509 image = operation(operand 1, constant A, constant B)
 *     process 2000, 2001   image = colour reconstructed from the mosaic in operand 1
 *     process 9000         online: the attached source frame, corrected, written or summed
 *                          into image (the "frame cycle" below)
 *
 * IMAGES, OWNERSHIP AND LIFETIME
 *
 *   Every image is described by a QmdDataStruct that points at a buffer the host owns. The
 *   module never frees a host descriptor or buffer.
 *
 *   - Operand 1 (MathSetData code 0), operand 2 (code 1) and the online source frame (code 9004)
 *     are kept BY ADDRESS. The descriptor and its buffer must stay valid and keep their size from
 *     MathSetData until the last MathProcessData that uses them; a temporary descriptor (a local
 *     variable of a function that has returned, a struct freed by a garbage collector) gives
 *     undefined results. Attach again after moving or resizing a buffer.
 *   - The dark frame (9000), gain frame (9003) and flat field (9001, 9005 to 9007) are COPIED into
 *     frames the module allocates and owns: the host's image may be freed as soon as MathSetData
 *     returns. Setting the same code again replaces the copy; MathDelete frees it.
 *   - The image passed to MathProcessData is only used during that call.
 *   - Online processing with a flip, mirror or transpose option rewrites the host's source frame
 *     in place, so the host refills it before every frame.
 *
 *   Element counts are nWidth x nHeight as a signed 32-bit product; engines compare counts, not
 *   shapes (a 100 x 2 image matches a 2 x 100 one). The module never reads or writes beyond
 *   nWidth x nHeight x element size bytes of any descriptor: a source or reference frame that is
 *   smaller than the output gives 8004 before anything is written. It trusts the host that each
 *   buffer really is as large as its descriptor says.
 *
 * NUMERICS
 *
 *   Integer results wrap at the destination's width; nothing saturates except where a process
 *   says it clips. Floating values stored into integer elements are truncated toward zero to a
 *   64-bit integer whose low bits are kept (300.0 into U8 is 44, -1.0 into U16 is 65535); NaN,
 *   infinities and values beyond 64 bits store 0. U32 data are read as signed 32-bit whenever
 *   they are a source of arithmetic (0x80000000 takes part as -2147483648).
 *
 *   Results do not depend on the host's floating-point mode. A call that computes runs in its own
 *   (round to nearest, subnormals kept, exceptions masked, x87 at 64 bits) wherever the host's
 *   differs, and gives the host's mode back, flags included, when it returns: a host that
 *   flushes to zero, rounds toward zero or traps on division by zero gets the same elements and
 *   no trap from inside the module.
 *
 * THREADING
 *
 *   All calls are synchronous and run on the caller's thread. MathCreate claims a slot
 *   atomically, so threads may create and delete instances concurrently, and distinct instances
 *   may be used from distinct threads at the same time. One instance must not be used from two
 *   threads at once. QmStatusText, GetDeviceCount, GetDeviceID and MathVerOfDLL may be called
 *   from any thread at any time.
 *
 * THE ONLINE FRAME CYCLE (process 9000)
 *
 *   Every MathProcessData call first adds 1 to the instance's frame counter (whatever the
 *   process), runs, and then, whatever the status, sets the counter back to 0 once it has reached
 *   the frame count (constant 9002, default 1). A frame that sees counter 1 is the first of a
 *   cycle. With option 9003 (accumulate) the first frame overwrites the output and frames 2 to N
 *   add into it in the output's own element type, so after frame N the output holds the sum of N
 *   corrected frames and frame N + 1 starts a new sum. Without 9003 every frame overwrites the
 *   output. Setting constant 9002, switching 9003 on or off and MathReset restart the cycle. The
 *   module never divides by N: averaging is the host's (for example with process 504).
 *
 *   Per pixel, in this order: dark subtraction (9001, 32-bit integer, wraps), flat field (9002,
 *   multiplied by the factor frame), then at most one final stage: threshold (9008: 1 where the
 *   value > A, else 0), clip (9009: to [A, B], B tested first) or log10 (9007: log10(value x gain
 *   frame pixel)). Threshold wins over clip when both are set. Log10 with threshold or clip is
 *   contradictory: 8002 (after the flips have been applied). Flips and the transposition (9004 to
 *   9006) rewrite the source frame before the arithmetic. With no option set the source is copied
 *   into the output, converted to its type.
 *
 * ERRORS
 *
 *   Failures are reported only by status, before anything is written unless stated (8003 is the
 *   exception: the other elements are computed). Bad handles are not detected: a handle's low 8
 *   bits select the slot, whatever they are.
 */
#ifndef QMATH_QMATH_H
#define QMATH_QMATH_H

#include <stdint.h>

/* Version of this header; MathVerOfDLL gives the version of the library actually loaded. */
#define QMATH_VERSION_MAJOR 3
#define QMATH_VERSION_MINOR 0
#define QMATH_VERSION_BUILD 10
#define QMATH_VERSION_REVISION 0
#define QMATH_VERSION_STRING "3.0.10.0"
/* 0xMMmmBBRR: compare with >= to require a version (0x03000A00 is 3.0.10.0). */
#define QMATH_VERSION_NUM 0x03000A00

/* QM_CALL is the calling convention of every export: __stdcall (callee cleans) on 32-bit
 * Windows, the platform default elsewhere. QM_API marks the exports. */
#if defined(_WIN32)
#if defined(_M_IX86) || defined(__i386__)
#define QM_CALL __stdcall
#else
#define QM_CALL
#endif
#if defined(QMATH_BUILDING)
#define QM_API __declspec(dllexport)
#else
#define QM_API __declspec(dllimport)
#endif
#else
#define QM_CALL
#if defined(QMATH_BUILDING)
#define QM_API __attribute__((visibility("default")))
#else
#define QM_API
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* One image or array. Elements lie row after row with no padding; nWidth is also the row
 * stride. The element count is nWidth x nHeight as a signed 32-bit product. Nine 32-bit words:
 * 40 bytes with 64-bit pointers, 36 with 32-bit ones. */
typedef struct QmdDataStruct {
    void* pData;           /* first element; the host's buffer */
    uint32_t nWidth;       /* elements per row, also the row stride */
    uint32_t nHeight;      /* rows */
    int32_t eType;         /* element type code, QmeElementType */
    uint32_t nDepth;       /* planes; set it to 1. The module sets 1 on every descriptor it creates */
    uint32_t nReserved[4]; /* the host's; never read or written by the module */
} QmdDataStruct;

/* A 24-bit colour pixel: blue, green, red, 3 bytes (element types 11 and 15). */
typedef struct QmdRgbTriple {
    uint8_t rgbtBlue;
    uint8_t rgbtGreen;
    uint8_t rgbtRed;
} QmdRgbTriple;

/* Element type codes of QmdDataStruct.eType, with their sizes in bytes. Codes 9 and 10 (4 bytes)
 * and 14 (12 bytes) are sized but accepted by no process (8001); any other code counts as 2
 * bytes. */
typedef enum QmeElementType {
    qmeTypeI8 = 1,       /* signed 8-bit, 1 byte */
    qmeTypeI16 = 2,      /* signed 16-bit, 2 bytes */
    qmeTypeI32 = 3,      /* signed 32-bit, 4 bytes */
    qmeTypeF32 = 4,      /* 32-bit float, 4 bytes */
    qmeTypeF64 = 5,      /* 64-bit float, 8 bytes */
    qmeTypeU8 = 6,       /* unsigned 8-bit, 1 byte */
    qmeTypeU16 = 7,      /* unsigned 16-bit, 2 bytes */
    qmeTypeU32 = 8,      /* unsigned 32-bit, 4 bytes; read as signed 32-bit by the arithmetic */
    qmeTypeSized9 = 9,   /* 4 bytes, no process accepts it */
    qmeTypeSized10 = 10, /* 4 bytes, no process accepts it */
    qmeTypeRgb24 = 11,   /* QmdRgbTriple, 3 bytes */
    qmeTypeSized14 = 14, /* 12 bytes, no process accepts it */
    qmeTypeRgb24Alt = 15 /* QmdRgbTriple, 3 bytes; as an online source it is averaged to grey */
} QmeElementType;

/* Status of every function. QmStatusText gives each one's text and usual causes. */
typedef enum QmeErrorCode {
    qmeSuccess = 0,
    qmeNoFreeInstance = 5010,       /* all 255 instance slots are in use */
    qmeStatisticUnavailable = 5020, /* statistic not available for this element type */
    qmeMissingImage = 8000,         /* a required image is missing, has a null pData or no elements;
                                       also a null handle pointer and failed allocations */
    qmeUnsupportedType = 8001,      /* element type not supported by this operation */
    qmeContradictoryOptions = 8002, /* contradictory online options (log10 with threshold or clip) */
    qmeElementNotComputed = 8003,   /* some elements could not be computed and were set to 0 */
    qmeCountMismatch = 8004,        /* the images do not have the same number of elements */
    qmeUnknownProcess = 8005,       /* process code unknown, or accepted but not handled */
    qmeUnsupportedSourceType = 8006 /* element type not supported as online source frame */
} QmeErrorCode;

/* Slot number (0 to 254) in the low 8 bits, the caller's tag ORed in above. */
typedef uint32_t QmHandle;

/* Process codes for MathSetProcess. */
enum {
    /* Image arithmetic: image = operand 1 op operand 2 (MathSetData codes 0 and 1). Operands and
     * image of types 1 to 8, equal counts. Float operands with an integer destination are
     * truncated before the operation (F32 2.7 + 2.7 into I16 is 4). A zero divisor, also one that
     * becomes 0 by truncation, stores 0 and gives 8003; INT32_MIN / -1 stores INT32_MIN. The
     * image may be the same buffer as an operand of the same type. */
    qmeProcessAdd = 1,
    qmeProcessSubtract = 2,
    qmeProcessDivide = 3, /* operand 1 / operand 2 */
    qmeProcessMultiply = 4,
    /* Accepted by MathSetProcess, answered 8005 by MathProcessData. */
    qmeProcessReserved5 = 5,
    qmeProcessReserved6 = 6,
    qmeProcessReserved8 = 8,
    qmeProcessReserved9 = 9,
    /* Scalar operations: image = f(x, A, B) for each element x of operand 1 (code 0), computed in
     * double and stored by the rules under NUMERICS. Source and image of types 1 to 8, equal
     * counts; the image may be operand 1 itself (in place). With an image of type 11 every one of
     * these codes is a plain copy of a type 11 operand 1. */
    qmeProcessClip = 256,             /* x < A ? A : x > B ? B : x */
    qmeProcessBandMask = 500,         /* A < x < B ? 1 : 0 */
    qmeProcessAddConstant = 501,      /* x + A */
    qmeProcessSubtractConstant = 502, /* x - A */
    qmeProcessMultiplyConstant = 503, /* x * A */
    qmeProcessDivideConstant = 504,   /* x / A; A == 0 stores 0 everywhere, status 0 */
    qmeProcessLog10 = 505,            /* log10(x); x <= 0 stores 0 and gives 8003 */
    qmeProcessLnOfLast = 506,         /* element 0 := ln(last element); others untouched; 8003 if <= 0 */
    qmeProcessSqrtOfLast = 507,       /* element 0 := sqrt(last element); others untouched; 8003 if <= 0 */
    qmeProcessReciprocal = 508,       /* 1 / x; x == 0 stores 0, status 0 */
    qmeProcessConvert = 509,          /* x converted exactly; integer to integer moves bits (wraps) */
    /* Bayer reconstruction of operand 1 into the image (see MathBayerSimple and
     * MathBayerInterpolateU8); the image must hold 3 bytes per pixel: type 11 or 15. */
    qmeProcessBayerSimple = 2000,      /* 2 x 2 binning; shift = constant A */
    qmeProcessBayerInterpolate = 2001, /* bilinear, by operand 1's type 6, 7, 2, 8 or 3 (others: 0, nothing
                                          written); shift = A, gains, offsets, phase = 9009-9016 */
    qmeProcessReserved2002 = 2002,     /* accepted, answered 8005 */
    /* Online processing of the source frame (data 9004) into the image, see THE ONLINE FRAME
     * CYCLE. Output types 1 to 8, or 11 with a type 11 source (copied, options ignored). */
    qmeProcessOnline = 9000,
    /* Online options: MathSetProcess(h, code, on) sets (on != 0) or clears one option and selects
     * process 9000; the other options are kept. */
    qmeOnlineDarkSubtract = 9001,     /* value - dark frame; needs data 9000 */
    qmeOnlineFlatField = 9002,        /* value x flat-field factor; needs data 9001 or 9005-9007 */
    qmeOnlineAccumulate = 9003,       /* sum frames 2..N of a cycle into the output; restarts the cycle */
    qmeOnlineTranspose = 9004,        /* transpose the source frame in place (square frames) */
    qmeOnlineFlipVertical = 9005,     /* reverse the source frame's rows in place */
    qmeOnlineMirrorHorizontal = 9006, /* reverse each row in place (with 9005: rotate 180 degrees) */
    qmeOnlineLog10 = 9007,            /* log10(value x gain frame); needs data 9003 */
    qmeOnlineThreshold = 9008,        /* value > A ? 1 : 0; with 9003 counts the frames above A */
    qmeOnlineClipRange = 9009         /* value clamped to [A, B] */
};

/* Constant codes for MathSetConstant. Every other code is ignored (status 0). */
enum {
    qmeConstA = 2,               /* constant A: scalar operand, online threshold/clip low bound */
    qmeConstB = 3,               /* constant B: scalar operand, online clip high bound */
    qmeConstAAlias4 = 4,         /* the same as 2 */
    qmeConstBAlias5 = 5,         /* the same as 3 */
    qmeConstAAlias6 = 6,         /* the same as 2 */
    qmeConstBAlias7 = 7,         /* the same as 3 */
    qmeConstBayerShift = 2000,   /* constant A again: the Bayer right shift (truncated, cut to 16 bits) */
    qmeConstAAlias2001 = 2001,   /* the same as 2000 */
    qmeConstAAlias2002 = 2002,   /* the same as 2000 */
    qmeConstFrameCount = 9002,   /* frames per online cycle, truncated toward zero; restarts the cycle */
    qmeConstColourFlag = 9008,   /* stored; overwritten by MathProcessData for U8 and type 15 sources */
    qmeConstBayerGainRed = 9009, /* process 2001: gains (double) */
    qmeConstBayerGainGreen = 9010,
    qmeConstBayerGainBlue = 9011,
    qmeConstBayerOffsetRed = 9012, /* process 2001: offsets (truncated to int32) */
    qmeConstBayerOffsetGreen = 9013,
    qmeConstBayerOffsetBlue = 9014,
    qmeConstBayerReserved = 9015, /* stored (low 16 bits), not used */
    qmeConstBayerPhase = 9016     /* process 2001: mosaic phase of the interior, 1 to 4 */
};

/* Data codes for MathSetData. Every other code is ignored (status 0). */
enum {
    qmeDataOperand1 = 0,          /* kept by address; null accepted (then processing gives 8000) */
    qmeDataOperand2 = 1,          /* kept by address; null accepted */
    qmeDataDarkFrame = 9000,      /* copied as I32 */
    qmeDataFlatField = 9001,      /* copied as F32 factors 1 / x (0 where x is 0) */
    qmeDataGainFrame = 9003,      /* copied as F32 */
    qmeDataSourceFrame = 9004,    /* online source, kept by address; types 2, 3, 6, 7, 8, 11, 15 */
    qmeDataFlatFieldMean = 9005,  /* copied as F32 factors mean / x: divides by the normalised flat */
    qmeDataFlatFieldMax = 9006,   /* copied as F32 factors max / x */
    qmeDataFlatFieldMaxAlt = 9007 /* the same as 9006 */
};

/* ---- Identity ------------------------------------------------------------------------------- */

/* Sets *count to 1 (one device). A null count is skipped. Returns 0. */
QM_API QmeErrorCode QM_CALL GetDeviceCount(uint32_t* count);

/* Writes "General and Online Math" with its terminating NUL (24 bytes: name must hold at least
 * 24) and the identifiers 0x03000000 and 6. Null pointers are skipped; reserved is ignored.
 * Returns 0. */
QM_API QmeErrorCode QM_CALL GetDeviceID(char* name, uint32_t* id1, uint32_t* id2, uint32_t reserved);

/* Sets the loaded library's version, 3, 0, 10, 0 (compare with QMATH_VERSION_*). Null pointers are
 * skipped; reserved is ignored. Returns 0. */
QM_API QmeErrorCode QM_CALL MathVerOfDLL(uint32_t reserved, uint32_t* major, uint32_t* minor, uint32_t* build,
                                         uint32_t* revision);

/* ---- Instances ------------------------------------------------------------------------------ */

/* Takes the lowest free of the 255 slots, resets it (no process, no options, constants A and B 0,
 * nothing attached, frame count 1) and sets *handle to slot | tag. Keep the tag's low 8 bits 0:
 * they would be ORed into the slot number. The Bayer constants 9009 to 9016 are not reset: they
 * keep what the slot's previous user set. reserved is ignored.
 * Returns 0; 5010 when all slots are taken (nothing written); 8000 when handle is NULL (no slot
 * is taken). Thread-safe. */
QM_API QmeErrorCode QM_CALL MathCreate(uint32_t reserved, uint32_t tag, QmHandle* handle);

/* Frees the slot and the reference frames the instance owns, and forgets the attached host
 * images. Deleting a free slot does nothing. Returns 0. */
QM_API QmeErrorCode QM_CALL MathDelete(QmHandle handle);

/* Sets the frame counter to 0: the next frame starts a new online cycle. Returns 0. */
QM_API QmeErrorCode QM_CALL MathReset(QmHandle handle);

/* ---- Selection ------------------------------------------------------------------------------ */

/* Selects the process (see the process codes) or, for 9001 to 9009, switches one online option on
 * (on != 0) or off and selects 9000; `on` is read only by the option codes. 9003 also restarts
 * the frame cycle. Returns 0, or 8005 for a code not in the table (7, 0 and negative codes
 * included), leaving the process and options unchanged. */
QM_API QmeErrorCode QM_CALL MathSetProcess(QmHandle handle, int32_t code, uint8_t on);

/* Stores a constant (see the constant codes); integer ones are truncated toward zero. Unknown
 * codes are ignored. Always returns 0. */
QM_API QmeErrorCode QM_CALL MathSetConstant(QmHandle handle, int32_t code, double value);

/* Attaches a host image (codes 0, 1, 9004: kept by address, see OWNERSHIP) or builds a
 * module-owned reference frame from it (9000, 9001, 9003, 9005 to 9007: copied; the host may free
 * its image afterwards). Unknown codes are ignored (0).
 * Returns 0; 8006 for a source frame (9004) of a type other than 2, 3, 6, 7, 8, 11, 15 (the
 * previous one stays); 8000 for a null image with 9004 or a reference code, an image without data
 * or elements, or a failed allocation (the instance stays usable); 8001 for a reference image of
 * a type outside 1 to 8. */
QM_API QmeErrorCode QM_CALL MathSetData(QmHandle handle, int32_t code, QmdDataStruct* image);

/* ---- Processing ----------------------------------------------------------------------------- */

/* Runs the selected process with `image` as its output (see the process codes and THE ONLINE
 * FRAME CYCLE). Advances the frame counter, even when it fails.
 * Returns 0 or, checked in this order before anything is written: 8000 when the image, an
 * operand, the source frame or a reference frame the options need is missing or empty; 8004
 * when the counts differ (a source or reference frame smaller than the output); 8001 for an
 * element type the process does not take; 8002 for contradictory online options; 8005 when no
 * handled process is selected. 8003 after the fact: some elements stored 0 (division by zero,
 * logarithm or root of a value that is not positive). */
QM_API QmeErrorCode QM_CALL MathProcessData(QmHandle handle, QmdDataStruct* image);

/* ---- Bayer reconstruction, direct calls ----------------------------------------------------- */

/* 2 x 2 binning of a 16-bit mosaic (rows G R / B G from the top left) into colour pixels. dst:
 * W x H pixels of type 11 or 15; src: 16-bit samples, row length S = its nWidth, meant to be 2W x
 * 2H. Output pixel (x, y) = (blue B, green (G1 + G2) / 2, red R) of cell (2x, 2y), each channel
 * shifted right by (shift mod 32) and cut to its low 8 bits (no clipping). Rows 0 to H - 2 are
 * written; the last row and a destination of height 1 or 0 are left as they were. Samples beyond
 * the source read as 0. dst and src must not overlap.
 * Returns 0; 8000 when a descriptor or its pData is NULL; 8004 when dst holds fewer than 3 bytes
 * per pixel (nWidth x nHeight x element size < 3 x W x H: a U8 or U16 destination). */
QM_API QmeErrorCode QM_CALL MathBayerSimple(QmdDataStruct* dst, QmdDataStruct* src, uint16_t shift);

/* The module's first-generation interpolation on raw pointers, kept for old hosts: out holds
 * width x height pixels; samples holds height rows of pitch samples. Row 0 is interpolated; rows
 * 1 to height - 2 are written uniform; the last row is not written. New code uses
 * MathBayerInterpolateU16. reserved is ignored.
 * Returns 0 (also for width or height 0, writing nothing); 8000 when out or samples is NULL. */
QM_API QmeErrorCode QM_CALL MathBayerInterpolate(QmdRgbTriple* out, uint32_t width, uint32_t height,
                                                 const uint16_t* samples, uint32_t pitch, uint32_t reserved,
                                                 uint16_t shift);

/* ---- Status text ---------------------------------------------------------------------------- */

/* A static NUL-terminated English text that names `status` and its common causes (for 8000 the
 * distinct mistakes that give it), for logs and error messages. Unknown values give a fixed
 * "unknown status" text. Never NULL; the text must not be freed or written. Thread-safe. */
QM_API const char* QM_CALL QmStatusText(QmeErrorCode status);

#ifdef __cplusplus
} /* extern "C" */

/* Interpolating Bayer reconstruction by sample type (C++ linkage: the argument types are part of
 * the exported symbol). The mosaic src of W x H samples of the member's type (U8 6, U16 7, I16 2,
 * U32 8, I32 3) is interpolated bilinearly into dst, W pixels per row, written from the start of
 * dst.pData (type 11 or 15): output rows 0 to H - 2 (row 0 only when H <= 2); row H - 1 is left as
 * it was. Per channel (red: g1, o1; green: g2, o2; blue: g3, o3) the interpolated value v becomes
 * (v - o) x g, truncated, shifted right by shift and clipped to 255. With shift != 0 a value at or
 * below its offset gives 0 and blue multiplies v itself (its offset only sets that threshold);
 * with shift 0, v - o wraps as unsigned 32-bit, so keep v above o. phase 1 to 4 selects the layout of the
 * interior (row 0 and the edge columns always use G B / R G). reserved is not used. dst and src
 * must not overlap. Process 2001 calls these with the instance's constants.
 * Returns 0; 8000 when a descriptor or pData is NULL or the mosaic is empty; 8001 when src's type
 * is narrower than the member's sample; 8004 when dst is too small for the pixels written. */
#define QM_BAYER_INTERPOLATE_MEMBER(name)                                                                          \
    QM_API QmeErrorCode QM_CALL name(QmdDataStruct* dst, QmdDataStruct* src, uint16_t shift, double g1, double g2, \
                                     double g3, int32_t o1, int32_t o2, int32_t o3, int16_t reserved, uint16_t phase)
QM_BAYER_INTERPOLATE_MEMBER(MathBayerInterpolateU8);
QM_BAYER_INTERPOLATE_MEMBER(MathBayerInterpolateU16);
QM_BAYER_INTERPOLATE_MEMBER(MathBayerInterpolateI16);
QM_BAYER_INTERPOLATE_MEMBER(MathBayerInterpolateU32);
QM_BAYER_INTERPOLATE_MEMBER(MathBayerInterpolateI32);
#undef QM_BAYER_INTERPOLATE_MEMBER
#endif /* __cplusplus */

/* The binary layout the library was built with; a negative array size stops a build whose
 * compiler lays these out otherwise (works in every C and C++ dialect). */
typedef char qm_check_descriptor_size[(sizeof(QmdDataStruct) == 4 * 8 + sizeof(void*)) ? 1 : -1];
typedef char qm_check_rgb_triple_size[(sizeof(QmdRgbTriple) == 3) ? 1 : -1];
typedef char qm_check_error_code_size[(sizeof(QmeErrorCode) == 4) ? 1 : -1];

#endif /* QMATH_QMATH_H */
