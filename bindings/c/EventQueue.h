// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

namespace vantorel::c {

/// Documents of events that wait to be fetched, with a descriptor that is readable while there is something to fetch.
/// Any thread.
class EventQueue {
public:
    enum class State { event, nothing, lost, closed };

    struct Fetched {
        State state = State::nothing;
        std::string document; ///< of an event
    };

    static constexpr std::size_t most = 4096;

    /// Throws `std::system_error` where no descriptor is to be had.
    EventQueue();
    EventQueue(const EventQueue&) = delete;
    EventQueue& operator=(const EventQueue&) = delete;
    ~EventQueue();

    /// Beyond `most` all that wait are dropped, and the next fetch tells so.
    void push(std::string document);
    /// Waits for so many milliseconds, without an end for a negative number.
    [[nodiscard]] Fetched fetch(int milliseconds);
    /// Nothing is to be had any more; whoever waits is told so.
    void close();
    [[nodiscard]] int descriptor() const { return descriptor_; }

private:
    [[nodiscard]] bool hasSomething() const { return isClosed_ || hasLost_ || !documents_.empty(); }
    void signal() const;

    std::mutex mutex_;
    std::condition_variable arrival_;
    std::deque<std::string> documents_;
    bool hasLost_ = false;
    bool isClosed_ = false;
    const int descriptor_;
};

} // namespace vantorel::c
