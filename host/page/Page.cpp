// SPDX-License-Identifier: GPL-2.0-or-later
#include "Page.h"

#include "Drawings.h"
#include "DriveArticle.h"
#include "DriveParts.h"
#include "host/views/Quantity.h"
#include "host/views/VerdictView.h"
#include "machines/recorded/Sha256.h"
#include "vantorel/base/Base64.h"
#include "vantorel/smart/Version.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace vantorel::host {

namespace {

constexpr std::string_view styleSheet =
#include "Style.inc"
    ;

std::string idOf(std::size_t place)
{
    return fmt::format("drive-{}", place + 1);
}

DataView bytesOf(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// What a browser may do for the page: take this style sheet and the icon inside it. There is nothing else it needs, so
/// nothing is fetched even if a text should get through as markup.
std::string policy()
{
    const auto digest = recorded::sha256(bytesOf(styleSheet));
    return fmt::format("default-src 'none'; style-src 'sha256-{}'; img-src data:; base-uri 'none'; form-action 'none'",
                       base::base64(digest));
}

std::string_view versionText()
{
    return reinterpret_cast<const char*>(VantorelVersionString);
}

Html headOf(const Page& page)
{
    const std::string icon = iconFile(page.drives.empty() ? "none" : toneOf(page.drives.front().head));
    Html head = Html::emptyElement("meta", {{"charset", "utf-8"}});
    head += Html::emptyElement("meta", {{"http-equiv", "Content-Security-Policy"}, {"content", policy()}});
    head += Html::emptyElement("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
    head += Html::emptyElement("meta", {{"name", "color-scheme"}, {"content", "light dark"}});
    head += tag("title", "Drives of ", page.machine);
    head += Html::emptyElement("link",
                               {{"rel", "icon"}, {"href", "data:image/svg+xml;base64," + base::base64(bytesOf(icon))}});
    head += Html::style(styleSheet);
    return tag("head", head);
}

/// How many drives there are of each level, the worst first: they stand in that order.
Html sums(const std::vector<PageDrive>& drives)
{
    Html items;
    for (auto begin = drives.begin(); begin != drives.end();) {
        const Html badge = levelBadge(begin->head);
        const auto end = std::find_if(begin, drives.end(), [&](const PageDrive& drive) {
            return levelBadge(drive.head).markup() != badge.markup();
        });
        items += tag("li", {{"class", toneOf(begin->head)}}, tag("strong", std::to_string(end - begin)), badge);
        begin = end;
    }
    return tag("ul", {{"class", "sums"}, {"aria-label", "Drives by level"}}, items);
}

Html overviewRow(const PageDrive& drive, const std::string& id)
{
    const CheckedDrive& head = drive.head;
    const auto wear = [&]() -> std::string {
        return head.verdict && head.verdict->wear && head.verdict->wear->plausible
                   ? decimalText(*head.verdict->wear) + " %"
                   : "-";
    };
    const auto number = [](const std::string& text) {
        return tag("td", {{"class", text == "-" ? "number absent" : "number"}}, text);
    };
    return tag("tr", {{"class", toneOf(head)}}, tag("td", levelBadge(head)),
               tag("th", {{"scope", "row"}}, tag("a", {{"href", "#" + id}}, head.name)), tag("td", head.model),
               number(head.size ? sizeText(*head.size) : "-"), number(head.verdict ? ageText(*head.verdict) : "-"),
               number(head.verdict ? temperatureText(*head.verdict) : "-"), number(wear()));
}

/// A line for every drive, which leads to its article.
Html overview(const std::vector<PageDrive>& drives)
{
    if (drives.size() < 2)
        return {};
    Html titles;
    for (const char* const title : {"Level", "Disk", "Model"})
        titles += tag("th", {{"scope", "col"}}, title);
    for (const char* const title : {"Size", "Age", "Temp.", "Wear"})
        titles += tag("th", {{"scope", "col"}, {"class", "number"}}, title);
    Html rows;
    for (std::size_t i = 0; i < drives.size(); ++i)
        rows += overviewRow(drives[i], idOf(i));
    return tag("nav", {{"aria-label", "Drives"}},
               tag("table", {{"class", "overview"}}, tag("thead", tag("tr", titles)), tag("tbody", rows)));
}

Html bodyOf(const Page& page)
{
    Html header = tag("h1", page.machine);
    header += factList(page.facts);
    for (const std::string& remark : page.remarks)
        header += tag("p", {{"class", "remark"}}, remark);
    header += page.drives.empty() ? tag("p", "There are no drives.") : sums(page.drives);

    Html main = overview(page.drives);
    for (std::size_t i = 0; i < page.drives.size(); ++i)
        main += driveArticle(page.drives[i], idOf(i));
    if (!page.others.empty())
        main += tag("section", {{"class", "others"}}, treePart("Other disks", page.others));
    const Html footer = tag("p", fmt::format("Made by vantorel {}. ", versionText()),
                            "Good: nothing was found that speaks against the drive. Watch: worth a look now and then. "
                            "At risk: replace it in time. Failing: save the data now. Unknown: nothing can be said.");
    return tag("body", symbols(), tag("header", {{"class", "page"}}, header), tag("main", main), tag("footer", footer));
}

void sortByNeed(std::vector<PageDrive>& drives)
{
    std::ranges::stable_sort(
        drives, [](const PageDrive& one, const PageDrive& other) { return isBefore(one.head, other.head); });
}

} // namespace

std::string pageText(Page page)
{
    sortByNeed(page.drives);
    return "<!DOCTYPE html>\n" + tag("html", {{"lang", "en"}}, headOf(page), bodyOf(page)).markup() + '\n';
}

} // namespace vantorel::host
