// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "documents/DriveOutcome.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <set>
#include <vector>

namespace vantorel::host {

/// Reads drives beside the calling thread, each on a thread of its own that ends with the reading. A drive that does
/// not answer keeps only its own thread, and is not asked again before it has; a process that ends does not wait for
/// it. Of more than so many at once the rest wait for one of them to be done.
class DriveReader {
public:
    static constexpr std::size_t mostThreads = 64;

    DriveReader();

    /// Begins to read a drive. Nothing happens while the service that answers for it is being asked.
    void begin(DriveOutcome unread);

    /// Readable when there is something to take. To be polled.
    [[nodiscard]] int descriptor() const;

    /// What has been read since the last time. Those that wait are begun in its place.
    [[nodiscard]] std::vector<DriveOutcome> take();

    /// The services that are being asked, or wait for it.
    [[nodiscard]] const std::set<std::uint64_t>& asked() const { return asked_; }

private:
    struct Shared; ///< with the threads, which may outlive this

    void startThreads();

    std::shared_ptr<Shared> shared_;
    std::set<std::uint64_t> asked_;
    std::deque<DriveOutcome> waiting_;
    std::size_t running_ = 0; ///< whose outcome has not been taken
};

} // namespace vantorel::host
