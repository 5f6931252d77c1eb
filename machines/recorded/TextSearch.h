// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantorel::recorded {

/// Finds any of many byte strings in one pass; the letters A to Z count as small ones. A step costs the length of what
/// agrees with some pattern there and the logarithm of their number.
class TextSearch {
public:
    /// Takes in a pattern that is not empty; `number` is what it is known by.
    void add(std::string_view pattern, std::size_t number);

    /// To be called between the last pattern and the first search.
    void prepare();

    /// A match, and whether it is to count; one that does not is looked over.
    using Visitor = std::function<bool(std::size_t begin, std::size_t length, std::size_t number)>;

    /// Tells of the longest pattern at each place from the front, and goes on behind it.
    void find(std::string_view text, const Visitor& visit) const;

private:
    using Pattern = std::pair<std::string, std::size_t>;

    [[nodiscard]] const Pattern* longestAt(std::string_view text) const;

    std::vector<Pattern> patterns_;   // in order
    std::array<bool, 256> isFirst_{}; // by byte, whether a pattern begins with it
};

} // namespace vantorel::recorded
