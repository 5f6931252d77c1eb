// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/report/ReportReader.h"

#include "Gunzip.h"
#include "vantorel/system/KeyedArchiver.h"

#include <concepts>
#include <string_view>
#include <utility>

namespace vantorel {

namespace {

constexpr std::size_t mostUnknownKeys = 100;

/// Takes the known keys out of one table of the report; `path` names the table in messages.
class Fields {
public:
    Fields(PropertyTable& table, std::string path) : table_(table), path_(std::move(path)) {}

    void take(std::string_view key, std::optional<std::string>& result) { take(key, result, "a text"); }
    void take(std::string_view key, std::optional<Data>& result) { take(key, result, "data"); }
    void take(std::string_view key, std::optional<PropertyArray>& result) { take(key, result, "an array"); }
    void take(std::string_view key, std::optional<PropertyTable>& result) { take(key, result, "a table"); }

    /// The keys that nobody has taken.
    void rest(std::vector<std::string>& unknown) const
    {
        for (const auto& [key, value] : table_) {
            if (unknown.size() < mostUnknownKeys)
                unknown.push_back(path_ + key);
        }
    }

private:
    /// Moves the value out of the table, when it is there and no null.
    template <typename T>
    void take(std::string_view key, std::optional<T>& result, std::string_view typeName)
    {
        const auto found = table_.find(key);
        if (found == table_.end())
            return;
        PropertyValue value = std::move(table_.extract(found).mapped());
        if (value.isNull())
            return;
        result = moved<T>(value);
        if (!result)
            throw ReportError("the report's \"" + path_ + std::string(key) + "\" is not " + std::string(typeName));
    }

    template <typename T>
    static std::optional<T> moved(PropertyValue& value)
    {
        T* held = nullptr;
        if constexpr (std::same_as<T, PropertyTable>)
            held = value.table();
        else if constexpr (std::same_as<T, PropertyArray>)
            held = value.array();
        else
            return value.get<T>(); // small enough to copy
        return held ? std::optional<T>(std::move(*held)) : std::nullopt;
    }

    PropertyTable& table_;
    std::string path_;
};

ReportDrive readDrive(PropertyValue& value, std::size_t number, std::vector<std::string>& unknownKeys)
{
    const std::string place = "drives[" + std::to_string(number) + "]";
    PropertyTable* const table = value.table();
    if (!table)
        throw ReportError("the report's \"" + place + "\" is not a table");
    Fields fields(*table, place + ".");
    ReportDrive drive;
    fields.take("vendor", drive.vendor);
    fields.take("model", drive.model);
    fields.take("bsdName", drive.bsdName);
    fields.take("interface", drive.interface);
    fields.take("kind", drive.kind);
    fields.take("protocol", drive.protocol);
    fields.take("smartData", drive.smartData);
    fields.take("thresholdsData", drive.thresholdsData);
    fields.take("processedSmart", drive.processedSmart);
    fields.rest(unknownKeys);
    return drive;
}

PropertyValue unarchived(DataView report)
{
    try {
        return system::unarchiveObjectWithData(report);
    } catch (const system::KeyedArchiveError& error) {
        throw ReportError(error.what());
    }
}

} // namespace

ReportReader::ReportReader(DataView report)
{
    PropertyValue root = unarchived(report);
    PropertyTable* const table = root.table();
    const auto holds = [&](std::string_view key) { return table->lookUp(key) != nullptr; };
    if (!table || !(holds("version") || holds("drives") || holds("ioreg")))
        throw ReportError("a keyed archive, but no system report");

    Fields fields(*table, "");
    std::optional<PropertyArray> drives;
    fields.take("version", version_);
    fields.take("drives", drives);
    fields.take("ioreg", ioreg_);
    fields.rest(unknownKeys_);
    if (drives) {
        for (PropertyValue& drive : *drives)
            drives_.push_back(readDrive(drive, drives_.size(), unknownKeys_));
    }
}

Data ReportReader::expandedRegistry(std::size_t limit) const
{
    if (!ioreg_)
        return {};
    try {
        return report::gunzip(*ioreg_, limit);
    } catch (const report::GunzipError& error) {
        throw ReportError(std::string("the report's registry listing: ") + error.what());
    }
}

} // namespace vantorel
