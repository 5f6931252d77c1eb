// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace vantorel::host {

/// What the watching service goes by. Texts that are empty switch off what they are for.
struct WatchSettings {
    std::chrono::seconds interval{30 * 60}; ///< between two readings of a drive
    std::string history;                    ///< file; empty for the usual one
    std::string onChange;                   ///< for `sh -c`
    std::chrono::seconds patience{60};      ///< how long such a command, or the one that mails, may take
    std::string mail;                       ///< address
    std::string metrics;                    ///< file

    bool operator==(const WatchSettings&) const = default;
};

/// What was said on the command line, which holds whatever a file says.
struct WatchOptions {
    std::optional<std::string> interval; ///< as `durationOf` takes it
    std::optional<std::string> history;
    std::optional<std::string> onChange;
    std::optional<std::string> mail;
    std::optional<std::string> metrics;
    std::optional<std::string> file; ///< with settings; unless named "/etc/vantorel/watch.toml", if it is there
};

/// The settings that hold. Throws `CommandError` with file, line and key for what is no TOML, a key that is not known,
/// and a value of another type or out of range.
[[nodiscard]] WatchSettings settingsFor(const WatchOptions& options);

} // namespace vantorel::host
