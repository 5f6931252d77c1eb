// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/base/Bytes.h"
#include "vantorel/base/Base64.h"
#include "vantorel/base/Uuid.h"

#include <gtest/gtest.h>

namespace vantorel {
namespace {

struct Image {
    std::uint8_t first;
    le32 number;
};

Data bytesOf(std::string_view text)
{
    return {text.begin(), text.end()};
}

TEST(Bytes, RecordsAreCopiedFromTheStartAndAbsentWhenShort)
{
    const Data bytes = {0x01, 0x78, 0x56, 0x34, 0x92, 0xFF};
    EXPECT_EQ(readRecord<Image>(bytes)->number, 0x92345678U);
    EXPECT_TRUE(readRecord<Image>(DataView(bytes).first(5)));
    EXPECT_FALSE(readRecord<Image>(DataView(bytes).first(4)));
    EXPECT_EQ(recordBytes(le64(0x0102030405060708)), (Data{8, 7, 6, 5, 4, 3, 2, 1}));
}

TEST(Uuid, ReadsItsOwnTextInEitherCaseAndNothingElse)
{
    const auto uuid = base::Uuid::parse("08abe21c-20D4-11d6-8DF6-0003935A76B2");
    ASSERT_TRUE(uuid);
    EXPECT_EQ(uuid->bytes[0], 0x08);
    EXPECT_EQ(uuid->bytes[15], 0xB2);
    EXPECT_EQ(uuid->text(), "08ABE21C-20D4-11D6-8DF6-0003935A76B2");
    for (const char* wrong : {"", "08ABE21C20D411D68DF60003935A76B2", "08ABE21C-20D4-11D6-8DF6-0003935A76B",
                              "08ABE21C-20D4-11D6-8DF6-0003935A76BG", "08ABE21C-20D4-11D6-8DF6+0003935A76B2",
                              "-8ABE21C-20D4-11D6-8DF6-0003935A76B2", " 8ABE21C-20D4-11D6-8DF6-0003935A76B2"})
        EXPECT_FALSE(base::Uuid::parse(wrong)) << wrong;
}

TEST(Base64, MatchesTheVectorsOfRfc4648)
{
    const std::pair<const char*, const char*> vectors[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"\xFF\xFE\xFB", "//77"},
    };
    for (const auto& [plain, text] : vectors) {
        EXPECT_EQ(base::base64(bytesOf(plain)), text);
        EXPECT_EQ(base::fromBase64(text), bytesOf(plain));
    }
}

TEST(Base64, RefusesWhatIsNotCanonical)
{
    for (const char* wrong : {"Zg", "Zg=", "Zg==Zg==", "Z===", "====", "Zm9v\n", "Zm 9v", "Zh==", "Zm9=", "Zm9-"})
        EXPECT_FALSE(base::fromBase64(wrong)) << wrong;
}

} // namespace
} // namespace vantorel
