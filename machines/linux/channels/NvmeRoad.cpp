// SPDX-License-Identifier: GPL-2.0-or-later
#include "NvmeRoad.h"

#include "ScsiCommand.h"
#include "vantorel/base/Bytes.h"
#include "vantorel/base/Text.h"
#include "vantorel/layouts/NvmeCommands.h"

#include <linux/nvme_ioctl.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

namespace vantorel::channels {

namespace {

using namespace system;

constexpr std::size_t identifySize = 4096;
constexpr std::size_t healthLogSize = 512;

/// How many bytes the controller will give, whatever there is room for.
std::uint64_t bytesGiven(const NvmeCommand& command)
{
    const std::uint64_t dwords = std::uint64_t{command.cdw10to15[1] & 0xFFFFU} << 16U | command.cdw10to15[0] >> 16U;
    return command.opcode == nvmeadmin::identify ? identifySize : (dwords + 1) * 4;
}

/// Whether a command may be sent at all. A buffer of another size would be overrun, or read only in part.
IOReturn statusBefore(const NvmeCommand& command)
{
    if (command.opcode != nvmeadmin::identify && command.opcode != nvmeadmin::getLogPage)
        return kIOReturnUnsupported;
    return command.read.size() == bytesGiven(command) ? kIOReturnSuccess : kIOReturnBadArgument;
}

IOReturn statusOfCompletion(std::uint16_t status)
{
    constexpr unsigned typeMask = 0x700;
    constexpr unsigned mediaType = 0x200;
    constexpr unsigned pathType = 0x300;
    switch (status) {
    case 0:
        return kIOReturnSuccess;
    case 0x001: // invalid opcode
    case 0x002: // invalid field
    case 0x00B: // invalid namespace
    case 0x109: // invalid log page
        return kIOReturnUnsupported;
    case 0x007: // abort requested
        return kIOReturnAborted;
    default:
        break;
    }
    if ((status & typeMask) == mediaType)
        return kIOReturnNotReadable;
    return (status & typeMask) == pathType ? kIOReturnNoDevice : kIOReturnIOError;
}

NvmeResult completed(std::uint16_t status, std::size_t received)
{
    const IOReturn code = statusOfCompletion(status);
    return {code, code == kIOReturnSuccess ? received : 0, status};
}

class KernelNvme final : public NvmeChannel {
public:
    explicit KernelNvme(DeviceFile file) : file_(std::move(file)) {}

    NvmeResult execute(const NvmeCommand& command) override
    {
        if (const IOReturn status = statusBefore(command); status != kIOReturnSuccess)
            return {status, 0, 0};
        nvme_admin_cmd request{};
        request.opcode = command.opcode;
        request.nsid = command.nsid;
        request.addr = reinterpret_cast<std::uintptr_t>(command.read.data()); // NOLINT: the kernel takes a number
        request.data_len = static_cast<std::uint32_t>(command.read.size());
        request.cdw10 = command.cdw10to15[0];
        request.cdw11 = command.cdw10to15[1];
        request.cdw12 = command.cdw10to15[2];
        request.cdw13 = command.cdw10to15[3];
        request.cdw14 = command.cdw10to15[4];
        request.cdw15 = command.cdw10to15[5];
        constexpr long long longest = std::numeric_limits<std::uint32_t>::max();
        request.timeout_ms = static_cast<std::uint32_t>(std::clamp<long long>(command.timeout.count(), 1, longest));
        const int result = file_.control(NVME_IOCTL_ADMIN_CMD, &request);
        // So the driver tells of a command that it gave up itself, mostly because its time was over.
        if (result == -EINTR)
            return {kIOReturnTimeout, 0, 0};
        if (result < 0)
            return {statusOfError(-result), 0, 0};
        return completed(static_cast<std::uint16_t>(result & 0x7FF), command.read.size());
    }

private:
    DeviceFile file_;
};

/// The commands that ASMedia's and Realtek's bridges carry, in one SCSI command each: Identify of the controller and of
/// the first namespace, and log pages for all namespaces.
class OneStepNvme : public NvmeChannel {
public:
    OneStepNvme(DeviceFile file, std::size_t mostOfLog) : file_(std::move(file)), mostOfLog_(mostOfLog) {}

