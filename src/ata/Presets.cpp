// SPDX-License-Identifier: GPL-2.0-or-later
#include "PresetReader.h"
#include "vantorel/ata/DriveDatabase.h"
#include "vantorel/base/Text.h"

#include <charconv>
#include <vector>

namespace vantorel {

using enum ata_attr_raw_format;

constexpr std::array<format_name_entry, 19> format_names = {{
    {"raw8", raw8},
    {"raw16", raw16},
    {"raw48", raw48},
    {"hex48", hex48},
    {"raw56", raw56},
    {"hex56", hex56},
    {"raw64", raw64},
    {"hex64", hex64},
    {"raw16(raw16)", raw16_raw16},
    {"raw16(avg16)", raw16_avg16},
    {"raw24(raw8)", raw24_raw8},
    {"raw24/raw24", raw24_div_raw24},
    {"raw24/raw32", raw24_div_raw32},
    {"sec2hour", sec2hour},
    {"min2hour", min2hour},
    {"halfmin2hour", halfmin2hour},
    {"msec24hour32", msec24hour32},
    {"tempminmax", tempminmax},
    {"temp10x", temp10x},
}};

constexpr std::array<vendor_opt_entry, 14> vendor_opt_map = {{
    {"9,halfminutes", "9,halfmin2hour,Power_On_Half_Minutes"},
    {"9,minutes", "9,min2hour,Power_On_Minutes"},
    {"9,seconds", "9,sec2hour,Power_On_Seconds"},
    {"9,temp", "9,tempminmax,Temperature_Celsius"},
    {"192,emergencyretractcyclect", "192,raw48,Emerg_Retract_Cycle_Ct"},
    {"193,loadunload", "193,raw24/raw24"},
    {"194,10xCelsius", "194,temp10x,Temperature_Celsius_x10"},
    {"194,unknown", "194,raw48,Unknown_Attribute"},
    {"197,increasing", "197,raw48+,Total_Pending_Sectors"},
    {"198,offlinescanuncsectorct", "198,raw48,Offline_Scan_UNC_SectCt"},
    {"198,increasing", "198,raw48+,Total_Offl_Uncorrectabl"},
    {"200,writeerrorcount", "200,raw48,Write_Error_Count"},
    {"201,detectedtacount", "201,raw48,Detected_TA_Count"},
    {"220,temp", "220,tempminmax,Temperature_Celsius"},
}};

namespace {

constexpr std::string_view optionMark = "-v";

/// The text with an old argument replaced wherever it is the whole argument of a `-v` option.
std::string replacingArgument(std::string_view text, const vendor_opt_entry& entry)
{
    const std::string option = std::string(optionMark) + ' ' + std::string(entry.oldArgument);
    std::string result;
    for (;;) {
        const auto found = text.find(option);
        if (found == std::string_view::npos)
            return result += text;
        const auto end = found + option.size();
        if (end == text.size() || text[end] == ' ')
            result.append(text.substr(0, found)).append("-v ").append(entry.currentArgument);
        else
            result += text.substr(0, end);
        text.remove_prefix(end);
    }
}

/// The parts of a text between blanks and commas; two separators in a row have an empty part between them.
std::vector<std::string_view> components(std::string_view piece)
{
    std::vector<std::string_view> parts;
    for (;;) {
        const auto separator = piece.find_first_of(" ,");
        parts.push_back(piece.substr(0, separator));
        if (separator == std::string_view::npos)
            return parts;
        piece.remove_prefix(separator + 1);
    }
}

std::optional<long long> decimalInteger(std::string_view text)
{
    long long number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end ? std::optional(number) : std::nullopt;
}

ata_attr_raw_format formatNamed(std::string_view name)
{
    for (const format_name_entry& entry : format_names) {
        if (entry.name == name)
            return entry.format;
    }
    return none;
}

/// What an option says behind its number; absent when its format is unknown.
std::optional<ATASmartAttributeDefinition> definition(const std::vector<std::string_view>& parts)
{
    using Definition = ATASmartAttributeDefinition;
    Definition result;
    if (parts.size() > 2 && !parts[2].empty())
        result.name = std::string(parts[2]);

    const auto colon = parts[1].find(':');
    std::string format(parts[1].substr(0, colon));
    if (colon != std::string_view::npos) {
        const std::string_view rest = parts[1].substr(colon + 1);
        result.byteorder = std::string(rest.substr(0, rest.find(':')));
    }
    if (std::erase(format, '+') > 0)
        result.flags = Definition::increasing;
    result.format = formatNamed(format);
    if (result.format == none)
        return std::nullopt;

    const bool wholeRecord = result.byteorder.empty() && (result.format == raw64 || result.format == hex64);
    if (wholeRecord || result.byteorder.find('v') != std::string::npos)
        result.flags |= Definition::noNormalizedValue | Definition::noWorstValue;
    if (result.byteorder.find('w') != std::string::npos)
        result.flags |= Definition::noWorstValue;

    const std::string_view suffix = parts.size() > 3 ? parts[3] : std::string_view();
    if (suffix == "SSD")
        result.flags |= Definition::ssdOnly;
    else if (suffix == "HDD")
        result.flags |= Definition::hddOnly;
    return result;
}

} // namespace

ata::PresetReading ata::readPresets(std::string_view presets)
{
    std::string text(presets);
    for (const vendor_opt_entry& entry : vendor_opt_map)
        text = replacingArgument(text, entry);

    PresetReading reading;
    std::string_view rest = text;
    while (!rest.empty()) {
        const auto mark = rest.find(optionMark);
        const std::string_view piece = base::trimmed(rest.substr(0, mark));
        rest.remove_prefix(mark == std::string_view::npos ? rest.size() : mark + optionMark.size());
        if (piece.empty())
            continue;

        const auto parts = components(piece);
        const auto id = decimalInteger(parts[0]);
        if (parts.size() < 2 || !id) {
            reading.skipped.emplace_back(piece);
            continue;
        }
        auto read = definition(parts);
        if (!read) {
            reading.stopped = std::string(piece);
            break;
        }
        if (*id >= 0 && *id < static_cast<long long>(reading.definitions.size()))
            reading.definitions[static_cast<std::size_t>(*id)] = std::move(*read);
        else
            reading.skipped.emplace_back(piece);
    }
    return reading;
}

ATASmartAttributeDefinitions parsePresets(std::string_view presets)
{
    return ata::readPresets(presets).definitions;
}

} // namespace vantorel
