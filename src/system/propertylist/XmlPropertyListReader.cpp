// SPDX-License-Identifier: GPL-2.0-or-later
#include "Budget.h"
#include "XmlPropertyList.h"
#include "vantorel/base/Base64.h"
#include "vantorel/base/Text.h"
#include "vantorel/base/Unicode.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace vantorel::system {

namespace {

constexpr std::string_view blanks = " \t\r\n";

std::string_view withoutBlanksAround(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Decimal, or hexadecimal behind "0x", with a sign; from -2^63 to 2^64 - 1.
std::optional<PropertyValue> integerFrom(std::string_view text)
{
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (isHexadecimal)
        text.remove_prefix(2);
    std::uint64_t magnitude = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, magnitude, isHexadecimal ? 16 : 10);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    if (!isNegative)
        return PropertyValue(magnitude);
    constexpr std::uint64_t lowest = std::uint64_t{1} << 63U;
    if (magnitude > lowest)
        return std::nullopt;
    return PropertyValue(static_cast<std::int64_t>(~magnitude + 1));
}

std::optional<double> realFrom(std::string_view text)
{
    if (text.starts_with('+'))
        text.remove_prefix(1);
    return base::realFrom(text);
}

class XmlReader {
public:
    XmlReader(std::string_view text, const PropertyListLimits& limits) : text_(text), budget_(limits) {}

    PropertyValue readDocument()
    {
        if (text_.starts_with("\xEF\xBB\xBF"))
            place_ = 3;
        skipProlog();
        Tag tag = readTag();
        const bool hasFrame = tag.name == "plist";
        if (hasFrame) {
            if (tag.isClosed || tag.isEmpty)
                fail("<plist> without a value");
            skipBetween();
            tag = readTag();
        }
        PropertyValue value = readValue(tag);
        if (hasFrame)
            expectEnd("plist");
        skipBetween();
        if (place_ < text_.size())
            fail("something stands behind the property list");
        return value;
    }

private:
    struct Tag {
        std::string_view name;
        bool isClosed = false; ///< </name>
        bool isEmpty = false;  ///< <name/>
    };

    [[noreturn]] void fail(const std::string& fault) const
    {
        const auto line = std::ranges::count(text_.substr(0, std::min(place_, text_.size())), '\n') + 1;
        throw PropertyListError("line " + std::to_string(line), fault);
    }

    [[nodiscard]] std::string_view rest() const { return text_.substr(place_); }

    /// Goes on behind the next `end`.
    void skipPast(std::string_view end, const char* what)
    {
        const std::size_t found = text_.find(end, place_);
        if (found == std::string_view::npos)
            fail(std::string(what) + " does not end");
        place_ = found + end.size();
    }

    /// Blanks and comments.
    void skipBetween()
    {
        for (;;) {
            place_ = std::min(text_.find_first_not_of(blanks, place_), text_.size());
            if (!rest().starts_with("<!--"))
                return;
            skipPast("-->", "the comment");
        }
    }

    void skipProlog()
    {
        for (skipBetween(); rest().starts_with("<?") || rest().starts_with("<!"); skipBetween()) {
            if (rest().starts_with("<?"))
                skipPast("?>", "the declaration");
            else if (rest().substr(0, rest().find('>')).find('[') != std::string_view::npos)
                fail("a document type with declarations of its own");
            else
                skipPast(">", "the document type");
        }
    }

    Tag readTag()
    {
        if (place_ >= text_.size())
            fail("the property list ends too early");
        if (text_[place_] != '<')
            fail("a tag is expected here");
        const std::size_t start = place_ + 1;
        const std::size_t end = text_.find('>', start);
        if (end == std::string_view::npos)
            fail("a tag does not end");
        std::string_view inside = text_.substr(start, end - start);
        Tag tag;
        tag.isClosed = inside.starts_with('/');
        if (tag.isClosed)
            inside.remove_prefix(1);
        tag.isEmpty = !tag.isClosed && inside.ends_with('/');
        if (tag.isEmpty)
            inside.remove_suffix(1);
        tag.name = inside.substr(0, inside.find_first_of(blanks)); // attributes say nothing that is needed
        place_ = end + 1;
        return tag;
    }

    void expectEnd(std::string_view name)
    {
        skipBetween();
        const std::size_t start = place_;
        const Tag tag = readTag();
        if (!tag.isClosed || tag.name != name) {
            place_ = start;
            fail("</" + std::string(name) + "> expected");
        }
    }

    /// A container whose end has not come yet.
    struct Open {
        PropertyValue value;
        std::string key; ///< of the member that comes next, in a table
    };

    /// The value that begins with the tag. Containers inside one another stand in a list and not on the stack, which a
    /// thread may have little of.
    PropertyValue readValue(Tag tag)
    {
        std::vector<Open> open;
        for (;;) {
            PropertyValue value = readStart(tag);
            const bool isOpen = (value.table() || value.array()) && !tag.isEmpty;
            if (isOpen) {
                open.push_back({std::move(value), {}});
            } else if (open.empty()) {
                return value;
            } else {
                put(std::move(value), open.back());
            }
            while (!readNext(open.back(), tag)) {
                PropertyValue done = std::move(open.back().value);
                open.pop_back();
                budget_.leave();
                if (open.empty())
                    return done;
                put(std::move(done), open.back());
            }
        }
    }

