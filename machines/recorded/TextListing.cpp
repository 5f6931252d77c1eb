// SPDX-License-Identifier: GPL-2.0-or-later
#include "TextListing.h"

#include "EntryCollector.h"
#include "vantorel/base/Text.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace vantorel::recorded {

namespace {

using system::RegistryEntry;

constexpr std::string_view entryMark = "+-o ";
constexpr std::string_view assignment = "\" = ";
constexpr int deepestValue = 128;
/// A text value may run over this many lines.
constexpr int longestText = 100;

std::string mended(std::string_view text)
{
    return base::isUtf8(text) ? std::string(text) : base::toUtf8(text);
}

template <typename Number>
std::optional<Number> numberFrom(std::string_view digits, int base)
{
    Number number{};
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, base);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

/// Reads one value as `ioreg` prints it. Texts are printed as they are, without any mark before a quotation mark inside
/// them, so the end of a text is the first quotation mark behind which something can follow that follows a value.
class ValueReader {
public:
    explicit ValueReader(std::string_view text) : text_(text) {}

    /// The value; absent when the text is no value, or more than one.
    std::optional<PropertyValue> read()
    {
        // A text on its own ends where the line ends, whatever stands in between.
        if (text_.size() >= 2 && text_.starts_with('"') && text_.ends_with('"'))
            return PropertyValue(mended(text_.substr(1, text_.size() - 2)));
        std::optional<PropertyValue> value = readValue(0);
        return value && place_ == text_.size() ? std::move(value) : std::nullopt;
    }

private:
    [[nodiscard]] char next() const { return place_ < text_.size() ? text_[place_] : '\0'; }

    bool skip(std::string_view expected)
    {
        if (!text_.substr(place_).starts_with(expected))
            return false;
        place_ += expected.size();
        return true;
    }

    std::optional<PropertyValue> readValue(int depth)
    {
        if (depth > deepestValue)
            return std::nullopt;
        switch (next()) {
        case '"':
            return readText(",)}]");
        case '<':
            return readData();
        case '{':
            return readTable(depth);
        case '(':
            return readArray(')', depth);
        case '[':
            return readArray(']', depth);
        default:
            break;
        }
        if (skip("Yes"))
            return PropertyValue(true);
        if (skip("No"))
            return PropertyValue(false);
        return readNumber();
    }

    /// From a quotation mark to the first one that has one of `followers` behind it, or the end.
    std::optional<PropertyValue> readText(std::string_view followers)
    {
        const std::size_t start = ++place_;
        for (;;) {
            const std::size_t quote = text_.find('"', place_);
            if (quote == std::string_view::npos)
                return std::nullopt;
            place_ = quote + 1;
            if (place_ == text_.size() || followers.find(text_[place_]) != std::string_view::npos)
                return PropertyValue(mended(text_.substr(start, quote - start)));
        }
    }

    /// `<00ff>`, or for bytes that are texts with a 0 behind each, `<"one","two">`.
    std::optional<PropertyValue> readData()
    {
        const bool isText = text_.substr(place_).starts_with("<\"");
        const std::string_view closing = isText ? "\">" : ">";
        const std::size_t start = place_ + (isText ? 2 : 1);
        const std::size_t end = text_.find(closing, start);
        if (end == std::string_view::npos)
            return std::nullopt;
        std::string_view inside = text_.substr(start, end - start);
        place_ = end + closing.size();

        Data data;
        while (isText) {
            const std::size_t part = inside.find("\",\"");
            data.insert(data.end(), inside.begin(),
                        inside.begin() + static_cast<std::ptrdiff_t>(std::min(part, inside.size())));
            data.push_back(0);
            if (part == std::string_view::npos)
                return PropertyValue(std::move(data));
            inside.remove_prefix(part + 3);
        }
        for (; !inside.empty(); inside.remove_prefix(2)) {
            const auto byte = inside.size() < 2 ? std::nullopt : numberFrom<std::uint8_t>(inside.substr(0, 2), 16);
            if (!byte)
                return std::nullopt;
            data.push_back(*byte);
        }
        return PropertyValue(std::move(data));
    }

    std::optional<PropertyValue> readTable(int depth)
    {
        PropertyTable table;
        ++place_;
        while (!skip("}")) {
            if (!table.empty() && !skip(","))
                return std::nullopt;
            if (next() != '"')
                return std::nullopt;
            std::optional<PropertyValue> key = readText("=");
            if (!key || !skip("="))
                return std::nullopt;
            std::optional<PropertyValue> value = readValue(depth + 1);
            if (!value)
                return std::nullopt;
            table.insert_or_assign(*key->text(), *std::move(value));
        }
        return PropertyValue(std::move(table));
    }

    std::optional<PropertyValue> readArray(char closing, int depth)
    {
        PropertyArray array;
        ++place_;
        while (!skip(std::string_view(&closing, 1))) {
            if (!array.empty() && !skip(","))
                return std::nullopt;
            std::optional<PropertyValue> value = readValue(depth + 1);
            if (!value)
                return std::nullopt;
            array.push_back(*std::move(value));
        }
        return PropertyValue(std::move(array));
    }

    std::optional<PropertyValue> readNumber()
    {
        const std::size_t end = std::min(text_.find_first_not_of("0123456789-", place_), text_.size());
        const std::string_view digits = text_.substr(place_, end - place_);
        place_ = end;
        if (const auto number = numberFrom<std::uint64_t>(digits, 10))
            return PropertyValue(*number);
        if (const auto number = numberFrom<std::int64_t>(digits, 10))
            return PropertyValue(*number);
        return std::nullopt;
    }

