// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/machines/recorded/Redaction.h"

#include "Pseudonym.h"
#include "TextSearch.h"
#include "vantorel/base/Text.h"
#include "vantorel/layouts/Nvme.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <numeric>
#include <optional>
#include <span>
#include <utility>
#include <variant>

namespace vantorel::recorded {

namespace {

constexpr std::string_view hexDigits = "0123456789abcdef";
constexpr std::size_t uuidDigits = 32;
constexpr std::size_t uuidTextSize = 36;
constexpr std::size_t fewestDigits = 12; // of the name of a piece of hardware
constexpr std::size_t shortestSerial = 4;
constexpr std::size_t longestExactName = 3;
constexpr std::size_t longestSecret = 128;
constexpr std::size_t mostSecrets = 500'000;

/// Where the hyphens of a UUID stand.
constexpr bool isHyphenPlace(std::size_t i)
{
    return i == 8 || i == 13 || i == 18 || i == 23;
}

bool holdsAny(std::string_view text, std::span<const std::string_view> parts)
{
    return std::ranges::any_of(parts, [&](std::string_view part) { return base::containsIgnoringCase(text, part); });
}

bool isSerialKey(std::string_view key)
{
    return base::containsIgnoringCase(key, "serial");
}

/// Whether the value under this key names one piece of hardware in hexadecimal digits.
bool isHardwareKey(std::string_view key)
{
    constexpr std::array<std::string_view, 8> parts{"wwn",   "wwid", "world wide", "worldwide",
                                                    "eui64", "guid", "macaddress", "mac address"};
    return holdsAny(key, parts);
}

/// Whether the value is the name of a host or a user.
bool isNameKey(std::string_view key)
{
    constexpr std::array<std::string_view, 4> parts{"hostname", "host name", "computername", "username"};
    return holdsAny(key, parts);
}

/// Whether a UUID under this key says of what kind something is.
bool isKindKey(std::string_view key)
{
    return key == "Content" || key == "Content Hint";
}

bool isHexadecimal(char c)
{
    return hexDigits.find(base::lowercased(c)) != std::string_view::npos;
}

bool isWordCharacter(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

std::string_view characters(DataView bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string digitsOf(DataView bytes)
{
    std::string digits;
    for (const std::uint8_t byte : bytes) {
        digits += hexDigits[byte >> 4U];
        digits += hexDigits[byte & 15U];
    }
    return digits;
}

std::string bytesOf(std::string_view digits)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes += static_cast<char>(hexDigits.find(digits[i]) << 4U | hexDigits.find(digits[i + 1]));
    return bytes;
}

/// The digits of the UUIDs in a text.
std::vector<std::string> uuidsIn(std::string_view text)
{
    std::vector<std::string> uuids;
    for (std::size_t begin = 0; begin + uuidTextSize <= text.size(); ++begin) {
        std::size_t i = 0;
        while (i < uuidTextSize && (isHyphenPlace(i) ? text[begin + i] == '-' : isHexadecimal(text[begin + i])))
            ++i;
        if (i < uuidTextSize)
            continue;
        std::string digits = base::lowercased(text.substr(begin, uuidTextSize));
        std::erase(digits, '-');
        uuids.push_back(std::move(digits));
        begin += uuidTextSize - 1;
    }
    return uuids;
}

/// The digits with a separator before every one of `places`.
template <typename IsPlace>
std::string separated(std::string_view digits, char separator, IsPlace isPlace)
{
    std::string text;
    for (const char digit : digits) {
        if (isPlace(text.size()))
            text += separator;
        text += digit;
    }
    return text;
}

std::string hyphenated(std::string_view digits)
{
    return separated(digits, '-', isHyphenPlace);
}

std::string inPairs(std::string_view digits, char separator)
{
    return separated(digits, separator, [](std::size_t place) { return place % 3 == 2; });
}

/// The bytes of a UUID as a partition table has them: the first three fields with the lowest byte first.
std::string guidOrder(std::string bytes)
{
    for (const auto& [begin, size] : {std::pair(0, 4), std::pair(4, 2), std::pair(6, 2)})
        std::reverse(bytes.begin() + begin, bytes.begin() + begin + size);
    return bytes;
}

std::string utf16(std::string_view text)
{
    std::string units;
    for (const char c : text) {
        if (!units.empty())
            units += '\0';
        units += c;
    }
    return units; // without the zero at one end, so that it is there in either byte order
}

/// The bytes of each word exchanged; a last odd byte stays.
std::string exchanged(std::string bytes)
{
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        std::swap(bytes[i], bytes[i + 1]);
    return bytes;
}

/// How many digits stay, because they name the maker: those of the naming authority and of the company.
std::size_t digitsKept(std::string_view digits)
{
    if (digits.size() >= uuidDigits)
        return 0;
    return digits.size() == 16 && digits.front() == '5' ? 7 : 6;
}

std::string hexadecimal(std::uint64_t number)
{
    std::string digits(16, '0');
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit, number >>= 4U)
        *digit = hexDigits[number & 15U];
    return digits;
}

/// The sum of the bytes, which is 0 in sectors that end with a checksum (ATA8-ACS).
unsigned checksum(DataView bytes)
{
    return std::accumulate(bytes.begin(), bytes.end(), 0U) % 256;
}

} // namespace

void Redaction::insert(Secret secret)
{
    if (secrets_.size() >= mostSecrets)
        throw RecordingError("redaction: more than " + std::to_string(mostSecrets) + " names");
    secret.plain.resize(std::min(secret.plain.size(), longestSecret));
    secrets_.insert(std::move(secret));
}

void Redaction::noteName(std::string_view name)
{
    name = base::trimmed(name);
    if (name.size() >= 2 && name != "root" && std::ranges::any_of(name, isWordCharacter))
        insert({base::lowercased(name), Kind::word});
}

void Redaction::noteSerial(std::string_view serial)
{
    // Data that hold a text have zeros behind it.
    serial = base::trimmed(serial.substr(0, serial.find('\0')));
    const bool isTelling = serial.find_first_not_of(serial.substr(0, 1)) != std::string_view::npos;
    const std::string plain = base::lowercased(serial);
    if (serial.size() >= shortestSerial && isTelling && plain != "unknown" && plain != "none")
        insert({plain, Kind::text});
}

void Redaction::noteDigits(std::string digits)
{
    const bool isTelling =
        digits.find_first_not_of('0') != std::string::npos && digits.find_first_not_of('f') != std::string::npos;
    if (digits.size() >= fewestDigits && isTelling)
        insert({std::move(digits), Kind::hexadecimal});
}

void Redaction::noteUuids(std::string_view text)
{
    for (std::string& digits : uuidsIn(text))
        noteDigits(std::move(digits));
}

void Redaction::noteUsers(std::string_view text)
{
    constexpr std::array<std::string_view, 4> folders{"/Users/", "/home/", "/run/media/", "/media/"};
    for (const std::string_view folder : folders) {
        for (std::size_t found = text.find(folder); found != std::string_view::npos; found = text.find(folder, found)) {
            found += folder.size();
            const std::string_view rest = text.substr(found, longestSecret);
            const std::size_t end = rest.find_first_of("/ :\"");
            const bool isUser = end != std::string_view::npos || folder != "/media/"; // or a volume right below it
            if (isUser && rest.substr(0, end) != "Shared")
                noteName(rest.substr(0, end));
        }
    }
}

void Redaction::noteText(std::string_view key, const std::string& text)
{
    if (isKindKey(key)) {
        for (std::string& digits : uuidsIn(text))
            kinds_.insert(std::move(digits));
        return;
    }
    noteUuids(text);
    noteUsers(text);
    if (isSerialKey(key))
        noteSerial(text);
    if (isNameKey(key))
        noteName(text);
    if (!isHardwareKey(key))
        return;
    std::string digits;
    for (const char c : text + ' ') { // such as "0x5002538d40a0b1c2", "naa.5002…" and "00:1b:…"
        if (isHexadecimal(c)) {
            digits += base::lowercased(c);
        } else if (c != ':' && c != '-') {
            noteDigits(std::exchange(digits, {}));
        }
    }
}

void Redaction::note(std::string_view key, const PropertyValue& value)
{
    if (const std::string* const text = value.text()) {
        noteText(key, *text);
    } else if (const Data* const data = value.data()) {
        if (isSerialKey(key))
            noteSerial(characters(*data));
        const bool isUuid = base::containsIgnoringCase(key, "uuid") && data->size() == sizeof(base::Uuid);
        if (isUuid || (isHardwareKey(key) && data->size() <= sizeof(base::Uuid)))
            noteDigits(digitsOf(*data));
    } else if (const auto uuid = value.get<base::Uuid>()) {
        if (isKindKey(key))
            kinds_.insert(digitsOf(uuid->bytes));
        else
            noteDigits(digitsOf(uuid->bytes));
    } else if (const auto number = value.get<std::uint64_t>()) {
        if (isHardwareKey(key) && *number >> 32U != 0)
            noteDigits(hexadecimal(*number));
    } else if (const PropertyArray* const array = value.array()) {
        for (const PropertyValue& element : *array)
            note(key, element);
    } else if (const PropertyTable* const table = value.table()) {
        note(*table);
    }
}

void Redaction::note(const PropertyTable& properties)
{
    for (const auto& [key, value] : properties) {
        for (std::string& digits : uuidsIn(key)) // such as the type of a plug-in
            kinds_.insert(std::move(digits));
        note(key, value);
    }
}

void Redaction::noteIdentify(RecordedDrive::Kind kind, DataView identify)
{
    if (kind == RecordedDrive::Kind::nvme) {
        const auto controller = readRecord<NVMeControllerData>(identify);
        if (!controller)
            return;
        noteSerial(characters(identify.subspan(offsetof(NVMeControllerData, sn), sizeof controller->sn)));
        constexpr std::size_t fguid = 112;  // NVM Express Base Specification, Identify Controller
        constexpr std::size_t subnqn = 768; // likewise
        noteDigits(digitsOf(identify.subspan(fguid, 16)));
        noteUuids(characters(identify.subspan(subnqn, 256)));
        return;
    }
    constexpr std::size_t serial = 20; // ATA8-ACS, words 10 to 19
    constexpr std::size_t name = 216;  // words 108 to 111
    const std::string words = exchanged(std::string(characters(identify)));
    if (words.size() < name + 8)
        return;
    noteSerial(std::string_view(words).substr(serial, 20));
    const std::string bytes = words.substr(name, 8);
    noteDigits(digitsOf(Data(bytes.begin(), bytes.end())));
}

void Redaction::note(const Recording& recording)
{
    const auto noteEntries = [this](const std::vector<system::RegistryEntry>& entries) {
        for (const system::RegistryEntry& entry : entries)
            note(entry.properties);
    };
    const auto noteVolume = [this](const RecordedVolume& volume) {
        if (volume.facts.uuid)
            noteDigits(digitsOf(volume.facts.uuid->bytes));
        for (const std::string& path : volume.facts.mountPoints)
            noteUsers(path);
    };
    noteEntries(recording.entries);
    for (const RecordedVolume& volume : recording.volumes)
        noteVolume(volume);
    for (const auto& [entry, drive] : recording.drives) {
        if (drive.identify)
            noteIdentify(drive.kind, *drive.identify);
    }
    for (const RecordedStep& step : recording.script) {
        if (const auto* const arrival = std::get_if<RecordedStep::Arrival>(&step.what))
            noteEntries(arrival->entries);
        else if (const auto* const change = std::get_if<RecordedStep::Change>(&step.what))
            note(change->changes);
        else if (const auto* const volume = std::get_if<RecordedVolume>(&step.what))
            noteVolume(*volume);
    }
}

Redaction::Redaction() : search_(std::make_unique<TextSearch>()) {}
Redaction::Redaction(Redaction&&) noexcept = default;
Redaction& Redaction::operator=(Redaction&&) noexcept = default;
Redaction::~Redaction() = default;

void Redaction::prepare()
{
    for (const Secret& secret : secrets_) {
        if (!kinds_.contains(secret.plain))
            addPatterns(secret);
    }
    search_->prepare();
}

void Redaction::add(const std::string& text, std::string pseudonym, Kind kind, Form form)
{
    search_->add(text, patterns_.size());
    patterns_.push_back({std::move(pseudonym), kind, form});
}

void Redaction::addPatterns(const Secret& secret)
{
    const std::string& plain = secret.plain;
    if (secret.kind != Kind::hexadecimal) {
        const std::string pseudonym = textPseudonym(plain);
        add(plain, pseudonym, secret.kind, Form::text);
        if (secret.kind == Kind::text)
            add(utf16(plain), utf16(pseudonym), secret.kind, Form::text);
        return;
    }
    const std::string pseudonym = digitsPseudonym(plain, digitsKept(plain));
    const auto addWritten = [&](const auto& write) {
        add(write(plain), write(pseudonym), secret.kind, Form::text);
        add(utf16(write(plain)), utf16(write(pseudonym)), secret.kind, Form::text);
    };
    const auto addBytes = [&](const auto& arrange) {
        add(arrange(bytesOf(plain)), arrange(bytesOf(pseudonym)), secret.kind, Form::bytes);
    };
    addWritten([](const std::string& digits) { return digits; });
    addBytes([](std::string bytes) { return bytes; });
    if (plain.size() == uuidDigits) {
        addWritten(hyphenated);
        addBytes(guidOrder);
    } else {
        addWritten([](const std::string& digits) { return inPairs(digits, ':'); });
        addWritten([](const std::string& digits) { return inPairs(digits, '-'); });
        addBytes([](const std::string& bytes) { return std::string(bytes.rbegin(), bytes.rend()); });
    }
}

/// Whether anything was replaced.
bool Redaction::replace(std::string& bytes) const
{
    const auto isCapital = [](char c) { return c >= 'A' && c <= 'Z'; };
    bool isReplaced = false;
    const std::string original = bytes;
    search_->find(original, [&](std::size_t begin, std::size_t length, std::size_t number) {
        const Pattern& pattern = patterns_[number];
        const std::string_view found = std::string_view(original).substr(begin, length);
        const bool goesOn = (begin > 0 && isWordCharacter(original[begin - 1])) ||
                            (begin + length < original.size() && isWordCharacter(original[begin + length]));
        // Short names in capital letters are more likely to mean something else, as in "VM".
        const bool isOtherWord = length <= longestExactName && std::ranges::any_of(found, isCapital);
        if (pattern.kind == Kind::word && (goesOn || isOtherWord))
            return false;
        const bool isAllCapital = pattern.kind == Kind::hexadecimal && std::ranges::any_of(found, isCapital);
        for (std::size_t i = 0; i < length; ++i) {
            const char c = pattern.pseudonym[i];
            const bool isCapitalised =
                pattern.form == Form::text && c >= 'a' && c <= 'z' && (isAllCapital || isCapital(found[i]));
            bytes[begin + i] = isCapitalised ? static_cast<char>(c - 'a' + 'A') : c;
        }
        isReplaced = true;
        return true;
    });
    return isReplaced;
}

std::string Redaction::redacted(std::string_view text) const
{
    std::string result(text);
    replace(result);
    return result;
}

base::Uuid Redaction::redacted(const base::Uuid& uuid) const
{
    const Secret secret{digitsOf(uuid.bytes), Kind::hexadecimal};
    if (!secrets_.contains(secret) || kinds_.contains(secret.plain))
        return uuid;
    base::Uuid result;
    std::ranges::copy(bytesOf(digitsPseudonym(secret.plain, 0)), result.bytes.begin());
    return result;
}

Data Redaction::redacted(DataView bytes) const
{
    std::string text(characters(bytes));
    bool isReplaced = replace(text);
    if (std::string words = exchanged(text); replace(words)) {
        text = exchanged(std::move(words));
        isReplaced = true;
    }
    Data result(text.begin(), text.end());
    constexpr std::size_t sectorSize = 512;
    if (isReplaced && result.size() == sectorSize && checksum(bytes) == 0)
        result.back() = static_cast<std::uint8_t>(result.back() - checksum(result));
    return result;
}

void Redaction::redact(std::string_view key, PropertyValue& value) const
{
    if (const std::string* const text = value.text()) {
        if (!isKindKey(key))
            value = redacted(*text);
    } else if (const Data* const data = value.data()) {
        value = redacted(*data);
    } else if (const auto uuid = value.get<base::Uuid>()) {
        value = redacted(*uuid);
    } else if (const auto number = value.get<std::uint64_t>()) {
        const Secret secret{hexadecimal(*number), Kind::hexadecimal};
        if (!isHardwareKey(key) || !secrets_.contains(secret))
            return;
        const std::string digits = digitsPseudonym(secret.plain, digitsKept(secret.plain));
        std::uint64_t pseudonym = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), pseudonym, 16);
        value = pseudonym;
    } else if (PropertyArray* const array = value.array()) {
        for (PropertyValue& element : *array)
            redact(key, element);
    } else if (PropertyTable* const table = value.table()) {
        redact(*table);
    }
}

