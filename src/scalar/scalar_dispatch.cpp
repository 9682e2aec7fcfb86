// SPDX-License-Identifier: MIT
// The scalar dispatcher and the two statistics of an image.
#include "scalar/scalar_dispatch.h"

#include <array>
#include <cmath>
#include <limits>

#include "core/element_types.h"
#include "core/host_memory.h"
#include "scalar/scalar_engine.h"

namespace qm {
namespace {

// Indexed by source type code - 1. Type 8 goes to the I32 engine: its elements are read as signed.
constexpr std::array<ScalarEngineFn, 8> kEngines = {
    ScalarEngineI8,  ScalarEngineI16, ScalarEngineI32, ScalarEngineF32,
    ScalarEngineF64, ScalarEngineU8,  ScalarEngineU16, ScalarEngineI32,
};

// Running maximum starting at the type's lowest value. Integers replace it when strictly greater
// in their own signedness; floats also whenever either value is NaN, so a NaN is taken and the
// element after it always replaces it.
template <class T> T ElementAt(const void* data, int32_t i) noexcept {
    return LoadAt<T>(static_cast<const unsigned char*>(data), static_cast<size_t>(i));
}

template <class T> double Maximum(const void* data, int32_t n) noexcept {
    T best = std::numeric_limits<T>::lowest();
    for (int32_t i = 0; i < n; ++i) {
        const T x = ElementAt<T>(data, i);
        if constexpr (std::is_floating_point_v<T>) {
            if (best < x || std::isnan(best) || std::isnan(x)) best = x;
        } else {
            if (x > best) best = x;
        }
    }
    return static_cast<double>(best);
}

// Sum in element order, rounded to double after every addition, then divided by n.
template <class T> double Mean(const void* data, int32_t n) noexcept {
    double sum = 0.0;
    for (int32_t i = 0; i < n; ++i) sum += static_cast<double>(ElementAt<T>(data, i));
    return sum / static_cast<double>(n);
}

using StatisticFn = double (*)(const void*, int32_t) noexcept;

constexpr std::array<StatisticFn, 8> kMaximum = {
    Maximum<Element<kI8>>,  Maximum<Element<kI16>>, Maximum<Element<kI32>>, Maximum<Element<kF32>>,
    Maximum<Element<kF64>>, Maximum<Element<kU8>>,  Maximum<Element<kU16>>, Maximum<Element<kU32>>,
};
constexpr std::array<StatisticFn, 8> kMean = {
    Mean<Element<kI8>>,  Mean<Element<kI16>>, Mean<Element<kI32>>, Mean<Element<kF32>>,
    Mean<Element<kF64>>, Mean<Element<kU8>>,  Mean<Element<kU16>>, Mean<Element<kU32>>,
};

// An image a statistic can read: present, and with data unless it is empty.
bool Readable(const QmdDataStruct* src, const double* result) noexcept {
    return src != nullptr && result != nullptr && (src->pData != nullptr || ElementCount(*src) < 1);
}

}  // namespace

Status ScalarDispatch(int32_t op, const QmdDataStruct* dst, const QmdDataStruct* src, double a, double b) noexcept {
    if (dst == nullptr || dst->pData == nullptr) return Status::MissingImage;
    if (src == nullptr || src->pData == nullptr) return Status::MissingImage;
    const int32_t n = ElementCount(*src);
    if (ElementCount(*dst) < 1 || n < 1) return Status::MissingImage;
    if (ElementCount(*dst) != n) return Status::CountMismatch;
    if (!IsNumericType(src->eType)) return Status::UnsupportedType;
    return kEngines[static_cast<size_t>(src->eType - 1)](op, dst, src->pData, a, b, n);
}

Status ImageMaximum(const QmdDataStruct* src, double* result) noexcept {
    if (!Readable(src, result)) return Status::MissingImage;
    if (!IsNumericType(src->eType)) return Status::StatisticUnavailable;
    *result = kMaximum[static_cast<size_t>(src->eType - 1)](src->pData, ElementCount(*src));
    return Status::Ok;
}

Status ImageMean(const QmdDataStruct* src, double* result) noexcept {
    if (!Readable(src, result)) return Status::MissingImage;
    const int32_t n = ElementCount(*src);
    if (!IsNumericType(src->eType)) {
        *result = 0.0 / static_cast<double>(n);
        return Status::StatisticUnavailable;
    }
    *result = kMean[static_cast<size_t>(src->eType - 1)](src->pData, n);
    return Status::Ok;
}

}  // namespace qm
