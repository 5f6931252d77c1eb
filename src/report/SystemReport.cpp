// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/report/SystemReport.h"

#include "RegistryDump.h"
#include "vantorel/disks/Vantorel.h"
#include "vantorel/smart/SmartController.h"
#include "vantorel/smart/records/RecordJson.h"
#include "vantorel/system/Bundle.h"
#include "vantorel/system/IORegistry.h"
#include "vantorel/system/KeyedArchiver.h"

#include <chrono>
#include <exception>
#include <utility>

namespace vantorel {

namespace {

/// Far beyond the listing of any machine; so a tool that blocks or floods ends.
constexpr system::FileHandle::Bounds dumpBounds{std::chrono::minutes(1), std::size_t{256} << 20};

std::optional<std::string> libraryVersion()
{
    const auto bundle = system::Bundle::bundleWithIdentifier(system::libraryBundleIdentifier);
    const system::PropertyTableRef info = bundle ? bundle->infoDictionary() : nullptr;
    return info ? info->get<std::string>(system::CFBundleShortVersionString) : std::nullopt;
}

std::optional<SmartObject> readSmart(const Drive& drive)
{
    const SmartController& controller = SmartController::shared();
    try {
        if (drive.interface() == Disk::DriveInterface::nvme)
            return controller.getNVMeSmartData(drive);
        return controller.getATASmartData(drive);
    } catch (const SmartError&) {
        return std::nullopt; // the drive is reported all the same
    }
}

PropertyTable identity(const Drive& drive)
{
    PropertyTable table;
    for (const auto& [key, value] : drive.descriptionDict())
        table.emplace(key, value ? PropertyValue(*value) : PropertyValue());
    return table;
}

template <typename Value>
PropertyArray dictionaries(const std::vector<Value>& values)
{
    PropertyArray maps;
    for (const Value& value : values) {
        if (std::optional<PropertyTable> map = dictionary(value))
            maps.emplace_back(*std::move(map));
    }
    return maps;
}

std::optional<Data> archived(const PropertyValue& root)
{
    try {
        return system::archivedDataWithRootObject(root);
    } catch (const system::KeyedArchiveError&) {
        return std::nullopt;
    }
}

} // namespace

void SystemReport::generate(Completion onComplete, const Progress& onDrive)
{
    std::optional<std::string> version = libraryVersion();
    if (!version)
        return onComplete(std::nullopt);

    PropertyArray drives;
    const std::vector<std::shared_ptr<Drive>> present = Vantorel::shared().drives();
    for (const std::shared_ptr<Drive>& drive : present) {
        if (onDrive)
            onDrive(*drive, drives.size(), present.size());
        PropertyTable map = identity(*drive);
        if (const std::optional<SmartObject> result = readSmart(*drive)) {
            map.emplace("smartData", result->rawData());
            if (result->rawThresholds())
                map.emplace("thresholdsData", *result->rawThresholds());
            map.emplace("processedSmart", encodeSmart(*result));
        }
        drives.emplace_back(std::move(map));
    }

    PropertyTable root = {{"version", *std::move(version)}, {"drives", std::move(drives)}};
    getRegDump([onComplete = std::move(onComplete), root = std::move(root)](Data dump) mutable {
        if (dump.empty())
            return onComplete(std::nullopt);
        root.emplace("ioreg", std::move(dump));
        onComplete(archived(std::move(root)));
    });
}

std::optional<std::string> SystemReport::getSystemUUID()
{
    const system::IOHandle service(system::IOServiceGetMatchingService(
        system::kIOMasterPortDefault, system::IOServiceMatching("IOPlatformExpertDevice")));
    const auto uuid =
        system::IORegistryEntryCreateCFProperty(service.get(), "IOPlatformUUID", system::kCFAllocatorDefault, 0);
    return uuid ? uuid->get<std::string>() : std::nullopt;
}

const system::DispatchQueueRef& SystemReport::queue()
{
    static const auto& queue = *new system::DispatchQueueRef(system::dispatch_queue_create("SystemReport"));
    return queue;
}

PropertyTable SystemReport::encodeSmart(const SmartObject& smartObject)
{
    PropertyTable map;
    if (const auto* const ata = smartObject.as<ATASmartObject>()) {
        map.emplace("values", dictionaries(ata->smartValues));
        if (ata->temperature)
            map.emplace("Calculated Temperature", ata->temperature->current);
    } else if (const auto* const nvme = smartObject.as<NVMeSmartObject>()) {
        map.emplace("values", dictionaries(nvme->smartValues));
        if (nvme->temperature)
            map.emplace("Calculated Temperature", nvme->temperature->formattedValue);
    }
    return map;
}

void SystemReport::getRegDump(std::function<void(Data dump)> onComplete)
{
    system::dispatch_async(queue(), [onComplete = std::move(onComplete)]() mutable {
        Data dump;
        try {
            dump = report::registryDump(dumpBounds);
        } catch (const std::exception&) {
            // Without memory there is no dump; a block on a queue must not throw.
        }
        system::dispatch_async(
            system::dispatch_get_main_queue(),
            [onComplete = std::move(onComplete), dump = std::move(dump)]() mutable { onComplete(std::move(dump)); });
    });
}

} // namespace vantorel
