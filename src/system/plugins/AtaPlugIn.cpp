// SPDX-License-Identifier: GPL-2.0-or-later
#include "ChannelPlugIn.h"

#include "vantorel/layouts/AtaCommands.h"

#include <array>
#include <bit>
#include <cstring>
#include <numeric>
#include <utility>

namespace vantorel::system {

namespace {

constexpr std::uint8_t autosaveOn = 0xF1;
constexpr std::uint32_t shortSelfTest = 1;
constexpr std::uint32_t extendedSelfTest = 2;

constexpr std::uint32_t mostLogSectors = 16;
constexpr std::uint32_t lastLogAddress = 0xFF;

AtaCommand smartCommand(std::uint8_t feature, std::uint32_t lowAddress = 0)
{
    AtaCommand command;
    command.command = acs::smart;
    command.feature = feature;
    command.lba = acs::smartKey | lowAddress;
    return command;
}

bool isLogTransfer(std::uint32_t address, const void* buffer, std::uint32_t size)
{
    return buffer && address <= lastLogAddress && size > 0 && size % acs::sectorSize == 0 &&
           size / acs::sectorSize <= mostLogSectors;
}

/// The plug-in for ATA SMART. Its member functions are the slots of its table.
class AtaPlugIn final : public ChannelPlugIn<IOATASMARTInterface, AtaChannel> {
public:
    explicit AtaPlugIn(RegistryNodeRef service)
        : ChannelPlugIn(std::move(service), {"SMART Capable", kIOATASMARTInterfaceID, table, &Machine::openAta})
    {}

    IOReturn enableDisableOperations(PlugInBoolean enable)
    {
        return run("SMARTEnableDisableOperations", smartCommand(enable ? acs::smartEnable : acs::smartDisable)).status;
    }

    IOReturn enableDisableAutosave(PlugInBoolean enable)
    {
        AtaCommand command = smartCommand(acs::smartAutosave);
        command.count = enable ? autosaveOn : 0;
        return run("SMARTEnableDisableAutosave", command).status;
    }

    IOReturn returnStatus(PlugInBoolean* exceeded)
    {
        if (!exceeded)
            return kIOReturnBadArgument;
        const AtaResult result = run("SMARTReturnStatus", smartCommand(acs::smartReturnStatus));
        if (result.status == kIOReturnSuccess)
            *exceeded = (result.lba & acs::smartKeyMask) == acs::smartExceeded;
        return result.status;
    }

    IOReturn executeOffLineImmediate(PlugInBoolean extended)
    {
        return run("SMARTExecuteOffLineImmediate",
                   smartCommand(acs::smartOffLine, extended ? extendedSelfTest : shortSelfTest))
            .status;
    }

    IOReturn readData(ATASMARTData* data)
    {
        return data ? read("SMARTReadData", smartCommand(acs::smartReadData), writableBytes(data, sizeof(*data)))
                    : kIOReturnBadArgument;
    }

    IOReturn validateReadData(const ATASMARTData* data)
    {
        if (!data)
            return kIOReturnBadArgument;
        if (const IOReturn status = beforeCommand("SMARTValidateReadData"); status != kIOReturnSuccess)
            return status;
        const auto bytes = std::bit_cast<std::array<std::uint8_t, sizeof(*data)>>(*data);
        const unsigned sum = std::accumulate(bytes.begin(), bytes.end(), 0U);
        return sum % 256 == 0 ? kIOReturnSuccess : kIOReturnError;
    }

    IOReturn readDataThresholds(ATASMARTDataThresholds* thresholds)
    {
        constexpr std::uint32_t lowAddress = 1; // as the first standards that had this command ask for it
        return thresholds ? read("SMARTReadDataThresholds", smartCommand(acs::smartReadThresholds, lowAddress),
                                 writableBytes(thresholds, sizeof(*thresholds)))
                          : kIOReturnBadArgument;
    }

