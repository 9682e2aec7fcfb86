// Reference models of the colour reconstructions, written plainly from their rules: one pixel at
// a time, every sum exact in 64 bits and then wrapped as the sample type's arithmetic demands.
#pragma once

#include <cstdint>
#include <vector>

#include "bayer/bayer.h"
#include "core/cpu.h"

namespace qmtest {

// Output bytes of the interpolating reconstruction over a buffer prefilled with `out`'s content:
// `out` has room for every pixel the reconstruction writes.
template <class Sample>
void ReferenceInterpolate(std::vector<uint8_t>& out, const std::vector<Sample>& mosaic, uint32_t width, uint32_t height,
                          const qm::BayerParams& params);

// Output bytes of the 2 x 2 binning into a width x height destination.
void ReferenceSimple(std::vector<uint8_t>& out, uint32_t width, uint32_t height, const std::vector<uint16_t>& mosaic,
                     uint32_t sourceWidth, uint32_t sourceHeight, uint16_t shift);

// Runs the engines on one instruction set for the scope's life.
class ScopedIsa {
public:
    explicit ScopedIsa(qm::Isa isa) { qm::SetActiveIsa(isa); }
    ~ScopedIsa() { qm::SetActiveIsa(qm::DetectedIsa()); }
    ScopedIsa(const ScopedIsa&) = delete;
    ScopedIsa& operator=(const ScopedIsa&) = delete;
};

inline constexpr qm::Isa kEveryIsa[] = {qm::Isa::Baseline, qm::Isa::Avx2, qm::Isa::Avx512};

}  // namespace qmtest
