// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/report/SystemReport.h"

#include "Origin.h"
#include "Readings.h"
#include "RegistryDump.h"
#include "Volumes.h"
#include "system/files/Bundle.h"
#include "vantorel/disks/Vantorel.h"
#include "vantorel/smart/SmartController.h"
#include "vantorel/smart/records/RecordJson.h"
#include "vantorel/system/IORegistry.h"
#include "vantorel/system/Installation.h"
#include "vantorel/system/KeyedArchiver.h"

#include <exception>
#include <functional>
#include <memory>
#include <utility>

namespace vantorel {

namespace {

/// Far beyond the listing of any machine; so a tool that floods ends.
constexpr std::size_t largestDump = std::size_t{256} << 20;

std::optional<std::string> libraryVersion()
{
    const auto bundle = system::Bundle::bundleWithIdentifier(system::libraryBundleIdentifier);
    const system::PropertyTableRef info = bundle ? bundle->infoDictionary() : nullptr;
    return info ? info->get<std::string>(system::CFBundleShortVersionString) : std::nullopt;
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

/// Reads drives and keeps what a report tells of them beside their maps.
class DriveReader {
public:
    explicit DriveReader(const SystemReportOptions& options) : options_(options) {}

    /// The drive's result; absent when it cannot be read, which is no error for one without SMART.
    std::optional<SmartObject> read(const Drive& drive, std::size_t number)
    {
        const DriveSnapshot snapshot(drive);
        if (snapshot.service == 0)
            return std::nullopt;
        try {
            DriveReading reading =
                options_.read ? options_.read(drive) : SmartController::shared().getSmartData(snapshot);
            note(readings, number, report::furtherReadings(snapshot, reading));
            return std::move(reading.result);
        } catch (const SmartOpenError& error) {
            const auto obstacle = system::machine()->whyNotOpened(snapshot.service);
            note(errors, number,
                 {{"opened", false},
                  {"asleep", obstacle && obstacle->status == system::kIOReturnNotReady},
                  {"error", obstacle ? obstacle->reason : error.errorDescription()}});
        } catch (const SmartError& error) {
            note(errors, number, {{"opened", true}, {"error", error.errorDescription()}});
        }
        return std::nullopt;
    }

    PropertyArray readings;
    PropertyArray errors;

private:
    static void note(PropertyArray& notes, std::size_t number, PropertyTable facts)
    {
        if (facts.empty())
            return;
        facts.emplace("drive", number);
        notes.emplace_back(std::move(facts));
    }

    const SystemReportOptions& options_;
};

void tell(const std::function<void(const std::string& why)>& onFault, const std::string& why)
{
    if (onFault)
        onFault(why);
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

void SystemReport::generate(Completion onComplete, SystemReportOptions options)
{
    std::optional<std::string> version = libraryVersion();
    if (!version) {
        tell(options.onFault, "the library does not know its version");
        return onComplete(std::nullopt);
    }

    DriveReader reader(options);
    PropertyArray drives;
    for (const std::shared_ptr<Drive>& drive : Vantorel::shared().drives()) {
        PropertyTable map = identity(*drive);
        if (const std::optional<SmartObject> result = reader.read(*drive, drives.size())) {
            map.emplace("smartData", result->rawData());
            if (result->rawThresholds())
                map.emplace("thresholdsData", *result->rawThresholds());
            map.emplace("processedSmart", encodeSmart(*result));
        }
        drives.emplace_back(std::move(map));
    }

    PropertyTable root = {{"version", *version}, {"drives", std::move(drives)}, {"volumes", report::volumes()}};
    report::tellOrigin(root, *version);
    root.emplace("readings", std::move(reader.readings));
    root.emplace("errors", std::move(reader.errors));
    getRegDump(options.listingTime, [onComplete = std::move(onComplete), onFault = std::move(options.onFault),
                                     root = std::move(root)](Data dump, const std::string& fault) mutable {
        if (!fault.empty()) {
            tell(onFault, fault);
            root.find("errors")->second.array()->emplace_back(PropertyTable{{"error", fault}});
        }
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

void SystemReport::getRegDump(std::chrono::milliseconds time,
                              std::function<void(Data dump, const std::string& fault)> onComplete)
{
    system::dispatch_async(queue(), [time, onComplete = std::move(onComplete)]() mutable {
        report::RegistryDump dump;
        try {
            dump = report::registryDump({time, largestDump});
        } catch (const std::exception& error) {
            dump.fault = error.what(); // without memory there is no dump; a block on a queue must not throw
        }
        system::dispatch_async(system::dispatch_get_main_queue(),
                               [onComplete = std::move(onComplete), dump = std::move(dump)]() mutable {
                                   onComplete(std::move(dump.gzip), dump.fault);
                               });
    });
}

} // namespace vantorel
