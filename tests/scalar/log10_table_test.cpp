// SPDX-License-Identifier: MIT
// Decimal logarithms of large 8- and 16-bit images go through a table of every result; each
// entry must be what the element-by-element rule (checked against the model elsewhere) stores.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "core/element_types.h"
#include "scalar/scalar_dispatch.h"
#include "support/elements.h"
#include "support/isa.h"

namespace {

TEST(ScalarLog10, LargeImagesOfNarrowSourcesMatchTheElementRule) {
    qmtest::OnEveryIsa([&](qm::Isa) {
        for (int32_t s : {qm::kI8, qm::kU8, qm::kI16, qm::kU16}) {
            // Every bit pattern of the source, repeated past the size from which the table serves.
            const size_t size = qm::ElementSize(s), n = 70000;
            std::vector<unsigned char> src(n * size);
            for (size_t i = 0; i < n; ++i) {
                const auto pattern = static_cast<uint16_t>(i * 40503u);
                std::memcpy(src.data() + i * size, &pattern, size);
            }
            QmdDataStruct in{src.data(), static_cast<uint32_t>(n), 1, s, 1, {}};
            for (int32_t d : {qm::kI8, qm::kI16, qm::kI32, qm::kF32, qm::kF64, qm::kU8, qm::kU16, qm::kU32}) {
                const size_t ds = qm::ElementSize(d);
                std::vector<unsigned char> whole(n * ds), single(n * ds);
                QmdDataStruct out{whole.data(), static_cast<uint32_t>(n), 1, d, 1, {}};
                const qm::Status status = qm::ScalarDispatch(505, &out, &in, 0.0, 0.0);
                qm::Status expected = qm::Status::Ok;
                for (size_t i = 0; i < n; ++i) {
                    QmdDataStruct one{src.data() + i * size, 1, 1, s, 1, {}}, o{single.data() + i * ds, 1, 1, d, 1, {}};
                    if (qm::ScalarDispatch(505, &o, &one, 0.0, 0.0) != qm::Status::Ok)
                        expected = qm::Status::ElementNotComputed;
                }
                EXPECT_EQ(status, expected) << s << " -> " << d;
                EXPECT_TRUE(whole == single) << s << " -> " << d;
            }
        }
    });
}

}  // namespace
