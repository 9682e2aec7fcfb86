#include "bayer/bayer_ref.h"

#include <cmath>
#include <type_traits>

namespace qmtest {
namespace {

enum Colour { kRed, kGreen, kBlue };

// Native colour of an interior position by phase (1 to 4), row parity and column parity.
constexpr Colour kNative[5][2][2] = {
    {{kGreen, kGreen}, {kGreen, kGreen}},
    {{kRed, kGreen}, {kGreen, kBlue}},
    {{kGreen, kBlue}, {kRed, kGreen}},
    {{kBlue, kGreen}, {kGreen, kRed}},
    {{kGreen, kRed}, {kBlue, kGreen}},
};

int64_t Wrap32(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v))); }

template <class Sample> struct Reader {
    const std::vector<Sample>& data;
    int64_t width, height;
    int64_t operator()(int64_t r, int64_t j) const {
        const int64_t index = r * width + j;
        return index >= 0 && index < width * height ? static_cast<int64_t>(data[index]) : 0;
    }
};

// Mean of `n` samples in the member's arithmetic, as the signed 32-bit value the channel rule sees.
template <class Sample> int64_t Mean(std::initializer_list<int64_t> values) {
    int64_t sum = 0;
    for (int64_t v : values) sum += v;
    const int64_t n = static_cast<int64_t>(values.size());
    if constexpr (std::is_same_v<Sample, uint32_t>) return Wrap32(static_cast<uint32_t>(sum) / static_cast<uint32_t>(n));
    if constexpr (std::is_same_v<Sample, int32_t>) return Wrap32(sum) / n;  // C++ division truncates toward zero
    return sum / n;
}

int64_t Truncate(double p) {
    if (std::isnan(p) || p >= 0x1p63 || p < -0x1p63) return INT64_MIN;
    return static_cast<int64_t>(std::trunc(p));
}

uint8_t Channel(int64_t x, double gain, int32_t offset, bool blue, uint16_t shift) {
    x = Wrap32(x);
    if (shift != 0) {
        if (offset >= x) return 0;
        const int64_t v = blue ? x : Wrap32(x - offset);
        const int64_t t = Wrap32(Truncate(static_cast<double>(v) * gain));
        const int64_t shifted = static_cast<int64_t>(std::floor(static_cast<long double>(t) / std::ldexp(1.0L, shift % 32)));
        return static_cast<uint8_t>(shifted > 255 ? 255 : shifted & 0xFF);
    }
    const uint32_t v = static_cast<uint32_t>(x - offset);
    const uint32_t t = static_cast<uint32_t>(static_cast<uint64_t>(Truncate(static_cast<double>(v) * gain)));
    return static_cast<uint8_t>(t > 255 ? 255 : t);
}

}  // namespace

