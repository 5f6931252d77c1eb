// SPDX-License-Identifier: GPL-2.0-or-later
#include "DriveTable.h"

#include "vantorel/base/Text.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <array>
#include <bitset>

namespace vantorel::ata {

namespace {

// Far more than any real text takes, and a few milliseconds at the most for one made to be slow.
constexpr std::uint32_t mostSteps = 1'000'000;

// Answers kept; a host that reads drives needs a handful.
constexpr std::size_t mostAnswers = 256;

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
    explicit Subject(std::string_view bytes) : text_(base::toUtf8(bytes)), lowercased_(base::lowercased(text_))
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

/// What one search needs of the engine.
class Matcher {
public:
    Matcher() : data_(pcre2_match_data_create(1, nullptr)), context_(pcre2_match_context_create(nullptr))
    {
        if (context_)
            pcre2_set_match_limit(context_.get(), mostSteps);
    }

    bool matches(const pcre2_code& code, const std::string& text) const
    {
        return data_ && context_ &&
               pcre2_match(&code, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), 0, PCRE2_NO_UTF_CHECK,
                           data_.get(), context_.get()) >= 0;
    }

private:
    MatchData data_;
    MatchContext context_;
};

/// The compiled expression, empty when it does not compile; then `error` and `place` tell why.
Code compile(std::string_view expression, int& error, PCRE2_SIZE& place)
{
    return Code(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(expression.data()), expression.size(),
                              PCRE2_CASELESS | PCRE2_UTF, &error, &place, nullptr));
}

/// An expression of the table. One that does not compile matches nothing.
class Expression {
public:
    explicit Expression(std::string_view pattern) : pattern_(pattern) {}

    bool occursIn(const Subject& subject, const Matcher& matcher)
    {
        if (literals_.empty())
            literals_ = requiredLiterals(pattern_);
        if (std::ranges::none_of(literals_, [&](std::string_view literal) { return subject.mayHold(literal); }))
            return false;
        if (!compiled_) {
            int error = 0;
            PCRE2_SIZE place = 0;
            compiled_ = compile(pattern_, error, place);
        }
        return *compiled_ && matcher.matches(**compiled_, subject.text());
    }

private:
    std::string_view pattern_;
    std::vector<std::string_view> literals_; // empty until first needed
    std::optional<Code> compiled_;           // empty inside when the pattern does not compile
};

} // namespace

struct DriveTable::Row {
    explicit Row(const drive_settings& settings)
        : isDefault(settings.modelfamily == "DEFAULT"), model(settings.modelregexp)
    {
        if (!settings.firmwareregexp.empty())
            firmware.emplace(settings.firmwareregexp);
    }

    bool isDefault;
    Expression model;
    std::optional<Expression> firmware;
};

DriveTable::DriveTable(std::span<const drive_settings> rows)
{
    rows_.reserve(rows.size());
    for (const drive_settings& row : rows)
        rows_.emplace_back(row);
}

DriveTable::~DriveTable() = default;

std::size_t DriveTable::find(std::string_view model, std::string_view firmware)
{
    std::string question(model);
    question += '\0';
    question += firmware;

    const std::lock_guard lock(mutex_);
    if (const auto known = answers_.find(question); known != answers_.end())
        return known->second;
    if (answers_.size() >= mostAnswers)
        answers_.clear();
    return answers_.emplace(std::move(question), search(model, firmware)).first->second;
}

std::optional<std::string> DriveTable::faultOf(std::string_view expression)
{
    int error = 0;
    PCRE2_SIZE place = 0;
    if (compile(expression, error, place))
        return std::nullopt;
    std::array<PCRE2_UCHAR, 256> message{};
    pcre2_get_error_message(error, message.data(), message.size());
    return std::string(message.begin(), std::ranges::find(message, 0)) + " at character " + std::to_string(place);
}

std::size_t DriveTable::search(std::string_view model, std::string_view firmware)
{
    const Subject modelSubject(model);
    const Subject firmwareSubject(firmware);
    const Matcher matcher;
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        Row& row = rows_[i];
        if (row.isDefault && model == "DEFAULT")
            return i;
        if (row.model.occursIn(modelSubject, matcher) &&
            (!row.firmware || row.firmware->occursIn(firmwareSubject, matcher)))
            return i;
    }
    return noRow;
}

} // namespace vantorel::ata
