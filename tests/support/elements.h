// Helpers shared by the model comparisons: raw element buffers and the instruction sets to run.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

#include "core/cpu.h"
#include "core/element_types.h"

namespace qmtest {

using Bytes = std::vector<unsigned char>;

// Element i of p (elements of `size` bytes) as raw bits.
inline uint64_t BitsAt(const Bytes& p, size_t i, size_t size) {
    uint64_t w = 0;
    std::memcpy(&w, p.data() + i * size, size);
    return w;
}

// Raw bits of an element of `type` as the number the engines read: U32 counts as signed, since
// it shares the I32 routines.
inline double Value(int32_t type, uint64_t w) {
    const int unused = 64 - 8 * static_cast<int>(qm::ElementSize(type));
    if (type == qm::kF32) return std::bit_cast<float>(static_cast<uint32_t>(w));
    if (type == qm::kF64) return std::bit_cast<double>(w);
    if (type == qm::kU8 || type == qm::kU16) return static_cast<double>(w);
    return static_cast<double>(static_cast<int64_t>(w << unused) >> unused);
}

// The instruction sets this machine runs, lowest first. The detected set is restored when the
// range ends, so a failing test leaves no lowered set behind. Use: for (qm::Isa isa : EachIsa())
// { qm::SetActiveIsa(isa); ... }
class EachIsa {
public:
    EachIsa() {
        for (qm::Isa isa : {qm::Isa::Baseline, qm::Isa::Avx2, qm::Isa::Avx512})
            if (isa <= qm::DetectedIsa()) sets_.push_back(isa);
    }
    ~EachIsa() { qm::SetActiveIsa(qm::DetectedIsa()); }
    EachIsa(const EachIsa&) = delete;
    EachIsa& operator=(const EachIsa&) = delete;
    auto begin() const { return sets_.begin(); }
    auto end() const { return sets_.end(); }

private:
    std::vector<qm::Isa> sets_;
};

}  // namespace qmtest
