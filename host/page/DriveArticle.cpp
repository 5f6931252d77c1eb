// SPDX-License-Identifier: GPL-2.0-or-later
#include "DriveArticle.h"

#include "Drawings.h"
#include "DriveParts.h"
#include "documents/DiskUse.h"
#include "host/views/Quantity.h"
#include "host/views/VerdictView.h"
#include "vantorel/base/Text.h"
#include "vantorel/health/Attributes.h"
#include "vantorel/health/TemperatureLimits.h"

#include <fmt/format.h>

#include <algorithm>

namespace vantorel::host {

namespace {

using health::Attribute;
using health::Level;
using health::Meaning;
using health::Reason;
using health::Verdict;

/// Reasons as a list, each with its source; `tone` of all of them, or that of their own level.
Html reasonList(const std::vector<Reason>& reasons, bool withMarks)
{
    Html items;
    for (const Reason& reason : reasons) {
        const Html sign = withMarks ? mark(rawValue(reason.level)) : Html();
        const Html source = reason.source.empty() ? Html() : tag("small", {{"class", "source"}}, reason.source);
        items += tag("li", sign, tag("span", tag("span", reason.sentence), " ", source));
    }
    return tag("ul", {{"class", withMarks ? "reasons" : "asides"}}, items);
}

Html namedReasons(const char* name, const std::vector<Reason>& reasons)
{
    if (reasons.empty())
        return {};
    Html part = tag("h3", name);
    part += reasonList(reasons, false);
    return part;
}

Html verdictPart(const Verdict& verdict)
{
    Html part;
    if (verdict.doubtful)
        part += tag("p", {{"class", "remark"}}, "In doubt: the checksum of its data is wrong.");
    part += reasonList(verdict.reasons, true);
    if (verdict.level == Level::good)
        part += tag("p", {{"class", "promise"}}, Verdict::promise, " ",
                    tag("small", {{"class", "source"}}, Verdict::promiseSource));
    part += namedReasons("Set aside", verdict.setAside);
    part += namedReasons("Notes", verdict.notes);
    return part;
}

/// Why there is no verdict.
Html absencePart(const CheckedDrive& drive)
{
    Html part = tag("p", drive.explanation.empty() ? "There are no SMART data of this drive." : drive.explanation);
    if (!drive.remedy.empty())
        part += tag("p", "Try: ", tag("code", drive.remedy));
    return part;
}

Html gauge(const char* name, const std::string& number, const std::string& note, const Html& drawing)
{
    return tag("figure", {{"class", "gauge"}},
               tag("figcaption", tag("span", {{"class", "name"}}, name), " ", tag("strong", number), " ",
                   tag("span", {{"class", "note"}}, note)),
               drawing);
}

std::string limitsNote(const health::TemperatureLimits& limits)
{
    const auto& limit = limits.warning ? limits.warning : limits.critical;
    return fmt::format("{} from {} °C", limit->isUsual ? "usually too warm" : "too warm", limit->celsius);
}

Html gauges(const health::JudgedReading& judged)
{
    const Verdict& verdict = judged.verdict;
    Html all;
    if (verdict.temperature && verdict.temperature->plausible) {
        const auto limits = health::temperatureLimits(judged.view());
        all += gauge("Temperature", temperatureText(verdict), limitsNote(limits),
                     temperatureDrawing(*verdict.temperature, limits));
    }
    if (verdict.wear && verdict.wear->plausible && verdict.wear->number >= 0)
        all += gauge("Wear", decimalText(*verdict.wear) + " %", "of the rated life used", wearDrawing(*verdict.wear));
    const std::vector<Attribute> attributes = health::attributesOf(judged.view());
    const auto find = [&](Meaning meaning) { return std::ranges::find(attributes, meaning, &Attribute::meaning); };
    const auto left = find(Meaning::spareLeft);
    if (judged.isNvme() && left != attributes.end() && left->value.number <= 100) {
        const auto limit = find(Meaning::spareLimit);
        const bool hasLimit = limit != attributes.end();
        all += gauge("Reserve", decimalText(left->value) + " %",
                     hasLimit ? fmt::format("the drive warns below {} %", decimalText(limit->value)) : "",
                     reserveDrawing(left->value,
                                    hasLimit ? std::optional(static_cast<double>(limit->value.number)) : std::nullopt));
    }
    return all.isEmpty() ? all : tag("div", {{"class", "gauges"}}, all);
}

/// What the page knows the drive by, and what the drive tables tell of it.
std::vector<Fact> factsOf(const PageDrive& drive)
{
    std::vector<Fact> facts = drive.identity;
    if (drive.head.size)
        facts.emplace_back("Size", sizeText(*drive.head.size));
    if (!drive.reading)
        return facts;
    const health::JudgedReading& judged = *drive.reading;
    if (judged.verdict.powerOnTime)
        facts.emplace_back("Powered on for", ageText(judged.verdict));
    if (!judged.known)
        return facts;
    const KnownDrive& known = *judged.known;
    facts.emplace_back("Family", known.row ? std::string(known.row->modelfamily) : "not in the drive tables");
    if (known.row)
        facts.emplace_back("Warning", base::replacingAll(known.row->warningmsg, "\n", " "));
    return facts;
}

} // namespace

std::string_view toneOf(const CheckedDrive& drive)
{
    if (drive.verdict)
        return rawValue(drive.verdict->level);
    return drive.isFault ? "unread" : "none";
}

Html levelBadge(const CheckedDrive& drive)
{
    const std::string_view tone = toneOf(drive);
    return tag("span", {{"class", fmt::format("level {}", tone)}}, mark(tone),
               drive.verdict ? words(drive.verdict->level) : drive.state);
}

Html factList(const std::vector<Fact>& facts)
{
    Html list;
    for (const auto& [name, text] : facts) {
        if (const std::string_view trimmed = base::trimmed(text); !trimmed.empty())
            list += tag("div", tag("dt", name), tag("dd", trimmed));
    }
    return list.isEmpty() ? list : tag("dl", list);
}

Html driveArticle(const PageDrive& drive, const std::string& id)
{
    const CheckedDrive& head = drive.head;
    const std::string title = id + "-name";
    Html body;
    for (const std::string& remark : drive.remarks)
        body += tag("p", {{"class", "remark"}}, remark);
    body += head.verdict ? verdictPart(*head.verdict) : absencePart(head);
    if (drive.reading)
        body += gauges(*drive.reading);
    body += factList(factsOf(drive));
    body += growthPart(drive);
    body += valuesPart(drive);
    if (drive.tree && (!drive.tree->children.empty() || volumeOn(*drive.tree->disk)))
        body += treePart("Partitions and volumes", {&*drive.tree, 1});
    body += countersPart(drive);
    body += powerStatesPart(drive);
    body += errorsPart(drive);
    body += bytesPart(drive);
    return tag("article", {{"id", id}, {"class", toneOf(head)}, {"aria-labelledby", title}},
               tag("header",
                   tag("h2", {{"id", title}}, tag("span", {{"class", "disk"}}, head.name), " ",
                       tag("span", {{"class", "model"}}, head.model)),
                   levelBadge(head)),
               body);
}

} // namespace vantorel::host
