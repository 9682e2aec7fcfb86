/*
 * qmath: the "General and Online Math" module, version 3.0.10.0.
 *
 * The whole public interface. Valid C99 and C++. A host identifies the module, creates an
 * instance, selects a process and its parameters, attaches images it owns and calls
 * MathProcessData once per image or camera frame. Every function returns a QmeErrorCode;
 * 0 is success.
 */
#ifndef QMATH_QMATH_H
#define QMATH_QMATH_H

#include <stdint.h>

#if defined(_WIN32)
#  if defined(_M_IX86) || defined(__i386__)
#    define QM_CALL __stdcall
#  else
#    define QM_CALL
#  endif
#  if defined(QMATH_BUILDING)
#    define QM_API __declspec(dllexport)
#  else
#    define QM_API __declspec(dllimport)
#  endif
#else
#  define QM_CALL
#  if defined(QMATH_BUILDING)
#    define QM_API __attribute__((visibility("default")))
#  else
#    define QM_API
#  endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* One image or array. Elements lie row after row with no padding; nWidth is also the row
 * stride. The element count is nWidth x nHeight as a signed 32-bit product. */
typedef struct QmdDataStruct {
    void*    pData;
    uint32_t nWidth;       /* elements per row, also the row stride */
    uint32_t nHeight;      /* rows */
    int32_t  eType;        /* element type code, QmeElementType */
    uint32_t nDepth;       /* planes; 1 on every descriptor the module creates */
    uint32_t nReserved[4]; /* the host's; never read or written by the module */
} QmdDataStruct;

/* A 24-bit colour pixel: blue, green, red. */
typedef struct QmdRgbTriple {
    uint8_t rgbtBlue;
    uint8_t rgbtGreen;
    uint8_t rgbtRed;
} QmdRgbTriple;

/* Element type codes of QmdDataStruct.eType. Codes 9, 10 and 14 are sized (4, 4, 12 bytes)
 * but accepted by no engine; any other code counts as 2 bytes. */
typedef enum QmeElementType {
    qmeTypeI8 = 1,
    qmeTypeI16 = 2,
    qmeTypeI32 = 3,
    qmeTypeF32 = 4,
    qmeTypeF64 = 5,
    qmeTypeU8 = 6,
    qmeTypeU16 = 7,
    qmeTypeU32 = 8,
    qmeTypeRgb24 = 11,
    qmeTypeRgb24Alt = 15
} QmeElementType;

typedef enum QmeErrorCode {
    qmeSuccess = 0,
    qmeNoFreeInstance = 5010,       /* all 255 instance slots are in use */
    qmeStatisticUnavailable = 5020, /* statistic not available for this element type */
    qmeMissingImage = 8000,         /* a required image is missing, has a null pData or no elements */
    qmeUnsupportedType = 8001,      /* element type not supported by this operation */
    qmeContradictoryOptions = 8002, /* contradictory online options */
    qmeElementNotComputed = 8003,   /* some elements could not be computed and were set to 0 */
    qmeCountMismatch = 8004,        /* the images do not have the same number of elements */
    qmeUnknownProcess = 8005,       /* process code unknown, or accepted but not handled */
    qmeUnsupportedSourceType = 8006 /* element type not supported as online source frame */
} QmeErrorCode;

/* Slot number in the low 8 bits, the caller's tag ORed in above. */
typedef uint32_t QmHandle;

/* Process codes for MathSetProcess. */
enum {
    qmeProcessAdd = 1,
    qmeProcessSubtract = 2,
    qmeProcessDivide = 3,
    qmeProcessMultiply = 4,
    qmeProcessClip = 256,
    qmeProcessBandMask = 500,
    qmeProcessAddConstant = 501,
    qmeProcessSubtractConstant = 502,
    qmeProcessMultiplyConstant = 503,
    qmeProcessDivideConstant = 504,
    qmeProcessLog10 = 505,
    qmeProcessLnOfLast = 506,
    qmeProcessSqrtOfLast = 507,
    qmeProcessReciprocal = 508,
    qmeProcessConvert = 509,
    qmeProcessBayerSimple = 2000,
    qmeProcessBayerInterpolate = 2001,
    qmeProcessOnline = 9000,
    qmeOnlineDarkSubtract = 9001,
    qmeOnlineFlatField = 9002,
    qmeOnlineAccumulate = 9003,
    qmeOnlineTranspose = 9004,
    qmeOnlineFlipVertical = 9005,
    qmeOnlineMirrorHorizontal = 9006,
    qmeOnlineLog10 = 9007,
    qmeOnlineThreshold = 9008,
    qmeOnlineClipRange = 9009
};

