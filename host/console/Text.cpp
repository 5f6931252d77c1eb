// SPDX-License-Identifier: GPL-2.0-or-later
#include "Text.h"

#include "vantorel/base/Text.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <numeric>

#include <sys/ioctl.h>
#include <unistd.h>

namespace vantorel::host {

namespace {

bool usesColour()
{
    static const bool uses = [] {
        const char* const noColour = std::getenv("NO_COLOR");
        return isatty(STDOUT_FILENO) == 1 && (!noColour || !*noColour);
    }();
    return uses;
}

/// How many bytes the control character takes that `text` begins with; 0 where it begins with none. Besides those of
/// ASCII a terminal may obey those of Latin-1 (U+0080 to U+009F), and it may show what stands behind a line separator
/// or a change of direction (U+061C, U+200E, U+200F, U+2028 to U+202E, U+2066 to U+2069) where it does not belong.
std::size_t controlLength(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    const auto isBetween = [](unsigned value, unsigned first, unsigned last) {
        return value >= first && value <= last;
    };
    if (byte(0) < 0x20 || byte(0) == 0x7F)
        return 1;
    if ((byte(0) == 0xC2 && isBetween(byte(1), 0x80, 0x9F)) || text.starts_with("\u061C"))
        return 2;
    const bool isChange =
        (text.starts_with("\xE2\x80") && (isBetween(byte(2), 0x8E, 0x8F) || isBetween(byte(2), 0xA8, 0xAE))) ||
        (text.starts_with("\xE2\x81") && isBetween(byte(2), 0xA6, 0xA9));
    return isChange ? 3 : 0;
}

/// A column is not made wider than this for a cell that is: one long text must not fill every other line with blanks.
constexpr std::size_t widestColumn = 80;

/// How many bytes the first characters of a text take, or all when it has fewer.
std::size_t bytesOf(std::string_view text, std::size_t characters)
{
    std::size_t bytes = 0;
    for (; bytes < text.size(); ++bytes) {
        const bool isFirstByte = (static_cast<unsigned char>(text[bytes]) & 0xC0) != 0x80;
        if (isFirstByte && characters-- == 0)
            break;
    }
    return bytes;
}

/// The last blank up to `end` at which a line may end; a unit stays with its number.
std::size_t lastBreak(std::string_view text, std::size_t end)
{
    std::size_t blank = text.rfind(' ', end);
    while (blank != std::string_view::npos && blank > 0 &&
           (text.substr(blank + 1).starts_with('%') || text.substr(blank + 1).starts_with("°")))
        blank = text.rfind(' ', blank - 1);
    return blank;
}

std::string padded(const std::string& text, std::size_t wanted, Table::Align align)
{
    const std::string blanks(wanted - std::min(widthOf(text), wanted), ' ');
    return align == Table::Align::left ? text + blanks : blanks + text;
}

} // namespace

std::string printable(std::string_view text)
{
    const std::string characters = base::toUtf8(text);
    std::string result;
    result.reserve(characters.size());
    for (std::string_view rest = characters; !rest.empty();) {
        const std::size_t control = controlLength(rest);
        result += control > 0 ? ' ' : rest.front();
        rest.remove_prefix(std::max<std::size_t>(control, 1));
    }
    return result;
}

std::string emphasised(std::string_view text, Emphasis emphasis)
{
    if (emphasis == Emphasis::none || !usesColour())
        return std::string(text);
    constexpr std::string_view codes[] = {"", "\x1B[1m", "\x1B[32m", "\x1B[33m", "\x1B[1;31m"};
    return std::string(codes[static_cast<std::size_t>(emphasis)]).append(text) + "\x1B[0m";
}

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

std::size_t screenWidth()
{
    constexpr std::size_t narrowest = 20;
    constexpr std::size_t widest = 120;
    constexpr std::size_t usual = 80;
    winsize size{};
    std::size_t width = 0;
    const char* const columns = std::getenv("COLUMNS");
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0)
        width = size.ws_col;
    else if (columns)
        std::from_chars(columns, columns + std::strlen(columns), width);
    return width == 0 ? usual : std::clamp(width, narrowest, widest);
}

std::size_t widthOf(std::string_view text)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string shortened(std::string_view text, std::size_t width)
{
    if (widthOf(text) <= width)
        return std::string(text);
    return std::string(text.substr(0, bytesOf(text, width - 1))) + "…";
}

std::string wrapped(std::string_view text, std::size_t width, std::size_t indent, std::string_view first)
{
    const std::size_t room = width > indent + 1 ? width - indent : 1;
    const std::string blanks(indent, ' ');
    std::string lines;
    std::string_view lead = first.empty() ? std::string_view(blanks) : first;
    do {
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        std::size_t end = bytesOf(text, room);
        if (end < text.size()) {
            const std::size_t blank = lastBreak(text, end);
            end = blank == std::string_view::npos ? end : blank;
        }
        lines.append(lead).append(text.substr(0, end)) += '\n';
        text.remove_prefix(end);
        lead = blanks;
    } while (!text.empty());
    return lines;
}

void Table::add(std::vector<std::string> cells, Emphasis emphasis)
{
    lines_.push_back({std::move(cells), emphasis, {}});
}

void Table::addBelow(std::string_view text)
{
    lines_.back().below += text;
}

/// Takes from the columns that yield what a line is too wide for the screen.
void Table::fit(std::vector<std::size_t>& widths, std::size_t indent) const
{
    constexpr std::size_t least = 12;
    const std::size_t taken =
        std::accumulate(widths.begin(), widths.end(), indent + 2 * (std::max<std::size_t>(widths.size(), 1) - 1));
    std::size_t excess = taken - std::min(taken, screenWidth());
    for (std::size_t i = 0; i < widths.size(); ++i) {
        if (!columns_[i].yields || widths[i] <= least)
            continue;
        const std::size_t cut = std::min(excess, widths[i] - least);
        widths[i] -= cut;
        excess -= cut;
    }
}

std::string Table::text(std::size_t indent) const
{
    std::vector<std::size_t> widths;
    std::vector<std::string> titles;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        std::size_t widest = widthOf(columns_[i].title);
        for (const Line& line : lines_)
            widest = std::max(widest, widthOf(line.cells[i]));
        widths.push_back(std::min(widest, widestColumn));
        titles.push_back(columns_[i].title);
    }
    if (isatty(STDOUT_FILENO) == 1)
        fit(widths, indent);
    const auto line = [&](const std::vector<std::string>& cells, Emphasis emphasis) {
        std::string joined;
        for (std::size_t i = 0; i < cells.size(); ++i)
            joined += (i == 0 ? "" : "  ") + padded(columns_[i].yields ? shortened(cells[i], widths[i]) : cells[i],
                                                    widths[i], columns_[i].align);
        joined.erase(joined.find_last_not_of(' ') + 1);
        return std::string(indent, ' ') + emphasised(joined, emphasis) + '\n';
    };
    std::string text = line(titles, Emphasis::strong);
    for (const Line& each : lines_)
        text += line(each.cells, each.emphasis) + each.below;
    return text;
}

} // namespace vantorel::host
