// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/disks/Disk.h"
#include "vantorel/disks/DriveStatistics.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace VANTOREL_PUBLIC vantorel {

/// A whole physical or external disk: what is shown per device and what SMART is read of.
///
/// Beside the description it reads the two registry entries above its media entry: the block storage driver and the
/// device. A drive without them knows only what the description tells.
class Drive : public Disk {
public:
    using Disk::Disk;

    /// Without blanks and tabs at its ends.
    [[nodiscard]] const std::optional<std::string>& model() const { return model_; }
    /// As the device gives it; where it gives none, the display name of a vendor named in the model, or "Unknown".
    [[nodiscard]] const std::optional<std::string>& vendor() const { return vendor_; }
    [[nodiscard]] DriveKind driveKind() const { return driveKind_; }
    /// How the drive is attached, by the path of its device. Never `ide`.
    [[nodiscard]] DriveInterface interface() const { return interface_; }
    [[nodiscard]] DriveProtocol deviceProtocol() const { return deviceProtocol_; }
    /// Firmware.
    [[nodiscard]] const std::optional<std::string>& revision() const { return revision_; }
    /// Untrimmed.
    [[nodiscard]] const std::optional<std::string>& serial() const { return serial_; }
    /// In bytes.
    [[nodiscard]] std::optional<std::int64_t> blockSize() const { return blockSize_; }
    [[nodiscard]] std::optional<bool> isTrimEnabled() const { return isTrimEnabled_; }

    /// The six entries "vendor", "model", "bsdName", "interface", "kind" and "protocol", always all of them.
    [[nodiscard]] std::map<std::string, std::optional<std::string>> descriptionDict() const;

    /// The I/O counters as they stand now; absent when the registry has none for the drive.
    [[nodiscard]] std::optional<DriveStatistics> statistics() const;

    /// The counters that the registry has for the drive, by its own names, such as "Bytes (Read)"; absent when it has
    /// none. Other than a field of `statistics`, one that it lacks is not here.
    [[nodiscard]] std::optional<std::map<std::string, double, std::less<>>> counters() const;

    // The three below ask the registry `Vantorel` for the drive's volumes, anew at each call, and so on its thread
    // only.

    /// A small text tree: the drive's media name and under it each volume's, with its type and kind.
    [[nodiscard]] std::string summary() const;

    /// Whether one of the drive's volumes is mounted at "/".
    [[nodiscard]] bool isBootDrive() const;

    /// A folder on this drive where a file of `size` bytes can be put: the temporary directory for the boot volume,
    /// else the mount point of the first volume that can take it. Absent when there is none.
    [[nodiscard]] std::optional<std::string> getWritablePath(double size) const;

    /// `info` is not looked at: the drive reads the two entries above its media entry.
    void loadIOInfo(const PropertyTable& info) override;
    void loadDAInfo(const PropertyTable& info) override;

protected:
    void init(const system::DADiskRef& disk) override;

private:
    std::optional<std::string> model_;
    std::optional<std::string> vendor_;
    DriveKind driveKind_ = DriveKind::unknown;
    DriveInterface interface_ = DriveInterface::unknown;
    DriveProtocol deviceProtocol_ = DriveProtocol::unknown;
    std::optional<std::string> revision_;
    std::optional<std::string> serial_;
    std::optional<std::int64_t> blockSize_;
    std::optional<bool> isTrimEnabled_;
};

/// Whether a file of `size` bytes can be written at a path: it is writable, and its file system has more than `size`
/// bytes free. False when the file system cannot be asked.
[[nodiscard]] bool isWritable(const std::string& path, double size);

} // namespace vantorel
