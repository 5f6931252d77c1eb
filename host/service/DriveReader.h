// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "documents/DriveOutcome.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vantorel::host {

/// Reads drives beside the calling thread, each on a thread of its own that ends with the reading. A drive that does
/// not answer keeps only its own thread, and is not asked again before it has; a process that ends does not wait for
/// it.
class DriveReader {
public:
    DriveReader();

    /// Begins to read a drive. Nothing happens while the service that answers for it is being asked.
    void begin(DriveOutcome unread);

    /// Readable when there is something to take. To be polled.
    [[nodiscard]] int descriptor() const;

    /// What has been read since the last time.
    [[nodiscard]] std::vector<DriveOutcome> take();

    /// Names of the drives that are being asked.
    [[nodiscard]] std::vector<std::string> asked() const;

private:
    struct Shared; ///< with the threads, which may outlive this

    std::shared_ptr<Shared> shared_;
    std::map<std::uint64_t, std::string> asked_; ///< by service
};

} // namespace vantorel::host