/* Constant codes for MathSetConstant (others are ignored). */
enum {
    qmeConstA = 2,
    qmeConstB = 3,
    qmeConstBayerShift = 2000,
    qmeConstFrameCount = 9002,
    qmeConstColourFlag = 9008,
    qmeConstBayerGainRed = 9009,
    qmeConstBayerGainGreen = 9010,
    qmeConstBayerGainBlue = 9011,
    qmeConstBayerOffsetRed = 9012,
    qmeConstBayerOffsetGreen = 9013,
    qmeConstBayerOffsetBlue = 9014,
    qmeConstBayerReserved = 9015,
    qmeConstBayerPhase = 9016
};

/* Data codes for MathSetData (others are ignored). */
enum {
    qmeDataOperand1 = 0,
    qmeDataOperand2 = 1,
    qmeDataDarkFrame = 9000,
    qmeDataFlatField = 9001,
    qmeDataGainFrame = 9003,
    qmeDataSourceFrame = 9004,
    qmeDataFlatFieldMean = 9005,
    qmeDataFlatFieldMax = 9006,
    qmeDataFlatFieldMaxAlt = 9007
};

QM_API QmeErrorCode QM_CALL GetDeviceCount(uint32_t* count);
QM_API QmeErrorCode QM_CALL GetDeviceID(char* name, uint32_t* id1, uint32_t* id2, uint32_t reserved);
QM_API QmeErrorCode QM_CALL MathVerOfDLL(uint32_t reserved, uint32_t* major, uint32_t* minor, uint32_t* build,
                                         uint32_t* revision);
QM_API QmeErrorCode QM_CALL MathCreate(uint32_t reserved, uint32_t tag, QmHandle* handle);
QM_API QmeErrorCode QM_CALL MathDelete(QmHandle handle);
QM_API QmeErrorCode QM_CALL MathReset(QmHandle handle);
QM_API QmeErrorCode QM_CALL MathSetProcess(QmHandle handle, int32_t code, uint8_t on);
QM_API QmeErrorCode QM_CALL MathSetConstant(QmHandle handle, int32_t code, double value);
QM_API QmeErrorCode QM_CALL MathSetData(QmHandle handle, int32_t code, QmdDataStruct* image);
QM_API QmeErrorCode QM_CALL MathProcessData(QmHandle handle, QmdDataStruct* image);
QM_API QmeErrorCode QM_CALL MathBayerSimple(QmdDataStruct* dst, QmdDataStruct* src, uint16_t shift);
QM_API QmeErrorCode QM_CALL MathBayerInterpolate(QmdRgbTriple* out, uint32_t width, uint32_t height,
                                                 const uint16_t* samples, uint32_t pitch, uint32_t reserved,
                                                 uint16_t shift);

#ifdef __cplusplus
} /* extern "C" */

/* Interpolating Bayer reconstruction by sample type. C++ linkage: the argument types are part
 * of the exported symbol. */
#define QM_BAYER_INTERPOLATE_MEMBER(name)                                                                   \
    QM_API QmeErrorCode QM_CALL name(QmdDataStruct* dst, QmdDataStruct* src, uint16_t shift, double g1,      \
                                     double g2, double g3, int32_t o1, int32_t o2, int32_t o3, int16_t reserved, \
                                     uint16_t phase)
QM_BAYER_INTERPOLATE_MEMBER(MathBayerInterpolateU8);
QM_BAYER_INTERPOLATE_MEMBER(MathBayerInterpolateU16);
QM_BAYER_INTERPOLATE_MEMBER(MathBayerInterpolateI16);
QM_BAYER_INTERPOLATE_MEMBER(MathBayerInterpolateU32);
QM_BAYER_INTERPOLATE_MEMBER(MathBayerInterpolateI32);
#undef QM_BAYER_INTERPOLATE_MEMBER

static_assert(sizeof(QmdDataStruct) == (sizeof(void*) == 8 ? 40 : 36), "QmdDataStruct is nine 32-bit words");
static_assert(sizeof(QmdRgbTriple) == 3, "QmdRgbTriple is three bytes");
static_assert(sizeof(QmeErrorCode) == 4, "QmeErrorCode is a 32-bit value");
#else
/* C99 has no static_assert: a negative array size stops the build instead. */
typedef char qm_check_descriptor_size[(sizeof(QmdDataStruct) == (sizeof(void*) == 8 ? 40 : 36)) ? 1 : -1];
typedef char qm_check_rgb_triple_size[(sizeof(QmdRgbTriple) == 3) ? 1 : -1];
typedef char qm_check_error_code_size[(sizeof(QmeErrorCode) == 4) ? 1 : -1];
#endif

#endif /* QMATH_QMATH_H */
