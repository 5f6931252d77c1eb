// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

/// The host's table of translations. The library's texts for a reader are looked up in it; nothing else is.
namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// Texts by key.
using Translations = std::map<std::string, std::string, std::less<>>;

/// A `Localizable.strings` file that cannot be read. `what()` names the line and the fault.
class TranslationError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The translation of a text, the text itself when there is none. Any thread.
[[nodiscard]] std::string localized(std::string_view key);

/// Replaces the host's table; an empty one takes all translations away. Results made before keep their texts.
/// Any thread.
void setTranslations(Translations translations);

/// Reads the contents of a `Localizable.strings` file: the text form (`"key" = "value";` with comments, in UTF-8 or,
/// with a byte order mark, UTF-16) or a property list whose root is a table of texts. Throws `TranslationError` for
/// anything else; a later entry for the same key wins.
[[nodiscard]] Translations parseTranslations(DataView contents);

/// Reads that file and makes it the host's table. Throws `TranslationError`, then with the table as it was.
void loadTranslations(const std::string& path);

/// How numbers are written in the library's texts: the process's locale, and with which version of ICU, such as
/// "en_US", which needs none, or "de_DE, by ICU 72", or that there is no ICU for it. Any thread; loads ICU where it is
/// needed.
[[nodiscard]] std::string numberLocale();

} // namespace system
} // namespace vantorel
