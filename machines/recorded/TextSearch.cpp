// SPDX-License-Identifier: GPL-2.0-or-later
#include "TextSearch.h"

#include "vantorel/base/Text.h"

#include <algorithm>

namespace vantorel::recorded {

void TextSearch::add(std::string_view pattern, std::size_t number)
{
    patterns_.emplace_back(base::lowercased(pattern), number);
}

void TextSearch::prepare()
{
    std::ranges::stable_sort(patterns_, {}, &Pattern::first);
    for (const Pattern& pattern : patterns_)
        isFirst_[static_cast<unsigned char>(pattern.first.front())] = true;
}

/// The longest pattern that the text, in small letters, begins with; of equal ones the first.
const TextSearch::Pattern* TextSearch::longestAt(std::string_view text) const
{
    if (!isFirst_[static_cast<unsigned char>(text.front())])
        return nullptr;
    // Patterns that agree with the text so far stand side by side, the one that ends there first among them.
    const Pattern* longest = nullptr;
    auto begin = patterns_.begin();
    auto end = patterns_.end();
    for (std::size_t i = 0; i < text.size() && begin != end; ++i) {
        const auto wanted = static_cast<unsigned char>(text[i]);
        const auto byte = [i](const Pattern& pattern) { return static_cast<unsigned char>(pattern.first[i]); };
        if (byte(*begin) != wanted || byte(*(end - 1)) != wanted) { // else it is in all of them
            begin = std::partition_point(begin, end, [&](const Pattern& pattern) { return byte(pattern) < wanted; });
            end = std::partition_point(begin, end, [&](const Pattern& pattern) { return byte(pattern) == wanted; });
        }
        if (begin != end && begin->first.size() == i + 1) {
            longest = &*begin;
            while (begin != end && begin->first.size() == i + 1)
                ++begin;
        }
    }
    return longest;
}

void TextSearch::find(std::string_view text, const Visitor& visit) const
{
    const std::string folded = base::lowercased(text);
    for (std::size_t place = 0; place < folded.size();) {
        const Pattern* const pattern = longestAt(std::string_view(folded).substr(place));
        const bool counts = pattern && visit(place, pattern->first.size(), pattern->second);
        place += counts ? pattern->first.size() : 1;
    }
}

} // namespace vantorel::recorded
