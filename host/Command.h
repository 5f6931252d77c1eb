// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"

#include <CLI/CLI.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vantorel::host {

/// What the command ends with: these bits, OR-ed over all drives that a run looked at.
enum Status : int {
    success = 0,
    usageError = 1,        ///< wrong use, or a file that cannot be read
    driveNotOpened = 2,    ///< a drive could not be opened
    readFailed = 4,        ///< a read failed or gave invalid data
    driveFailing = 8,      ///< a pre-failure attribute failed now, or an NVMe critical warning is set
    preFailReached = 16,   ///< a pre-failure attribute is at or below its threshold
    attributeReached = 32, ///< an attribute failed in the past, or an old-age attribute is at or below its threshold
};

/// The system's text for a value of `errno`.
[[nodiscard]] std::string reason(int error);

/// A failure that ends the run with `usageError`: `vantorel: WHAT: WHY` on standard error.
class CommandError : public std::runtime_error {
public:
    CommandError(std::string_view what, std::string_view why);
};

/// One line on standard error in the form `vantorel: WHAT: WHY`, for a failure that does not end the run.
void complain(std::string_view what, std::string_view why);

/// Writes to standard output; throws `CommandError` when the output cannot take it.
void print(std::string_view text);

/// Hands what was printed on to who reads it; throws as `print` does.
void flush();

/// The whole file. Throws `CommandError` when it is missing, a folder, larger than `limit` bytes or cannot be read.
[[nodiscard]] Data readFile(const std::string& path, std::size_t limit);

// Every verb adds itself under its name; its action leaves what the run ends with in `status`.
void addDecode(CLI::App& app, int& status);
void addDatabase(CLI::App& app, int& status);
void addErrors(CLI::App& app, int& status);
void addCompress(CLI::App& app, int& status); ///< and its reverse, `expand`
void addList(CLI::App& app, int& status);
void addSmart(CLI::App& app, int& status);
void addStats(CLI::App& app, int& status);
void addWatch(CLI::App& app, int& status);
void addMachineCheck(CLI::App& app, int& status);

} // namespace vantorel::host
