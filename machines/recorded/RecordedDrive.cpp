// SPDX-License-Identifier: GPL-2.0-or-later
#include "RecordedDrive.h"

#include "vantorel/layouts/AtaCommands.h"
#include "vantorel/layouts/NvmeCommands.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace vantorel::recorded {

namespace {

using namespace system;

// Statuses of NVMe completions (NVM Express Base Specification).
constexpr std::uint16_t invalidField = 0x002;
constexpr std::uint16_t invalidLogPage = 0x109;

/// Copies what there is; gives how many bytes.
std::size_t copyBytes(DataView from, std::span<std::uint8_t> to)
{
    const std::size_t count = std::min(from.size(), to.size());
    std::ranges::copy(from.first(count), to.begin());
    return count;
}

const Data* pointerTo(const std::optional<Data>& bytes)
{
    return bytes ? &*bytes : nullptr;
}

std::optional<IOReturn> failureOf(const RecordedDrive& drive, std::string_view command)
{
    const auto found = drive.failures.find(command);
    return found == drive.failures.end() ? std::nullopt : std::optional(found->second);
}

class Ata final : public AtaChannel {
public:
    Ata(std::shared_ptr<const RecordedDrive> drive, Presence isPresent)
        : drive_(std::move(drive)), isPresent_(std::move(isPresent))
    {}

    AtaResult execute(const AtaCommand& command) override
    {
        if (!isPresent_())
            return {kIOReturnNoDevice, 0, 0};
        if (command.command == acs::identifyDevice)
            return answer("identify", pointerTo(drive_->identify), command);
        if (command.command != acs::smart || (command.lba & acs::smartKeyMask) != acs::smartKey)
            return {kIOReturnUnsupported, 0, command.lba};
        switch (command.feature) {
        case acs::smartReadData:
            return answer("data", pointerTo(drive_->data), command);
        case acs::smartReadThresholds:
            return answer("thresholds", pointerTo(drive_->thresholds), command);
        case acs::smartReadLog:
            return readLog(command);
        case acs::smartReturnStatus:
            return done("status", drive_->exceeded ? acs::smartExceeded : acs::smartKey);
        case acs::smartAutosave:
            return done("autosave", command.lba);
        case acs::smartOffLine:
            return done("offline", command.lba);
        case acs::smartEnable:
        case acs::smartDisable:
            return done("enable", command.lba);
        default:
            return {kIOReturnUnsupported, 0, command.lba};
        }
    }

private:
    AtaResult done(std::string_view name, std::uint32_t lba) const
    {
        return {failureOf(*drive_, name).value_or(kIOReturnSuccess), 0, lba};
    }

    AtaResult answer(std::string_view name, const Data* bytes, const AtaCommand& command) const
    {
        if (const std::optional<IOReturn> failure = failureOf(*drive_, name))
            return {*failure, 0, command.lba};
        if (!bytes)
            return {kIOReturnUnsupported, 0, command.lba};
        return {kIOReturnSuccess, copyBytes(*bytes, command.read), command.lba};
    }

    AtaResult readLog(const AtaCommand& command) const
    {
        const auto address = static_cast<std::uint8_t>(command.lba & 0xFFU);
        const auto log = drive_->logs.find(address);
        return answer(logCommand(RecordedDrive::Kind::ata, address), log == drive_->logs.end() ? nullptr : &log->second,
                      command);
    }

    std::shared_ptr<const RecordedDrive> drive_;
    Presence isPresent_;
};

class Nvme final : public NvmeChannel {
public:
    Nvme(std::shared_ptr<const RecordedDrive> drive, Presence isPresent)
        : drive_(std::move(drive)), isPresent_(std::move(isPresent))
    {}

    NvmeResult execute(const NvmeCommand& command) override
    {
        if (!isPresent_())
            return {kIOReturnNoDevice, 0, 0};
        if (command.opcode == nvmeadmin::identify)
            return identify(command);
        if (command.opcode == nvmeadmin::getLogPage)
            return readLog(command);
        return {kIOReturnUnsupported, 0, invalidField};
    }

private:
    NvmeResult identify(const NvmeCommand& command) const
    {
        if (const std::optional<IOReturn> failure = failureOf(*drive_, "identify"))
            return {*failure, 0, 0};
        if ((command.cdw10to15[0] & 0xFFU) != nvmeadmin::controllerStructure || !drive_->identify)
            return {kIOReturnUnsupported, 0, invalidField};
        return {kIOReturnSuccess, copyBytes(*drive_->identify, command.read), 0};
    }

    NvmeResult readLog(const NvmeCommand& command) const
    {
        const auto page = static_cast<std::uint8_t>(command.cdw10to15[0] & 0xFFU);
        if (const auto failure = failureOf(*drive_, logCommand(RecordedDrive::Kind::nvme, page)))
            return {*failure, 0, 0};
        const auto log = drive_->logs.find(page);
        if (log == drive_->logs.end())
            return {kIOReturnUnsupported, 0, invalidLogPage};
        const std::uint64_t offset = std::uint64_t{command.cdw10to15[3]} << 32U | command.cdw10to15[2];
        if (offset > log->second.size())
            return {kIOReturnUnsupported, 0, invalidField};
        const std::uint32_t dwords = (command.cdw10to15[1] & 0xFFFFU) << 16U | command.cdw10to15[0] >> 16U;
        const std::uint64_t wanted = (std::uint64_t{dwords} + 1) * 4;
        const DataView rest = DataView(log->second).subspan(static_cast<std::size_t>(offset));
        const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(wanted, rest.size()));
        return {kIOReturnSuccess, copyBytes(rest.first(count), command.read), 0};
    }

    std::shared_ptr<const RecordedDrive> drive_;
    Presence isPresent_;
};

} // namespace

std::unique_ptr<AtaChannel> makeAtaChannel(std::shared_ptr<const RecordedDrive> drive, Presence isPresent)
{
    return std::make_unique<Ata>(std::move(drive), std::move(isPresent));
}

std::unique_ptr<NvmeChannel> makeNvmeChannel(std::shared_ptr<const RecordedDrive> drive, Presence isPresent)
{
    return std::make_unique<Nvme>(std::move(drive), std::move(isPresent));
}

} // namespace vantorel::recorded