    /// A scalar, or a container with nothing in it yet.
    PropertyValue readStart(const Tag& tag)
    {
        if (tag.isClosed)
            fail("</" + std::string(tag.name) + "> where a value is expected");
        if (!budget_.takeValue())
            fail("more values than a property list may hold");
        const bool isTable = tag.name == "dict";
        if (!isTable && tag.name != "array")
            return readScalar(tag);
        if (!budget_.enter())
            fail("nested too deeply");
        if (tag.isEmpty)
            budget_.leave();
        return isTable ? PropertyValue(PropertyTable()) : PropertyValue(PropertyArray());
    }

    /// Goes on to the tag of the container's next value; false at its end.
    bool readNext(Open& open, Tag& tag)
    {
        skipBetween();
        tag = readTag();
        const bool isTable = open.value.table() != nullptr;
        if (tag.isClosed && tag.name == (isTable ? "dict" : "array"))
            return false;
        if (!isTable)
            return true;
        if (tag.isClosed || tag.name != "key")
            fail("<key> expected in <dict>");
        open.key = readText(tag);
        skipBetween();
        tag = readTag();
        return true;
    }

    static void put(PropertyValue value, Open& open)
    {
        if (PropertyTable* const table = open.value.table())
            table->insert_or_assign(std::move(open.key), std::move(value));
        else
            open.value.array()->push_back(std::move(value));
    }

    PropertyValue readScalar(const Tag& tag)
    {
        const std::size_t start = place_;
        std::string text = readText(tag);
        if (tag.name == "string" || tag.name == "date")
            return text;
        if (tag.name == "true" || tag.name == "false")
            return tag.name == "true";
        const std::string_view inside = withoutBlanksAround(text);
        if (tag.name == "integer") {
            if (std::optional<PropertyValue> value = integerFrom(inside))
                return *std::move(value);
        } else if (tag.name == "real") {
            if (const std::optional<double> value = realFrom(inside))
                return *value;
        } else if (tag.name == "data") {
            std::erase_if(text, [](char c) { return blanks.find(c) != std::string_view::npos; });
            if (std::optional<Data> value = base::fromBase64(text))
                return *std::move(value);
        } else {
            place_ = start;
            fail("<" + std::string(tag.name.substr(0, 40)) + "> is no kind of value");
        }
        place_ = start;
        fail("no valid <" + std::string(tag.name) + ">");
    }

    /// What stands between the tag and its end.
    std::string readText(const Tag& tag)
    {
        std::string text;
        if (tag.isEmpty)
            return text;
        for (;;) {
            const std::size_t next = text_.find_first_of("<&", place_);
            if (next == std::string_view::npos)
                fail("<" + std::string(tag.name.substr(0, 40)) + "> does not end");
            text.append(text_, place_, next - place_);
            place_ = next;
            if (text_[place_] == '&')
                readEntity(text);
            else if (rest().starts_with("<![CDATA["))
                readCharacterData(text);
            else if (rest().starts_with("<!--"))
                skipPast("-->", "the comment");
            else
                break;
        }
        expectEnd(tag.name);
        if (!budget_.takeBytes(text.size()))
            fail("more text than a property list may hold");
        return base::isUtf8(text) ? text : base::toUtf8(text);
    }

    void readCharacterData(std::string& text)
    {
        constexpr std::string_view opening = "<![CDATA[";
        constexpr std::string_view closing = "]]>";
        const std::size_t start = place_ + opening.size();
        skipPast(closing, "the character data");
        text.append(text_, start, place_ - closing.size() - start);
    }

    void readEntity(std::string& text)
    {
        constexpr std::size_t longest = 12; // of the name and the ";"
        const std::size_t end = rest().substr(0, longest).find(';');
        if (end == std::string_view::npos)
            fail("an & without its ;");
        const std::string_view name = rest().substr(1, end - 1);
        if (name == "lt")
            text += '<';
        else if (name == "gt")
            text += '>';
        else if (name == "amp")
            text += '&';
        else if (name == "quot")
            text += '"';
        else if (name == "apos")
            text += '\'';
        else
            base::appendUtf8(text, characterNumber(name));
        place_ += end + 1;
    }

    std::uint32_t characterNumber(std::string_view name) const
    {
        const bool isHexadecimal = name.starts_with("#x");
        std::uint32_t number = 0;
        const char* const end = name.data() + name.size();
        if (name.starts_with('#')) {
            const char* const digits = name.data() + (isHexadecimal ? 2 : 1);
            const auto [stop, error] = std::from_chars(digits, end, number, isHexadecimal ? 16 : 10);
            const bool isCharacter = number != 0 && number <= 0x10FFFF && (number < 0xD800 || number > 0xDFFF);
            if (error == std::errc() && stop == end && isCharacter)
                return number;
        }
        fail("&" + std::string(name) + "; is no character");
    }

    std::string_view text_;
    std::size_t place_ = 0;
    Budget budget_;
};

} // namespace

PropertyValue readXmlForm(DataView bytes, const PropertyListLimits& limits)
{
    // A text needs a `char` view of the bytes, and only a copy gives one without a cast.
    const std::string text(bytes.begin(), bytes.end());
    return XmlReader(text, limits).readDocument();
}

} // namespace vantorel::system
