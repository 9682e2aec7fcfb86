// SPDX-License-Identifier: MIT
// Helpers for tests that drive instances through the exported functions.
#pragma once

#include <cstdint>
#include <vector>

#include "interface/instance_table.h"
#include "qmath/qmath.h"

namespace qmtest {

// Deletes every slot, so a test starts from the table a freshly loaded module has.
inline void FreeAllSlots() {
    for (uint32_t slot = 0; slot < qm::kInstanceRecords; ++slot) MathDelete(slot);
}

// An instance that is deleted when the test ends.
class ScopedInstance {
public:
    explicit ScopedInstance(uint32_t tag = 0) { status_ = MathCreate(0, tag, &handle_); }
    ~ScopedInstance() {
        if (status_ == qmeSuccess) MathDelete(handle_);
    }
    ScopedInstance(const ScopedInstance&) = delete;
    ScopedInstance& operator=(const ScopedInstance&) = delete;
    QmHandle handle() const { return handle_; }
    QmeErrorCode status() const { return status_; }
    operator QmHandle() const { return handle_; }
    qm::Instance& record() const { return qm::InstanceFor(handle_); }

private:
    QmHandle handle_ = 0;
    QmeErrorCode status_ = qmeSuccess;
};

// A descriptor over a vector the test owns.
template <class T> QmdDataStruct Describe(std::vector<T>& v, uint32_t width, uint32_t height, int32_t type) {
    return QmdDataStruct{v.data(), width, height, type, 1, {}};
}

}  // namespace qmtest
