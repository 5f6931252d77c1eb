// SPDX-License-Identifier: GPL-2.0-or-later
#include "DriveTable.h"

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

/// The longest run of plain characters in one alternative.
std::string_view longestLiteral(std::string_view alternative)
{
    std::string_view longest;
    std::size_t start = 0; // of the run that goes on up to the place looked at
    const auto endRun = [&](std::size_t end) {
        if (end - start > longest.size())
            longest = alternative.substr(start, end - start);
    };
    for (std::size_t i = 0; i < alternative.size();) {
        std::size_t next = i + 1;
        bool plain = !isMetacharacter(alternative[i]);
        if (alternative[i] == '\\' && next < alternative.size()) {
            endRun(i);
            start = next++; // a run may begin with an escaped character, which stands there as itself ...
            // ... unless it is a letter such as \d, which is a class, or part of a character.
            plain = isMetacharacter(alternative[start]) && static_cast<unsigned char>(alternative[start]) < 0x80;
        } else if (alternative[i] == '[' || alternative[i] == '(') {
            next = skipBracketed(alternative, i);
        }
        const char quantifier = next < alternative.size() ? alternative[next] : '\0';
        const bool quantified = isQuantifier(quantifier);
        const std::size_t behind = quantifier == '{' ? std::min(alternative.find('}', next), alternative.size() - 1) + 1
                                   : quantified      ? next + 1
                                                     : next;
        if (!plain || quantified) {
            endRun(std::max(i, start));
            start = behind;
        }
        i = behind;
    }
    endRun(alternative.size());
    return longest;
}

} // namespace

std::vector<std::string_view> requiredLiterals(std::string_view expression)
{
    std::vector<std::string_view> literals;
    std::size_t start = 0;
    for (std::size_t i = 0; i < expression.size();) {
        if (expression[i] == '|') {
            literals.push_back(longestLiteral(expression.substr(start, i - start)));
            start = ++i;
        } else if (expression[i] == '\\') {
            i += 2;
        } else {
            i = expression[i] == '[' || expression[i] == '(' ? skipBracketed(expression, i) : i + 1;
        }
    }
    literals.push_back(longestLiteral(expression.substr(start)));
    return literals;
}

} // namespace vantorel::ata
