// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/ata/DriveTableFile.h"

#include "vantorel/base/Text.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace vantorel {

namespace {

constexpr std::size_t longestFile = std::size_t{64} << 20;
constexpr std::size_t longestColumn = std::size_t{64} << 10;
constexpr std::size_t mostRows = 500'000;
constexpr std::size_t mostFaults = 1'000;
constexpr std::size_t columnsOfRow = 5;

constexpr std::string_view headingLine = "index\tmodelfamily\tmodelregexp\tfirmwareregexp\twarningmsg\tpresets";

/// The table as it comes about.
class Collector {
public:
    void fault(std::size_t line, std::string text)
    {
        if (faults_.size() < mostFaults)
            faults_.push_back({line, std::move(text)});
        else
            ++furtherFaults_;
    }

    /// Takes a row, or tells what is wrong with it.
    void add(std::size_t line, const std::vector<std::string>& columns)
    {
        if (columns.size() != columnsOfRow)
            return fault(line, "a row of " + std::to_string(columns.size()) + " columns in place of 5");
        if (columns[1].empty())
            return fault(line, "a row without a model expression");
        if (std::ranges::any_of(columns, [](const std::string& column) { return column.size() > longestColumn; }))
            return fault(line, "a column is longer than 64 KiB");
        if (std::ranges::any_of(columns, [](const std::string& column) { return column.find('\0') != column.npos; }))
            return fault(line, "a NUL character");
        if (lines_.size() == mostRows)
            return fault(line, "more than 500000 rows");
        for (const std::string& column : columns) {
            texts_ += base::toUtf8(column);
            ends_.push_back(texts_.size());
            texts_ += '\0';
        }
        lines_.push_back(
            static_cast<std::uint32_t>(std::min<std::size_t>(line, std::numeric_limits<std::uint32_t>::max())));
    }

    DriveTableReading reading(std::string name) &&
    {
        if (furtherFaults_ > 0)
            faults_.push_back({faults_.back().line, "and " + std::to_string(furtherFaults_) + " further faults"});
        struct Kept {
            std::string texts;
            std::vector<drive_settings> rows;
        };
        const auto kept = std::make_shared<Kept>();
        kept->texts = std::move(texts_);
        kept->rows.reserve(lines_.size());
        std::size_t start = 0;
        auto end = ends_.begin();
        const auto next = [&] {
            const std::string_view column = std::string_view(kept->texts).substr(start, *end - start);
            start = *end++ + 1;
            return column;
        };
        while (end != ends_.end())
            kept->rows.push_back({next(), next(), next(), next(), next()}); // braces keep the order
        return {{.name = std::move(name),
                 .revision = revisionOf(kept->rows),
                 .rows = kept->rows,
                 .lines = std::move(lines_),
                 .texts = kept},
                std::move(faults_)};
    }

private:
    std::string texts_;             // the columns, a NUL behind each
    std::vector<std::size_t> ends_; // of the columns
    std::vector<std::uint32_t> lines_;
    std::vector<DriveTableFault> faults_;
    std::size_t furtherFaults_ = 0;
};

/// Thrown where a row cannot be read on.
struct RowFault {
    std::string text;
};

/// Reads the form of `drivedb.h`.
class InitialiserReader {
public:
    InitialiserReader(std::string_view text, Collector& collector) : rest_(text), collector_(collector) {}

    void read()
    {
        bool isLost = false; // a fault has been told since the last row
        while (skipBlanks()) {
            if (rest_[0] == '{') {
                readRow();
                isLost = false;
            } else {
                if (rest_[0] != ',' && !std::exchange(isLost, true))
                    collector_.fault(line_, "no row begins here");
                skipToken();
            }
        }
    }

private:
    void advance(std::size_t count)
    {
        line_ += static_cast<std::size_t>(std::ranges::count(rest_.substr(0, count), '\n'));
        rest_.remove_prefix(count);
    }

    /// Skips white space and comments; whether anything is left.
    bool skipBlanks()
    {
        for (;;) {
            advance(std::min(rest_.find_first_not_of(" \t\r\n\f\v"), rest_.size()));
            if (rest_.starts_with("//")) {
                advance(std::min(rest_.find('\n'), rest_.size()));
            } else if (rest_.starts_with("/*")) {
                const auto end = rest_.find("*/", 2);
                if (end == std::string_view::npos)
                    collector_.fault(line_, "a comment that does not end");
                advance(end == std::string_view::npos ? rest_.size() : end + 2);
            } else {
                return !rest_.empty();
            }
        }
    }

