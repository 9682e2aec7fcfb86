// SPDX-License-Identifier: MIT
// The instruction sets the tests run the hot loops on. Every test that chooses a variant goes
// through this header, so the way a variant is forced lives in one place.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "core/cpu.h"

namespace qmtest {

// The sets this machine runs, lowest first.
inline std::vector<qm::Isa> AvailableIsas() {
    std::vector<qm::Isa> sets;
    for (qm::Isa isa : {qm::Isa::Baseline, qm::Isa::Avx2, qm::Isa::Avx512})
        if (isa <= qm::DetectedIsa()) sets.push_back(isa);
    return sets;
}

inline std::string IsaName(qm::Isa isa) {
    return isa == qm::Isa::Avx512 ? "Avx512" : isa == qm::Isa::Avx2 ? "Avx2" : "Baseline";
}

// The loops run on `isa` while the scope lasts, then on the detected set again, so a failing
// test leaves no lowered set behind.
class ScopedIsa {
public:
    explicit ScopedIsa(qm::Isa isa) { qm::SetActiveIsa(isa); }
    ~ScopedIsa() { qm::SetActiveIsa(qm::DetectedIsa()); }
    ScopedIsa(const ScopedIsa&) = delete;
    ScopedIsa& operator=(const ScopedIsa&) = delete;
};

// Runs body(isa) once on every set.
template <class F> void OnEveryIsa(F body) {
    for (qm::Isa isa : AvailableIsas()) {
        ScopedIsa use(isa);
        SCOPED_TRACE("isa " + IsaName(isa));
        body(isa);
    }
}

// The parameter of a model comparison split by instruction set and element type; its name, such
// as Avx2_I32, says the variant.
struct IsaAndType {
    qm::Isa isa;
    int32_t type;
};
inline std::string ParamName(const testing::TestParamInfo<IsaAndType>& info) {
    const char* const kTypes[] = {"", "I8", "I16", "I32", "F32", "F64", "U8", "U16", "U32", "", "", "Rgb11"};
    const int32_t t = info.param.type;
    return IsaName(info.param.isa) + "_" + (t == 15 ? "Rgb15" : kTypes[t >= 0 && t <= 11 ? t : 0]);
}
inline void PrintTo(const IsaAndType& p, std::ostream* os) { *os << IsaName(p.isa) << " type " << p.type; }
inline std::vector<IsaAndType> EveryIsaWith(std::initializer_list<int32_t> types) {
    std::vector<IsaAndType> all;
    for (qm::Isa isa : AvailableIsas())
        for (int32_t type : types) all.push_back({isa, type});
    return all;
}

}  // namespace qmtest
