// Placeholder until the Bayer reconstruction lands.
#include "bayer/bayer.h"

namespace qm {
Status BayerSimple(const QmdDataStruct*, const QmdDataStruct*, uint16_t) noexcept { return Status::UnknownProcess; }
Status BayerInterpolateRaw(QmdRgbTriple*, uint32_t, uint32_t, const uint16_t*, uint32_t, uint16_t) noexcept {
    return Status::UnknownProcess;
}
template <class Sample>
Status BayerInterpolate(const QmdDataStruct*, const QmdDataStruct*, const BayerParams&) noexcept {
    return Status::UnknownProcess;
}
template Status BayerInterpolate<uint8_t>(const QmdDataStruct*, const QmdDataStruct*, const BayerParams&) noexcept;
template Status BayerInterpolate<uint16_t>(const QmdDataStruct*, const QmdDataStruct*, const BayerParams&) noexcept;
template Status BayerInterpolate<int16_t>(const QmdDataStruct*, const QmdDataStruct*, const BayerParams&) noexcept;
template Status BayerInterpolate<uint32_t>(const QmdDataStruct*, const QmdDataStruct*, const BayerParams&) noexcept;
template Status BayerInterpolate<int32_t>(const QmdDataStruct*, const QmdDataStruct*, const BayerParams&) noexcept;
}  // namespace qm
