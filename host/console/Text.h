// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel::host {

/// The text as it may go to a terminal: control characters, those that change the direction of writing included, become
/// blanks, and bytes that are no UTF-8 U+FFFD. Texts of drives and files pass through here before they are printed.
[[nodiscard]] std::string printable(std::string_view text);

/// How a text stands out. Nothing does where standard output is no terminal or `NO_COLOR` is set.
enum class Emphasis { none, strong, good, warning, bad };

[[nodiscard]] std::string emphasised(std::string_view text, Emphasis emphasis);

/// How many characters a line of standard output has room for: those of the terminal, else what `COLUMNS` says, else
/// 80; from 20 to 120.
[[nodiscard]] std::size_t screenWidth();

/// How many places a text takes on the screen: one a character.
[[nodiscard]] std::size_t widthOf(std::string_view text);

/// The text, no wider than that; what is cut off shows as "…".
[[nodiscard]] std::string shortened(std::string_view text, std::size_t width);

/// The text in lines of at most `width` places, broken at blanks where there are any, each behind `indent` blanks and
/// with its line end. The first line stands behind `first` instead, which takes as many places as the indent.
[[nodiscard]] std::string wrapped(std::string_view text, std::size_t width, std::size_t indent,
                                  std::string_view first = {});

/// Columns of text, as wide as their widest cell up to 80 characters, two blanks apart.
class Table {
public:
    enum class Align { left, right };

    struct Column {
        std::string title;
        Align align = Align::left;
        bool yields = false; ///< its cells are cut short for a line to fit on a terminal, down to a dozen places
    };

    explicit Table(std::vector<Column> columns);

    /// One line; as many cells as there are columns. The texts are printed as they are given.
    void add(std::vector<std::string> cells, Emphasis emphasis = Emphasis::none);

    /// Lines that stand under the last one as they are, each with its line end.
    void addBelow(std::string_view text);

    /// The title line and all others, each behind `indent` blanks.
    [[nodiscard]] std::string text(std::size_t indent = 0) const;

private:
    void fit(std::vector<std::size_t>& widths, std::size_t indent) const;

    struct Line {
        std::vector<std::string> cells;
        Emphasis emphasis;
        std::string below;
    };

    std::vector<Column> columns_;
    std::vector<Line> lines_;
};

} // namespace vantorel::host
