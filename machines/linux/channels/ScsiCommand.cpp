// SPDX-License-Identifier: GPL-2.0-or-later
#include "ScsiCommand.h"

#include <scsi/sg.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>

namespace vantorel::channels {

namespace {

using namespace system;

// Statuses of a SCSI command (SAM-5).
constexpr unsigned statusMask = 0x7E;
constexpr unsigned good = 0x00;
constexpr unsigned checkCondition = 0x02;
constexpr unsigned busy = 0x08;
constexpr unsigned reservationConflict = 0x18;
constexpr unsigned taskSetFull = 0x28;

// How the host adapter saw a command end (the kernel's scsi_status.h), and the driver above it.
constexpr unsigned hostNoConnect = 0x01;
constexpr unsigned hostTimeOut = 0x03;
constexpr unsigned hostBadTarget = 0x04;
constexpr unsigned driverMask = 0x0F;
constexpr unsigned driverTimeOut = 0x06;
constexpr unsigned driverSense = 0x08; ///< sense data have come, whatever the status says

// Sense keys (SPC-4).
constexpr unsigned noSense = 0x0;
constexpr unsigned recoveredError = 0x1;
constexpr unsigned notReady = 0x2;
constexpr unsigned mediumError = 0x3;
constexpr unsigned illegalRequest = 0x5;
constexpr unsigned unitAttention = 0x6;
constexpr unsigned abortedCommand = 0xB;

// Bits of the ATA registers (ATA8-ACS).
constexpr unsigned statusError = 0x01;
constexpr unsigned statusFault = 0x20;
constexpr unsigned errorAborted = 0x04;
constexpr unsigned errorNotFound = 0x10;
constexpr unsigned errorUncorrectable = 0x40;

IOReturn statusOfSense(const SenseData& sense)
{
    if (sense.registers)
        return statusOfRegisters(*sense.registers);
    switch (sense.key) {
    case noSense:
    case recoveredError:
        return kIOReturnSuccess;
    case notReady:
        return kIOReturnBusy;
    case mediumError:
        return kIOReturnNotReadable;
    case illegalRequest:
    case abortedCommand:
        return kIOReturnUnsupported;
    default:
        return kIOReturnIOError;
    }
}

IOReturn statusOfEnd(const sg_io_hdr& header, const std::optional<SenseData>& sense)
{
    if (header.host_status == hostTimeOut || (header.driver_status & driverMask) == driverTimeOut)
        return kIOReturnTimeout;
    if (header.host_status == hostNoConnect || header.host_status == hostBadTarget)
        return kIOReturnNoDevice;
    if (header.host_status != 0)
        return kIOReturnIOError;
    if (sense)
        return statusOfSense(*sense);
    switch (header.status & statusMask) {
    case good:
        return kIOReturnSuccess;
    case busy:
    case taskSetFull:
        return kIOReturnBusy;
    case reservationConflict:
        return kIOReturnExclusiveAccess;
    default:
        return kIOReturnIOError;
    }
}

ScsiResult executeOnce(const DeviceFile& file, const ScsiCommand& command)
{
    Data block = command.block;
    std::array<std::uint8_t, 64> senseBytes{};
    const std::size_t size = std::max(command.read.size(), command.write.size());
    const auto longest = static_cast<long long>(std::numeric_limits<unsigned>::max());

    sg_io_hdr header{};
    header.interface_id = 'S';
    header.dxfer_direction = !command.read.empty()    ? SG_DXFER_FROM_DEV
                             : !command.write.empty() ? SG_DXFER_TO_DEV
                                                      : SG_DXFER_NONE;
    header.cmdp = block.data();
    header.cmd_len = static_cast<unsigned char>(block.size());
    header.sbp = senseBytes.data();
    header.mx_sb_len = static_cast<unsigned char>(senseBytes.size());
    // The one structure serves both directions; what is written is not changed.
    header.dxferp =
        command.read.empty() ? const_cast<std::uint8_t*>(command.write.data()) : command.read.data(); // NOLINT
    header.dxfer_len = static_cast<unsigned>(size);
    header.timeout = static_cast<unsigned>(std::clamp<long long>(command.timeout.count(), 1, longest));

    int result = 0;
    do
        result = file.control(SG_IO, &header);
    while (result == -EINTR);
    if (result < 0)
        return {statusOfError(-result), 0, {}};
    ScsiResult ended;
    const bool isChecked =
        (header.status & statusMask) == checkCondition || (header.driver_status & driverMask) == driverSense;
    if (isChecked)
        ended.sense = readSense(DataView(senseBytes).first(std::min<std::size_t>(header.sb_len_wr, senseBytes.size())));
    ended.status = statusOfEnd(header, ended.sense);
    // A rest that cannot be is a driver that does not count.
    const bool isCounted = header.resid >= 0 && static_cast<std::size_t>(header.resid) <= command.read.size();
    ended.received = command.read.size() - (isCounted ? static_cast<std::size_t>(header.resid) : 0);
    return ended;
}

bool isPutOff(const ScsiResult& result)
{
    return result.sense && (result.sense->isDeferred || result.sense->key == unitAttention);
}

} // namespace

IOReturn statusOfRegisters(const AtaRegisters& registers)
{
    if ((registers.status & (statusError | statusFault)) == 0)
        return kIOReturnSuccess;
    if ((registers.status & statusFault) != 0)
        return kIOReturnIOError;
    if ((registers.error & errorAborted) != 0)
        return kIOReturnUnsupported;
    return (registers.error & (errorNotFound | errorUncorrectable)) != 0 ? kIOReturnNotReadable : kIOReturnIOError;
}

ScsiResult execute(const DeviceFile& file, const ScsiCommand& command)
{
    ScsiResult result = executeOnce(file, command);
    return isPutOff(result) ? executeOnce(file, command) : result;
}

} // namespace vantorel::channels
