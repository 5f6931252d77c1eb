// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vantorel::channels {

/// How ATA commands are wrapped into SCSI commands.
enum class AtaWrapping { sat16, sat12, jmicron, prolific, sunplus, cypress };

/// How a USB bridge takes NVMe admin commands.
enum class NvmeWrapping { asmedia, jmicron, realtek };

/// What a bridge takes: commands of one kind, or of either for the drive that is behind it.
struct UsbBridge {
    std::optional<AtaWrapping> ata;
    std::optional<NvmeWrapping> nvme;
    std::optional<std::uint8_t> port; ///< of JMicron: which of its two; absent: the bridge is to be asked
    bool hasTail = false;             ///< of JMicron: the variant of Prolific's chips, with two more bytes
    std::uint8_t signature = 0x24;    ///< of Cypress: by which it knows its commands
};

/// The bridge by the words of the drive table's `-d`, such as "sat,12" or "sntjmicron/sat"; absent when there is no
/// such way of speaking to a bridge here.
[[nodiscard]] std::optional<UsbBridge> usbBridgeNamed(std::string_view words);

} // namespace vantorel::channels
