// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/base/Unicode.h"

#include <gtest/gtest.h>

namespace vantorel::base {
namespace {

struct Character {
    char32_t character;
    const char* utf8;
    Data utf16; ///< the higher byte first
};

// The first and the last character of each length.
const Character characters[] = {
    {0x01, "\x01", {0x00, 0x01}},
    {0x7F, "\x7F", {0x00, 0x7F}},
    {0x80, "\xC2\x80", {0x00, 0x80}},
    {0x7FF, "\xDF\xBF", {0x07, 0xFF}},
    {0x800, "\xE0\xA0\x80", {0x08, 0x00}},
    {0xD7FF, "\xED\x9F\xBF", {0xD7, 0xFF}},
    {0xE000, "\xEE\x80\x80", {0xE0, 0x00}},
    {0xFFFF, "\xEF\xBF\xBF", {0xFF, 0xFF}},
    {0x10000, "\xF0\x90\x80\x80", {0xD8, 0x00, 0xDC, 0x00}},
    {0x1F4BE, "\xF0\x9F\x92\xBE", {0xD8, 0x3D, 0xDC, 0xBE}},
    {0x10FFFF, "\xF4\x8F\xBF\xBF", {0xDB, 0xFF, 0xDF, 0xFF}},
};

TEST(Unicode, EachCharacterHasItsFormInEachEncoding)
{
    std::string all;
    Data units;
    for (const auto& [character, utf8, utf16] : characters) {
        std::string text;
        appendUtf8(text, character);
        EXPECT_EQ(text, utf8);
        Data swapped = utf16;
        for (std::size_t i = 0; i < swapped.size(); i += 2)
            std::swap(swapped[i], swapped[i + 1]);
        EXPECT_EQ(utf8FromUtf16(utf16, std::endian::big), utf8);
        EXPECT_EQ(utf8FromUtf16(swapped, std::endian::little), utf8);
        all += utf8;
        units.insert(units.end(), utf16.begin(), utf16.end());
    }
    EXPECT_EQ(bigEndianUtf16(all), units);
    EXPECT_EQ(utf8FromUtf16(units, std::endian::big), all);
}

TEST(Unicode, WhatIsNoCharacterIsReplaced)
{
    const std::string mark = "\xEF\xBF\xBD";
    for (const char32_t none : {0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU, 0x110000U}) {
        std::string text;
        appendUtf8(text, none);
        EXPECT_EQ(text, mark);
    }
    const std::pair<Data, std::string> cases[] = {
        {{0xD8, 0x00}, mark},                    // half a pair, the last
        {{0xD8, 0x00, 0x00, 0x41}, mark + "A"},  // and not the last
        {{0xDC, 0x00, 0xD8, 0x00}, mark + mark}, // the wrong way round
        {{0xD8, 0x00, 0xD8, 0x00, 0xDC, 0x00}, mark + "\xF0\x90\x80\x80"},
        {{0x00, 0x41, 0x00}, "A" + mark}, // an odd byte
    };
    for (const auto& [units, text] : cases)
        EXPECT_EQ(utf8FromUtf16(units, std::endian::big), text);
}

} // namespace
} // namespace vantorel::base