    std::string_view text_;
    std::size_t place_ = 0;
};

class TextReader {
public:
    TextReader(std::string_view text, const std::string& file, std::vector<Fault>& faults)
        : rest_(text), file_(file), faults_(faults)
    {}

    std::vector<RegistryEntry> read()
    {
        std::string_view line;
        while (nextLine(line)) {
            if (const std::size_t mark = line.find(entryMark); mark != std::string_view::npos && isFrame(line, mark)) {
                readEntry(line, mark);
                continue;
            }
            line.remove_prefix(std::min(line.find_first_not_of(" |\t"), line.size()));
            if (line.starts_with('"') && line.find(assignment) != std::string_view::npos)
                readProperty(line);
            else if (!line.empty() && line != "{" && line != "}")
                fault("neither an entry nor a property");
        }
        return collector_.take();
    }

private:
    struct Level {
        std::size_t column;
        std::uint64_t id;
    };

    bool nextLine(std::string_view& line)
    {
        if (rest_.empty())
            return false;
        const std::size_t end = rest_.find('\n');
        line = rest_.substr(0, end);
        rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        ++lineNumber_;
        return true;
    }

    void fault(std::string_view what)
    {
        note(faults_, {file_, "line " + std::to_string(lineNumber_), std::string(what)});
    }

    /// Whether nothing but the drawing of the tree stands before the column.
    static bool isFrame(std::string_view line, std::size_t column)
    {
        return line.substr(0, column).find_first_not_of(" |\t") == std::string_view::npos;
    }

    /// `+-o name@location  <class C, id 0x1, registered, …>`
    void readEntry(std::string_view line, std::size_t column)
    {
        std::string_view name = line.substr(column + entryMark.size());
        RegistryEntry entry;
        if (const std::size_t facts = name.rfind("<class "); facts != std::string_view::npos) {
            readFacts(name.substr(facts + 7), entry);
            name = name.substr(0, facts);
        } else {
            fault("an entry without its class");
        }
        name.remove_suffix(name.size() - std::min(name.find_last_not_of(" \t") + 1, name.size()));
        if (const std::size_t at = name.rfind('@');
            at != std::string_view::npos && name.find(' ', at) == std::string_view::npos) {
            entry.location = mended(name.substr(at + 1));
            name = name.substr(0, at);
        }
        entry.name = mended(name);

        while (!levels_.empty() && levels_.back().column >= column)
            levels_.pop_back();
        const std::size_t before = collector_.size();
        current_ = collector_.add(std::move(entry), levels_.empty() ? 0 : levels_.back().id);
        isRepeated_ = collector_.size() == before;
        levels_.push_back({column, current_});
    }

    void readFacts(std::string_view facts, RegistryEntry& entry)
    {
        entry.className = mended(facts.substr(0, facts.find_first_of(",>")));
        constexpr std::string_view mark = ", id 0x";
        const std::size_t id = facts.find(mark);
        if (id == std::string_view::npos)
            return;
        const std::string_view digits = facts.substr(id + mark.size());
        if (const auto number = numberFrom<std::uint64_t>(digits.substr(0, digits.find_first_of(",>")), 16))
            entry.id = *number;
        else
            fault("an id that is no number");
    }

    void readProperty(std::string_view line)
    {
        const std::size_t end = line.find(assignment);
        const std::string_view key = line.substr(1, end - 1);
        const std::string text = wholeValue(line.substr(end + assignment.size()));
        if (current_ == 0)
            return fault("a property without an entry");
        if (isRepeated_ || text == "<--->")
            return; // told already; or taken out by whoever sent the listing
        if (std::optional<PropertyValue> value = ValueReader(text).read())
            collector_.at(current_).properties.insert_or_assign(mended(key), *std::move(value));
        else
            fault("the value of \"" + mended(key.substr(0, 80)) + "\" is damaged or cut off");
    }

    /// The value, with the lines that a text runs on over.
    std::string wholeValue(std::string_view first)
    {
        std::string value(first);
        if (!first.starts_with('"') || (first.size() >= 2 && first.ends_with('"')))
            return value;
        const std::string_view rest = rest_;
        const std::size_t lineNumber = lineNumber_;
        std::string_view line;
        for (int count = 0; count < longestText && nextLine(line); ++count) {
            if (line.find(entryMark) != std::string_view::npos)
                break;
            value.append("\n").append(line);
            if (line.ends_with('"'))
                return value;
        }
        rest_ = rest; // it never ends: what follows are lines of their own
        lineNumber_ = lineNumber;
        return std::string(first);
    }

    std::string_view rest_;
    const std::string& file_;
    std::vector<Fault>& faults_;
    std::size_t lineNumber_ = 0;
    EntryCollector collector_;
    std::vector<Level> levels_; // the entry last told and its ancestors
    std::uint64_t current_ = 0;
    bool isRepeated_ = false;
};

} // namespace

std::vector<RegistryEntry> readTextListing(DataView bytes, const std::string& file, std::vector<Fault>& faults)
{
    const std::string text(bytes.begin(), bytes.end());
    return TextReader(text, file, faults).read();
}

} // namespace vantorel::recorded
