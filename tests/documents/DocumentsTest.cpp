// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/Documents.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>

namespace vantorel {
namespace {

TEST(UtcTime, IsWrittenFrom1970ToTheYear9999AndReadBack)
{
    const std::pair<std::int64_t, const char*> moments[] = {
        {0, "1970-01-01T00:00:00.000Z"},
        {1, "1970-01-01T00:00:00.001Z"},
        {1'709'164'799'987, "2024-02-28T23:59:59.987Z"},
        {1'709'164'800'050, "2024-02-29T00:00:00.050Z"},
        {253'402'300'799'999, "9999-12-31T23:59:59.999Z"},
    };
    for (const auto& [milliseconds, text] : moments) {
        EXPECT_EQ(utcTime(milliseconds), text);
        EXPECT_EQ(momentOf(text), milliseconds) << text;
    }
    EXPECT_EQ(utcTime(-1), "");
    EXPECT_EQ(utcTime(253'402'300'800'000), "");
    EXPECT_EQ(momentOf("2026-01-31T23:59:58Z"), 1'769'903'998'000);
    for (const char* const text :
         {"", "2026-01-31", "2026-01-31T23:59:59", "2026-01-31T23:59:59z", "2026-01-31T23:59:59ZZ",
          "2026-01-31T23:59:59.Z", "2026-01-31T23:59:59.5Z", "2026-01-31T23:59:59.5000Z", "2026-01-31T23:59:59.500",
          "2026-01-31T23:59:59.500Z ", "2026-01-31T23:59:59.-12Z", "2026-01-31T23:59:59. 12Z", "2026-13-31T23:59:59Z",
          "2026-01-31T24:59:59Z", "2026-01-31 23:59:59Z", "2026-02-30T00:00:00Z"})
        EXPECT_EQ(momentOf(text), std::nullopt) << text;
}

} // namespace
} // namespace vantorel
