// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/propertylist/PropertyList.h"
#include "vantorel/base/Text.h"
#include "vantorel/base/Unicode.h"
#include "vantorel/system/Localization.h"
#include "vantorel/system/WholeFile.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstddef>
#include <system_error>

namespace vantorel::system {

namespace {

constexpr std::size_t largestFile = 64U << 20U;

std::string_view textView(DataView bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The contents as UTF-8 without byte order mark.
std::string decoded(DataView bytes)
{
    const std::string_view text = textView(bytes);
    if (text.starts_with("\xFF\xFE"))
        return base::utf8FromUtf16(bytes.subspan(2), std::endian::little);
    if (text.starts_with("\xFE\xFF"))
        return base::utf8FromUtf16(bytes.subspan(2), std::endian::big);
    return base::toUtf8(text.starts_with("\xEF\xBB\xBF") ? text.substr(3) : text);
}

class Parser {
public:
    explicit Parser(std::string_view text) : text_(text) {}

    Translations parse()
    {
        Translations translations;
        skipBlanks();
        const bool braced = accept('{');
        for (skipBlanks(); place_ < text_.size() && text_[place_] != '}'; skipBlanks()) {
            std::string key = word();
            std::string value = key;
            skipBlanks();
            if (accept('=')) {
                skipBlanks();
                value = word();
                skipBlanks();
            }
            if (!accept(';'))
                fail("';' is missing behind an entry");
            translations.insert_or_assign(std::move(key), std::move(value));
        }
        if (braced && !accept('}'))
            fail("'}' is missing");
        skipBlanks();
        if (place_ < text_.size())
            fail("text behind the end of the table");
        return translations;
    }

private:
    [[noreturn]] void fail(std::string_view fault) const
    {
        const auto line = 1 + std::count(text_.begin(), text_.begin() + static_cast<std::ptrdiff_t>(place_), '\n');
        throw TranslationError("line " + std::to_string(line) + ": " + std::string(fault));
    }

    bool accept(char c)
    {
        if (place_ == text_.size() || text_[place_] != c)
            return false;
        ++place_;
        return true;
    }

    /// Blanks and comments.
    void skipBlanks()
    {
        for (;;) {
            place_ = std::min(text_.find_first_not_of(" \t\r\n\f\v", place_), text_.size());
            const std::string_view rest = text_.substr(place_);
            if (rest.starts_with("//")) {
                place_ = std::min(text_.find('\n', place_), text_.size());
            } else if (rest.starts_with("/*")) {
                const auto end = text_.find("*/", place_ + 2);
                if (end == std::string_view::npos)
                    fail("a comment without end");
                place_ = end + 2;
            } else {
                return;
            }
        }
    }

    /// A quoted text, or a bare word of the characters that need no quotes.
    std::string word()
    {
        if (accept('"'))
            return quoted();
        const std::size_t start = place_;
        constexpr std::string_view bare = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_$/:.-";
        place_ = std::min(text_.find_first_not_of(bare, place_), text_.size());
        if (place_ == start)
            fail("a text is missing");
        return std::string(text_.substr(start, place_ - start));
    }

    std::string quoted()
    {
        std::string text;
        while (!accept('"')) {
            if (place_ == text_.size())
                fail("a text without closing quote");
            const char c = text_[place_++];
            if (c == '\\')
                appendEscape(text);
            else
                text += c;
        }
        return text;
    }

    void appendEscape(std::string& text)
    {
        if (place_ == text_.size())
            fail("a text without closing quote");
        const char c = text_[place_++];
        constexpr std::string_view letters = "abfnrtv";
        constexpr std::string_view controls = "\a\b\f\n\r\t\v";
        if (const auto found = letters.find(c); found != std::string_view::npos) {
            text += controls[found];
        } else if (c == 'U' || c == 'u') {
            base::appendUtf8(text, unicodeEscape());
        } else if (c >= '0' && c <= '7') {
            --place_;
            base::appendUtf8(text, digits(3, 8));
        } else {
            text += c;
        }
    }

    /// One character by its number; a pair of surrogates is written as two such escapes.
    char32_t unicodeEscape()
    {
        const char32_t c = digits(4, 16);
        if (!base::isHighSurrogate(c))
            return c;
        const std::string_view rest = text_.substr(place_);
        if (!rest.starts_with("\\U") && !rest.starts_with("\\u"))
            return base::replacementCharacter;
        place_ += 2;
        const char32_t low = digits(4, 16);
        return base::isLowSurrogate(low) ? base::fromSurrogates(c, low) : base::replacementCharacter;
    }

    /// A number of at most `most` digits.
    char32_t digits(std::size_t most, int radix)
    {
        unsigned value = 0;
        const char* const first = text_.data() + place_;
        const char* const last = first + std::min(most, text_.size() - place_);
        const auto [end, error] = std::from_chars(first, last, value, radix);
        if (error != std::errc())
            fail("an escape without its digits");
        place_ += static_cast<std::size_t>(end - first);
        return value;
    }

    std::string_view text_;
    std::size_t place_ = 0;
};

/// Whether the bytes begin like a property list, XML or binary, rather than like the text form.
bool isPropertyList(DataView contents)
{
    const std::string text = decoded(contents.first(std::min<std::size_t>(contents.size(), 256)));
    const auto start = std::min(text.find_first_not_of(" \t\r\n"), text.size());
    return text.compare(start, 6, "bplist") == 0 || text.compare(start, 1, "<") == 0;
}

Translations fromPropertyList(DataView contents)
{
    try {
        const PropertyValue root = readPropertyList(contents);
        if (!root.table())
            throw TranslationError("the property list is no table");
        Translations translations;
        for (const auto& [key, value] : *root.table()) {
            if (!value.text())
                throw TranslationError("the value of \"" + key + "\" is no text");
            translations.emplace(key, *value.text());
        }
        return translations;
    } catch (const PropertyListError& error) {
        throw TranslationError(error.what());
    }
}

} // namespace

Translations parseTranslations(DataView contents)
{
    return isPropertyList(contents) ? fromPropertyList(contents) : Parser(decoded(contents)).parse();
}

void loadTranslations(const std::string& path)
{
    try {
        setTranslations(parseTranslations(readWholeFile(path, largestFile)));
    } catch (const FileError& error) {
        throw TranslationError(path + ": " + error.what());
    } catch (const TranslationError& error) {
        throw TranslationError(path + ": " + error.what());
    }
}

} // namespace vantorel::system
