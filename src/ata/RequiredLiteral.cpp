// SPDX-License-Identifier: GPL-2.0-or-later
#include "DriveTable.h"

#include "vantorel/base/Text.h"

#include <algorithm>

namespace vantorel::ata {

namespace {

constexpr bool isMetacharacter(char c)
{
    return std::string_view(R"(\[](){}.*+?|^$)").find(c) != std::string_view::npos;
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

/// The longest run of plain characters in one alternative.
std::string longestLiteral(std::string_view alternative)
{
    std::string longest;
    std::string run;
    const auto endRun = [&] {
        if (run.size() > longest.size())
            longest = run;
        run.clear();
    };
    for (std::size_t i = 0; i < alternative.size();) {
        char literal = alternative[i];
        std::size_t next = i + 1;
        bool plain = !isMetacharacter(literal);
        if (literal == '\\' && next < alternative.size()) {
            literal = alternative[next++];
            plain = isMetacharacter(literal); // an escaped letter such as \d may stand for a class
        } else if (literal == '[' || literal == '(') {
            next = skipBracketed(alternative, i);
        }
        const char quantifier = next < alternative.size() ? alternative[next] : '\0';
        const bool quantified = quantifier == '?' || quantifier == '*' || quantifier == '+' || quantifier == '{';
        if (plain && !quantified)
            run += base::lowercased(literal);
        else
            endRun();
        i = quantifier == '{' ? std::min(alternative.find('}', next), alternative.size() - 1) + 1 : next;
    }
    endRun();
    return longest;
}

} // namespace

std::vector<std::string> requiredLiterals(std::string_view expression)
{
    std::vector<std::string> literals;
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
