// Placeholder until the online pipelines land.
#include "online/online.h"

namespace qm {
Status OnlineColourCopy(const OnlineFrame&) noexcept { return Status::UnknownProcess; }
Status OnlinePipeline16(const OnlineFrame&) noexcept { return Status::UnknownProcess; }
Status OnlinePipeline32(const OnlineFrame&) noexcept { return Status::UnknownProcess; }
Status OnlinePipeline8(const OnlineFrame&) noexcept { return Status::UnknownProcess; }
}  // namespace qm
