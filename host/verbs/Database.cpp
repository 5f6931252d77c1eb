// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/Verbs.h"
#include "host/console/Output.h"
#include "host/console/Status.h"
#include "host/console/Text.h"
#include "vantorel/ata/DriveTableLint.h"
#include "vantorel/ata/DriveTables.h"
#include "vantorel/base/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <memory>

namespace vantorel::host {

namespace {

using Json = nlohmann::ordered_json;

std::size_t indexOf(const drive_settings& row)
{
    return static_cast<std::size_t>(&row - builtin_knowndrives.data());
}

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
    Json document = {{"row", row ? Json(drive.rowIndex) : Json(nullptr)},
                     {"modelfamily", column(&drive_settings::modelfamily)},
                     {"modelregexp", column(&drive_settings::modelregexp)},
                     {"firmwareregexp", column(&drive_settings::firmwareregexp)},
                     {"warningmsg", column(&drive_settings::warningmsg)},
                     {"presets", column(&drive_settings::presets)},
                     {"definitions", Json::array()}};
    for (const Resolved& resolved : resolvedDefinitions(drive))
        document["definitions"].push_back(jsonOf(resolved));
    return document.dump(2) + '\n';
}

std::string plainText(const KnownDrive& drive)
{
    const drive_settings* const row = drive.row;
    std::string text = "No row matches; the default definitions hold.\n";
    if (row) {
        text = fmt::format("Row         {}\nFamily      {}\nModel       {}\nFirmware    {}\nPresets     {}\n",
                           drive.rowIndex, row->modelfamily, row->modelregexp,
                           row->firmwareregexp.empty() ? "(any)" : row->firmwareregexp, row->presets);
        if (!row->warningmsg.empty())
            text += fmt::format("Warning     {}\n", base::replacingAll(row->warningmsg, "\n", "\n            "));
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

void search(const std::string& wanted)
{
    const std::string needle = base::lowercased(wanted);
    Table table({{"Row", Table::Align::right}, {"Family"}, {"Model"}});
    bool found = false;
    for (const drive_settings& row : builtin_knowndrives) {
        const std::string_view columns[] = {row.modelfamily, row.modelregexp, row.firmwareregexp, row.warningmsg,
                                            row.presets};
        if (std::ranges::none_of(columns,
                                 [&](std::string_view column) { return base::containsIgnoringCase(column, needle); }))
            continue;
        constexpr std::size_t widest = 80;
        std::string model(row.modelregexp.substr(0, widest));
        if (row.modelregexp.size() > widest)
            model += "...";
        table.add({std::to_string(indexOf(row)), std::string(row.modelfamily), model});
        found = true;
    }
    print(found ? table.text() : "No row holds \"" + printable(wanted) + "\".\n");
}

int lint()
{
    using Kind = DriveTableFinding::Kind;
    const auto findings = lintDriveTable(builtInDriveTable());
    bool sound = true;
    for (const DriveTableFinding& finding : findings) {
        print(
            fmt::format("row {} ({}): {}\n", finding.row, builtin_knowndrives[finding.row].modelfamily, finding.text));
        sound = sound && finding.kind == Kind::unreachable;
    }
    print(fmt::format("{} rows, {} findings\n", builtin_knowndrives.size(), findings.size()));
    return sound ? success : readFailed;
}

} // namespace

void addDatabase(CLI::App& app, int& status)
{
    CLI::App* const database = app.add_subcommand("db", "Look into the drive table");
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
    check->callback([&status] { status = lint(); });
}

} // namespace vantorel::host
