// SPDX-License-Identifier: GPL-2.0-or-later
#include "UsbBridge.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace vantorel::channels {

namespace {

constexpr std::array<std::pair<std::string_view, AtaWrapping>, 5> ataNames{{
    {"sat", AtaWrapping::sat16},
    {"usbjmicron", AtaWrapping::jmicron},
    {"usbprolific", AtaWrapping::prolific},
    {"usbsunplus", AtaWrapping::sunplus},
    {"usbcypress", AtaWrapping::cypress},
}};

constexpr std::array<std::pair<std::string_view, NvmeWrapping>, 3> nvmeNames{{
    {"sntasmedia", NvmeWrapping::asmedia},
    {"sntjmicron", NvmeWrapping::jmicron},
    {"sntrealtek", NvmeWrapping::realtek},
}};

/// Takes what stands before the separator off the text.
std::string_view takeWord(std::string_view& text, char separator)
{
    const auto end = std::min(text.find(separator), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

/// A number up to 255, hexadecimal behind "0x".
std::optional<std::uint8_t> byteOf(std::string_view text)
{
    const bool isHexadecimal = text.starts_with("0x");
    if (isHexadecimal)
        text.remove_prefix(2);
    std::uint8_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, isHexadecimal ? 16 : 10);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

/// What stands behind a comma; false when it means nothing to this wrapping.
bool takeOption(UsbBridge& bridge, std::string_view option)
{
    switch (*bridge.ata) {
    case AtaWrapping::sat16:
    case AtaWrapping::sat12:
        bridge.ata = option == "12" ? AtaWrapping::sat12 : AtaWrapping::sat16;
        return option == "12" || option == "16";
    case AtaWrapping::jmicron:
        if (option == "x") // allows commands of 48 bits, of which none is sent
            return true;
        if (option == "p")
            return bridge.hasTail = true;
        bridge.port = byteOf(option);
        return bridge.port && *bridge.port <= 1;
    case AtaWrapping::cypress: {
        const std::optional<std::uint8_t> signature = byteOf(option);
        bridge.signature = signature.value_or(0);
        return signature.has_value();
    }
    case AtaWrapping::prolific:
    case AtaWrapping::sunplus:
        return false;
    }
    return false;
}

} // namespace

std::optional<UsbBridge> usbBridgeNamed(std::string_view words)
{
    UsbBridge bridge;
    const auto nvme = std::ranges::find(nvmeNames, words.substr(0, words.find('/')),
                                        &std::pair<std::string_view, NvmeWrapping>::first);
    if (nvme != nvmeNames.end()) {
        bridge.nvme = nvme->second;
        takeWord(words, '/');
        if (words.empty())
            return bridge;
    }
    const auto ata =
        std::ranges::find(ataNames, takeWord(words, ','), &std::pair<std::string_view, AtaWrapping>::first);
    if (ata == ataNames.end())
        return std::nullopt;
    bridge.ata = ata->second;
    while (!words.empty()) {
        if (!takeOption(bridge, takeWord(words, ',')))
            return std::nullopt;
    }
    if (bridge.hasTail && !bridge.port)
        bridge.port = 0;
    return bridge;
}

} // namespace vantorel::channels
