// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/ata/DriveTableLint.h"

#include "LiteralAlternatives.h"
#include "PresetReader.h"
#include "TableSearch.h"

#include <algorithm>
#include <map>
#include <set>

namespace vantorel {

namespace {

using Kind = DriveTableFinding::Kind;

constexpr std::size_t mostTexts = 4096;

// What the search for unreachable rows may cost in all, in rows looked at, steps taken and texts made: some seconds.
constexpr std::size_t mostWork = 50'000'000;

class Linter {
public:
    explicit Linter(const DriveTable& table) : table_(table), rows_(table.rows), search_(table.rows, table.matching) {}

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
        if (const auto fault = ata::faultOf(expression))
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

    void checkReachable()
    {
        const drive_settings& row = rows_[row_];
        const bool whole = table_.matching == DriveTableMatching::whole;
        if (row.modelfamily == "DEFAULT" || (whole && !describesDrives(row)))
            return; // reached by their names
        const auto [first, isNew] = rowsByExpressions_.try_emplace({row.modelregexp, row.firmwareregexp}, row_);
        if (!isNew)
            return report(Kind::unreachable, "it has the expressions of row " + std::to_string(first->second));
        if (whole && row.modelfamily.starts_with("USB:") && !row.firmwareregexp.empty())
            return; // rows of bridges with a version are preferred to those without
        if (work_ > mostWork)
            return;
        if (const auto earlier = earlierRows(row); !earlier.empty()) {
            std::string text = "every drive that it describes is matched earlier, by row";
            for (const std::size_t found : earlier)
                text += ' ' + std::to_string(found);
            report(Kind::unreachable, std::move(text));
        }
        if (work_ > mostWork)
            report(Kind::unchecked, "the table is large: whether later rows are ever reached has not been looked at");
    }

    /// The rows that match in place of `row`; none when it may be reached. What an earlier row finds in a listed text,
    /// it finds in every text that holds that one as well; so it is enough when every listed text leads to one.
    std::set<std::size_t> earlierRows(const drive_settings& row)
    {
        const auto models = ata::literalAlternatives(row.modelregexp, mostTexts, table_.matching);
        const auto firmwares = row.firmwareregexp.empty()
                                   ? std::vector<std::string>{"", "\x01"} // any: none, and one that nobody names
                                   : ata::literalAlternatives(row.firmwareregexp, mostTexts, table_.matching);
        if (!models || !firmwares || models->size() * firmwares->size() > mostTexts) {
            work_ += 8 * mostTexts;
            return {};
        }
        std::set<std::size_t> earlier;
        for (const std::string& model : *models) {
            for (const std::string& firmware : *firmwares) {
                ata::SearchSteps steps;
                const std::size_t found = search_.find(ata::Question(model, firmware), steps);
                work_ += std::min(found, rows_.size()) + steps.taken;
                if (found >= row_)
                    return {};
                earlier.insert(found);
            }
        }
        return earlier;
    }

    const DriveTable& table_;
    std::span<const drive_settings> rows_;
    ata::TableSearch search_;
    std::map<std::pair<std::string_view, std::string_view>, std::size_t> rowsByExpressions_;
    std::size_t row_ = 0;
    std::size_t work_ = 0;
    std::vector<DriveTableFinding> findings_;
};

} // namespace

std::vector<DriveTableFinding> lintDriveTable(const DriveTable& table)
{
    return Linter(table).findings();
}

} // namespace vantorel
