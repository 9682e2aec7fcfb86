// SPDX-License-Identifier: MIT
// QmStatusText: every status the module returns has its own text that starts with its number, the
// common causes are named, and any other value gets the one fixed text.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "qmath/qmath.h"

namespace {

TEST(StatusText, EveryStatusHasItsOwnTextStartingWithItsNumber) {
    const QmeErrorCode all[] = {qmeSuccess,         qmeNoFreeInstance,       qmeStatisticUnavailable, qmeMissingImage,
                                qmeUnsupportedType, qmeContradictoryOptions, qmeElementNotComputed,   qmeCountMismatch,
                                qmeUnknownProcess,  qmeUnsupportedSourceType};
    std::set<std::string> seen;
    for (const QmeErrorCode status : all) {
        const char* text = QmStatusText(status);
        ASSERT_NE(text, nullptr) << status;
        const std::string number = std::to_string(static_cast<int>(status)) + " ";
        EXPECT_EQ(std::string(text).rfind(number, 0), 0u) << text;
        EXPECT_TRUE(seen.insert(text).second) << "shared text: " << text;
    }
}

TEST(StatusText, NamesTheCausesAHostCanActOn) {
    const struct {
        QmeErrorCode status;
        const char* cause;
    } cases[] = {
        {qmeMissingImage, "NULL handle pointer"}, {qmeMissingImage, "kept by address"},
        {qmeMissingImage, "never set"},           {qmeMissingImage, "allocated"},
        {qmeMissingImage, "no elements"},         {qmeContradictoryOptions, "9007"},
        {qmeCountMismatch, "Bayer destination"},  {qmeUnknownProcess, "never set"},
        {qmeUnsupportedSourceType, "9004"},       {qmeNoFreeInstance, "MathDelete"},
    };
    for (const auto& c : cases) EXPECT_NE(std::strstr(QmStatusText(c.status), c.cause), nullptr) << c.cause;
}

TEST(StatusText, AnyOtherValueGetsTheFixedUnknownText) {
    const char* unknown = QmStatusText(static_cast<QmeErrorCode>(12345));
    ASSERT_NE(unknown, nullptr);
    EXPECT_EQ(std::string(unknown).rfind("unknown status", 0), 0u);
    for (const int value : {-1, 1, 5000, 7999, 8007, 9000})
        EXPECT_STREQ(QmStatusText(static_cast<QmeErrorCode>(value)), unknown) << value;
}

}  // namespace
