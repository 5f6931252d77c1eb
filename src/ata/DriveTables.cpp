// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/ata/DriveTables.h"

#include "TableSearch.h"
#include "ata/AttributeFormat.h"

#include <algorithm>
#include <functional>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace vantorel {

namespace {

using Definitions = std::shared_ptr<const ATASmartAttributeDefinitions>;

Definitions definitionsOf(const drive_settings* row)
{
    static const auto none = std::make_shared<const ATASmartAttributeDefinitions>();
    if (!row || row->presets.empty())
        return none;
    return std::make_shared<const ATASmartAttributeDefinitions>(parsePresets(row->presets));
}

/// Both texts of a question, apart: together, one could pass for the end of the other.
using DriveKey = std::pair<std::string, std::string>;

struct HashOfKey {
    std::size_t operator()(const DriveKey& key) const
    {
        const std::hash<std::string> hash;
        return hash(key.first) * 31 + hash(key.second);
    }
};

/// A table that look-ups ask.
class AskedTable {
public:
    explicit AskedTable(DriveTable table) : table_(std::move(table)), search_(table_.rows, table_.matching) {}

    const DriveTable& table() const { return table_; }

    std::size_t find(const ata::Question& question, ata::SearchSteps& steps) { return search_.find(question, steps); }

    /// The definitions of its default row, null when it has none.
    Definitions defaults()
    {
        const drive_settings* const row = defaultRow(table_.rows);
        if (row && !defaults_)
            defaults_ = definitionsOf(row);
        return defaults_;
    }

private:
    const DriveTable table_;
    ata::TableSearch search_;
    Definitions defaults_; // null until first needed
};

class AskedTables {
public:
    static AskedTables& shared()
    {
        static AskedTables tables;
        return tables;
    }

    /// What the look-up gave: the row, which may be one that describes no drives, and what is known by it.
    struct Answer {
        const drive_settings* row = nullptr;
        KnownDrive drive;
    };

    Answer ask(const ATADeviceInfo& deviceInfo)
    {
        const std::lock_guard lock(mutex_);
        DriveKey key(deviceInfo.model, deviceInfo.firmware);
        if (const auto known = answers_.find(key); known != answers_.end())
            return known->second;
        if (answers_.size() >= mostAnswers)
            answers_.clear();
        return answers_.emplace(std::move(key), answerTo(deviceInfo)).first->second;
    }

    void add(DriveTable table, DriveTableUse use)
    {
        const std::lock_guard lock(mutex_);
        const auto place = use == DriveTableUse::supplement ? tables_.size() : builtIn_++;
        tables_.insert(tables_.begin() + static_cast<std::ptrdiff_t>(place),
                       std::make_unique<AskedTable>(std::move(table)));
        answers_.clear();
    }

    std::vector<const DriveTable*> all()
    {
        const std::lock_guard lock(mutex_);
        std::vector<const DriveTable*> tables;
        for (const auto& asked : tables_)
            tables.push_back(&asked->table());
        return tables;
    }

private:
    // Answers kept; a host that reads drives needs a handful.
    static constexpr std::size_t mostAnswers = 256;

    AskedTables() { tables_.push_back(std::make_unique<AskedTable>(builtInDriveTable())); }

    /// A row that describes no drives is the answer only where no table has one that does.
    Answer answerTo(const ATADeviceInfo& deviceInfo)
    {
        const ata::Question question(deviceInfo.model, deviceInfo.firmware);
        ata::SearchSteps steps;
        Answer answer;
        answer.drive.own = definitionsOf(nullptr);
        answer.drive.defaults = tables_[builtIn_]->defaults();
        for (const auto& asked : tables_) {
            const std::size_t index = asked->find(question, steps);
            if (index == ata::TableSearch::noRow)
                continue;
            answer.row = &asked->table().rows[index];
            if (!describesDrives(*answer.row))
                continue;
            answer.drive.table = &asked->table();
            answer.drive.row = answer.row;
            answer.drive.rowIndex = index;
            answer.drive.own = definitionsOf(answer.row);
            if (const Definitions defaults = asked->defaults())
                answer.drive.defaults = defaults;
            break;
        }
        return answer;
    }

    std::mutex mutex_;                                // guards all below
    std::vector<std::unique_ptr<AskedTable>> tables_; // in the order in which they are asked
    std::size_t builtIn_ = 0;                         // the place of the built-in one
    std::unordered_map<DriveKey, Answer, HashOfKey> answers_;
};

} // namespace

void addDriveTable(DriveTable table, DriveTableUse use)
{
    AskedTables::shared().add(std::move(table), use);
}

std::vector<const DriveTable*> driveTables()
{
    return AskedTables::shared().all();
}

KnownDrive knownDrive(const ATADeviceInfo& deviceInfo)
{
    return AskedTables::shared().ask(deviceInfo).drive;
}

const drive_settings* getDriveSettings(const ATADeviceInfo& deviceInfo)
{
    return AskedTables::shared().ask(deviceInfo).row;
}

KnownDrive::Attribute KnownDrive::attribute(std::uint8_t id) const
{
    if ((*own)[id])
        return {*(*own)[id], DefinitionSource::row};
    if ((*defaults)[id])
        return {*(*defaults)[id], DefinitionSource::defaultRow};
    return {defaultDefinition(), DefinitionSource::nothing};
}

std::string_view KnownDrive::rawName(std::uint8_t id, bool isSSD) const
{
    const auto& name = attribute(id).definition.name;
    return name ? std::string_view(*name) : GetDefaultAttributeName(id, isSSD, *defaults);
}

} // namespace vantorel
