// SPDX-License-Identifier: GPL-2.0-or-later
#include "Text.h"

#include "vantorel/base/Text.h"

#include <algorithm>
#include <cstdlib>

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

/// The places that a text takes on the screen: one a character.
std::size_t width(std::string_view text)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string padded(const std::string& text, std::size_t wanted, Table::Align align)
{
    const std::string blanks(wanted - std::min(width(text), wanted), ' ');
    return align == Table::Align::left ? text + blanks : blanks + text;
}

} // namespace

std::string printable(std::string_view text)
{
    std::string result = base::toUtf8(text);
    std::ranges::replace_if(
        result, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, ' ');
    // The control characters of Latin-1, U+0080 to U+009F: a terminal may obey these as well.
    for (std::size_t i = 0; i + 1 < result.size(); ++i) {
        if (result[i] == '\xC2' && static_cast<unsigned char>(result[i + 1]) < 0xA0)
            result.replace(i, 2, " ");
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

void Table::add(std::vector<std::string> cells, Emphasis emphasis)
{
    lines_.push_back({std::move(cells), emphasis});
}

std::string Table::text(std::size_t indent) const
{
    std::vector<std::size_t> widths;
    std::vector<std::string> titles;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        std::size_t widest = width(columns_[i].title);
        for (const Line& line : lines_)
            widest = std::max(widest, width(line.cells[i]));
        widths.push_back(widest);
        titles.push_back(columns_[i].title);
    }
    const auto line = [&](const std::vector<std::string>& cells, Emphasis emphasis) {
        std::string joined;
        for (std::size_t i = 0; i < cells.size(); ++i)
            joined += (i == 0 ? "" : "  ") + padded(cells[i], widths[i], columns_[i].align);
        joined.erase(joined.find_last_not_of(' ') + 1);
        return std::string(indent, ' ') + emphasised(joined, emphasis) + '\n';
    };
    std::string text = line(titles, Emphasis::strong);
    for (const Line& each : lines_)
        text += line(each.cells, each.emphasis);
    return text;
}

} // namespace vantorel::host
