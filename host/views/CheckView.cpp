// SPDX-License-Identifier: GPL-2.0-or-later
#include "CheckView.h"

#include "Quantity.h"
#include "VerdictView.h"
#include "host/console/Text.h"
#include "vantorel/base/Text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>

namespace vantorel::host {

namespace {

using health::Level;

/// Where a drive stands in the list: what needs a hand comes first.
int rankOf(const CheckedDrive& drive)
{
    if (!drive.verdict)
        return drive.isFault ? 3 : 6;
    switch (drive.verdict->level) {
    case Level::failing:
        return 0;
    case Level::atRisk:
        return 1;
    case Level::watch:
        return 2;
    case Level::unknown:
        return 4;
    case Level::good:
        break;
    }
    return 5;
}

std::string levelOf(const CheckedDrive& drive)
{
    return drive.verdict ? levelText(drive.verdict->level) : drive.state;
}

Emphasis emphasisOfLine(const CheckedDrive& drive)
{
    if (drive.verdict)
        return emphasisOf(drive.verdict->level);
    return drive.isFault ? Emphasis::warning : Emphasis::none;
}

/// What stands under the line of a drive: of one that needs a hand the number on its label and what is mounted from it,
/// then what is wrong.
std::string detailsOf(const CheckedDrive& drive)
{
    std::string text;
    const std::string_view serial = base::trimmed(drive.serial);
    if (drive.isFault && !serial.empty())
        text += wrapped(printable(fmt::format("serial {}", serial)), screenWidth(), 4);
    if (!drive.mountPoints.empty())
        text += wrapped(printable(fmt::format("mounted: {}", fmt::join(drive.mountPoints, ", "))), screenWidth(), 4);
    if (drive.verdict)
        return drive.verdict->level == Level::good ? "" : text + reasonsText(*drive.verdict);
    if (!drive.explanation.empty())
        text += wrapped(printable(drive.explanation), screenWidth(), 4, "  - ");
    if (!drive.remedy.empty())
        text += "    " + printable(drive.remedy) + '\n'; // to be copied, so in one piece
    return text;
}

struct Cells {
    std::string name;
    std::string model;
    std::string size;
    std::string age;
    std::string temperature;
};

Cells cellsOf(const CheckedDrive& drive)
{
    return {printable(drive.name), printable(drive.model), drive.size ? sizeText(*drive.size) : "-",
            drive.verdict ? ageText(*drive.verdict) : "-", drive.verdict ? temperatureText(*drive.verdict) : "-"};
}

/// The model's share of a line, after all other columns; 0 when it has none.
std::size_t roomForModel(const std::vector<CheckedDrive>& drives)
{
    constexpr std::size_t least = 12;
    constexpr std::size_t blanksBetween = 10;
    constexpr std::size_t widestName = 16;
    std::size_t name = 4; // of the titles, as the others
    std::size_t size = 4;
    std::size_t age = 3;
    std::size_t temperature = 4;
    std::size_t level = 5;
    for (const CheckedDrive& drive : drives) {
        const Cells cells = cellsOf(drive);
        name = std::max(name, std::min(widthOf(cells.name), widestName));
        size = std::max(size, widthOf(cells.size));
        age = std::max(age, widthOf(cells.age));
        temperature = std::max(temperature, widthOf(cells.temperature));
        level = std::max(level, widthOf(levelOf(drive)));
    }
    const std::size_t taken = name + size + age + temperature + level + blanksBetween;
    return screenWidth() >= taken + least ? screenWidth() - taken : 0;
}

std::string wideText(const std::vector<CheckedDrive>& drives, std::size_t modelWidth)
{
    const auto right = Table::Align::right;
    Table table({{"DISK"}, {"MODEL"}, {"SIZE", right}, {"AGE", right}, {"TEMP", right}, {"LEVEL"}});
    for (const CheckedDrive& drive : drives) {
        const Cells cells = cellsOf(drive);
        table.add({shortened(cells.name, 16), shortened(cells.model, modelWidth), cells.size, cells.age,
                   cells.temperature, levelOf(drive)},
                  emphasisOfLine(drive));
        table.addBelow(detailsOf(drive));
    }
    return table.text();
}

/// For a screen with no room for six columns.
std::string narrowText(const std::vector<CheckedDrive>& drives)
{
    std::string text;
    for (const CheckedDrive& drive : drives) {
        const Cells cells = cellsOf(drive);
        text += emphasised(shortened(fmt::format("{}  {}", cells.name, levelOf(drive)), screenWidth()),
                           emphasisOfLine(drive)) +
                '\n';
        std::string facts = cells.model;
        for (const std::string& fact : {cells.size, cells.age, cells.temperature}) {
            if (fact != "-")
                facts += (facts.empty() ? "" : ", ") + fact;
        }
        text += facts.empty() ? "" : wrapped(facts, screenWidth(), 2);
        text += detailsOf(drive);
    }
    return text;
}

std::string sum(const std::vector<CheckedDrive>& drives)
{
    std::vector<std::pair<std::string, std::size_t>> counts; // in the order of the list
    for (const CheckedDrive& drive : drives) {
        const std::string level = drive.verdict ? std::string(words(drive.verdict->level)) : drive.state;
        if (counts.empty() || counts.back().first != level)
            counts.emplace_back(level, 0);
        ++counts.back().second;
    }
    std::vector<std::string> parts;
    parts.reserve(counts.size());
    for (const auto& [level, count] : counts)
        parts.push_back(fmt::format("{} {}", count, level));
    return wrapped(fmt::format("{} drive{}: {}", drives.size(), drives.size() == 1 ? "" : "s", fmt::join(parts, ", ")),
                   screenWidth(), 0);
}

} // namespace

bool isBefore(const CheckedDrive& one, const CheckedDrive& other)
{
    const int rank = rankOf(one);
    const int otherRank = rankOf(other);
    return rank != otherRank ? rank < otherRank : one.state < other.state;
}

std::string checkText(std::vector<CheckedDrive> drives)
{
    std::ranges::stable_sort(drives, isBefore);
    const std::size_t modelWidth = roomForModel(drives);
    return (modelWidth > 0 ? wideText(drives, modelWidth) : narrowText(drives)) + sum(drives);
}

} // namespace vantorel::host
