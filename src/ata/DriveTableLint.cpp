// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/ata/DriveTableLint.h"

#include "DriveTable.h"
#include "LiteralAlternatives.h"
#include "PresetReader.h"

#include <set>

namespace vantorel {

namespace {

using Kind = DriveTableFinding::Kind;

constexpr std::size_t mostTexts = 4096;

class Linter {
public:
    explicit Linter(std::span<const drive_settings> rows) : rows_(rows), table_(rows) {}

    std::vector<DriveTableFinding> findings() &&
    {
        for (row_ = 0; row_ < rows_.size(); ++row_) {
            checkExpression(rows_[row_].modelregexp, "model");
            checkExpression(rows_[row_].firmwareregexp, "firmware");
            checkPresets();
            checkReachable();
        }
        return std::move(findings_);
    }

private:
    void report(Kind kind, std::string text) { findings_.push_back({kind, row_, std::move(text)}); }

    void checkExpression(std::string_view expression, const std::string& column)
    {
        if (const auto fault = ata::DriveTable::faultOf(expression))
            report(Kind::badExpression, "the " + column + " expression does not compile: " + *fault);
    }

    void checkPresets()
    {
        const ata::PresetReading reading = ata::readPresets(rows_[row_].presets);
        if (reading.stopped)
            report(Kind::badPresets, "the presets are read only up to \"-v " + *reading.stopped + "\": unknown format");
        for (const std::string& piece : reading.skipped) {
            if (!piece.starts_with("-")) // other options, such as -d and -F, are none of ours
                report(Kind::badPresets, "the preset \"-v " + piece + "\" cannot be read");
        }
    }

    /// A text that the row matches holds one of the listed texts, and what an earlier row finds in that, it finds in
    /// the whole as well. So the row is unreachable when every listed text leads to an earlier row.
    void checkReachable()
    {
        const drive_settings& row = rows_[row_];
        if (row.modelfamily == "DEFAULT")
            return; // reached by its name
        const auto models = ata::literalAlternatives(row.modelregexp, mostTexts);
        const auto firmwares = ata::literalAlternatives(row.firmwareregexp, mostTexts);
        if (!models || !firmwares || models->size() * firmwares->size() > mostTexts)
            return;
        std::set<std::size_t> earlier;
        for (const std::string& model : *models) {
            for (const std::string& firmware : *firmwares) {
                const std::size_t found = table_.find(model, firmware);
                if (found >= row_)
                    return;
                earlier.insert(found);
            }
        }
        std::string text = "every drive that it describes is matched earlier, by row";
        for (const std::size_t found : earlier)
            text += ' ' + std::to_string(found);
        report(Kind::unreachable, std::move(text));
    }

    std::span<const drive_settings> rows_;
    ata::DriveTable table_;
    std::size_t row_ = 0;
    std::vector<DriveTableFinding> findings_;
};

} // namespace

std::vector<DriveTableFinding> lintDriveTable(std::span<const drive_settings> rows)
{
    return Linter(rows).findings();
}

} // namespace vantorel
