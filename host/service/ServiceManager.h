// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <chrono>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace vantorel::host {

/// The service manager that has started this process, by its datagrams (sd_notify(3)); without one nothing happens.
/// The protocol is a few lines and stays, so no library is loaded for it.
class ServiceManager {
public:
    ServiceManager();

    /// Sends assignments, one a line, such as "READY=1".
    void notify(std::string_view assignments) const;
    /// `notify` for a reload that begins, which has to tell its moment.
    void notifyReloading() const;

    /// How often a sign of life is to be sent ("WATCHDOG=1"): half of what the manager waits; absent where it does not.
    [[nodiscard]] std::optional<std::chrono::milliseconds> signOfLife() const { return signOfLife_; }

private:
    std::string socket_; ///< empty when there is no manager
    std::optional<std::chrono::milliseconds> signOfLife_;
};

/// How much a line of the journal matters; the numbers of syslog(3).
enum class Priority { critical = 2, error = 3, warning = 4, notice = 5, information = 6 };

/// The journal, where standard output goes to it; else lines on standard output.
class Journal {
public:
    Journal();

    /// A line, and with it in the journal the fields: names in capitals, any texts. A field without a text is left out.
    void tell(Priority priority, std::string_view message,
              std::initializer_list<std::pair<std::string_view, std::string_view>> fields = {}) const;

    [[nodiscard]] bool isJournal() const { return isJournal_; }

private:
    bool isJournal_;
};

} // namespace vantorel::host
