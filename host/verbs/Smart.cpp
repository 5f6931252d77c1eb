// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/Verbs.h"
#include "host/choice/DriveChoice.h"
#include "host/choice/MachineChoice.h"
#include "host/console/Output.h"
#include "host/console/Status.h"
#include "host/console/Text.h"
#include "host/views/DiskJson.h"
#include "host/views/ResultView.h"
#include "vantorel/disks/Vantorel.h"
#include "vantorel/smart/SmartController.h"
#include "vantorel/smart/records/RecordJson.h"

#include <fmt/format.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vantorel::host {

namespace {

struct SmartArguments {
    std::vector<std::string> names;
    bool json = false;
    bool brief = false;
};

/// What reading one drive came to: a result, or why there is none.
struct Reading {
    std::string name;             ///< the drive as it was asked for, or its device name
    std::shared_ptr<Drive> drive; ///< none when there is no such drive
    std::optional<SmartObject> result;
    std::string error;
    int status = success;
};

Reading read(std::string name, std::shared_ptr<Drive> drive)
{
    Reading reading{std::move(name), std::move(drive), {}, {}, success};
    try {
        const SmartController& controller = SmartController::shared();
        if (reading.drive->interface() == Disk::DriveInterface::nvme)
            reading.result = controller.getNVMeSmartData(*reading.drive);
        else
            reading.result = controller.getATASmartData(*reading.drive);
        reading.status = statusOf(*reading.result);
    } catch (const SmartOpenError& error) {
        reading.error = error.errorDescription();
        reading.status = driveNotOpened;
    } catch (const SmartError& error) {
        reading.error = error.errorDescription();
        reading.status = readFailed;
    }
    return reading;
}

std::vector<Reading> readAll(const std::vector<std::string>& names)
{
    std::vector<Reading> readings;
    if (names.empty()) {
        for (auto& drive : Vantorel::shared().drives())
            readings.push_back(read(driveName(*drive), drive));
    }
    for (const std::string& name : names) {
        if (auto drive = driveNamed(name))
            readings.push_back(read(driveName(*drive), drive));
        else
            readings.push_back({name, nullptr, {}, "There is no such drive.", usageError});
    }
    return readings;
}

std::string screenText(const Reading& reading)
{
    std::string text = emphasised(printable(reading.name), Emphasis::strong) + "  ";
    if (reading.result)
        return text + resultText(*reading.result);
    if (reading.drive)
        text += printable(reading.drive->model().value_or("Unnamed drive"));
    return text + '\n' + emphasised(reading.error, Emphasis::bad) + '\n';
}

std::string failedAttributes(const ATASmartObject& result)
{
    constexpr std::size_t most = 3;
    std::string names;
    std::size_t count = 0;
    for (const ATASmartValue& value : result.smartValues) {
        if (value.state != ATASmartAttributeState::failedNow && value.state != ATASmartAttributeState::failedInPast)
            continue;
        if (count++ < most)
            names += (names.empty() ? "" : ", ") + value.name;
    }
    return count > most ? fmt::format("{} and {} more", names, count - most) : names;
}

/// The judgement in a few words, from the most pressing down.
std::string verdict(const Reading& reading)
{
    if (!reading.result)
        return reading.error;
    if (const auto* const nvme = reading.result->as<NVMeSmartObject>())
        return reading.status == success ? "ok" : "FAILING: " + nvme->assessment;
    if (reading.status == success)
        return "ok";
    const bool isFailing = (reading.status & driveFailing) != 0;
    return (isFailing ? "FAILING: " : "worn: ") + failedAttributes(*reading.result->as<ATASmartObject>());
}

std::string briefText(const std::vector<Reading>& readings)
{
    const auto right = Table::Align::right;
    Table table({{""}, {"Disk"}, {"Model"}, {"Temperature", right}, {"Health", right}, {"Verdict"}});
    for (const Reading& reading : readings) {
        std::string temperature = "-";
        std::string health = "-";
        if (reading.result) {
            reading.result->visit([&](const auto& result) {
                health = fmt::format("{} %", result.health);
                if (result.temperature)
                    temperature = result.temperature->formattedValue;
            });
        }
        const bool isBad = (reading.status & ~attributeReached) != 0;
        table.add({reading.status == success ? "" : "!", printable(reading.name),
                   printable(reading.drive ? reading.drive->model().value_or("-") : "-"), printable(temperature),
                   health, printable(verdict(reading))},
                  isBad                       ? Emphasis::bad
                  : reading.status == success ? Emphasis::none
                                              : Emphasis::warning);
    }
    return table.text();
}

Json readingJson(const Reading& reading)
{
    Json json = {{"name", reading.name}};
    if (reading.drive) {
        json["interface"] = rawValue(reading.drive->interface());
        if (reading.drive->model())
            json["model"] = *reading.drive->model();
        if (reading.drive->serial())
            json["serial"] = *reading.drive->serial();
    }
    json["status"] = reading.status;
    if (reading.result)
        json["result"] = Json::parse(toJson(*reading.result));
    else
        json["error"] = reading.error;
    return json;
}

int smart(const CLI::App& app, const SmartArguments& arguments)
{
    const std::string path = loadMachine(app);
    const std::vector<Reading> readings = readAll(arguments.names);
    int status = success;
    for (const Reading& reading : readings) {
        status |= reading.status;
        if (!reading.result)
            complain(reading.name, reading.error);
    }

    if (arguments.json) {
        Json document = {{"machine", path}, {"drives", Json::array()}};
        for (const Reading& reading : readings)
            document["drives"].push_back(readingJson(reading));
        print(jsonLine(document));
    } else if (readings.empty()) {
        print("No drives.\n");
    } else if (arguments.brief) {
        print(briefText(readings));
    } else {
        for (const Reading& reading : readings)
            print((&reading == readings.data() ? "" : "\n") + screenText(reading));
    }
    return status;
}

} // namespace

void addSmart(CLI::App& app, int& status)
{
    CLI::App* const verb = app.add_subcommand("smart", "The health of drives");
    const auto arguments = std::make_shared<SmartArguments>();
    verb->add_option("DISK", arguments->names, "Drives by device name or serial number; all of them unless named");
    auto* const json = verb->add_flag("--json", arguments->json, "Print as JSON");
    verb->add_flag("--brief", arguments->brief, "One line a drive")->excludes(json);
    verb->callback([&app, arguments, &status] { status = smart(app, *arguments); });
}

} // namespace vantorel::host