    IOReturn readLogDirectory(ATASMARTLogDirectory* directory)
    {
        return directory ? read("SMARTReadLogDirectory", smartCommand(acs::smartReadLog),
                                writableBytes(directory, sizeof(*directory)))
                         : kIOReturnBadArgument;
    }

    IOReturn readLogAtAddress(std::uint32_t address, void* buffer, std::uint32_t size)
    {
        if (!isLogTransfer(address, buffer, size))
            return kIOReturnBadArgument;
        return read("SMARTReadLogAtAddress", smartCommand(acs::smartReadLog, address), writableBytes(buffer, size));
    }

    IOReturn writeLogAtAddress(std::uint32_t address, const void* buffer, std::uint32_t size)
    {
        if (!isLogTransfer(address, buffer, size))
            return kIOReturnBadArgument;
        AtaCommand command = smartCommand(acs::smartWriteLog, address);
        command.count = static_cast<std::uint8_t>(size / acs::sectorSize);
        command.write = {static_cast<const std::uint8_t*>(buffer), size};
        return run("SMARTWriteLogAtAddress", command).status;
    }

    IOReturn getIdentifyData(void* buffer, std::uint32_t inSize, std::uint32_t* outSize)
    {
        if (!buffer || inSize == 0 || inSize > acs::sectorSize)
            return kIOReturnBadArgument;
        std::array<std::uint8_t, acs::sectorSize> sector{};
        AtaCommand command;
        command.command = acs::identifyDevice;
        const IOReturn status = read("GetATAIdentifyData", command, sector);
        if (status != kIOReturnSuccess)
            return status;
        if constexpr (std::endian::native == std::endian::big) {
            for (std::size_t i = 0; i < sector.size(); i += 2)
                std::swap(sector[i], sector[i + 1]);
        }
        std::memcpy(buffer, sector.data(), inSize);
        if (outSize)
            *outSize = inSize;
        return kIOReturnSuccess;
    }

private:
    static const IOATASMARTInterface table;

    /// Sends a command whose data lie in whole sectors.
    IOReturn read(std::string_view operation, AtaCommand command, std::span<std::uint8_t> to)
    {
        command.count = static_cast<std::uint8_t>(to.size() / acs::sectorSize);
        command.read = to;
        return run(operation, command).status;
    }
};

template <auto Method>
constexpr auto slot = Slot<Method>::template in<IOATASMARTInterface>;

const IOATASMARTInterface AtaPlugIn::table = {
    ._reserved = nullptr,
    .QueryInterface = queryInterface<IOATASMARTInterface>,
    .AddRef = addReference<IOATASMARTInterface>,
    .Release = releaseReference<IOATASMARTInterface>,
    .version = 1,
    .revision = 0,
    .SMARTEnableDisableOperations = slot<&AtaPlugIn::enableDisableOperations>,
    .SMARTEnableDisableAutosave = slot<&AtaPlugIn::enableDisableAutosave>,
    .SMARTReturnStatus = slot<&AtaPlugIn::returnStatus>,
    .SMARTExecuteOffLineImmediate = slot<&AtaPlugIn::executeOffLineImmediate>,
    .SMARTReadData = slot<&AtaPlugIn::readData>,
    .SMARTValidateReadData = slot<&AtaPlugIn::validateReadData>,
    .SMARTReadDataThresholds = slot<&AtaPlugIn::readDataThresholds>,
    .SMARTReadLogDirectory = slot<&AtaPlugIn::readLogDirectory>,
    .SMARTReadLogAtAddress = slot<&AtaPlugIn::readLogAtAddress>,
    .SMARTWriteLogAtAddress = slot<&AtaPlugIn::writeLogAtAddress>,
    .GetATAIdentifyData = slot<&AtaPlugIn::getIdentifyData>,
};

} // namespace

std::unique_ptr<PlugIn> makeAtaPlugIn(RegistryNodeRef service)
{
    return std::make_unique<AtaPlugIn>(std::move(service));
}

} // namespace vantorel::system
