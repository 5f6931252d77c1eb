// SPDX-License-Identifier: GPL-2.0-or-later
#include "health/FailureRates.h"

#include <gtest/gtest.h>

namespace vantorel::health {
namespace {

TEST(FailureRates, ANumberIsInOneBucketAndNoneIsLost)
{
    struct Case {
        std::uint8_t attribute;
        std::uint64_t number;
        std::uint64_t from;
        std::optional<std::uint64_t> through;
        double perYear;
    };
    for (const Case& c : {Case{5, 1, 1, 3, 0.02743}, Case{5, 3, 1, 3, 0.02743}, Case{5, 4, 4, 15, 0.07502},
                          Case{5, 69, 16, 69, 0.2359}, Case{5, 70'000, 17000, {}, 1.776}, Case{187, 1, 1, 1, 0.3388},
                          Case{187, 2, 2, 2, 0.2406}, Case{187, 3, 3, 5, 0.5014}, Case{196, 1, 1, 1, 0.02656},
                          Case{197, 529, 250, 649, 3.32}, Case{198, 1, 1, 1, 0.8136}, Case{198, 2, 2, 3, 1.117}}) {
        const auto measured = measuredRate(c.attribute, c.number);
        ASSERT_TRUE(measured) << int{c.attribute} << ' ' << c.number;
        EXPECT_EQ(measured->rate.from, c.from) << int{c.attribute} << ' ' << c.number;
        EXPECT_EQ(measured->rate.through, c.through) << int{c.attribute} << ' ' << c.number;
        EXPECT_DOUBLE_EQ(measured->rate.perYear, c.perYear) << int{c.attribute} << ' ' << c.number;
        EXPECT_EQ(measured->without.from, 0U);
    }
    EXPECT_FALSE(measuredRate(5, 0));
    EXPECT_FALSE(measuredRate(192, 10));
}

TEST(FailureRates, AHigherNumberIsNeverTheBetterSign)
{
    // Of 17 to 26 moved sectors few disks were measured: their interval begins at 0.15 %.
    EXPECT_LT(measuredRate(196, 10)->times, 1);
    EXPECT_GT(measuredRate(196, 11)->times, 1);
    EXPECT_EQ(measuredRate(196, 20)->times, measuredRate(196, 11)->times);
    EXPECT_GT(measuredRate(196, 27)->times, 4);
}

} // namespace
} // namespace vantorel::health
