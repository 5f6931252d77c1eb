// SPDX-License-Identifier: GPL-2.0-or-later
#include "AtaRoad.h"

#include "ScsiCommand.h"
#include "vantorel/layouts/AtaCommands.h"

#include <array>
#include <cstdint>
#include <utility>

namespace vantorel::channels {

namespace {

using namespace system;

constexpr std::size_t blockSize = 512;
constexpr std::uint8_t deviceSelect = 0xA0; // the register's bits that are always set, for those who do not set them

struct AddressBytes {
    std::uint8_t low, middle, high;
};

AddressBytes addressBytes(const AtaCommand& command)
{
    return {static_cast<std::uint8_t>(command.lba), static_cast<std::uint8_t>(command.lba >> 8U),
            static_cast<std::uint8_t>(command.lba >> 16U)};
}

std::uint32_t address(std::uint8_t low, std::uint8_t middle, std::uint8_t high)
{
    return low | std::uint32_t{middle} << 8U | std::uint32_t{high} << 16U;
}

AtaAnswer answerOf(const ScsiResult& result)
{
    return {result.status, result.received, result.sense ? result.sense->registers : std::nullopt};
}

/// SCSI / ATA Translation (SAT-3): the registers come in the sense data of the command itself, if it asks for them.
class SatRoad final : public AtaRoad {
public:
    enum class Length { sixteen, twelve, sixteenOrTwelve };

    SatRoad(DeviceFile file, Length length) : file_(std::move(file)), length_(length) {}

    AtaAnswer send(const AtaCommand& command, bool wantsRegisters) override
    {
        ScsiResult result = sendOf(length_ == Length::twelve ? 12 : 16, command, wantsRegisters);
        if (length_ == Length::sixteenOrTwelve && result.sense) {
            const bool isUnknown = result.sense->key == illegalRequest && result.sense->code == invalidCommand;
            length_ = isUnknown ? Length::twelve : Length::sixteen;
            if (isUnknown)
                result = sendOf(12, command, wantsRegisters);
        }
        return answerOf(result);
    }

private:
    static constexpr std::uint8_t passThrough16 = 0x85;
    static constexpr std::uint8_t passThrough12 = 0xA1;
    static constexpr std::uint8_t protocolNone = 3 << 1;
    static constexpr std::uint8_t protocolRead = 4 << 1; // by programmed input
    static constexpr std::uint8_t lengthInCount = 0x02;
    static constexpr std::uint8_t lengthInBlocks = 0x04;
    static constexpr std::uint8_t fromDrive = 0x08;
    static constexpr std::uint8_t tellRegisters = 0x20;
    static constexpr unsigned illegalRequest = 0x5;
    static constexpr std::uint8_t invalidCommand = 0x20;

    ScsiResult sendOf(std::size_t size, const AtaCommand& command, bool wantsRegisters)
    {
        const bool isRead = !command.read.empty();
        const std::uint8_t protocol = isRead ? protocolRead : protocolNone;
        const unsigned transfer = isRead ? fromDrive | lengthInBlocks | lengthInCount : 0;
        const auto flags = static_cast<std::uint8_t>(transfer | (wantsRegisters ? tellRegisters : 0U));
        const auto [low, middle, high] = addressBytes(command);
        ScsiCommand wrapped{{}, command.read, {}, command.timeout};
        if (size == 16)
            wrapped.block = {passThrough16, protocol, flags, 0, command.feature, 0, command.count, 0, low, 0,
                             middle,        0,        high,  0, command.command, 0};
        else
            wrapped.block = {passThrough12,   protocol, flags, command.feature, command.count, low, middle, high, 0,
                             command.command, 0,        0};
        return execute(file_, wrapped);
    }

    DeviceFile file_;
    Length length_;
};

/// JMicron. Of the registers only one can be had, and that after SMART RETURN STATUS only.
class JmicronRoad final : public AtaRoad {
public:
    JmicronRoad(DeviceFile file, const UsbBridge& bridge)
        : file_(std::move(file)), port_(bridge.port), hasTail_(bridge.hasTail)
    {}

    bool tellsPowerMode() const override { return false; }

