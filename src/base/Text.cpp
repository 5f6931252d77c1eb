// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/base/Text.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include <locale.h>

namespace vantorel::base {

namespace {

/// The length of the well-formed UTF-8 sequence at the start of `bytes`, 0 when there is none (Unicode, table 3-7).
std::size_t sequenceLength(std::string_view bytes)
{
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(bytes[i]); };
    const std::uint8_t first = byte(0);
    if (first < 0x80)
        return 1;
    const std::size_t length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
    if (length == 0 || bytes.size() < length)
        return 0;
    const std::uint8_t low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const std::uint8_t high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (byte(1) < low || byte(1) > high)
        return 0;
    for (std::size_t i = 2; i < length; ++i) {
        if (byte(i) < 0x80 || byte(i) > 0xBF)
            return 0;
    }
    return length;
}

/// Every character of white space (Unicode, PropList.txt, White_Space).
constexpr std::string_view whiteSpace[] = {" ",      "\t",     "\n",     "\v",     "\f",     "\r",     "\u0085",
                                           "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004",
                                           "\u2005", "\u2006", "\u2007", "\u2008", "\u2009", "\u200A", "\u2028",
                                           "\u2029", "\u202F", "\u205F", "\u3000"};

/// The length of the white space character at the start of `text`, 0 when there is none.
std::size_t whiteSpaceLength(std::string_view text)
{
    const auto found = std::ranges::find_if(whiteSpace, [&](std::string_view each) { return text.starts_with(each); });
    return found == std::end(whiteSpace) ? 0 : found->size();
}

} // namespace

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::vector<std::string_view> words(std::string_view text)
{
    std::vector<std::string_view> parts;
    std::size_t length = 0; // of the word at the start of the text, as far as it has been looked at
    while (!text.empty()) {
        const std::size_t blank = whiteSpaceLength(text.substr(length));
        if (blank == 0 && length < text.size()) {
            ++length;
            continue;
        }
        if (length > 0)
            parts.push_back(text.substr(0, length));
        text.remove_prefix(length + blank);
        length = 0;
    }
    return parts;
}

std::string lowercased(std::string_view text)
{
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](char c) { return lowercased(c); });
    return result;
}

bool containsIgnoringCase(std::string_view text, std::string_view needle)
{
    const auto same = [](char a, char b) { return lowercased(a) == b; };
    return std::search(text.begin(), text.end(), needle.begin(), needle.end(), same) != text.end() || needle.empty();
}

std::string replacingAll(std::string_view text, std::string_view from, std::string_view to)
{
    std::string result;
    for (;;) {
        const auto found = text.find(from);
        result += text.substr(0, found);
        if (found == std::string_view::npos)
            return result;
        result += to;
        text.remove_prefix(found + from.size());
    }
}

bool isUtf8(std::string_view bytes)
{
    while (!bytes.empty()) {
        const std::size_t length = sequenceLength(bytes);
        if (length == 0)
            return false;
        bytes.remove_prefix(length);
    }
    return true;
}

std::string toUtf8(std::string_view bytes)
{
    if (isUtf8(bytes))
        return std::string(bytes);
    std::string text;
    while (!bytes.empty()) {
        const std::size_t length = sequenceLength(bytes);
        text += length == 0 ? std::string_view("\xEF\xBF\xBD") : bytes.substr(0, length);
        bytes.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return text;
}

std::optional<double> realFrom(std::string_view text)
{
    if (text.find('(') != std::string_view::npos) // what may stand behind "nan"
        return std::nullopt;
#ifdef VANTOREL_HAS_REAL_FROM_CHARS
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
#else
    // `strtod` takes white space and "+" before a number, and hexadecimal digits.
    if (text.empty() || text.find_first_of(" \t\n\v\f\r+") == 0 || text.find_first_of("xX") != std::string_view::npos)
        return std::nullopt;
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    const std::string copy(text);
    char* stop = nullptr;
    errno = 0;
    const double value = strtod_l(copy.c_str(), &stop, plain);
    const bool isBeyond = errno == ERANGE && (value == 0 || std::isinf(value));
    return stop == copy.c_str() + copy.size() && !isBeyond ? std::optional(value) : std::nullopt;
#endif
}

std::string shortestDecimal(double value)
{
    constexpr double exactIntegers = 9007199254740992.0; // 2^53
    char buffer[400];
    const bool plain = std::abs(value) < exactIntegers;
    const auto result = plain ? std::to_chars(buffer, std::end(buffer), value, std::chars_format::fixed)
                              : std::to_chars(buffer, std::end(buffer), value);
    std::string text(buffer, result.ptr);
    if (std::isfinite(value) && text.find_first_of(".e") == std::string::npos)
        text += ".0";
    return text;
}

} // namespace vantorel::base
