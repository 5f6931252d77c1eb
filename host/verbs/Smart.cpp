// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/Verbs.h"
#include "host/choice/MachineChoice.h"
#include "host/console/Output.h"
#include "host/console/Status.h"
#include "host/console/Text.h"
#include "host/health/DriveOutcome.h"
#include "host/views/DiskJson.h"
#include "host/views/ResultView.h"
#include "vantorel/smart/records/RecordJson.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

namespace vantorel::host {

namespace {

struct SmartArguments {
    std::vector<std::string> names;
    bool json = false;
    bool brief = false;
};

int bitsOf(const DriveOutcome& reading)
{
    return reading.status() | (reading.reading ? statusOf(reading.reading->result) : success);
}

std::string screenText(const DriveOutcome& reading)
{
    std::string text = emphasised(printable(reading.name), Emphasis::strong) + "  ";
    if (reading.reading)
        return text + resultText(reading.reading->result);
    if (reading.drive)
        text += printable(reading.drive->model().value_or("Unnamed drive"));
    text +=
        '\n' + emphasised(printable(reading.error), bitsOf(reading) == success ? Emphasis::none : Emphasis::bad) + '\n';
    if (!reading.remedy.empty())
        text += "    " + printable(reading.remedy) + '\n';
    return text;
}

std::string failedAttributes(const ATASmartObject& result)
{
    constexpr std::size_t most = 3;
    std::string names;
    std::size_t count = 0;
    for (const ATASmartValue& value : result.smartValues) {
        if (!hasFailed(value.state))
            continue;
        if (count++ < most)
            names += (names.empty() ? "" : ", ") + value.name;
    }
    return count > most ? fmt::format("{} and {} more", names, count - most) : names;
}

/// The judgement in a few words, from the most pressing down.
std::string verdict(const DriveOutcome& reading)
{
    if (!reading.reading)
        return reading.error;
    const SmartObject& result = reading.reading->result;
    if (const auto* const nvme = result.as<NVMeSmartObject>())
        return bitsOf(reading) == success ? "ok" : "FAILING: " + nvme->assessment;
    if (bitsOf(reading) == success)
        return "ok";
    const bool isFailing = (bitsOf(reading) & driveFailing) != 0;
    return (isFailing ? "FAILING: " : "worn: ") + failedAttributes(*result.as<ATASmartObject>());
}

std::string briefText(const std::vector<DriveOutcome>& readings)
{
    const auto right = Table::Align::right;
    Table table({{""}, {"Disk"}, {"Model"}, {"Temperature", right}, {"Health", right}, {"Verdict"}});
    for (const DriveOutcome& reading : readings) {
        std::string temperature = "-";
        std::string health = "-";
        if (reading.reading) {
            reading.reading->result.visit([&](const auto& result) {
                health = fmt::format("{} %", result.health);
                if (result.temperature)
                    temperature = result.temperature->formattedValue;
            });
        }
        const bool isBad = (bitsOf(reading) & ~attributeReached) != 0;
        table.add({bitsOf(reading) == success ? "" : "!", printable(reading.name),
                   printable(reading.drive ? reading.drive->model().value_or("-") : "-"), printable(temperature),
                   health, printable(verdict(reading))},
                  isBad                        ? Emphasis::bad
                  : bitsOf(reading) == success ? Emphasis::none
                                               : Emphasis::warning);
    }
    return table.text();
}

Json readingJson(const DriveOutcome& reading)
{
    Json json = {{"name", reading.name}};
    if (reading.drive) {
        json["interface"] = rawValue(reading.drive->interface());
        if (reading.drive->model())
            json["model"] = *reading.drive->model();
        if (reading.drive->serial())
            json["serial"] = *reading.drive->serial();
    }
    json["status"] = bitsOf(reading);
    if (reading.reading) {
        json["result"] = Json::parse(toJson(reading.reading->result));
    } else {
        json["error"] = reading.error;
        if (!reading.remedy.empty())
            json["remedy"] = reading.remedy;
        if (reading.kind == DriveOutcome::Kind::asleep)
            json["isAsleep"] = true;
    }
    return json;
}

int smart(const CLI::App& app, const SmartArguments& arguments)
{
    const std::string path = loadMachine(app);
    const std::vector<DriveOutcome> readings = readDrives(arguments.names);
    int status = readings.empty() ? usageError : success;
    for (const DriveOutcome& reading : readings) {
        status |= bitsOf(reading);
        if (reading.status() != success)
            complain(reading.name, reading.error + (reading.remedy.empty() ? "" : " Try: " + reading.remedy));
    }

    if (arguments.json) {
        Json document = {{"machine", path}, {"drives", Json::array()}};
        for (const DriveOutcome& reading : readings)
            document["drives"].push_back(readingJson(reading));
        print(jsonLine(document));
    } else if (readings.empty()) {
        print("No drives.\n");
    } else if (arguments.brief) {
        print(briefText(readings));
    } else {
        for (const DriveOutcome& reading : readings)
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
