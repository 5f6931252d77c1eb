// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace vantorel::host {

/// The system's text for a value of `errno`.
[[nodiscard]] std::string reason(int error);

/// A failure that ends the run with `usageError`: `vantorel: WHAT: WHY` on standard error.
class CommandError : public std::runtime_error {
public:
    CommandError(std::string_view what, std::string_view why);
};

/// Makes every standard stream one that may be written to: a file opened later must not get the number of a stream
/// that the command was started without. To be called before any file is opened. What is written to a standard output
/// that is missing fails; what is written to a standard error that is missing is lost.
void holdStandardStreams();

/// One line on standard error in the form `vantorel: WHAT: WHY`, for a failure that does not end the run. Control
/// characters in either text become blanks. Nothing happens where standard error takes nothing: who asked for the
/// output gets it all the same.
void complain(std::string_view what, std::string_view why);

/// One line on standard error, with the rules of `complain`.
void tell(std::string_view line);

/// Writes to standard output; throws `CommandError` when the output cannot take it.
void print(std::string_view text);

/// Hands what was printed on to who reads it; throws as `print` does.
void flush();

/// A line on standard error that says what a long run is doing, gone when it is done. None where standard error is no
/// terminal.
class ProgressLine {
public:
    ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;
    ~ProgressLine();

    /// Whether anybody can see it.
    [[nodiscard]] bool isSeen() const { return isTerminal_; }

    /// Puts this text in the place of the last one.
    void show(std::string_view text);

private:
    bool isTerminal_;
    bool isShown_ = false;
};

} // namespace vantorel::host
