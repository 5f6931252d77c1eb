// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace vantorel::host {

/// A program to be run, and what it is given on its standard input.
struct BoundedProgram {
    std::string what; ///< how messages call it
    std::vector<std::string> arguments;
    std::string input;
    std::chrono::milliseconds patience;
};

/// Runs programs one after the other beside the calling thread, each for as long as it may take; then it is killed with
/// all it has started. Nothing waits: whoever owns this calls `look` at SIGCHLD and at `nextLook`. One thread.
class BoundedPrograms {
public:
    using Clock = std::chrono::steady_clock;

    /// `complain` is told of a program that cannot be started, fails or takes too long.
    explicit BoundedPrograms(std::function<void(const std::string& message)> complain);
    /// Kills what runs, with all it has started.
    ~BoundedPrograms();
    BoundedPrograms(const BoundedPrograms&) = delete;
    BoundedPrograms& operator=(const BoundedPrograms&) = delete;

    /// Kills what runs and forgets the rest.
    void stop();

    /// Starts it when those before are done. Of too many that wait the oldest is left out, and told.
    void run(BoundedProgram program);

    /// Sees to what has ended or has had its time.
    void look();

    /// When `look` has to be called at the latest; absent when nothing runs.
    [[nodiscard]] std::optional<Clock::time_point> nextLook() const;

private:
    void startNext();
    void tellEnd(int status);

    std::function<void(const std::string&)> complain_;
    std::deque<BoundedProgram> waiting_; ///< the first of them runs, if one does
    pid_t running_ = 0;                  ///< 0: none
    bool isKilled_ = false;
    Clock::time_point deadline_;
};

} // namespace vantorel::host
