// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/ata/DriveDatabase.h"

#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantorel::ata {

/// Texts of which every text that `expression` matches holds at least one, in any case of letters; an empty text among
/// them says that nothing can be told. One for each alternative of the expression's top level, the longest run of plain
/// characters outside groups; views into `expression`. Reads the syntax of the table: alternation, groups, classes,
/// '.', '?', '*', '+', counts, escapes.
[[nodiscard]] std::vector<std::string_view> requiredLiterals(std::string_view expression);

/// A table of rows with their expressions, compiled when first needed and kept. Any thread may search.
///
/// Most rows are ruled out without a regular expression, and so are never compiled: a text that holds none of a row's
/// required literals cannot match it.
class DriveTable {
public:
    /// `rows` outlives the table.
    explicit DriveTable(std::span<const drive_settings> rows);
    ~DriveTable();
    DriveTable(const DriveTable&) = delete;
    DriveTable& operator=(const DriveTable&) = delete;

    /// The index of the first row that matches, `noRow` when none does.
    [[nodiscard]] std::size_t find(std::string_view model, std::string_view firmware);

    static constexpr std::size_t noRow = ~std::size_t{0};

    /// What is wrong with an expression; absent when it compiles.
    [[nodiscard]] static std::optional<std::string> faultOf(std::string_view expression);

private:
    struct Row;

    std::size_t search(std::string_view model, std::string_view firmware);

    std::mutex mutex_; // guards all below
    std::vector<Row> rows_;
    std::unordered_map<std::string, std::size_t> answers_; // by model, NUL, firmware
};

} // namespace vantorel::ata