    AtaAnswer send(const AtaCommand& command, bool wantsRegisters) override
    {
        if (!port_) {
            if (const IOReturn status = findPort(command.timeout); status != kIOReturnSuccess)
                return {status, 0, {}};
        }
        std::array<std::uint8_t, 1> high{};
        const std::span<std::uint8_t> read = wantsRegisters ? high : command.read;
        const auto [low, middle, lbaHigh] = addressBytes(command);
        const auto device = static_cast<std::uint8_t>(deviceSelect | *port_ << 4U);
        ScsiResult result = execute(
            file_, {block({command.feature, command.count, low, middle, lbaHigh, device, command.command}, read.size()),
                    read,
                    {},
                    command.timeout});
        if (wantsRegisters)
            return {result.status, 0, registersOf(result, high[0])};
        return answerOf(result);
    }

private:
    static constexpr std::uint8_t operation = 0xDF;
    static constexpr std::uint8_t toHost = 0x10;
    static constexpr unsigned portsRegister = 0x720F;
    static constexpr std::uint8_t readRegister = 0xFD;
    static constexpr unsigned firstPort = 0x04;
    static constexpr unsigned secondPort = 0x40;
    static constexpr std::uint8_t keyHigh = 0xC2;
    static constexpr std::uint8_t exceededHigh = 0x2C;

    Data block(const std::array<std::uint8_t, 7>& registers, std::size_t length) const
    {
        Data bytes = {operation, toHost, 0, static_cast<std::uint8_t>(length >> 8U), static_cast<std::uint8_t>(length)};
        bytes.insert(bytes.end(), registers.begin(), registers.end());
        if (hasTail_)
            bytes.insert(bytes.end(), {0x06, 0x7B});
        return bytes;
    }

    /// Which port has a drive. With two drives nothing says which of them the disk is.
    IOReturn findPort(std::chrono::milliseconds timeout)
    {
        std::array<std::uint8_t, 1> ports{};
        const ScsiResult result =
            execute(file_, {block({0, portsRegister >> 8U, portsRegister & 0xFFU, 0, 0, 0, readRegister}, ports.size()),
                            ports,
                            {},
                            timeout});
        if (result.status != kIOReturnSuccess)
            return result.status;
        const unsigned inUse = ports[0] & (firstPort | secondPort);
        if (inUse == 0)
            return kIOReturnNoDevice;
        if (inUse == (firstPort | secondPort))
            return kIOReturnNotFound;
        port_ = inUse == secondPort ? 1 : 0;
        return kIOReturnSuccess;
    }

    /// What the one byte tells; other values come from bridges that do not know.
    static std::optional<AtaRegisters> registersOf(const ScsiResult& result, std::uint8_t high)
    {
        if (result.received == 0 || (high != keyHigh && high != exceededHigh))
            return std::nullopt;
        AtaRegisters registers;
        registers.lba = high == keyHigh ? address(0, 0x4F, keyHigh) : address(0, 0xF4, exceededHigh);
        return registers;
    }

    DeviceFile file_;
    std::optional<std::uint8_t> port_;
    const bool hasTail_;
};

/// A bridge that is asked for the registers by a second command.
class TwoStepRoad : public AtaRoad {
public:
    explicit TwoStepRoad(DeviceFile file) : file_(std::move(file)) {}

    AtaAnswer send(const AtaCommand& command, bool wantsRegisters) final
    {
        const Data block = blockOf(command);
        const ScsiResult result = execute(file_, {block, command.read, {}, command.timeout});
        AtaAnswer answer = answerOf(result);
        if (result.status == kIOReturnSuccess && wantsRegisters)
            answer.registers = readRegisters(block, command.timeout);
        return answer;
    }

protected:
    static constexpr std::size_t mostRegisterBytes = 16;

    virtual Data blockOf(const AtaCommand& command) const = 0;
    /// The command that reads the registers, and how many bytes it gives.
    virtual std::pair<Data, std::size_t> registersBlock(Data block) const = 0;
    virtual AtaRegisters registersOf(const std::array<std::uint8_t, mostRegisterBytes>& bytes) const = 0;

private:
    std::optional<AtaRegisters> readRegisters(const Data& block, std::chrono::milliseconds timeout)
    {
        const auto [command, size] = registersBlock(block);
        std::array<std::uint8_t, mostRegisterBytes> bytes{};
        const ScsiResult result = execute(file_, {command, std::span(bytes).first(size), {}, timeout});
        if (result.status != kIOReturnSuccess || result.received < size)
            return std::nullopt;
        return registersOf(bytes);
    }

