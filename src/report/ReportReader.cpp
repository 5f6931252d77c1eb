// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/report/ReportReader.h"

#include "Gzip.h"
#include "vantorel/system/KeyedArchiver.h"

#include <concepts>
#include <functional>
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
    void take(std::string_view key, std::optional<bool>& result) { take(key, result, "a truth value"); }
    void take(std::string_view key, std::optional<std::uint64_t>& result) { take(key, result, "a count"); }
    void take(std::string_view key, std::optional<Data>& result) { take(key, result, "data"); }
    void take(std::string_view key, std::optional<PropertyArray>& result) { take(key, result, "an array"); }
    void take(std::string_view key, std::optional<PropertyTable>& result) { take(key, result, "a table"); }

    [[nodiscard]] bool holds(std::string_view key) const { return table_.contains(key); }

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

ReportDrive readDrive(Fields& fields)
{
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
    return drive;
}

ReportVolume readVolume(Fields& fields)
{
    ReportVolume volume;
    fields.take("disk", volume.disk);
    fields.take("kind", volume.kind);
    fields.take("name", volume.name);
    fields.take("uuid", volume.uuid);
    fields.take("mountable", volume.mountable);
    fields.take("size", volume.size);
    fields.take("free", volume.free);
    fields.take("writable", volume.writable);
    std::optional<PropertyArray> mountPoints;
    fields.take("mountPoints", mountPoints);
    for (const PropertyValue& path : mountPoints.value_or(PropertyArray())) {
        if (path.text())
            volume.mountPoints.push_back(*path.text());
    }
    return volume;
}

/// Calls `visit` with each table of the array under `key`; notes the keys that it leaves.
void eachTable(Fields& fields, const std::string& key, std::vector<std::string>& unknownKeys,
               const std::function<void(Fields& table)>& visit)
{
    std::optional<PropertyArray> array;
    fields.take(key, array);
    if (!array)
        return;
    for (std::size_t i = 0; i < array->size(); ++i) {
        const std::string place = key + "[" + std::to_string(i) + "]";
        PropertyTable* const table = (*array)[i].table();
        if (!table)
            throw ReportError("the report's \"" + place + "\" is not a table");
        Fields inner(*table, place + ".");
        visit(inner);
        inner.rest(unknownKeys);
    }
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
    fields.take("version", version_);
    fields.take("ioreg", ioreg_);
    eachTable(fields, "drives", unknownKeys_, [this](Fields& drive) { drives_.push_back(readDrive(drive)); });
    eachTable(fields, "volumes", unknownKeys_, [this](Fields& volume) { volumes_.push_back(readVolume(volume)); });
    readOrigin(*table);
    readNotes(*table);
    fields.rest(unknownKeys_);
}

void ReportReader::readOrigin(PropertyTable& root)
{
    Fields fields(root, "");
    fields.take("created", origin_.created);
    std::optional<PropertyTable> host;
    std::optional<PropertyTable> tool;
    fields.take("host", host);
    fields.take("tool", tool);
    if (host) {
        Fields facts(*host, "host.");
        facts.take("system", origin_.system);
        facts.take("kernel", origin_.kernel);
        facts.take("architecture", origin_.architecture);
        facts.rest(unknownKeys_);
    }
    if (tool) {
        Fields facts(*tool, "tool.");
        facts.take("version", origin_.tool);
        facts.take("table", origin_.table);
        facts.rest(unknownKeys_);
    }
}

void ReportReader::readNotes(PropertyTable& root)
{
    Fields fields(root, "");
    const auto driveOf = [this](Fields& note) -> ReportDrive* {
        std::optional<std::uint64_t> number;
        note.take("drive", number);
        return number && *number < drives_.size() ? &drives_[*number] : nullptr;
    };
    eachTable(fields, "errors", unknownKeys_, [&](Fields& note) {
        const bool isOfListing = !note.holds("drive");
        ReportDrive* const drive = driveOf(note);
        std::optional<bool> opened;
        std::optional<bool> asleep;
        std::optional<std::string> error;
        note.take("opened", opened);
        note.take("asleep", asleep);
        note.take("error", error);
        if (isOfListing)
            listingFailure_ = error.value_or("");
        else if (drive)
            drive->failure = ReportedFailure{opened.value_or(false), asleep.value_or(false), error.value_or("")};
    });
    eachTable(fields, "readings", unknownKeys_, [&](Fields& note) {
        ReportDrive nobody;
        ReportDrive* const known = driveOf(note);
        ReportDrive& drive = known ? *known : nobody;
        note.take("identify", drive.identify);
        note.take("failing", drive.failing);
        note.take("errorLog", drive.errorLog);
    });
}

Data ReportReader::expandedRegistry(std::size_t limit) const
{
    if (!ioreg_)
        return {};
    try {
        return report::gunzip(*ioreg_, limit);
    } catch (const report::GzipError& error) {
        throw ReportError(std::string("the report's registry listing: ") + error.what());
    }
}

} // namespace vantorel
