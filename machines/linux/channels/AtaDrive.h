// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "AtaRoad.h"
#include "DeviceNode.h"
#include "vantorel/base/Data.h"
#include "vantorel/system/Machine.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

namespace vantorel::channels {

/// What a drive declares by IDENTIFY DEVICE (ATA8-ACS).
class AtaDeclaration {
public:
    static constexpr std::size_t size = 512;

    /// Absent when the bytes are none that a drive would give: of a packet device, blank or with a wrong sum.
    [[nodiscard]] static std::optional<AtaDeclaration> read(const std::array<std::uint8_t, size>& bytes);

    [[nodiscard]] DriveIdentity identity() const;
    [[nodiscard]] bool hasSmart() const;
    [[nodiscard]] bool isSmartOn() const;
    [[nodiscard]] bool hasErrorLog() const { return declares(84, 0); }
    [[nodiscard]] bool hasSelfTest() const { return declares(84, 1); }
    [[nodiscard]] bool hasLogDirectory() const { return declares(84, 5); }

private:
    explicit AtaDeclaration(const std::array<std::uint8_t, size>& bytes) : bytes_(bytes) {}

    [[nodiscard]] unsigned word(std::size_t index) const
    {
        return unsigned{bytes_[2 * index]} | unsigned{bytes_[2 * index + 1]} << 8U;
    }
    /// Whether a word says by its two highest bits that it, and what belongs to it, is filled in.
    [[nodiscard]] bool isFilledIn(std::size_t index) const { return (word(index) & 0xC000U) == 0x4000U; }
    [[nodiscard]] bool declares(std::size_t index, unsigned bit) const;
    [[nodiscard]] std::string text(std::size_t firstWord, std::size_t words) const;

    std::array<std::uint8_t, size> bytes_;
};

/// A drive at the end of a road. As a channel it sends what a reading of its health takes, as far as the drive
/// declares it: a drive notes a command that it does not know in its own error log.
class AtaDrive final : public system::AtaChannel {
public:
    explicit AtaDrive(std::unique_ptr<AtaRoad> road) : road_(std::move(road)) {}

    /// Whether the drive's motor stands, by CHECK POWER MODE, which does not start it. A drive that does not tell, or
    /// whose bridge does not, counts as running; other failures are the status.
    struct PowerMode {
        system::IOReturn status = system::kIOReturnSuccess;
        bool isAsleep = false;
    };
    [[nodiscard]] PowerMode powerMode();

    /// Asks the drive what it is. `kIOReturnUnsupported` also for an answer that makes no sense.
    [[nodiscard]] system::IOReturn identify();
    /// Absent before `identify` has succeeded.
    [[nodiscard]] const std::optional<AtaDeclaration>& declaration() const { return declaration_; }

    [[nodiscard]] system::AtaResult execute(const system::AtaCommand& command) override;

private:
    [[nodiscard]] bool isDeclared(const system::AtaCommand& command);
    void learn(const system::AtaCommand& command, const AtaAnswer& answer);
    [[nodiscard]] bool hasLog(std::uint8_t address, unsigned sectors);

    std::unique_ptr<AtaRoad> road_;
    std::optional<AtaDeclaration> declaration_;
    bool isOn_ = false; ///< SMART, without which the drive aborts its commands
    bool hasErrorLog_ = false;
    bool hasSelfTest_ = false;
    std::optional<std::array<std::uint8_t, 512>> logDirectory_; ///< zeros when it could not be read
};

} // namespace vantorel::channels
