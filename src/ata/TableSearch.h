// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/ata/DriveDatabase.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel::ata {

/// Appends texts of which every text that `expression` matches holds at least one, in any case of letters; an empty
/// text among them says that nothing can be told. One for each alternative of the expression's top level: of the runs
/// of plain characters outside groups the last with four characters or more, else the longest. Views into `expression`.
/// Reads the syntax of the tables: alternation, groups, classes, '.', '?', '*', '+', counts, escapes.
void appendRequiredLiterals(std::string_view expression, std::vector<std::string_view>& literals);

/// What is wrong with an expression; absent when it compiles.
[[nodiscard]] std::optional<std::string> faultOf(std::string_view expression);

/// The steps that one look-up takes in the expressions of all rows that it tries. A text or an expression that is made
/// to be slow ends the search in one row, as if that did not match, and at last the whole look-up.
struct SearchSteps {
    static constexpr std::uint64_t mostInRow = 20'000;
    static constexpr std::uint64_t mostInAll = 1'000'000;

    std::uint64_t taken = 0;
    std::uint64_t inRow = 0;

    [[nodiscard]] bool mayTakeOne() { return ++inRow <= mostInRow && ++taken <= mostInAll; }
};

/// The texts of a drive, made ready for a search.
class Question {
public:
    Question(std::string_view model, std::string_view firmware);
    ~Question();
    Question(Question&&) noexcept;

    struct Texts;
    [[nodiscard]] const Texts& texts() const { return *texts_; }

private:
    std::unique_ptr<const Texts> texts_;
};

/// Searches the rows of a table, whose expressions are compiled when first needed and kept. One thread at a time.
///
/// Most rows are ruled out without a regular expression, and so are never compiled: a text that holds none of a row's
/// required literals cannot match it.
class TableSearch {
public:
    /// `rows` outlives the search.
    TableSearch(std::span<const drive_settings> rows, DriveTableMatching matching);
    ~TableSearch();
    TableSearch(TableSearch&&) noexcept;

    static constexpr std::size_t noRow = ~std::size_t{0};

    /// The index of the first row that matches, `noRow` when none does.
    [[nodiscard]] std::size_t find(const Question& question, SearchSteps& steps);

    /// The same for a search of its own.
    [[nodiscard]] std::size_t find(std::string_view model, std::string_view firmware);

private:
    struct Row;

    void makeNextRow();

    std::span<const drive_settings> table_;
    DriveTableMatching matching_;
    std::vector<Row> rows_;                  // made as far as a search has come
    std::vector<std::string_view> literals_; // those that the rows' models require, row after row
};

} // namespace vantorel::ata
