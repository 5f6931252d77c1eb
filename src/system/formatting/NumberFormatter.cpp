// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/formatting/NumberFormatter.h"

#include "DecimalText.h"
#include "Icu.h"
#include "vantorel/system/Localization.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

namespace vantorel::system {

namespace {

constexpr std::string_view english = "en_US";

std::atomic<bool> isAlwaysEnglish = false;

/// The locale that the environment names for a category (`LC_...`), in ICU's spelling; absent for what is none.
std::optional<std::string> localeFor(const char* category)
{
    constexpr std::size_t longest = 64; // with encoding and variant
    for (const char* variable : {"LC_ALL", category, "LANG"}) {
        const char* const value = std::getenv(variable);
        if (!value || !*value)
            continue;
        const std::string_view whole = value;
        const std::string_view name = whole.substr(0, whole.find_first_of(".@"));
        if (name == "C" || name == "POSIX")
            break;
        return whole.size() <= longest && isLocaleName(name) ? std::optional(std::string(name)) : std::nullopt;
    }
    return std::string(english);
}

/// The locale of the process; English for what is none. ICU makes the locale of the messages, too, whichever it is
/// asked for.
std::string localeName()
{
    const auto numbers = localeFor("LC_NUMERIC");
    return numbers && localeFor("LC_MESSAGES") ? *numbers : std::string(english);
}

/// Puts the English grouping into plain digits.
std::string grouped(std::string digits)
{
    for (std::size_t i = std::min(digits.find('.'), digits.size()); i > 3; i -= 3)
        digits.insert(i - 3, 1, ',');
    return digits;
}

/// A finite number that is not negative in plain digits: its shortest decimal form, rounded half to even, without zeros
/// behind the last digit that counts. ICU rounds the same form in the same way.
std::string plainDigits(double number, int fractionDigits)
{
    std::array<char, 32> buffer;
    const char* const end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, std::chars_format::scientific).ptr;
    const std::string_view text(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
    const std::size_t mark = text.find('e');
    int exponent = 0;
    std::from_chars(text.data() + mark + (text[mark + 1] == '+' ? 2 : 1), end, exponent);

    std::string digits(text.substr(0, 1));
    if (mark > 2)
        digits += text.substr(2, mark - 2);
    std::size_t whole = 1; // digits before the point
    if (exponent < 0)
        digits.insert(0, static_cast<std::size_t>(-exponent), '0');
    else
        whole += static_cast<std::size_t>(exponent);
    const std::size_t kept = whole + static_cast<std::size_t>(fractionDigits);
    if (digits.size() > kept) {
        const bool half = digits[kept] == '5' && digits.size() == kept + 1;
        const bool up = half ? (digits[kept - 1] - '0') % 2 == 1 : digits[kept] >= '5';
        digits.resize(kept);
        if (up) {
            std::size_t i = kept;
            for (; i > 0 && digits[i - 1] == '9'; --i)
                digits[i - 1] = '0';
            if (i > 0) {
                ++digits[i - 1];
            } else {
                digits.insert(0, 1, '1');
                ++whole;
            }
        }
    }
    if (digits.size() < whole)
        digits.append(whole - digits.size(), '0');
    std::string fraction = digits.substr(whole);
    fraction.erase(fraction.find_last_not_of('0') + 1);
    digits.resize(whole);
    return fraction.empty() ? digits : digits + '.' + fraction;
}

/// What ICU writes in English.
std::string englishText(double number, int fractionDigits)
{
    const std::string sign = std::signbit(number) ? "-" : "";
    if (std::isnan(number))
        return sign + "NaN";
    return sign + (std::isinf(number) ? "\u221E" : grouped(plainDigits(std::abs(number), fractionDigits)));
}

/// ICU's formatters of the process's locale, one for each number of fraction digits. Made once, never closed.
class Formatters {
public:
    static Formatters& shared()
    {
        static Formatters formatters;
        return formatters;
    }

    [[nodiscard]] std::string description() const
    {
        if (locale_ == english)
            return locale_;
        return usable_ ? locale_ + ", by ICU " + std::to_string(icu_.version)
                       : std::string(english) + ", as there is no ICU for " + locale_;
    }

    /// What `call` writes with the formatter for so many fraction digits; absent in English and where ICU cannot be
    /// used.
    template <typename Call>
    std::optional<std::string> written(int fractionDigits, Call call)
    {
        if (isAlwaysEnglish || !usable_)
            return std::nullopt;
        const std::lock_guard lock(mutex_);
        UErrorCode status = U_ZERO_ERROR;
        std::array<UChar, 512> wide;
        const std::int32_t length = call(icu_, formats_[static_cast<std::size_t>(fractionDigits)], wide.data(),
                                         static_cast<std::int32_t>(wide.size()), &status);
        std::array<char, 3 * wide.size()> text;
        std::int32_t size = 0;
        icu_.toUtf8(text.data(), static_cast<std::int32_t>(text.size()), &size, wide.data(), length, &status);
        if (U_FAILURE(status))
            return std::nullopt;
        return std::string(text.data(), static_cast<std::size_t>(size));
    }

private:
    Formatters() : Formatters(localeName()) {}
    // English is written without ICU, whose opening takes milliseconds.
    explicit Formatters(std::string locale)
        : locale_(std::move(locale)), usable_(locale_ != english && icu_.load() && openAll())
    {}

    bool openAll()
    {
        UErrorCode status = U_ZERO_ERROR;
        formats_[0] = icu_.open(UNUM_DECIMAL, nullptr, 0, locale_.c_str(), nullptr, &status);
        for (std::size_t digits = 0; digits < formats_.size() && U_SUCCESS(status); ++digits) {
            if (digits > 0)
                formats_[digits] = icu_.clone(formats_[0], &status);
            if (U_SUCCESS(status))
                icu_.setAttribute(formats_[digits], UNUM_MAX_FRACTION_DIGITS, static_cast<std::int32_t>(digits));
        }
        return U_SUCCESS(status);
    }

    const std::string locale_;
    Icu icu_;
    std::array<UNumberFormat*, mostFractionDigits + 1> formats_{};
    std::mutex mutex_; // ICU promises no formatter to two threads at once
    const bool usable_;
};

} // namespace

void writeNumbersInEnglish()
{
    isAlwaysEnglish = true;
}

std::string decimalText(double number, int fractionDigits)
{
    const auto write = [number](const Icu& icu, UNumberFormat* format, UChar* text, std::int32_t size,
                                UErrorCode* status) {
        return icu.formatDouble(format, number, text, size, nullptr, status);
    };
    const auto text = Formatters::shared().written(fractionDigits, write);
    return text ? *text : englishText(number, fractionDigits);
}

std::string decimalText(std::uint64_t number)
{
    const auto write = [number](const Icu& icu, UNumberFormat* format, UChar* text, std::int32_t size,
                                UErrorCode* status) {
        if (std::in_range<std::int64_t>(number))
            return icu.formatInt64(format, static_cast<std::int64_t>(number), text, size, nullptr, status);
        const std::string digits = std::to_string(number);
        return icu.formatDecimal(format, digits.data(), static_cast<std::int32_t>(digits.size()), text, size, nullptr,
                                 status);
    };
    const auto text = Formatters::shared().written(0, write);
    return text ? *text : grouped(std::to_string(number));
}

std::string numberLocale()
{
    return Formatters::shared().description();
}

std::string localizedStringFromNumber(std::uint64_t number, NumberFormatterStyle)
{
    return decimalText(number);
}

} // namespace vantorel::system
