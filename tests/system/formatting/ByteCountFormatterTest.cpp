// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/formatting/ByteCountFormatter.h"

#include "system/formatting/NumberFormatter.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <ostream>

namespace vantorel::system {
namespace {

std::string fileSize(std::int64_t bytes)
{
    return stringFromByteCount(bytes, ByteCountFormatterCountStyle::file);
}

std::string binarySize(std::int64_t bytes)
{
    return stringFromByteCount(bytes, ByteCountFormatterCountStyle::binary);
}

// Most of these figures were printed by a Mac; the others follow from the same rules.
TEST(ByteCountFormatter, WritesSizesAsAMacDoes)
{
    setenv("LC_ALL", "en_US.UTF-8", 1);
    const struct {
        std::int64_t bytes;
        const char* file;
        const char* binary;
    } sizes[] = {
        {0, "Zero KB", "Zero KB"},
        {1, "1 byte", "1 byte"},
        {-1, "-1 byte", "-1 byte"},
        {-2, "-2 bytes", "-2 bytes"},
        {999, "999 bytes", "999 bytes"},
        {1000, "1 KB", "1,000 bytes"},
        {-1000, "-1 KB", "-1,000 bytes"},
        {1023, "1 KB", "1,023 bytes"},
        {1024, "1 KB", "1 KB"},
        {11999, "12 KB", "12 KB"},
        {65536, "66 KB", "64 KB"},
        {900000, "900 KB", "879 KB"},
        {999499, "999 KB", "976 KB"},
        {999500, "1 MB", "976 KB"},
        {1000000, "1 MB", "977 KB"},
        {1048063, "1 MB", "1,023 KB"},
        {1048064, "1 MB", "1 MB"},
        {1572864, "1.6 MB", "1.5 MB"},
        {10485760, "10.5 MB", "10 MB"},
        {123456789, "123.5 MB", "117.7 MB"},
        {209715200, "209.7 MB", "200 MB"},
        {999949999, "999.9 MB", "953.6 MB"},
        {999950000, "1 GB", "953.6 MB"},
        {1234567898, "1.23 GB", "1.15 GB"},
        {-1234567898, "-1.23 GB", "-1.15 GB"},
        {12345678987, "12.35 GB", "11.5 GB"},
        {500277792768, "500.28 GB", "465.92 GB"},
        {999995129856, "1 TB", "931.32 GB"},
        {1000555581440, "1 TB", "931.84 GB"},
        {4000787030016, "4 TB", "3.64 TB"},
        {1125899906842624, "1.13 PB", "1 PB"},
        {std::numeric_limits<std::int64_t>::max(), "9.22 EB", "8 EB"},
        {std::numeric_limits<std::int64_t>::min(), "-9.22 EB", "-8 EB"},
    };
    for (const auto& [bytes, file, binary] : sizes) {
        EXPECT_EQ(fileSize(bytes), file) << bytes;
        EXPECT_EQ(binarySize(bytes), binary) << bytes;
    }
    EXPECT_EQ(stringFromByteCount(1536, ByteCountFormatterCountStyle::memory), "2 KB");
    EXPECT_EQ(stringFromByteCount(1500, ByteCountFormatterCountStyle::decimal), "2 KB");
}

/// What a process of that locale writes; the locale is read once, so each runs in a process of its own.
struct LocaleCase {
    std::vector<std::pair<const char*, const char*>> variables;
    const char* number;
    const char* size;
};

void PrintTo(const LocaleCase& each, std::ostream* out)
{
    for (const auto& [variable, locale] : each.variables)
        *out << variable << '=' << locale << ' ';
}

class NumberFormatter : public testing::TestWithParam<LocaleCase> {};

TEST_P(NumberFormatter, FollowsTheLocaleOfTheProcess)
{
    for (const char* variable : {"LC_ALL", "LC_NUMERIC", "LC_MESSAGES"})
        unsetenv(variable);
    setenv("LANG", "en_US.UTF-8", 1);
    for (const auto& [variable, locale] : GetParam().variables)
        setenv(variable, locale, 1);
    EXPECT_EQ(localizedStringFromNumber(1234567, NumberFormatterStyle::decimal), GetParam().number);
    EXPECT_EQ(fileSize(500277792768), GetParam().size);
}

INSTANTIATE_TEST_SUITE_P(
    Locales, NumberFormatter,
    testing::Values(LocaleCase{{{"LC_ALL", "de_DE.UTF-8"}, {"LC_NUMERIC", "en_IN"}}, "1.234.567", "500,28 GB"},
                    LocaleCase{{{"LC_NUMERIC", "en_IN"}, {"LANG", "de_DE"}}, "12,34,567", "500.28 GB"},
                    LocaleCase{{{"LC_NUMERIC", "ru_RU.UTF-8"}}, "1\u00A0234\u00A0567", "500,28 GB"},
                    LocaleCase{{{"LANG", "de_AT@euro"}}, "1\u00A0234\u00A0567", "500,28 GB"},
                    LocaleCase{{{"LC_ALL", "C"}, {"LANG", "de_DE"}}, "1,234,567", "500.28 GB"},
                    LocaleCase{{{"LC_ALL", "POSIX"}}, "1,234,567", "500.28 GB"},
                    LocaleCase{{{"LC_ALL", ""}, {"LC_NUMERIC", "de_DE"}}, "1.234.567", "500,28 GB"},
                    LocaleCase{{{"LANG", "no such locale"}}, "1,234,567", "500.28 GB"}));

// ICU makes the locale of the messages whichever it is asked for, and ICU 76 overflows the stack on a name that is
// none.
const std::string longVariant = "de_DE@" + std::string(160, 'a');

INSTANTIATE_TEST_SUITE_P(
    NoLocales, NumberFormatter,
    testing::Values(
        LocaleCase{{{"LC_ALL", longVariant.c_str()}}, "1,234,567", "500.28 GB"},
        LocaleCase{{{"LC_NUMERIC", "abcdefghijkl"}, {"LANG", "de_DE"}}, "1,234,567", "500.28 GB"},
        LocaleCase{{{"LC_NUMERIC", "de_DE"}, {"LC_MESSAGES", "abcdefghijkl"}}, "1,234,567", "500.28 GB"},
        LocaleCase{{{"LC_NUMERIC", "de_DE"}, {"LANG", "abcdefghijkl"}}, "1,234,567", "500.28 GB"},
        LocaleCase{{{"LC_NUMERIC", "de_DE"}, {"LC_MESSAGES", "C"}, {"LANG", "abcdefghijkl"}}, "1.234.567", "500,28 GB"},
        LocaleCase{{{"LC_ALL", "de_DE"}, {"LC_MESSAGES", "abcdefghijkl"}, {"LANG", "abcdefghijkl"}},
                   "1.234.567",
                   "500,28 GB"}));

TEST(NumberFormatterWithEnglish, GroupsEveryUnsigned64BitNumber)
{
    setenv("LC_ALL", "en_US", 1);
    const auto text = [](std::uint64_t number) {
        return localizedStringFromNumber(number, NumberFormatterStyle::decimal);
    };
    EXPECT_EQ(text(0), "0");
    EXPECT_EQ(text(1234), "1,234");
    EXPECT_EQ(text(9223372036854775807U), "9,223,372,036,854,775,807");
    EXPECT_EQ(text(18446744073709551615U), "18,446,744,073,709,551,615");
}

} // namespace
} // namespace vantorel::system