void Redaction::redact(PropertyTable& properties) const
{
    for (auto& [key, value] : properties)
        redact(key, value);
}

void Redaction::redact(std::vector<system::RegistryEntry>& entries) const
{
    for (system::RegistryEntry& entry : entries) {
        entry.name = redacted(entry.name);
        redact(entry.properties);
    }
}

void Redaction::redact(RecordedVolume& volume) const
{
    if (volume.facts.name)
        volume.facts.name = redacted(*volume.facts.name);
    if (volume.facts.uuid)
        volume.facts.uuid = redacted(*volume.facts.uuid);
    for (std::string& path : volume.facts.mountPoints)
        path = redacted(path);
}

void Redaction::redact(RecordedDrive& drive) const
{
    for (std::optional<Data>* const bytes : {&drive.identify, &drive.data, &drive.thresholds}) {
        if (*bytes)
            *bytes = redacted(DataView(**bytes));
    }
    for (auto& [address, log] : drive.logs)
        log = redacted(DataView(log));
}

void Redaction::redact(Recording& recording) const
{
    redact(recording.entries);
    for (RecordedVolume& volume : recording.volumes)
        redact(volume);
    for (auto& [entry, drive] : recording.drives)
        redact(drive);
    for (RecordedStep& step : recording.script) {
        if (auto* const arrival = std::get_if<RecordedStep::Arrival>(&step.what))
            redact(arrival->entries);
        else if (auto* const change = std::get_if<RecordedStep::Change>(&step.what))
            redact(change->changes);
        else if (auto* const volume = std::get_if<RecordedVolume>(&step.what))
            redact(*volume);
    }
}

} // namespace vantorel::recorded
