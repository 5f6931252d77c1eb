// SPDX-License-Identifier: GPL-2.0-or-later
#include "Suggestion.h"

#include "HelpText.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace vantorel::host {

namespace {

/// How many letters have to be put in, left out, exchanged or swapped with their neighbour to make one text the other.
std::size_t editDistance(std::string_view from, std::string_view to)
{
    // Each row: how far the first letters of `from` are from so many of `to`.
    std::vector<std::size_t> beforeLast(to.size() + 1);
    std::vector<std::size_t> last(to.size() + 1);
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::swap(beforeLast, last);
        std::swap(last, row);
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t exchanged = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
            row[j] = std::min({exchanged, last[j] + 1, row[j - 1] + 1});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row[to.size()];
}

} // namespace

std::string suggestionFor(const CLI::App& verb, std::string_view word)
{
    constexpr std::size_t longest = 40;
    if (word.size() > longest)
        return {};
    std::vector<std::string> known;
    if (word.starts_with('-')) {
        for (const CLI::App* taking = &verb; taking; taking = taking->get_parent()) {
            for (const CLI::Option* const option : optionsOf(*taking)) {
                for (const std::string& name : option->get_lnames())
                    known.push_back("--" + name);
            }
        }
    } else {
        for (const CLI::App* const under : verbsOf(verb))
            known.push_back(under->get_name());
    }
    std::string nearest;
    std::size_t least = 3;
    for (std::string& candidate : known) {
        const std::size_t distance = editDistance(word, candidate);
        if (distance < least && 2 * distance <= word.size()) { // at least half of the letters are right
            nearest = std::move(candidate);
            least = distance;
        }
    }
    return nearest.empty() ? nearest : " Did you mean \"" + nearest + "\"?";
}

} // namespace vantorel::host