    /// Skips a literal as a whole, so that nothing inside it is taken for a row, else one character.
    void skipToken()
    {
        if (rest_[0] != '"')
            return advance(1);
        std::string passedOver;
        try {
            readLiteral(passedOver);
        } catch (const RowFault&) {
            // The place where it cannot be read on is as good as any to go on from.
        }
    }

    void readRow()
    {
        const std::size_t line = line_;
        std::vector<std::string> columns;
        try {
            advance(1);
            readColumns(columns);
        } catch (const RowFault& fault) {
            collector_.fault(line_, fault.text);
            while (skipBlanks() && rest_[0] != '{') {
                if (rest_[0] == '}')
                    return advance(1);
                skipToken();
            }
            return;
        }
        collector_.add(line, columns);
    }

    /// The columns up to the brace that ends the row.
    void readColumns(std::vector<std::string>& columns)
    {
        for (;;) {
            if (!skipBlanks())
                throw RowFault{"the row does not end"};
            if (rest_[0] == '}')
                return advance(1);
            if (rest_[0] != '"')
                throw RowFault{"a column must be a text in quotation marks"};
            std::string column;
            while (skipBlanks() && rest_[0] == '"')
                readLiteral(column);
            if (columns.size() <= columnsOfRow) // one too many is enough to tell
                columns.push_back(std::move(column));
            if (rest_.starts_with(','))
                advance(1);
            else if (!rest_.starts_with('}'))
                throw RowFault{"a column must end with a comma or the row"};
        }
    }

    /// Appends what a string literal stands for. It is read to its end even where that cannot be told.
    void readLiteral(std::string& text)
    {
        bool isSound = true;
        rest_.remove_prefix(1);
        for (;;) {
            const std::size_t plain = std::min(rest_.find_first_of("\"\\\n"), rest_.size());
            text += rest_.substr(0, plain);
            rest_.remove_prefix(plain);
            if (rest_.empty() || rest_[0] == '\n')
                throw RowFault{"a text that does not end on its line"};
            const bool isEnd = rest_[0] == '"';
            rest_.remove_prefix(1);
            if (isEnd && !isSound)
                throw RowFault{"a backslash that escapes nothing: two stand for one"};
            if (isEnd)
                return;
            isSound = readEscaped(text) && isSound;
        }
    }

    /// Appends the character that stands behind a backslash; false when none is meant.
    bool readEscaped(std::string& text)
    {
        constexpr std::string_view names = "\\\"'?abfnrtv";
        constexpr std::string_view characters = "\\\"'?\a\b\f\n\r\t\v";
        const auto found = rest_.empty() ? std::string_view::npos : names.find(rest_[0]);
        if (found == std::string_view::npos)
            return false; // what stands there is read on as it is
        text += characters[found];
        rest_.remove_prefix(1);
        return true;
    }

    std::string_view rest_;
    Collector& collector_;
    std::size_t line_ = 1;
};

void readLines(std::string_view text, Collector& collector)
{
    for (std::size_t line = 1; !text.empty(); ++line) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view rest = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (rest.ends_with('\r'))
            rest.remove_suffix(1);
        if (line == 1 || rest.empty())
            continue;
        std::vector<std::string> columns;
        rest.remove_prefix(std::min(rest.find('\t'), rest.size())); // the index
        while (!rest.empty() && columns.size() <= columnsOfRow) {
            rest.remove_prefix(1);
            const std::size_t column = std::min(rest.find('\t'), rest.size());
            columns.emplace_back(rest.substr(0, column));
            rest.remove_prefix(column);
        }
        collector.add(line, columns);
    }
}

} // namespace

DriveTableReading readDriveTable(std::string_view text, std::string name)
{
    Collector collector;
    if (text.size() > longestFile)
        collector.fault(1, "the file is larger than 64 MiB");
    else if (text.starts_with(headingLine))
        readLines(text, collector);
    else
        InitialiserReader(text, collector).read();
    return std::move(collector).reading(std::move(name));
}

} // namespace vantorel
