// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/JsonDocument.h"
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/choice/TableChoice.h"
#include "host/console/Output.h"
#include "host/console/Text.h"
#include "vantorel/ata/DriveTableLint.h"
#include "vantorel/ata/DriveTables.h"
#include "vantorel/base/Text.h"

#include <fmt/format.h>

#include <memory>

namespace vantorel::host {

namespace {

std::string_view formatName(ata_attr_raw_format format)
{
    for (const format_name_entry& entry : format_names) {
        if (entry.format == format)
            return entry.name;
    }
    return "";
}

struct FlagName {
    std::int64_t flag;
    std::string_view name;
};

constexpr FlagName flagNames[] = {
    {ATASmartAttributeDefinition::increasing, "increasing"},
    {ATASmartAttributeDefinition::noNormalizedValue, "noNormalizedValue"},
    {ATASmartAttributeDefinition::noWorstValue, "noWorstValue"},
    {ATASmartAttributeDefinition::hddOnly, "hddOnly"},
    {ATASmartAttributeDefinition::ssdOnly, "ssdOnly"},
};

/// The definition by which an attribute is read, and whether the drive's own row gave it.
struct Resolved {
    unsigned id;
    const ATASmartAttributeDefinition* definition;
    bool fromRow;
};

std::vector<Resolved> resolvedDefinitions(const KnownDrive& drive)
{
    std::vector<Resolved> all;
    for (unsigned id = 0; id < 256; ++id) {
        const auto& [definition, source] = drive.attribute(static_cast<std::uint8_t>(id));
        if (source != DefinitionSource::nothing)
            all.push_back({id, &definition, source == DefinitionSource::row});
    }
    return all;
}

Json jsonOf(const Resolved& resolved)
{
    const ATASmartAttributeDefinition& definition = *resolved.definition;
    Json flags = Json::array();
    for (const auto& [flag, name] : flagNames) {
        if ((definition.flags & flag) != 0)
            flags.push_back(name);
    }
    return {{"id", resolved.id},
            {"name", definition.name ? Json(*definition.name) : Json(nullptr)},
            {"format", formatName(definition.format)},
            {"byteorder", definition.byteorder},
            {"flags", std::move(flags)},
            {"source", resolved.fromRow ? "row" : "default"}};
}

std::string jsonText(const KnownDrive& drive)
{
    const drive_settings* const row = drive.row;
    const auto column = [&](std::string_view drive_settings::*member) {
        return row ? Json(row->*member) : Json(nullptr);
    };
    Json document = {
        {"format", documentFormat},
        {"row", row ? Json(drive.rowIndex) : Json(nullptr)},
        {"modelfamily", column(&drive_settings::modelfamily)},
        {"modelregexp", column(&drive_settings::modelregexp)},
        {"firmwareregexp", column(&drive_settings::firmwareregexp)},
        {"warningmsg", column(&drive_settings::warningmsg)},
        {"presets", column(&drive_settings::presets)},
        {"table", row ? Json{{"name", drive.table->name}, {"revision", drive.table->revision}} : Json(nullptr)},
        {"definitions", Json::array()}};
    for (const Resolved& resolved : resolvedDefinitions(drive))
        document["definitions"].push_back(jsonOf(resolved));
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

/// What people call a table, and its revision.
std::string titleOf(const DriveTable& table)
{
    return table.revision.empty() ? table.name : table.name + ", " + table.revision;
}

/// The lines of a text under one title.
std::string fact(std::string_view title, std::string_view lines)
{
    std::string text;
    do {
        const std::size_t end = std::min(lines.find('\n'), lines.size());
        text += fmt::format("{:<12}{}\n", title, printable(lines.substr(0, end)));
        title = {};
        lines.remove_prefix(std::min(end + 1, lines.size()));
    } while (!lines.empty());
    return text;
}

std::string plainText(const KnownDrive& drive)
{
    const drive_settings* const row = drive.row;
    std::string text = "No row matches; the default definitions hold.\n";
    if (row) {
        text = fact("Table", titleOf(*drive.table)) + fact("Row", std::to_string(drive.rowIndex)) +
               fact("Family", row->modelfamily.empty() ? "(unnamed)" : row->modelfamily) +
               fact("Model", row->modelregexp) +
               fact("Firmware", row->firmwareregexp.empty() ? "(any)" : row->firmwareregexp) +
               fact("Presets", row->presets.empty() ? "(none)" : row->presets);
        if (!row->warningmsg.empty())
            text += fact("Warning", row->warningmsg);
    }
    Table table({{"ID", Table::Align::right}, {"Name"}, {"Format"}, {"Byte order"}, {"Flags"}, {"From"}});
    for (const Resolved& resolved : resolvedDefinitions(drive)) {
        const ATASmartAttributeDefinition& definition = *resolved.definition;
        std::string flags;
        for (const auto& [flag, name] : flagNames) {
            if ((definition.flags & flag) != 0)
                flags += (flags.empty() ? "" : " ") + std::string(name);
        }
        table.add({std::to_string(resolved.id), definition.name.value_or("-"),
                   std::string(formatName(definition.format)), definition.byteorder, flags,
                   resolved.fromRow ? "row" : "default"});
    }
    return text + '\n' + table.text();
}

bool holds(const drive_settings& row, std::string_view needle)
{
    const std::string_view columns[] = {row.modelfamily, row.modelregexp, row.firmwareregexp, row.warningmsg,
                                        row.presets};
    return std::ranges::any_of(columns,
                               [&](std::string_view column) { return base::containsIgnoringCase(column, needle); });
}

void search(const std::string& wanted)
{
    constexpr std::size_t widest = 80;
    const std::string needle = base::lowercased(wanted);
    Table lines({{"Table"}, {"Row", Table::Align::right}, {"Family"}, {"Model"}});
    bool found = false;
    for (const DriveTable* const table : driveTables()) {
        for (std::size_t i = 0; i < table->rows.size(); ++i) {
            const drive_settings& row = table->rows[i];
            if (!holds(row, needle))
                continue;
            std::string model = printable(row.modelregexp.substr(0, widest));
            if (row.modelregexp.size() > widest)
                model += "...";
            lines.add({printable(table->name), std::to_string(i), printable(row.modelfamily), std::move(model)});
            found = true;
        }
    }
    print(found ? lines.text() : "No row holds \"" + printable(wanted) + "\".\n");
}

/// Where a row stands, for its author.
std::string placeOf(const DriveTable& table, std::size_t row)
{
    return row < table.lines.size() ? fmt::format("line {}", table.lines[row]) : fmt::format("row {}", row);
}

bool lint(const DriveTable& table)
{
    const auto findings = lintDriveTable(table);
    bool isSound = true;
    for (const DriveTableFinding& finding : findings) {
        using Kind = DriveTableFinding::Kind;
        print(printable(fmt::format("{}: {} ({}): {}", table.name, placeOf(table, finding.row),
                                    table.rows[finding.row].modelfamily, finding.text)) +
              '\n');
        isSound = isSound && (finding.kind == Kind::unreachable || finding.kind == Kind::unchecked);
    }
    print(printable(fmt::format("{}: {} rows, {} findings", titleOf(table), table.rows.size(), findings.size())) +
          '\n');
    return isSound;
}

int lintAll()
{
    int status = success;
    for (const std::string& fault : driveTableFaults()) {
        print(printable(fault) + '\n');
        status = readFailed;
    }
    for (const DriveTable* const table : driveTables())
        status |= lint(*table) ? success : readFailed;
    return status;
}

} // namespace

void addDatabase(CLI::App& app, int& status)
{
    CLI::App* const database = app.add_subcommand("db", "Look into the drive tables");
    database->require_subcommand(1);

    struct ShowArguments {
        ATADeviceInfo device;
        bool json = false;
    };
    CLI::App* const show = database->add_subcommand("show", "The row of a model and how its attributes are read");
    const auto arguments = std::make_shared<ShowArguments>();
    show->add_option("MODEL", arguments->device.model, "The drive's model")->required();
    show->add_option("FIRMWARE", arguments->device.firmware, "The drive's firmware revision");
    show->add_flag("--json", arguments->json, "Print as JSON");
    show->callback([arguments] {
        const KnownDrive drive = knownDrive(arguments->device);
        print(arguments->json ? jsonText(drive) : plainText(drive));
    });

    CLI::App* const find = database->add_subcommand("search", "The rows that hold a text, in any case of letters");
    const auto wanted = std::make_shared<std::string>();
    find->add_option("TEXT", *wanted, "What to look for")->required();
    find->callback([wanted] { search(*wanted); });

    CLI::App* const check =
        database->add_subcommand("lint", "Check every row: expressions, presets, rows never reached");
    check->callback([&status] { status = lintAll(); });
}

} // namespace vantorel::host
