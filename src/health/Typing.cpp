// SPDX-License-Identifier: GPL-2.0-or-later
#include "Typing.h"

#include "ata/AttributeFormat.h"

#include <algorithm>

namespace vantorel::health {

using Format = ata_attr_raw_format;

namespace {

constexpr std::uint64_t lowBits(std::uint64_t number, unsigned bits)
{
    return number & ((std::uint64_t{1} << bits) - 1);
}

/// What is left of a plain number when only a part of it counts, and its decimals.
struct Part {
    std::uint64_t number;
    std::uint8_t decimals = 0;
    unsigned bits = 48; ///< how wide the part is
};

Part partOf(std::uint64_t number, Width width, const DriveNames& drive)
{
    switch (width) {
    case Width::whole:
        return {number};
    case Width::low8:
        return {lowBits(number, 8), 0, 8};
    case Width::low16:
        return {lowBits(number, 16), 0, 16};
    case Width::low24:
        return {lowBits(number, 24), 0, 24};
    case Width::low32:
        return {lowBits(number, 32), 0, 32};
    case Width::low16IfPacked:
        return {lowBits(number, 16), 0, 16};
    case Width::above32:
        return {number >> 32, 0, 24};
    case Width::seagateLow16:
        return isSeagate(drive) ? Part{lowBits(number, 16), 0, 16} : Part{lowBits(number, 32), 0, 32};
    case Width::seagateHigh:
        return isSeagate(drive) ? Part{number >> 32, 0, 16} : Part{number};
    case Width::highByte:
        return {100 * lowBits(number >> 8, 8) + lowBits(number, 8), 2, 16};
    case Width::hundredths:
        return {lowBits(number, 16), 2, 16};
    }
    return {number};
}

/// The lowest and highest temperature, which lie behind the current one as two words or as two bytes, in either order.
void readExtremes(const std::array<std::uint8_t, 6>& raw, TypedValue& value)
{
    const auto signedByte = [&](std::size_t i) { return static_cast<int>(static_cast<std::int8_t>(raw[i])); };
    const auto word = [&](std::size_t i) {
        return static_cast<int>(static_cast<std::int16_t>(raw[i] | static_cast<unsigned>(raw[i + 1]) << 8U));
    };
    const auto take = [&](int one, int other) {
        const auto [low, high] = std::minmax(one, other);
        if (low < -60 || high > 120 || low > value.number || high < value.number || (low == 0 && high == 0))
            return false;
        value.minimum = low;
        value.maximum = high;
        return true;
    };
    const bool wordsUsed = raw[4] != 0 || raw[5] != 0;
    if (wordsUsed ? take(word(2), word(4)) : false)
        return;
    if (raw[4] == 0 && raw[5] == 0 && (raw[2] != 0 || raw[3] != 0))
        (void)take(signedByte(2), signedByte(3));
}

void addBeside(TypedValue& value, std::uint64_t number)
{
    value.besides[value.besidesCount++] = number;
}

void readTemperature(const IOATASmartAttribute& attribute, TypedValue& value)
{
    value.unit = Unit::celsius;
    value.number = static_cast<std::int8_t>(attribute.rawvalue[0]);
    readExtremes(attribute.rawvalue, value);
}

/// Takes the number of a format that has parts or a unit of its own. Returns whether it is one.
bool readByFormat(Format format, const IOATASmartAttribute& attribute, TypedValue& value)
{
    const auto raw = static_cast<std::uint64_t>(value.raw);
    const auto word = [&](std::size_t i) {
        return std::uint64_t{attribute.rawvalue[2 * i]} + 256 * std::uint64_t{attribute.rawvalue[2 * i + 1]};
    };
    const auto time = [&](std::uint64_t number, Unit unit) {
        value.number = number;
        value.unit = unit;
    };
    const auto pair = [&](std::uint64_t first, std::uint64_t beside) {
        value.number = first;
        addBeside(value, beside);
    };
    switch (format) {
    case Format::raw8:
        value.number = attribute.rawvalue[0];
        return true;
    case Format::raw16:
    case Format::raw16_raw16:
        value.number = word(0);
        if (word(1) != 0 || word(2) != 0) {
            addBeside(value, word(1));
            addBeside(value, word(2));
        }
        return true;
    case Format::raw16_avg16:
        value.number = word(0);
        if (word(1) != 0)
            addBeside(value, word(1));
        return true;
    case Format::raw24_raw8:
        value.number = lowBits(raw, 24);
        return true;
    case Format::raw24_div_raw24:
        pair(raw >> 24, lowBits(raw, 24));
        return true;
    case Format::raw24_div_raw32:
        pair(raw >> 32, lowBits(raw, 32));
        return true;
    case Format::sec2hour:
        time(raw, Unit::seconds);
        return true;
    case Format::min2hour:
        time(word(0) + 65536 * word(1), Unit::minutes);
        return true;
    case Format::halfmin2hour:
        time(30 * raw, Unit::seconds);
        return true;
    case Format::msec24hour32:
        time(3'600'000 * lowBits(raw, 32) + (raw >> 32), Unit::milliseconds);
        return true;
    case Format::tempminmax:
        readTemperature(attribute, value);
        return true;
    case Format::temp10x:
        value.number = static_cast<std::int16_t>(word(0));
        value.decimals = 1;
        value.unit = Unit::celsius;
        return true;
    default:
        return false;
    }
}

bool isPlausible(const TypedValue& value, Meaning meaning)
{
    switch (value.unit) {
    case Unit::celsius: {
        const Int128 tenth = value.decimals == 1 ? 10 : 1;
        return value.number >= coldest * tenth && value.number <= hottest * tenth;
    }
    case Unit::hours:
    case Unit::minutes:
    case Unit::seconds:
    case Unit::milliseconds: {
        if (meaning == Meaning::spinUpTime || meaning == Meaning::workload)
            return true;
        const auto hours = wholeHours(value);
        return hours && *hours <= mostHours;
    }
    case Unit::percent:
        if (meaning == Meaning::enduranceUsed)
            return value.number <= (value.decimals == 2 ? 25'500 : 255);
        return meaning == Meaning::workload || value.number <= (value.decimals == 2 ? 10'000 : 100);
    default:
        return true;
    }
}

/// A counter of 32 bits or more with every bit set was never written.
bool isUnwritten(const IOATASmartAttribute& attribute, std::uint64_t number, unsigned bits)
{
    if (std::ranges::all_of(attribute.rawvalue, [](std::uint8_t byte) { return byte == 0xFF; }))
        return true;
    return bits >= 32 && number == lowBits(~std::uint64_t{0}, bits);
}

} // namespace

TypedValue measured(UInt128 count, const Measure& measure)
{
    constexpr auto largest = static_cast<UInt128>(~static_cast<UInt128>(0) >> 1U);
    TypedValue value{.unit = measure.unit, .raw = count};
    value.plausible = count <= largest / measure.factor;
    value.number = static_cast<Int128>(value.plausible ? count * measure.factor : largest);
    return value;
}

TypedValue typedValue(const IOATASmartAttribute& attribute, const ATASmartAttributeDefinition& definition,
                      const MeaningRow* row, const DriveNames& drive)
{
    const std::uint64_t raw = rawNumber(attribute, definition);
    const Meaning meaning = row ? row->meaning : Meaning::unknown;
    TypedValue value{.number = raw, .raw = raw};
    unsigned bits = 48;
    // A word that holds hundredths does so in whatever words the table shows it.
    const bool holdsHundredths = row && (row->width == Width::highByte || row->width == Width::hundredths);
    if (meaning == Meaning::temperature && row->measure.unit == Unit::celsius &&
        rawFormat(definition, attribute.attributeId) != Format::temp10x) {
        readTemperature(attribute, value);
    } else if ((!readByFormat(rawFormat(definition, attribute.attributeId), attribute, value) && row) ||
               holdsHundredths) {
        const Part part = partOf(raw, row->width, drive);
        value.number = part.number;
        value.decimals = part.decimals;
        bits = part.bits;
    }
    if (row && value.unit == Unit::none) {
        value.unit = row->measure.unit;
        value.number *= row->measure.factor;
    }
    value.plausible = !isUnwritten(attribute, lowBits(raw, bits), bits) && isPlausible(value, meaning);
    return value;
}

} // namespace vantorel::health