    NvmeResult execute(const NvmeCommand& command) final
    {
        if (const IOReturn status = statusBefore(command); status != kIOReturnSuccess)
            return {status, 0, 0};
        if (!isCarried(command))
            return {kIOReturnUnsupported, 0, 0};
        const std::size_t most = command.opcode == nvmeadmin::getLogPage ? mostOfLog_ : identifySize;
        NvmeCommand cut = command;
        cut.read = command.read.first(std::min(command.read.size(), most));
        const ScsiResult result = channels::execute(file_, {blockOf(cut), cut.read, {}, command.timeout});
        return {result.status, result.received, 0};
    }

private:
    virtual bool carriesRest(const NvmeCommand& command) const = 0;
    virtual Data blockOf(const NvmeCommand& command) const = 0;

    bool isCarried(const NvmeCommand& command) const
    {
        constexpr std::uint32_t ownBits = 0x7F00; // the log page's own field; the bit above keeps an event, of which
                                                  // nobody hears through a bridge
        const std::uint32_t structure = command.cdw10to15[0];
        if (command.opcode == nvmeadmin::identify && structure == nvmeadmin::controllerStructure)
            return command.nsid == 0 && carriesRest(command);
        if (command.opcode == nvmeadmin::identify)
            return structure == nvmeadmin::namespaceStructure && command.nsid == 1 && carriesRest(command);
        return command.nsid == nvmeadmin::allNamespaces && (structure & ownBits) == 0 && carriesRest(command);
    }

    DeviceFile file_;
    const std::size_t mostOfLog_;
};

class AsmediaNvme final : public OneStepNvme {
public:
    explicit AsmediaNvme(DeviceFile file) : OneStepNvme(std::move(file), std::numeric_limits<std::size_t>::max()) {}

private:
    bool carriesRest(const NvmeCommand& command) const override
    {
        return command.cdw10to15[1] == 0 && command.cdw10to15[4] == 0 && command.cdw10to15[5] == 0;
    }
    Data blockOf(const NvmeCommand& command) const override
    {
        const auto byteOf = [&](std::size_t word, unsigned shift) {
            return static_cast<std::uint8_t>(command.cdw10to15[word] >> shift);
        };
        return {0xE6,
                command.opcode,
                0,
                byteOf(0, 0),
                0,
                0,
                byteOf(0, 24),
                byteOf(0, 16),
                byteOf(3, 24),
                byteOf(3, 16),
                byteOf(3, 8),
                byteOf(3, 0),
                byteOf(2, 24),
                byteOf(2, 16),
                byteOf(2, 8),
                byteOf(2, 0)};
    }
};

class RealtekNvme final : public OneStepNvme {
public:
    // Behind the first sector of a longer page come data of an earlier one.
    explicit RealtekNvme(DeviceFile file) : OneStepNvme(std::move(file), 512) {}

private:
    bool carriesRest(const NvmeCommand& command) const override
    {
        return std::all_of(command.cdw10to15.begin() + 1, command.cdw10to15.end(),
                           [](std::uint32_t word) { return word == 0; });
    }
    Data blockOf(const NvmeCommand& command) const override
    {
        Data block(16);
        block[0] = 0xE4;
        block[1] = static_cast<std::uint8_t>(command.read.size());
        block[2] = static_cast<std::uint8_t>(command.read.size() >> 8U);
        block[3] = command.opcode;
        block[4] = static_cast<std::uint8_t>(command.cdw10to15[0]);
        return block;
    }
};

/// JMicron: three steps, each an ATA PASS-THROUGH 12 of its own kind: hand over the command, take its data, take how it
/// ended. The first writes to the bridge and not to the drive.
class JmicronNvme final : public NvmeChannel {
public:
    explicit JmicronNvme(DeviceFile file) : file_(std::move(file)) {}

    NvmeResult execute(const NvmeCommand& command) override
    {
        if (const IOReturn status = statusBefore(command); status != kIOReturnSuccess)
            return {status, 0, 0};
        const bool isSelfTest =
            command.opcode == nvmeadmin::getLogPage && (command.cdw10to15[0] & 0xFFU) == nvmeadmin::selfTestLog;
        if (!isSelfTest || command.read.size() <= mostOfSelfTest)
            return send(command);
        NvmeCommand cut = command;
        cut.read = command.read.first(mostOfSelfTest);
        cut.cdw10to15[0] = (command.cdw10to15[0] & 0xFFFFU) | (mostOfSelfTest / 4 - 1) << 16U;
        return send(cut);
    }

private:
    static constexpr std::uint8_t passThrough12 = 0xA1;
    static constexpr std::uint8_t handOver = 0x80;
    static constexpr std::uint8_t takeData = 0x82;
    static constexpr std::uint8_t takeEnd = 0x8F;
    static constexpr std::uint32_t signature = 0x454D564E; // "NVME"
    static constexpr std::uint32_t mostOfSelfTest = 0x218; // the controller hangs when it is asked for more

