// SPDX-License-Identifier: GPL-2.0-or-later
#include "DriveParts.h"

#include "Drawings.h"
#include "documents/DiskUse.h"
#include "documents/WholeNumber.h"
#include "host/views/DiskWords.h"
#include "host/views/NvmeStatus.h"
#include "host/views/Quantity.h"
#include "host/views/VerdictView.h"
#include "vantorel/base/Bytes.h"
#include "vantorel/layouts/Nvme.h"
#include "vantorel/nvme/NvmePowerStates.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <span>
#include <string_view>

namespace vantorel::host {

namespace {

using health::Level;
using health::Reason;

enum class Fold { open, closed };

/// A part under a title that opens and closes.
Html fold(Fold state, std::string_view title, std::string_view note, const Html& content)
{
    return tag("details", {{"open", state == Fold::open ? "open" : ""}},
               tag("summary", tag("h3", title), " ", tag("span", {{"class", "note"}}, note)),
               tag("div", {{"class", "body"}}, content));
}

struct Column {
    std::string_view title;
    bool isNumber = false;
};

Html headRow(std::initializer_list<Column> columns)
{
    Html cells;
    for (const Column& column : columns)
        cells += tag("th", {{"scope", "col"}, {"class", column.isNumber ? "number" : ""}}, column.title);
    return tag("thead", tag("tr", cells));
}

Html number(std::string_view text)
{
    return tag("td", {{"class", "number"}}, text);
}

/// A table that is as wide as it is and moves sideways where that is too wide.
Html wideTable(std::string_view title, const Html& head, const Html& rows)
{
    return tag("div", {{"class", "wide"}, {"role", "region"}, {"aria-label", title}, {"tabindex", "0"}},
               tag("table", head, tag("tbody", rows)));
}

/// A name with the explanation under it.
Html nameCell(std::string_view name, std::string_view explanation)
{
    const Html info = explanation.empty() ? Html() : tag("span", {{"class", "info"}}, explanation);
    return tag("th", {{"scope", "row"}}, tag("span", {{"class", "name"}}, name), info);
}

std::string_view wordsOf(ATASmartAttributeState state)
{
    using enum ATASmartAttributeState;
    switch (state) {
    case nonExisting:
        return "not there";
    case noNormalValue:
        return "no normalised value";
    case noThreshold:
        return "no limit";
    case ok:
        return "ok";
    case failedInPast:
        return "failed in the past";
    case failedNow:
        return "failed now";
    }
    return "";
}

/// What the verdict makes of an attribute, and the drive's own limit where that says something else.
Html stateCell(const health::Verdict& verdict, const ATASmartValue& value)
{
    const Level level = levelOf(verdict, value.id);
    const bool isAside = std::ranges::find(verdict.setAside, value.id, &Reason::attribute) != verdict.setAside.end();
    Html cell;
    if (level != Level::good) {
        cell += mark(rawValue(level));
        cell += words(level);
        if (!hasFailed(value.state))
            return tag("td", {{"class", "state"}}, cell);
        cell += ", ";
    }
    cell += wordsOf(value.state);
    if (isAside)
        cell += ", set aside";
    return tag("td", {{"class", "state"}}, cell);
}

Html ataTable(const ATASmartObject& result, const health::Verdict& verdict)
{
    Html rows;
    for (const ATASmartValue& value : result.smartValues) {
        const Level level = levelOf(verdict, value.id);
        rows +=
            tag("tr", {{"class", level == Level::good ? "" : rawValue(level)}}, number(std::to_string(value.id)),
                nameCell(value.name, value.info), number(value.formattedValue), number(std::to_string(value.current)),
                number(std::to_string(value.worst)), number(std::to_string(value.theshold)),
                tag("td", value.type == SmartAttributeType::preFail ? "pre-failure" : "old age"),
                stateCell(verdict, value));
    }
    return tag("table", {{"class", "values ata"}},
               headRow({{"ID", true},
                        {"Attribute"},
                        {"Raw value", true},
                        {"Value", true},
                        {"Worst", true},
                        {"Limit", true},
                        {"Tells of"},
                        {"State"}}),
               tag("tbody", rows));
}

Html nvmeTable(const NVMeSmartObject& result)
{
    Html rows;
    for (const NVMeSmartValue& value : result.smartValues)
        rows += tag("tr", nameCell(value.name, value.info), number(value.formattedValue));
    return tag("table", {{"class", "values nvme"}}, headRow({{"Field of the health log"}, {"Value", true}}),
               tag("tbody", rows));
}

std::string_view unitText(health::Unit unit)
{
    using health::Unit;
    return unit == Unit::none || unit == Unit::count ? ""
           : unit == Unit::celsius                   ? "°C"
           : unit == Unit::percent                   ? "%"
                                                     : rawValue(unit);
}

void addTreeRows(Html& rows, const DiskNode& node, int depth)
{
    const Disk& disk = *node.disk;
    const auto volume = volumeOn(disk);
    const auto mountPoint = volume ? volume->mountPoint() : std::nullopt;
    std::string kind = kindText(disk);
    if (node.raidSet)
        kind += ", in " + node.raidSet->bsdName().value_or("a RAID set");
    constexpr int deepestIndent = 6;
    rows += tag("tr",
                tag("th", {{"scope", "row"}, {"class", fmt::format("depth{}", std::min(depth, deepestIndent))}},
                    disk.bsdName().value_or("-")),
                number(sizeText(disk)), tag("td", kind), tag("td", nameText(disk)), tag("td", mountPoint.value_or("")),
                number(mountPoint ? sizeText(wholeNumber(volume->freeSpace())) : ""));
    for (const DiskNode& child : node.children)
        addTreeRows(rows, child, depth + 1);
}

/// The lines of a dump, as `xxd -a` writes them: lines of zeros but for the first and the last are one "*".
std::string dumpText(DataView bytes)
{
    constexpr std::size_t lineLength = 16;
    const auto isZero = [](std::uint8_t byte) { return byte == 0; };
    std::string text;
    bool isBehindZeros = false;
    bool isSkipping = false;
    for (std::size_t begin = 0; begin < bytes.size(); begin += lineLength) {
        const DataView line = bytes.subspan(begin, std::min(lineLength, bytes.size() - begin));
        const bool isLast = begin + line.size() == bytes.size();
        const bool isAllZero = std::ranges::all_of(line, isZero);
        if (isAllZero && isBehindZeros && !isLast) {
            text += isSkipping ? "" : "*\n";
            isSkipping = true;
            continue;
        }
        isBehindZeros = isAllZero;
        isSkipping = false;
        std::string digits;
        std::string letters;
        for (std::size_t i = 0; i < line.size(); ++i) {
            digits += fmt::format("{}{:02x}", i > 0 && i % 2 == 0 ? " " : "", line[i]);
            letters += line[i] >= 0x20 && line[i] < 0x7F ? static_cast<char>(line[i]) : '.';
        }
        text += fmt::format("{:08x}: {:<39}  {}\n", begin, digits, letters);
    }
    return text;
}

Html dump(std::string_view name, DataView bytes)
{
    Html part = tag("h4", name, " ", tag("span", {{"class", "note"}}, fmt::format("{} bytes", bytes.size())));
    part += tag("pre", {{"role", "region"}, {"aria-label", name}, {"tabindex", "0"}}, dumpText(bytes));
    return part;
}

} // namespace

Html valuesPart(const PageDrive& drive)
{
    if (!drive.reading)
        return {};
    const health::JudgedReading& judged = *drive.reading;
    const SmartObject& result = judged.reading.result;
    const auto* const ata = result.as<ATASmartObject>();
    const auto* const nvme = result.as<NVMeSmartObject>();
    const std::size_t count = ata ? ata->smartValues.size() : nvme->smartValues.size();
    return fold(judged.verdict.level == Level::good ? Fold::closed : Fold::open, "All values",
                fmt::format("{} {}", count, ata ? "attributes" : "fields"),
                ata ? ataTable(*ata, judged.verdict) : nvmeTable(*nvme));
}

Html growthPart(const PageDrive& drive)
{
    if (drive.growth.empty())
        return {};
    Html charts;
    for (const Series& series : drive.growth) {
        const std::string change = series.points.front().text + " → " + series.points.back().text;
        charts += tag("figure",
                      tag("figcaption", tag("span", {{"class", "name"}}, series.name), " ",
                          tag("span", {{"class", "note"}}, change, " ", unitText(series.unit))),
                      lineChart(series));
    }
    return fold(Fold::open, "What changed", fmt::format("{} numbers", drive.growth.size()),
                tag("div", {{"class", "charts"}}, charts));
}

Html treePart(std::string_view title, std::span<const DiskNode> roots)
{
    Html rows;
    for (const DiskNode& root : roots)
        addTreeRows(rows, root, 0);
    return fold(Fold::open, title, "",
                wideTable(title,
                          headRow({{"Disk"}, {"Size", true}, {"Kind"}, {"Name"}, {"Mounted at"}, {"Free", true}}),
                          rows));
}

Html countersPart(const PageDrive& drive)
{
    if (!drive.counters)
        return {};
    const DriveStatistics& all = *drive.counters;
    const auto count = [](const std::optional<double>& counter) {
        return number(counter ? fmt::format("{}", wholeNumber(*counter)) : "-");
    };
    const auto seconds = [](const std::optional<double>& nanoseconds) {
        return number(nanoseconds ? fmt::format("{:.2f} s", *nanoseconds / 1e9) : "-");
    };
    const auto bytes = [](const std::optional<double>& counter) {
        return number(counter ? sizeText(wholeNumber(*counter)) : "-");
    };
    Html rows =
        tag("tr", tag("th", {{"scope", "row"}}, "Read"), count(all.readOperations), bytes(all.readBytes),
            seconds(all.readTotalTime), seconds(all.readLatency), count(all.readErrors), count(all.readRetries));
    rows +=
        tag("tr", tag("th", {{"scope", "row"}}, "Written"), count(all.writeOperations), bytes(all.writeBytes),
            seconds(all.writeTotalTime), seconds(all.writeLatency), count(all.writeErrors), count(all.writeRetries));
    const Html head = headRow({{""},
                               {"Operations", true},
                               {"Bytes", true},
                               {"Total time", true},
                               {"Latency", true},
                               {"Errors", true},
                               {"Retries", true}});
    return fold(Fold::closed, "Counters", "since the drive was attached", wideTable("Counters", head, rows));
}

Html powerStatesPart(const PageDrive& drive)
{
    const auto* const nvme = drive.reading ? drive.reading->reading.result.as<NVMeSmartObject>() : nullptr;
    if (!nvme)
        return {};
    std::vector<NVMePowerState> states = nvme->deviceInfo.powerStates;
    const auto controller = readRecord<NVMeControllerData>(drive.reading->reading.identify);
    if (states.empty() && controller)
        states = processPowerStates(*controller);
    if (states.empty())
        return {};
    Html rows;
    for (const NVMePowerState& state : states)
        rows += tag("tr", number(state.maxPower), number(state.activePower), number(state.readThroughput),
                    number(state.readLatency), number(state.writeThroughput), number(state.writeLatency),
                    number(state.entryLatency), number(state.exitLatency));
    const Html head = headRow({{"Max power", true},
                               {"Active", true},
                               {"Read rank", true},
                               {"Read latency", true},
                               {"Write rank", true},
                               {"Write latency", true},
                               {"Entry", true},
                               {"Exit", true}});
    return fold(Fold::closed, "Power states", std::to_string(states.size()), wideTable("Power states", head, rows));
}

Html errorsPart(const PageDrive& drive)
{
    if (!drive.errors)
        return {};
    if (drive.errors->empty())
        return fold(Fold::closed, "Error log", "empty", tag("p", "The error log is empty."));
    Html rows;
    for (const NVMeSmartError& error : *drive.errors)
        rows += tag("tr", number(std::to_string(error.count)), number(std::to_string(error.sqID)),
                    number(fmt::format("0x{:04x}", error.cmdID)), number(fmt::format("0x{:04x}", error.status)),
                    tag("td", nvmeStatusText(error.status)));
    const Html head = headRow({{"Number", true}, {"Queue", true}, {"Command", true}, {"Status", true}, {"Meaning"}});
    return fold(Fold::closed, "Error log", fmt::format("{} entries", drive.errors->size()),
                wideTable("Error log", head, rows));
}

Html bytesPart(const PageDrive& drive)
{
    Html dumps;
    for (const auto& [name, bytes] : drive.bytes)
        dumps += dump(name, bytes);
    return dumps.isEmpty() ? dumps : fold(Fold::closed, "Raw bytes", "xxd -r reads them back", dumps);
}

} // namespace vantorel::host
