// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/machines/recorded/Recording.h"
#include "vantorel/system/Machine.h"

#include <functional>
#include <memory>

namespace vantorel::recorded {

/// Tells whether the drive is still there.
using Presence = std::function<bool()>;

/// Channels that answer as the recorded drive did.
[[nodiscard]] std::unique_ptr<system::AtaChannel> makeAtaChannel(std::shared_ptr<const RecordedDrive> drive,
                                                                 Presence isPresent);
[[nodiscard]] std::unique_ptr<system::NvmeChannel> makeNvmeChannel(std::shared_ptr<const RecordedDrive> drive,
                                                                   Presence isPresent);

} // namespace vantorel::recorded
