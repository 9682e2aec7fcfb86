// SPDX-License-Identifier: MIT
// The online logarithm on arguments its vector evaluation cannot settle by itself: products of
// pixel, gain and flat factor whose logarithm lies closest to a single's midpoint or to an
// integer, exactly 1 or a rounding away from it, with and without the dark frame that makes the
// products wide. Every output must match the reference model under every instruction set.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "online/online.h"
#include "online_model.h"
#include "support/isa.h"

namespace {

// Singles whose logarithm lies closest to a midpoint of singles or to an integer (see
// tests/scalar/log10_edge_test.cpp), and powers of ten with a neighbour.
constexpr float kEdges[] = {
    0x1.0acfc8p+67f, 0x1.7bdb9p+12f, 0x1.fddcf4p-98f, 0x1.292424p-33f, 0x1.f451d2p+5f, 0x1.82db34p-77f, 0x1.158e46p+63f,
    0x1.0c6f7ap-20f, 1000.0f,        0x1.f40002p+9f,  1e-5f,           1.0f,           0x1.fffffep-1f,  0x1.000002p+0f};

TEST(OnlineKernels, LogarithmsAtTheEdgesOfTheBound) {
    // Pixel p with gain e / p (exact for p a power of two), so that p x gain is the edge value e;
    // flat factors 1, 1 + 2^-23 and 1 - 2^-24 move it by a rounding or keep it.
    std::vector<uint16_t> src;
    std::vector<float> gain, flat;
    std::vector<int32_t> dark;
    for (float e : kEdges) {
        for (uint16_t p : {1, 2, 1024, 3}) {
            for (float f : {1.0f, 1.0f + 0x1p-23f, 1.0f - 0x1p-24f}) {
                src.push_back(p);
                gain.push_back(e / static_cast<float>(p));
                flat.push_back(f);
                dark.push_back(src.size() % 3 == 0 ? -70000 : 0);  // some pixels wide after the dark frame
            }
        }
    }
    const auto n = static_cast<uint32_t>(src.size());
    qmtest::OnEveryIsa([&](qm::Isa) {
        for (int outType : {4, 5, 3, 6}) {
            for (bool withDark : {false, true}) {
                for (bool withFlat : {false, true}) {
                    const onlinemodel::Options o{withDark, withFlat, false, onlinemodel::Final::Log};
                    const int size = onlinemodel::kSize[outType];
                    std::vector<unsigned char> out(n * size), expected(n * size);
                    for (size_t i = 0; i < n; ++i)
                        onlinemodel::ModelPixel(&expected[i * size], outType,
                                                reinterpret_cast<const unsigned char*>(src.data()), 7, i, dark.data(),
                                                flat.data(), gain.data(), 0.0, 0.0, o);
                    QmdDataStruct s{src.data(), n, 1, 7, 1, {}}, dk{dark.data(), n, 1, 3, 1, {}},
                        fl{flat.data(), n, 1, 4, 1, {}}, g{gain.data(), n, 1, 4, 1, {}},
                        output{out.data(), n, 1, outType, 1, {}};
                    qm::OnlineFrame frame;
                    frame.options = qm::kOnlineLog10 | (withDark ? qm::kOnlineDarkSubtract : 0u) |
                                    (withFlat ? qm::kOnlineFlatField : 0u);
                    frame.source = &s, frame.dark = &dk, frame.flat = &fl, frame.gain = &g, frame.output = &output;
                    frame.frameCount = 1;
                    frame.frameNumber = 1;
                    ASSERT_EQ(qm::OnlinePipeline16(frame), qm::Status::Ok);
                    for (size_t i = 0; i < n; ++i) {
                        const bool same = std::memcmp(&out[i * size], &expected[i * size], size) == 0;
                        float a = 0, b = 0;
                        if (!same && outType == 4)
                            std::memcpy(&a, &out[i * size], 4), std::memcpy(&b, &expected[i * size], 4);
                        EXPECT_TRUE(same || (std::isnan(a) && std::isnan(b)))
                            << "out " << outType << " dark " << withDark << " flat " << withFlat << " pixel " << i;
                    }
                }
            }
        }
    });
}

}  // namespace
