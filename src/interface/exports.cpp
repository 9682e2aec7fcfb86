// SPDX-License-Identifier: MIT
// The exported entry points: a thin shell that unpacks the handle and arguments, calls the
// module's C++ and turns its status into a QmeErrorCode. Nothing here throws; no exception
// leaves the library. Output pointers that are null are skipped, never written. Every entry that
// computes runs in the module's floating-point mode (core/float_environment.h), whatever the host's.
#include <cstring>

#include "bayer/bayer.h"
#include "core/float_environment.h"
#include "interface/identity.h"
#include "interface/instance_table.h"
#include "interface/processing.h"
#include "interface/selection.h"
#include "interface/status_text.h"
#include "qmath/qmath.h"

using qm::Status;
using qm::ToErrorCode;

namespace {

template <class T> void Put(T* out, T value) noexcept {
    if (out != nullptr) *out = value;
}

QmeErrorCode BayerMember(auto member, QmdDataStruct* dst, QmdDataStruct* src, uint16_t shift, double g1, double g2,
                         double g3, int32_t o1, int32_t o2, int32_t o3, uint16_t phase) noexcept {
    const qm::FloatEnvironment mode;
    const qm::BayerConstants constants{g1, g2, g3, o1, o2, o3, 0, phase};
    return ToErrorCode(member(dst, src, qm::ParamsOf(constants, shift)));
}

}  // namespace

extern "C" {

QM_API QmeErrorCode QM_CALL GetDeviceCount(uint32_t* count) {
    Put(count, qm::kDeviceCount);
    return qmeSuccess;
}

QM_API QmeErrorCode QM_CALL GetDeviceID(char* name, uint32_t* id1, uint32_t* id2, uint32_t /*reserved*/) {
    if (name != nullptr) std::memcpy(name, qm::kDeviceName, sizeof(qm::kDeviceName));
    Put(id1, qm::kDeviceId1);
    Put(id2, qm::kDeviceId2);
    return qmeSuccess;
}

QM_API QmeErrorCode QM_CALL MathVerOfDLL(uint32_t /*reserved*/, uint32_t* major, uint32_t* minor, uint32_t* build,
                                         uint32_t* revision) {
    Put(major, qm::kVersion[0]);
    Put(minor, qm::kVersion[1]);
    Put(build, qm::kVersion[2]);
    Put(revision, qm::kVersion[3]);
    return qmeSuccess;
}

QM_API QmeErrorCode QM_CALL MathCreate(uint32_t /*reserved*/, uint32_t tag, QmHandle* handle) {
    return ToErrorCode(qm::CreateInstance(tag, handle));
}

QM_API QmeErrorCode QM_CALL MathDelete(QmHandle handle) {
    qm::DeleteInstance(handle);
    return qmeSuccess;
}

QM_API QmeErrorCode QM_CALL MathReset(QmHandle handle) {
    qm::ResetInstance(handle);
    return qmeSuccess;
}

QM_API QmeErrorCode QM_CALL MathSetProcess(QmHandle handle, int32_t code, uint8_t on) {
    const qm::FloatEnvironment mode;
    return ToErrorCode(qm::SetProcess(qm::InstanceFor(handle), code, on));
}

QM_API QmeErrorCode QM_CALL MathSetConstant(QmHandle handle, int32_t code, double value) {
    const qm::FloatEnvironment mode;
    return ToErrorCode(qm::SetConstant(qm::InstanceFor(handle), code, value));
}

QM_API QmeErrorCode QM_CALL MathSetData(QmHandle handle, int32_t code, QmdDataStruct* image) {
    const qm::FloatEnvironment mode;
    return ToErrorCode(qm::SetData(qm::InstanceFor(handle), code, image));
}

QM_API QmeErrorCode QM_CALL MathProcessData(QmHandle handle, QmdDataStruct* image) {
    const qm::FloatEnvironment mode;
    return ToErrorCode(qm::ProcessData(qm::InstanceFor(handle), image));
}

QM_API QmeErrorCode QM_CALL MathBayerSimple(QmdDataStruct* dst, QmdDataStruct* src, uint16_t shift) {
    const qm::FloatEnvironment mode;
    return ToErrorCode(qm::BayerSimple(dst, src, shift));
}

QM_API QmeErrorCode QM_CALL MathBayerInterpolate(QmdRgbTriple* out, uint32_t width, uint32_t height,
                                                 const uint16_t* samples, uint32_t pitch, uint32_t /*reserved*/,
                                                 uint16_t shift) {
    const qm::FloatEnvironment mode;
    return ToErrorCode(qm::BayerInterpolateRaw(out, width, height, samples, pitch, shift));
}

QM_API const char* QM_CALL QmStatusText(QmeErrorCode status) { return qm::StatusText(status); }

}  // extern "C"

// The five typed interpolating members: C++ linkage, one body each over its sample type.
#define QM_EXPORT_BAYER_MEMBER(name, Sample)                                                                       \
    QM_API QmeErrorCode QM_CALL name(QmdDataStruct* dst, QmdDataStruct* src, uint16_t shift, double g1, double g2, \
                                     double g3, int32_t o1, int32_t o2, int32_t o3, int16_t /*reserved*/,          \
                                     uint16_t phase) {                                                             \
        return BayerMember(qm::BayerInterpolate<Sample>, dst, src, shift, g1, g2, g3, o1, o2, o3, phase);          \
    }
QM_EXPORT_BAYER_MEMBER(MathBayerInterpolateU8, uint8_t)
QM_EXPORT_BAYER_MEMBER(MathBayerInterpolateU16, uint16_t)
QM_EXPORT_BAYER_MEMBER(MathBayerInterpolateI16, int16_t)
QM_EXPORT_BAYER_MEMBER(MathBayerInterpolateU32, uint32_t)
QM_EXPORT_BAYER_MEMBER(MathBayerInterpolateI32, int32_t)
#undef QM_EXPORT_BAYER_MEMBER
