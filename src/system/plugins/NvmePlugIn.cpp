// SPDX-License-Identifier: GPL-2.0-or-later
#include "ChannelPlugIn.h"

#include "vantorel/layouts/NvmeCommands.h"

#include <optional>
#include <utility>

namespace vantorel::system {

namespace {

constexpr unsigned commandEffectsDeclared = 0x02; // of lpa
constexpr unsigned selfTestDeclared = 0x10;       // of oacs

// From this version on a log can be read without taking its pending event away from the system's own driver.
constexpr std::uint32_t retainEventVersion = 0x00010300;
constexpr std::uint32_t retainEvent = 1U << 15U;

/// The longest error log there is: 256 entries.
constexpr std::uint32_t longestLog = 256 * sizeof(NVMeErrorLogPage);

/// The plug-in for NVMe SMART. Its member functions are the slots of its table.
class NvmePlugIn final : public ChannelPlugIn<IONVMeSMARTInterface, NvmeChannel> {
public:
    explicit NvmePlugIn(RegistryNodeRef service)
        : ChannelPlugIn(std::move(service), {"NVMe SMART Capable", kIONVMeSMARTInterfaceID, table, &Machine::openNvme})
    {}

    IOReturn readData(NVMeSMARTLog* data)
    {
        return data ? readLog("SMARTReadData", nvmeadmin::healthLog, writableBytes(data, sizeof(*data)))
                    : kIOReturnBadArgument;
    }

    IOReturn getIdentifyData(NVMeControllerData* controller, std::uint32_t something)
    {
        if (!controller)
            return kIOReturnBadArgument;
        if (something != 0)
            return kIOReturnUnsupported;
        const IOReturn status = identify(*controller);
        if (status == kIOReturnSuccess)
            controller_ = *controller;
        return status;
    }

    IOReturn getLogPage(void* buffer, std::uint32_t logID, std::uint32_t length)
    {
        if (!buffer || logID > 0xFF || length == 0 || length % 4 != 0 || length > longestLog)
            return kIOReturnBadArgument;
        if (hasTimedOut_)
            return kIOReturnTimeout; // it would take the whole time of a command for each page
        if (!declares(logID))
            return kIOReturnUnsupported;
        return readLog("GetLogPage", logID, writableBytes(buffer, length));
    }

    // What only the maker's own tools know how to ask for.
    IOReturn counters(std::int8_t* /*counters*/) { return kIOReturnUnsupported; }
    IOReturn otherCounters(std::int8_t* /*counters*/, std::uint32_t* /*something*/) { return kIOReturnUnsupported; }
    IOReturn nothing() { return kIOReturnUnsupported; }

private:
    static const IONVMeSMARTInterface table;

    /// Whether a log page may be asked for. A controller that is asked for a page it does not have notes an error in
    /// its own log, so it is not asked. Nor for a page whose reading has an effect: the list of changed namespaces,
    /// which is the system's to take, and telemetry and persistent events, which are made for the reader.
    bool declares(std::uint32_t page)
    {
        switch (page) {
        case nvmeadmin::errorLog:
        case nvmeadmin::healthLog:
        case nvmeadmin::firmwareSlotLog:
            return true;
        case nvmeadmin::commandEffectsLog:
            return controller() && (controller()->lpa & commandEffectsDeclared) != 0;
        case nvmeadmin::selfTestLog:
            return controller() && (controller()->oacs & selfTestDeclared) != 0;
        default:
            return false;
        }
    }

    /// What the controller says of itself, asked once; nothing when it does not say.
    const NVMeControllerData* controller()
    {
        if (!controller_ && !isIdentified_) {
            NVMeControllerData data;
            if (identify(data) == kIOReturnSuccess)
                controller_ = data;
        }
        return controller_ ? &*controller_ : nullptr;
    }

    IOReturn identify(NVMeControllerData& data)
    {
        isIdentified_ = true;
        NvmeCommand command;
        command.opcode = nvmeadmin::identify;
        command.cdw10to15[0] = nvmeadmin::controllerStructure;
        command.read = writableBytes(&data, sizeof(data));
        return send("GetIdentifyData", command);
    }

    IOReturn readLog(std::string_view operation, std::uint32_t page, std::span<std::uint8_t> to)
    {
        const auto dwords = static_cast<std::uint32_t>(to.size() / 4);
        NvmeCommand command;
        command.opcode = nvmeadmin::getLogPage;
        command.nsid = nvmeadmin::allNamespaces;
        command.cdw10to15[0] = page | (dwords - 1) << 16U;
        if (controller_ && controller_->ver >= retainEventVersion)
            command.cdw10to15[0] |= retainEvent;
        command.read = to;
        return send(operation, command);
    }

    IOReturn send(std::string_view operation, const NvmeCommand& command)
    {
        const IOReturn status = run(operation, command).status;
        hasTimedOut_ = hasTimedOut_ || status == kIOReturnTimeout;
        return status;
    }

    std::optional<NVMeControllerData> controller_;
    bool isIdentified_ = false; ///< the controller has been asked
    bool hasTimedOut_ = false;  ///< a command was not answered in time
};

template <auto Method>
constexpr auto slot = Slot<Method>::template in<IONVMeSMARTInterface>;

// The table begins as that of the base interface does, whose id it answers to.
const IONVMeSMARTInterface NvmePlugIn::table = {
    ._reserved = nullptr,
    .QueryInterface = queryInterface<IONVMeSMARTInterface>,
    .AddRef = addReference<IONVMeSMARTInterface>,
    .Release = releaseReference<IONVMeSMARTInterface>,
    .version = 1,
    .revision = 0,
    .sProbe = slot<&PlugIn::probe>,
    .sStart = slot<&PlugIn::start>,
    .sStop = slot<&PlugIn::stop>,
    .SomeNilFunc = slot<&NvmePlugIn::nothing>,
    .QueryAgain = slot<&NvmePlugIn::nothing>,
    .Addrefagain = slot<&NvmePlugIn::nothing>,
    .Releaseagain = slot<&NvmePlugIn::nothing>,
    .SomeZeroZeroOneFunc = slot<&NvmePlugIn::nothing>,
    .SMARTReadData = slot<&NvmePlugIn::readData>,
    .GetIdentifyData = slot<&NvmePlugIn::getIdentifyData>,
    .GetFieldCounters = slot<&NvmePlugIn::counters>,
    .ScheduleBGRefresh = slot<&NvmePlugIn::nothing>,
    .GetLogPage = slot<&NvmePlugIn::getLogPage>,
    .GetSystemCounters = slot<&NvmePlugIn::otherCounters>,
    .GetAlgorithmCounters = slot<&NvmePlugIn::otherCounters>,
};

} // namespace

std::unique_ptr<PlugIn> makeNvmePlugIn(RegistryNodeRef service)
{
    return std::make_unique<NvmePlugIn>(std::move(service));
}

} // namespace vantorel::system
