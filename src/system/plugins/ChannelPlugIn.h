// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "PlugIn.h"

#include <memory>
#include <span>
#include <string_view>
#include <utility>

namespace vantorel::system {

/// A plug-in over a channel of one kind, with its interface for commands.
template <typename Table, typename Channel>
class ChannelPlugIn : public PlugIn {
protected:
    /// What tells one kind of plug-in from the other.
    struct Kind {
        std::string_view capableKey; ///< by which a service declares itself capable
        base::Uuid interfaceId;
        const Table& table;
        OpenedChannel<Channel> (Machine::*openChannel)(std::uint64_t entry);
    };

    ChannelPlugIn(RegistryNodeRef service, const Kind& kind)
        : PlugIn(std::move(service)), kind_(kind), face_{&kind.table, this}
    {}

    /// Sends a command, unless it is known to fail; gives how it ended.
    template <typename Command>
    auto run(std::string_view operation, const Command& command)
    {
        decltype(channel_->execute(command)) result;
        result.status = beforeCommand(operation);
        if (result.status != kIOReturnSuccess)
            return result;
        result = channel_->execute(command);
        result.status = afterCommand(result.status, result.received, command.read.size());
        return result;
    }

    /// The bytes of a record or buffer of the caller, for the channel to fill.
    static std::span<std::uint8_t> writableBytes(void* buffer, std::size_t size)
    {
        return {static_cast<std::uint8_t*>(buffer), size};
    }

private:
    std::string_view capableKey() const final { return kind_.capableKey; }

    IOReturn open(Machine& machine, std::uint64_t entry) final
    {
        OpenedChannel<Channel> opened = (machine.*kind_.openChannel)(entry);
        channel_ = std::move(opened.channel);
        return opened.status == kIOReturnSuccess && !channel_ ? kIOReturnNoDevice : opened.status;
    }
    void close() final { channel_ = nullptr; }

    Answer commands(const CFUUIDBytes& iid) final
    {
        if (iid != CFUUIDGetUUIDBytes(kind_.interfaceId))
            return {};
        return {&face_.table, &face_.references};
    }
    std::uint32_t commandReferences() const final { return face_.references; }

    const Kind kind_;
    PlugInFace<Table> face_;
    std::unique_ptr<Channel> channel_;
};

} // namespace vantorel::system
