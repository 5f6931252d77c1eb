// SPDX-License-Identifier: GPL-2.0-or-later
#include "StoredValues.h"

#include "vantorel/base/Text.h"
#include "vantorel/base/Unicode.h"
#include "vantorel/smart/records/RecordJson.h"

#include <algorithm>
#include <utility>

namespace vantorel::host {

namespace {

template <typename Result>
std::vector<ValuePair> decodedValues(const Result& result)
{
    std::vector<ValuePair> pairs;
    for (const auto& value : result.smartValues)
        pairs.push_back({{}, dictionary(value).value_or(PropertyTable())});
    return pairs;
}

/// Whether both tell of the same value: by number, or by name where there are no numbers.
bool areSameValue(const PropertyTable& one, const PropertyTable& other)
{
    const char* const key = one.contains("id") ? "id" : "name";
    const PropertyValue* const name = one.lookUp(key);
    const PropertyValue* const otherName = other.lookUp(key);
    return name && otherName && *name == *otherName;
}

/// The text with the digits of every script as those of ASCII, and without what groups or points them.
std::u16string plain(std::string_view text)
{
    // The zeros of the scripts that locales write numbers in (Unicode, general category Nd).
    constexpr std::u16string_view zeros = u"0\u0660\u06F0\u07C0\u0966\u09E6\u0F20\u1040\u1C50\uABF0";
    constexpr std::u16string_view separators = u".,' \u00A0\u066B\u066C\u2009\u2019\u202F";
    const Data units = base::bigEndianUtf16(base::toUtf8(text));
    std::u16string plain;
    for (std::size_t i = 0; i < units.size(); i += 2) {
        const auto unit = static_cast<char16_t>(units[i] << 8U | units[i + 1]);
        const auto zero = std::ranges::find_if(zeros, [unit](char16_t z) { return unit >= z && unit <= z + 9; });
        if (zero != zeros.end())
            plain += static_cast<char16_t>(u'0' + (unit - *zero));
        else if (separators.find(unit) == std::u16string_view::npos)
            plain += unit;
    }
    return plain;
}

} // namespace

bool areSameNumber(std::string_view one, std::string_view other)
{
    return plain(one) == plain(other);
}

std::vector<std::string> ValuePair::differences() const
{
    std::vector<std::string> keys;
    if (!stored || !decoded)
        return keys;
    // The texts of an ATA value are the same in every locale, and a blank in them parts two numbers.
    const bool isLocalized = !decoded->contains("id");
    for (const auto& [key, value] : *decoded) {
        const PropertyValue* const before = stored->lookUp(key);
        const bool isSameNumber = isLocalized && key == "formattedValue" && before && before->text() && value.text() &&
                                  areSameNumber(*before->text(), *value.text());
        if (!before || !(*before == value || isSameNumber))
            keys.push_back(key);
    }
    for (const auto& [key, value] : *stored) {
        if (!decoded->contains(key))
            keys.push_back(key);
    }
    return keys;
}

std::vector<ValuePair> valuePairs(const ReportedDrive& drive)
{
    std::vector<ValuePair> pairs;
    if (drive.decoded())
        pairs = drive.decoded()->visit([](const auto& result) { return decodedValues(result); });
    const PropertyTable* const processed = drive.stored.processedSmart ? &*drive.stored.processedSmart : nullptr;
    const PropertyValue* const values = processed ? processed->lookUp("values") : nullptr;
    const PropertyArray none;
    const std::size_t decodedCount = pairs.size();
    for (const PropertyValue& value : values && values->array() ? *values->array() : none) {
        if (!value.table())
            continue;
        const auto end = pairs.begin() + static_cast<std::ptrdiff_t>(decodedCount);
        const auto same = std::find_if(pairs.begin(), end, [&](const ValuePair& pair) {
            return !pair.stored && areSameValue(*pair.decoded, *value.table());
        });
        if (same != end)
            same->stored = *value.table();
        else
            pairs.push_back({*value.table(), {}});
    }
    return pairs;
}

} // namespace vantorel::host
