// SPDX-License-Identifier: GPL-2.0-or-later
#include "AtaDrive.h"

#include "vantorel/base/Bytes.h"
#include "vantorel/base/Text.h"
#include "vantorel/layouts/AtaCommands.h"
#include "vantorel/layouts/AtaSmart.h"

#include <algorithm>
#include <numeric>
#include <string>

namespace vantorel::channels {

namespace {

using namespace system;

constexpr unsigned statusReady = 0x40;
constexpr unsigned standby = 0x00;
constexpr unsigned standbyY = 0x01;

} // namespace

std::optional<AtaDeclaration> AtaDeclaration::read(const std::array<std::uint8_t, size>& bytes)
{
    constexpr unsigned packetDevice = 0x8000;
    constexpr unsigned sumFollows = 0xA5;
    const AtaDeclaration declaration(bytes);
    const unsigned sum = std::accumulate(bytes.begin(), bytes.end(), 0U);
    const bool isWrong = (declaration.word(255) & 0xFFU) == sumFollows && sum % 256 != 0;
    if ((declaration.word(0) & packetDevice) != 0 || isWrong || declaration.identity().model.empty())
        return std::nullopt;
    return declaration;
}

DriveIdentity AtaDeclaration::identity() const
{
    return {.model = text(27, 20), .serial = text(10, 10), .firmware = text(23, 4)};
}

bool AtaDeclaration::hasSmart() const
{
    return isFilledIn(83) && (word(82) & 1U) != 0;
}

bool AtaDeclaration::isSmartOn() const
{
    return !isFilledIn(87) || (word(85) & 1U) != 0;
}

bool AtaDeclaration::declares(std::size_t index, unsigned bit) const
{
    return isFilledIn(index) && (word(index) >> bit & 1U) != 0;
}

std::string AtaDeclaration::text(std::size_t firstWord, std::size_t words) const
{
    std::string text;
    for (std::size_t i = 2 * firstWord; i < 2 * (firstWord + words); ++i) {
        const auto c = static_cast<char>(bytes_[i ^ 1U]); // the first character of two lies in the high byte
        if (c < ' ' || c > '~')                           // also ends a text that is filled up with zeros
            break;
        text += c;
    }
    return std::string(base::trimmed(text));
}

AtaDrive::PowerMode AtaDrive::powerMode()
{
    if (!road_->tellsPowerMode())
        return {};
    AtaCommand command;
    command.command = acs::checkPowerMode;
    const AtaAnswer answer = road_->send(command, true);
    if (answer.status == kIOReturnUnsupported || answer.status == kIOReturnIOError)
        return {};
    if (answer.status != kIOReturnSuccess || !answer.registers)
        return {answer.status, false};
    // Some bridges give registers of zeros; a drive that answers is ready.
    const AtaRegisters& left = *answer.registers;
    const bool isAsleep = (left.status & statusReady) != 0 && (left.count == standby || left.count == standbyY);
    return {kIOReturnSuccess, isAsleep};
}

IOReturn AtaDrive::identify()
{
    std::array<std::uint8_t, AtaDeclaration::size> bytes{};
    AtaCommand command;
    command.command = acs::identifyDevice;
    command.count = 1;
    command.read = bytes;
    const AtaAnswer answer = road_->send(command, false);
    if (answer.status != kIOReturnSuccess)
        return answer.status;
    if (answer.received == bytes.size())
        declaration_ = AtaDeclaration::read(bytes);
    if (declaration_) {
        isOn_ = declaration_->isSmartOn();
        hasErrorLog_ = declaration_->hasErrorLog();
        hasSelfTest_ = declaration_->hasSelfTest();
    }
    return declaration_ ? kIOReturnSuccess : kIOReturnUnsupported;
}

AtaResult AtaDrive::execute(const AtaCommand& command)
{
    if (!command.write.empty())
        return {kIOReturnNotPermitted, 0, 0};
    if (command.read.size() != (command.read.empty() ? 0 : command.count * acs::sectorSize))
        return {kIOReturnBadArgument, 0, 0};
    if (!isDeclared(command))
        return {kIOReturnUnsupported, 0, 0};
    const bool wantsRegisters = command.command == acs::smart && command.feature == acs::smartReturnStatus;
    const AtaAnswer answer = road_->send(command, wantsRegisters);
    if (command.command == acs::smart && answer.status == kIOReturnSuccess)
        learn(command, answer);
    if (!wantsRegisters || answer.status != kIOReturnSuccess)
        return {answer.status, answer.received, command.lba};
    const std::uint32_t left = answer.registers ? answer.registers->lba : 0;
    const bool isTold = (left & acs::smartKeyMask) == acs::smartKey || (left & acs::smartKeyMask) == acs::smartExceeded;
    return {isTold ? kIOReturnSuccess : kIOReturnUnsupported, 0, left};
}

void AtaDrive::learn(const AtaCommand& command, const AtaAnswer& answer)
{
    constexpr unsigned selfTest = 0x10;
    constexpr unsigned errorLogging = 0x01;
    if (command.feature == acs::smartEnable || command.feature == acs::smartDisable)
        isOn_ = command.feature == acs::smartEnable;
    if (command.feature != acs::smartReadData || answer.received < acs::sectorSize)
        return;
    // Not every drive that has them declares them in IDENTIFY, too.
    const auto data = readRecord<ATASMARTData>(command.read);
    hasSelfTest_ = hasSelfTest_ || (data->offLineDataCollectionCapability & selfTest) != 0;
    hasErrorLog_ = hasErrorLog_ || (data->errorLoggingCapability & errorLogging) != 0;
}

bool AtaDrive::isDeclared(const AtaCommand& command)
{
    if (command.command == acs::identifyDevice)
        return !command.read.empty();
    if (command.command != acs::smart || (command.lba & acs::smartKeyMask) != acs::smartKey || !declaration_ ||
        !declaration_->hasSmart())
        return false;
    if (!isOn_ && command.feature != acs::smartEnable)
        return false;
    const auto low = static_cast<std::uint8_t>(command.lba);
    switch (command.feature) {
    case acs::smartReadData:
    case acs::smartReadThresholds:
        return !command.read.empty();
    case acs::smartReadLog:
        return !command.read.empty() && hasLog(low, command.count);
    case acs::smartOffLine: // the two tests that run beside everything else
        return command.read.empty() && hasSelfTest_ && (low == 1 || low == 2);
    case acs::smartAutosave:
    case acs::smartEnable:
    case acs::smartDisable:
    case acs::smartReturnStatus:
        return command.read.empty();
    default:
        return false;
    }
}

bool AtaDrive::hasLog(std::uint8_t address, unsigned sectors)
{
    if (address == acs::smartErrorLog || address == acs::smartSelfTestLog)
        return sectors == 1 && (address == acs::smartErrorLog ? hasErrorLog_ : hasSelfTest_);
    if (!declaration_->hasLogDirectory())
        return false;
    if (address == 0)
        return sectors == 1;
    if (!logDirectory_) {
        logDirectory_.emplace();
        AtaCommand command;
        command.command = acs::smart;
        command.feature = acs::smartReadLog;
        command.count = 1;
        command.lba = acs::smartKey;
        command.read = *logDirectory_;
        if (road_->send(command, false).status != kIOReturnSuccess)
            logDirectory_->fill(0);
    }
    return sectors <= (*logDirectory_)[std::size_t{2} * address];
}

} // namespace vantorel::channels
