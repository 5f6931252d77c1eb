// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/report/ReportParts.h"

#include "Gzip.h"
#include "system/propertylist/PropertyList.h"
#include "vantorel/report/ReportReader.h"
#include "vantorel/system/KeyedArchiver.h"

#include <string>
#include <utility>

namespace vantorel {

ReportParts takeApart(DataView report)
{
    const Data listing = ReportReader(report).expandedRegistry(); // and it is a report
    ReportParts parts;
    parts.root = std::move(*system::unarchiveObjectWithData(report).table());
    parts.root.erase("ioreg");
    try {
        if (!listing.empty())
            parts.listing = system::readPropertyList(listing);
    } catch (const system::PropertyListError& error) {
        throw ReportError(std::string("the report's registry listing: ") + error.what());
    }
    return parts;
}

Data putTogether(ReportParts parts)
{
    const std::string listing = parts.listing.isNull() ? std::string() : system::writeXmlPropertyList(parts.listing);
    parts.root["ioreg"] = report::gzip(Data(listing.begin(), listing.end()));
    try {
        return system::archivedDataWithRootObject(std::move(parts.root));
    } catch (const system::KeyedArchiveError& error) {
        throw ReportError(error.what());
    }
}

} // namespace vantorel
