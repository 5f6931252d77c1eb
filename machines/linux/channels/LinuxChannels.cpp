// SPDX-License-Identifier: GPL-2.0-or-later
#include "LinuxChannels.h"

#include <utility>

namespace vantorel::channels {

using namespace system;

DriveChannels::DriveChannels(ChannelOptions options) : options_(std::move(options)) {}

DriveChannels::~DriveChannels() = default;

DriveCommands DriveChannels::commands(const DeviceNode& /*node*/)
{
    return DriveCommands::none;
}

OpenedChannel<AtaChannel> DriveChannels::openAta(const DeviceNode& /*node*/)
{
    return {};
}

OpenedChannel<NvmeChannel> DriveChannels::openNvme(const DeviceNode& /*node*/)
{
    return {};
}

std::optional<DriveObstacle> DriveChannels::whyNotOpened(const DeviceNode& /*node*/) const
{
    return std::nullopt;
}

std::optional<DriveIdentity> DriveChannels::readIdentity(const DeviceNode& /*node*/)
{
    return std::nullopt;
}

} // namespace vantorel::channels
