// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/base/PropertyValue.h"

#include <gtest/gtest.h>

#include <limits>

namespace vantorel {
namespace {

TEST(PropertyValue, TypedAccessIsStrict)
{
    const PropertyTable table = {{"size", 500277792768}, {"whole", true}, {"name", "disk0"}, {"ratio", 0.5}};
    EXPECT_EQ(table.get<std::int64_t>("size"), 500277792768);
    EXPECT_EQ(table.get<double>("size"), 500277792768.0);
    EXPECT_FALSE(table.get<std::int32_t>("size")) << "does not fit";
    EXPECT_FALSE(table.get<std::int64_t>("whole")) << "a boolean is no number";
    EXPECT_FALSE(table.get<bool>("size"));
    EXPECT_FALSE(table.get<std::int64_t>("ratio"));
    EXPECT_FALSE(table.get<std::string>("missing"));
    EXPECT_EQ(table.get<std::string>("name"), "disk0");
}

TEST(PropertyValue, HoldsEverySignedAndUnsigned64BitInteger)
{
    const auto largest = std::numeric_limits<std::uint64_t>::max();
    const auto smallest = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(PropertyValue(largest).get<std::uint64_t>(), largest);
    EXPECT_FALSE(PropertyValue(largest).get<std::int64_t>());
    EXPECT_EQ(PropertyValue(smallest).get<std::int64_t>(), smallest);
    EXPECT_FALSE(PropertyValue(-1).get<std::uint64_t>());
    EXPECT_EQ(PropertyValue(std::uint64_t{7}), PropertyValue(std::int8_t{7}));
    EXPECT_EQ(PropertyValue(largest).type(), PropertyValue::Type::integer);
}

} // namespace
} // namespace vantorel
