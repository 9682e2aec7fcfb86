// SPDX-License-Identifier: MIT
// Colour reconstruction from Bayer mosaics.
#pragma once

#include <cstdint>

#include "core/status.h"
#include "qmath/qmath.h"

namespace qm {

// 2 x 2 binning of a 16-bit mosaic into half-size colour.
Status BayerSimple(const QmdDataStruct* dst, const QmdDataStruct* src, uint16_t shift) noexcept;

// The raw-pointer export of the interpolating reconstruction, with its fixed first-row sampling.
Status BayerInterpolateRaw(QmdRgbTriple* out, uint32_t width, uint32_t height, const uint16_t* samples, uint32_t pitch,
                           uint16_t shift) noexcept;

// Parameters of the interpolating reconstruction; channel order red, green, blue.
struct BayerParams {
    uint16_t shift = 0;
    double gain[3] = {0.0, 0.0, 0.0};
    int32_t offset[3] = {0, 0, 0};
    uint16_t phase = 0;
};

// The interpolating reconstruction's constants as an instance keeps them (constants 9009 to 9016)
// and the typed exports receive them.
struct BayerConstants {
    double dBayer1 = 0.0, dBayer2 = 0.0, dBayer3 = 0.0;  // gains of red, green, blue
    int32_t nBayer1 = 0, nBayer2 = 0, nBayer3 = 0;       // offsets of red, green, blue
    int16_t nBayerShort = 0;                             // accepted, not used
    uint16_t nBayerWord = 0;                             // the mosaic phase
};

constexpr BayerParams ParamsOf(const BayerConstants& c, uint16_t shift) noexcept {
    return {shift, {c.dBayer1, c.dBayer2, c.dBayer3}, {c.nBayer1, c.nBayer2, c.nBayer3}, c.nBayerWord};
}

// Bilinear reconstruction of a mosaic of samples of type Sample (uint8_t, uint16_t, int16_t,
// uint32_t, int32_t) into full-size colour.
template <class Sample>
Status BayerInterpolate(const QmdDataStruct* dst, const QmdDataStruct* src, const BayerParams& params) noexcept;

// How many values the check of the channel rule's integer form may evaluate per call (tests raise
// it to reach that form with small images); 0 restores the default, which grows with the image.
void SetFixedRuleBudget(int64_t values) noexcept;

extern template Status BayerInterpolate<uint8_t>(const QmdDataStruct*, const QmdDataStruct*,
                                                 const BayerParams&) noexcept;
extern template Status BayerInterpolate<uint16_t>(const QmdDataStruct*, const QmdDataStruct*,
                                                  const BayerParams&) noexcept;
extern template Status BayerInterpolate<int16_t>(const QmdDataStruct*, const QmdDataStruct*,
                                                 const BayerParams&) noexcept;
extern template Status BayerInterpolate<uint32_t>(const QmdDataStruct*, const QmdDataStruct*,
                                                  const BayerParams&) noexcept;
extern template Status BayerInterpolate<int32_t>(const QmdDataStruct*, const QmdDataStruct*,
                                                 const BayerParams&) noexcept;

}  // namespace qm
