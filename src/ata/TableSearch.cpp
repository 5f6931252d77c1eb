// SPDX-License-Identifier: GPL-2.0-or-later
#include "TableSearch.h"

#include "vantorel/base/Text.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <array>
#include <bitset>

namespace vantorel::ata {

namespace {

// Of a text no more is looked at: a model has 40 characters.
constexpr std::size_t longestText = 65'536;

template <auto Free>
struct Deleter {
    void operator()(auto* object) const { Free(object); }
};

using Code = std::unique_ptr<pcre2_code, Deleter<pcre2_code_free>>;
using MatchData = std::unique_ptr<pcre2_match_data, Deleter<pcre2_match_data_free>>;
using MatchContext = std::unique_ptr<pcre2_match_context, Deleter<pcre2_match_context_free>>;

/// A text to search in, mended to well-formed UTF-8 once.
class Subject {
public:
    explicit Subject(std::string_view bytes)
        : text_(base::toUtf8(bytes.substr(0, longestText))), lowercased_(base::lowercased(text_))
    {
        for (const char c : lowercased_)
            present_.set(static_cast<unsigned char>(c));
        // Beyond ASCII, letters match that are not each other's small form byte by byte: the Kelvin sign and "k".
        isAscii_ = std::ranges::all_of(text_, [](char c) { return static_cast<signed char>(c) >= 0; });
    }

    const std::string& text() const { return text_; }

    /// Whether the text may hold `literal` in some case of letters.
    bool mayHold(std::string_view literal) const
    {
        if (literal.empty() || !isAscii_)
            return true;
        if (!present_.test(static_cast<unsigned char>(base::lowercased(literal.front()))))
            return false;
        const auto same = [](char a, char b) { return a == base::lowercased(b); };
        return std::search(lowercased_.begin(), lowercased_.end(), literal.begin(), literal.end(), same) !=
               lowercased_.end();
    }

private:
    std::string text_;
    std::string lowercased_;
    std::bitset<256> present_;
    bool isAscii_ = false;
};

/// Called by the engine in front of every item of an expression that it comes to.
int countStep(pcre2_callout_block* /*place*/, void* steps)
{
    return static_cast<SearchSteps*>(steps)->mayTakeOne() ? 0 : PCRE2_ERROR_MATCHLIMIT;
}

/// What one search needs of the engine.
class Matcher {
public:
    Matcher(SearchSteps& steps, DriveTableMatching matching)
        : data_(pcre2_match_data_create(1, nullptr)), context_(pcre2_match_context_create(nullptr)), matching_(matching)
    {
        constexpr std::uint32_t mostKilobytes = 4096;
        if (context_) {
            pcre2_set_callout(context_.get(), countStep, &steps);
            pcre2_set_heap_limit(context_.get(), mostKilobytes);
        }
    }

    bool matches(const pcre2_code& code, const Subject& subject) const
    {
        const bool whole = matching_ == DriveTableMatching::whole;
        const std::string_view text = whole ? base::trimmed(subject.text()) : std::string_view(subject.text());
        return data_ && context_ &&
               pcre2_match(&code, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), 0,
                           PCRE2_NO_UTF_CHECK | (whole ? PCRE2_ANCHORED | PCRE2_ENDANCHORED : 0), data_.get(),
                           context_.get()) >= 0;
    }

private:
    MatchData data_;
    MatchContext context_;
    DriveTableMatching matching_;
};

/// The compiled expression, empty when it does not compile; then `error` and `place` tell why.
Code compile(std::string_view expression, int& error, PCRE2_SIZE& place)
{
    return Code(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(expression.data()), expression.size(),
                              PCRE2_CASELESS | PCRE2_UTF | PCRE2_AUTO_CALLOUT | PCRE2_NEVER_BACKSLASH_C, &error, &place,
                              nullptr));
}

/// An expression of the table, compiled when first needed. One that does not compile matches nothing.
class Expression {
public:
    bool matches(std::string_view pattern, const Subject& subject, const Matcher& matcher)
    {
        if (!isCompiled_) {
            int error = 0;
            PCRE2_SIZE place = 0;
            code_ = compile(pattern, error, place);
            isCompiled_ = true;
        }
        return code_ && matcher.matches(*code_, subject);
    }

private:
    Code code_;
    bool isCompiled_ = false;
};

} // namespace

std::optional<std::string> faultOf(std::string_view expression)
{
    int error = 0;
    PCRE2_SIZE place = 0;
    if (compile(expression, error, place))
        return std::nullopt;
    std::array<PCRE2_UCHAR, 256> message{};
    pcre2_get_error_message(error, message.data(), message.size());
    return std::string(message.begin(), std::ranges::find(message, 0)) + " at character " + std::to_string(place);
}

struct Question::Texts {
    Subject model;
    Subject firmware;
    bool asksForDefaults;
};

Question::Question(std::string_view model, std::string_view firmware)
    : texts_(new Texts{Subject(model), Subject(firmware), model == "DEFAULT"})
{}

Question::~Question() = default;
Question::Question(Question&&) noexcept = default;

struct TableSearch::Row {
    std::size_t literalsEnd; // where the required literals of the next row begin
    Expression model;
    Expression firmware;
};

TableSearch::TableSearch(std::span<const drive_settings> rows, DriveTableMatching matching)
    : table_(rows), matching_(matching)
{}

TableSearch::~TableSearch() = default;
TableSearch::TableSearch(TableSearch&&) noexcept = default;

void TableSearch::makeNextRow()
{
    appendRequiredLiterals(table_[rows_.size()].modelregexp, literals_);
    rows_.push_back({.literalsEnd = literals_.size(), .model = {}, .firmware = {}});
}

std::size_t TableSearch::find(const Question& question, SearchSteps& steps)
{
    const auto& [model, firmware, asksForDefaults] = question.texts();
    const bool whole = matching_ == DriveTableMatching::whole;
    const Matcher matcher(steps, matching_);
    std::size_t literal = 0;
    for (std::size_t i = 0; i < table_.size() && steps.taken <= SearchSteps::mostInAll; ++i) {
        if (i == rows_.size())
            makeNextRow();
        const drive_settings& row = table_[i];
        if (!whole && asksForDefaults && row.modelfamily == "DEFAULT")
            return i;
        bool mayMatch = false;
        for (; literal < rows_[i].literalsEnd; ++literal)
            mayMatch = mayMatch || model.mayHold(literals_[literal]);
        if (!mayMatch || (whole && !describesDrives(row)))
            continue;
        steps.inRow = 0;
        if (rows_[i].model.matches(row.modelregexp, model, matcher) &&
            (row.firmwareregexp.empty() || rows_[i].firmware.matches(row.firmwareregexp, firmware, matcher)))
            return i;
    }
    return noRow;
}

std::size_t TableSearch::find(std::string_view model, std::string_view firmware)
{
    SearchSteps steps;
    return find(Question(model, firmware), steps);
}

} // namespace vantorel::ata