    DeviceFile file_;
};

class ProlificRoad final : public TwoStepRoad {
    using TwoStepRoad::TwoStepRoad;

    Data blockOf(const AtaCommand& command) const override
    {
        const std::size_t length = command.read.size();
        const auto [low, middle, high] = addressBytes(command);
        return {0xD8,
                0x15,
                0,
                command.feature,
                0x06,
                0x7B,
                static_cast<std::uint8_t>(length >> 24U),
                static_cast<std::uint8_t>(length >> 16U),
                static_cast<std::uint8_t>(length >> 8U),
                static_cast<std::uint8_t>(length),
                command.count,
                low,
                middle,
                high,
                deviceSelect,
                command.command};
    }
    std::pair<Data, std::size_t> registersBlock(Data /*block*/) const override
    {
        return {{0xD7, 0, 0, 0, 0x06, 0x7B, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 16};
    }
    AtaRegisters registersOf(const std::array<std::uint8_t, mostRegisterBytes>& bytes) const override
    {
        return {bytes[0], bytes[1], bytes[2], address(bytes[4], bytes[6], bytes[8])};
    }
};

class SunplusRoad final : public TwoStepRoad {
    using TwoStepRoad::TwoStepRoad;

    Data blockOf(const AtaCommand& command) const override
    {
        const std::uint8_t direction = command.read.empty() ? 0x00 : 0x10;
        const auto [low, middle, high] = addressBytes(command);
        return {0xF8,
                0,
                0x22,
                direction,
                static_cast<std::uint8_t>(command.read.size() / blockSize),
                command.feature,
                command.count,
                low,
                middle,
                high,
                deviceSelect,
                command.command};
    }
    std::pair<Data, std::size_t> registersBlock(Data /*block*/) const override
    {
        return {{0xF8, 0, 0x21, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 8};
    }
    AtaRegisters registersOf(const std::array<std::uint8_t, mostRegisterBytes>& bytes) const override
    {
        return {bytes[7], bytes[1], bytes[2], address(bytes[3], bytes[4], bytes[5])};
    }
};

class CypressRoad final : public TwoStepRoad {
public:
    CypressRoad(DeviceFile file, std::uint8_t signature) : TwoStepRoad(std::move(file)), signature_(signature) {}

private:
    static constexpr std::uint8_t isIdentify = 0x80;
    static constexpr std::uint8_t readRegisters = 0x01;
    static constexpr std::uint8_t statusReady = 0x40;

    Data blockOf(const AtaCommand& command) const override
    {
        const std::uint8_t action = command.command == acs::identifyDevice ? isIdentify : 0;
        const auto [low, middle, high] = addressBytes(command);
        return {signature_, 0x24, action,          0xBE, 1, 0, command.feature, command.count, low, middle,
                high,       0,    command.command, 0,    0, 0};
    }
    std::pair<Data, std::size_t> registersBlock(Data block) const override
    {
        block[2] = readRegisters;
        return {std::move(block), 8};
    }
    AtaRegisters registersOf(const std::array<std::uint8_t, mostRegisterBytes>& bytes) const override
    {
        // The status is not told; a command that had failed would have ended otherwise.
        return {statusReady, 0, bytes[2], address(0, bytes[4], bytes[5])};
    }

    const std::uint8_t signature_;
};

} // namespace

std::unique_ptr<AtaRoad> directRoad(DeviceFile file)
{
    return std::make_unique<SatRoad>(std::move(file), SatRoad::Length::sixteenOrTwelve);
}

std::unique_ptr<AtaRoad> usbRoad(const UsbBridge& bridge, DeviceFile file)
{
    switch (*bridge.ata) {
    case AtaWrapping::sat12:
        return std::make_unique<SatRoad>(std::move(file), SatRoad::Length::twelve);
    case AtaWrapping::jmicron:
        return std::make_unique<JmicronRoad>(std::move(file), bridge);
    case AtaWrapping::prolific:
        return std::make_unique<ProlificRoad>(std::move(file));
    case AtaWrapping::sunplus:
        return std::make_unique<SunplusRoad>(std::move(file));
    case AtaWrapping::cypress:
        return std::make_unique<CypressRoad>(std::move(file), bridge.signature);
    case AtaWrapping::sat16:
        break;
    }
    return std::make_unique<SatRoad>(std::move(file), SatRoad::Length::sixteen);
}

} // namespace vantorel::channels
