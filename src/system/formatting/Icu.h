// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <unicode/unum.h>
#include <unicode/ustring.h>

#include <string_view>

namespace vantorel::system {

/// What is used of ICU's library for numbers, opened when it is first needed and not linked: that would add half a
/// millisecond and some megabytes to the start of every program that formats none. Any version of it will do, as its C
/// interface stays the same but for the version in the names of the functions.
struct Icu {
    /// Opens the newest version that the system has; it stays open until the process ends. False where there is none.
    [[nodiscard]] bool load();

    int version = 0; ///< such as 72; 0 until it is open
    decltype(&unum_open) open = nullptr;
    decltype(&unum_clone) clone = nullptr;
    decltype(&unum_setAttribute) setAttribute = nullptr;
    decltype(&unum_formatDouble) formatDouble = nullptr;
    decltype(&unum_formatDecimal) formatDecimal = nullptr;
    decltype(&unum_formatInt64) formatInt64 = nullptr;
    decltype(&u_strToUTF8) toUtf8 = nullptr;
};

/// Whether a text can be the name of a locale: letters for the language, and behind "_" or "-" short parts of letters
/// and digits. Some versions of ICU do not live through others.
[[nodiscard]] bool isLocaleName(std::string_view name);

} // namespace vantorel::system
