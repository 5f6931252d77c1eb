// SPDX-License-Identifier: GPL-2.0-or-later
#include "Icu.h"

#include <algorithm>
#include <string>

#include <dlfcn.h>

namespace vantorel::system {

namespace {

constexpr int newest = 99; // two come a year, and 78 was that of 2025
constexpr int oldest = 60; // of 2017, the first with all that is used

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isLetterOrDigit(char c)
{
    return isLetter(c) || (c >= '0' && c <= '9');
}

template <typename Function>
bool resolve(void* library, const std::string& name, Function*& function)
{
    function = reinterpret_cast<Function*>(dlsym(library, name.c_str()));
    return function != nullptr;
}

} // namespace

bool Icu::load()
{
    for (int candidate = newest; candidate >= oldest; --candidate) {
        const std::string number = std::to_string(candidate);
        void* const library = dlopen(("libicui18n.so." + number).c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!library)
            continue;
        const std::string suffix = '_' + number;
        if (resolve(library, "unum_open" + suffix, open) && resolve(library, "unum_clone" + suffix, clone) &&
            resolve(library, "unum_setAttribute" + suffix, setAttribute) &&
            resolve(library, "unum_formatDouble" + suffix, formatDouble) &&
            resolve(library, "unum_formatDecimal" + suffix, formatDecimal) &&
            resolve(library, "unum_formatInt64" + suffix, formatInt64) &&
            resolve(library, "u_strToUTF8" + suffix, toUtf8)) {
            version = candidate;
            return true;
        }
        dlclose(library);
    }
    return false;
}

bool isLocaleName(std::string_view name)
{
    constexpr std::string_view separators = "_-";
    constexpr std::size_t longestPart = 8; // of language tags (BCP 47)
    constexpr std::size_t mostParts = 6;
    for (std::size_t part = 0; part < mostParts; ++part) {
        const std::size_t end = std::min(name.find_first_of(separators), name.size());
        const std::string_view text = name.substr(0, end);
        if (text.size() < (part == 0 ? 2 : 1) || text.size() > longestPart ||
            !std::ranges::all_of(text, part == 0 ? isLetter : isLetterOrDigit))
            return false;
        if (end == name.size())
            return true;
        name.remove_prefix(end + 1);
    }
    return false;
}

} // namespace vantorel::system
