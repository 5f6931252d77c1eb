// SPDX-License-Identifier: GPL-2.0-or-later
#include "TableSearch.h"

#include <algorithm>
#include <array>

namespace vantorel::ata {

namespace {

// A table, since every character of every expression is asked for in the first look-up of a process. A byte beyond
// ASCII is part of a character only, which a quantifier takes as a whole; so none of them counts as plain.
constexpr std::array<bool, 256> metacharacters = [] {
    std::array<bool, 256> table{};
    std::fill(table.begin() + 0x80, table.end(), true);
    for (const char c : std::string_view(R"(\[](){}.*+?|^$)"))
        table[static_cast<unsigned char>(c)] = true;
    return table;
}();

constexpr bool isMetacharacter(char c)
{
    return metacharacters[static_cast<unsigned char>(c)];
}

/// The place behind the bracket class or the group that begins at `start`; the end of the text when it is not closed.
std::size_t skipBracketed(std::string_view text, std::size_t start)
{
    std::size_t depth = 0;
    bool inClass = false;
    for (std::size_t i = start; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\\') {
            ++i;
        } else if (inClass) {
            inClass = c != ']';
        } else if (c == '[') {
            inClass = true;
            i += text.substr(i + 1).starts_with("^]") ? 2 : text.substr(i + 1).starts_with(']') ? 1 : 0;
        } else if (c == '(') {
            ++depth;
        } else if (c == ')') {
            --depth;
        }
        if (!inClass && depth == 0)
            return i + 1;
    }
    return text.size();
}

constexpr bool isQuantifier(char c)
{
    return c == '?' || c == '*' || c == '+' || c == '{';
}

/// The place behind the quantifier at `start`. A brace that does not close is none, and the expression goes on behind
/// it.
std::size_t skipQuantifier(std::string_view text, std::size_t start)
{
    if (text[start] != '{')
        return start + 1;
    const std::size_t end = text.find_first_of("}|", start);
    return end == std::string_view::npos ? text.size() : text[end] == '}' ? end + 1 : end;
}

/// The last run of plain characters that is long enough to be rare, else the longest, of the alternative that begins at
/// `place`, which moves to its end. Models begin with their maker's name, which rules no row of that maker out.
std::string_view rareLiteral(std::string_view expression, std::size_t& place)
{
    constexpr std::size_t rare = 4;
    std::string_view best;
    std::size_t start = place; // of the run that goes on up to the place looked at
    const auto endRun = [&](std::size_t end) {
        if (end - start > std::min(best.size(), rare - 1))
            best = expression.substr(start, end - start);
    };
    while (place < expression.size() && expression[place] != '|') {
        const char c = expression[place];
        std::size_t next = place + 1;
        if (!isMetacharacter(c) && next < expression.size() && !isMetacharacter(expression[next])) {
            place = next; // the run goes on, as most characters do
            continue;
        }
        bool plain = !isMetacharacter(c);
        if (c == '\\' && next < expression.size()) {
            endRun(place);
            start = next++; // a run may begin with an escaped character, which stands there as itself ...
            // ... unless it is a letter such as \d, which is a class, or part of a character.
            plain = isMetacharacter(expression[start]) && static_cast<unsigned char>(expression[start]) < 0x80;
        } else if (c == '[' || c == '(') {
            next = skipBracketed(expression, place);
        }
        const bool quantified = next < expression.size() && isQuantifier(expression[next]);
        const std::size_t behind = quantified ? skipQuantifier(expression, next) : next;
        if (!plain || quantified) {
            endRun(std::max(place, start));
            start = behind;
        }
        place = behind;
    }
    endRun(place);
    return best;
}

} // namespace

void appendRequiredLiterals(std::string_view expression, std::vector<std::string_view>& literals)
{
    std::size_t place = 0;
    literals.push_back(rareLiteral(expression, place));
    while (place < expression.size())
        literals.push_back(rareLiteral(expression, ++place));
}

} // namespace vantorel::ata