template <class Sample>
void ReferenceInterpolate(std::vector<uint8_t>& out, const std::vector<Sample>& mosaic, uint32_t width, uint32_t height,
                          const qm::BayerParams& params) {
    const Reader<Sample> S{mosaic, width, height};
    const int64_t W = width, H = height;
    const int64_t perRow = W < 2 ? 2 : W;
    const int64_t rows = H >= 3 ? H - 1 : 1;
    for (int64_t i = 0; i < rows; ++i) {
        int64_t first[3] = {};  // b, g, r of column 0
        for (int64_t k = 0; k < perRow; ++k) {
            int64_t b, g, r;
            const bool edge = k == 0 || k == perRow - 1;
            const int64_t j = k == perRow - 1 ? W - 1 : k;
            if (i == 0) {
                if (k == 0) {
                    b = S(0, 1), g = S(0, 0), r = S(1, 0);
                } else if (edge) {
                    b = S(0, j - 1), g = S(0, j), r = S(1, j);
                } else if (j % 2 == 1) {
                    b = S(0, j), g = Mean<Sample>({S(0, j - 1), S(0, j + 1), S(1, j)}), r = Mean<Sample>({S(1, j - 1), S(1, j + 1)});
                } else {
                    b = Mean<Sample>({S(0, j - 1), S(0, j + 1)}), g = S(0, j), r = S(1, j);
                }
            } else if (edge) {
                if (i % 2 == 1) {
                    r = S(i, j), b = Mean<Sample>({S(i - 1, j + 1), S(i + 1, j + 1)});
                    g = Mean<Sample>({S(i, j + 1), S(i - 1, j), S(i + 1, j)});
                } else {
                    g = S(i, j), r = Mean<Sample>({S(i - 1, j), S(i + 1, j)}), b = S(i, j + 1);
                }
            } else if (params.phase < 1 || params.phase > 4) {
                b = first[0], g = first[1], r = first[2];
            } else {
                const Colour own = kNative[params.phase][i % 2][j % 2];
                const Colour other = kNative[params.phase][i % 2][(j + 1) % 2];
                const int64_t cross = Mean<Sample>({S(i, j - 1), S(i, j + 1), S(i - 1, j), S(i + 1, j)});
                const int64_t diagonal = Mean<Sample>({S(i - 1, j - 1), S(i - 1, j + 1), S(i + 1, j - 1), S(i + 1, j + 1)});
                const int64_t across = Mean<Sample>({S(i, j - 1), S(i, j + 1)});
                const int64_t vertical = Mean<Sample>({S(i - 1, j), S(i + 1, j)});
                if (own == kRed) b = diagonal, g = cross, r = S(i, j);
                else if (own == kBlue) b = S(i, j), g = cross, r = diagonal;
                else if (other == kRed) b = vertical, g = S(i, j), r = across;
                else b = across, g = S(i, j), r = vertical;
            }
            if (k == 0) first[0] = b, first[1] = g, first[2] = r;
            uint8_t* px = &out[3 * (i * perRow + k)];
            px[0] = Channel(b, params.gain[2], params.offset[2], true, params.shift);
            px[1] = Channel(g, params.gain[1], params.offset[1], false, params.shift);
            px[2] = Channel(r, params.gain[0], params.offset[0], false, params.shift);
        }
    }
}

template void ReferenceInterpolate<uint8_t>(std::vector<uint8_t>&, const std::vector<uint8_t>&, uint32_t, uint32_t, const qm::BayerParams&);
template void ReferenceInterpolate<uint16_t>(std::vector<uint8_t>&, const std::vector<uint16_t>&, uint32_t, uint32_t, const qm::BayerParams&);
template void ReferenceInterpolate<int16_t>(std::vector<uint8_t>&, const std::vector<int16_t>&, uint32_t, uint32_t, const qm::BayerParams&);
template void ReferenceInterpolate<uint32_t>(std::vector<uint8_t>&, const std::vector<uint32_t>&, uint32_t, uint32_t, const qm::BayerParams&);
template void ReferenceInterpolate<int32_t>(std::vector<uint8_t>&, const std::vector<int32_t>&, uint32_t, uint32_t, const qm::BayerParams&);

void ReferenceSimple(std::vector<uint8_t>& out, uint32_t width, uint32_t height, const std::vector<uint16_t>& mosaic,
                     uint32_t sourceWidth, uint32_t sourceHeight, uint16_t shift) {
    const Reader<uint16_t> S{mosaic, sourceWidth, sourceHeight};
    const auto store = [shift](int64_t v) { return static_cast<uint8_t>((v >> (shift % 32)) & 0xFF); };
    for (int64_t y = 0; y + 1 < static_cast<int64_t>(height); ++y)
        for (int64_t x = 0; x < width; ++x) {
            // Cells are addressed by element index, so S(0, index) reads the source linearly.
            const int64_t top = 2 * y * sourceWidth + 2 * x, bottom = top + sourceWidth;
            uint8_t* px = &out[3 * (y * width + x)];
            px[0] = store(S(0, bottom));
            px[1] = store((S(0, top) + S(0, bottom + 1)) / 2);
            px[2] = store(S(0, top + 1));
        }
}

}  // namespace qmtest