    using Block = std::array<le32, 128>;

    static Data blockOf(std::uint8_t step, std::size_t length)
    {
        return {passThrough12,
                step,
                0,
                static_cast<std::uint8_t>(length >> 16U),
                static_cast<std::uint8_t>(length >> 8U),
                static_cast<std::uint8_t>(length),
                0,
                0,
                0,
                0,
                0,
                0};
    }

    NvmeResult send(const NvmeCommand& command)
    {
        Block request{};
        request[0] = signature;
        request[2] = command.opcode;
        request[3] = command.nsid;
        std::ranges::copy(command.cdw10to15, request.begin() + 12);
        const Data sent = recordBytes(request);
        ScsiResult result = channels::execute(file_, {blockOf(handOver, sent.size()), {}, sent, command.timeout});
        if (result.status != kIOReturnSuccess)
            return {result.status, 0, 0};
        result = channels::execute(file_, {blockOf(takeData, command.read.size()), command.read, {}, command.timeout});
        if (result.status != kIOReturnSuccess)
            return {result.status, 0, 0};
        const std::size_t received = result.received;

        std::array<std::uint8_t, sizeof(Block)> end{};
        result = channels::execute(file_, {blockOf(takeEnd, end.size()), end, {}, command.timeout});
        if (result.status != kIOReturnSuccess)
            return {result.status, 0, 0};
        const auto words = readRecord<Block>(end);
        if (result.received < end.size() || (*words)[0] != signature)
            return {kIOReturnIOError, 0, 0};
        return completed(static_cast<std::uint16_t>((*words)[5] >> 17U & 0x7FFU), received);
    }

    DeviceFile file_;
};

} // namespace

std::unique_ptr<NvmeChannel> kernelNvme(DeviceFile file)
{
    return std::make_unique<KernelNvme>(std::move(file));
}

std::unique_ptr<NvmeChannel> usbNvme(NvmeWrapping wrapping, DeviceFile file)
{
    switch (wrapping) {
    case NvmeWrapping::asmedia:
        return std::make_unique<AsmediaNvme>(std::move(file));
    case NvmeWrapping::realtek:
        return std::make_unique<RealtekNvme>(std::move(file));
    case NvmeWrapping::jmicron:
        break;
    }
    return std::make_unique<JmicronNvme>(std::move(file));
}

NvmeIdentity identifyController(NvmeChannel& channel)
{
    std::array<std::uint8_t, identifySize> bytes{};
    NvmeCommand command;
    command.opcode = nvmeadmin::identify;
    command.cdw10to15[0] = nvmeadmin::controllerStructure;
    command.read = bytes;
    const NvmeResult result = channel.execute(command);
    if (result.status != kIOReturnSuccess)
        return {result.status, {}};
    const auto text = [&](std::size_t offset, std::size_t size) {
        std::string characters(size, ' ');
        std::memcpy(characters.data(), &bytes[offset], size);
        const auto isOdd = [](char c) { return c < ' ' || c > '~'; };
        characters.erase(std::ranges::find_if(characters, isOdd), characters.end());
        return std::string(base::trimmed(characters));
    };
    return {result.received == bytes.size() ? kIOReturnSuccess : kIOReturnUnderrun,
            {.model = text(24, 40), .serial = text(4, 20), .firmware = text(64, 8)}};
}

IOReturn tryHealthLog(NvmeChannel& channel)
{
    std::array<std::uint8_t, healthLogSize> bytes{};
    NvmeCommand command;
    command.opcode = nvmeadmin::getLogPage;
    command.nsid = nvmeadmin::allNamespaces;
    command.cdw10to15[0] = nvmeadmin::healthLog | (healthLogSize / 4 - 1) << 16U;
    command.read = bytes;
    return channel.execute(command).status;
}

} // namespace vantorel::channels
