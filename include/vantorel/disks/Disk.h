// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"
#include "vantorel/base/Public.h"
#include "vantorel/base/RawValue.h"
#include "vantorel/base/Uuid.h"
#include "vantorel/system/DiskArbitration.h"
#include "vantorel/system/IORegistry.h"
#include "vantorel/system/Image.h"

#include <array>
#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace VANTOREL_PUBLIC vantorel {

/// What every disk has, whatever its kind: a whole drive, a partition, a logical volume, a container, a RAID set, an
/// attached image.
///
/// A disk is a reference object with its BSD name as identity. `Disk::create` makes and loads it, in a running program
/// for the registry `Vantorel` alone, at the arrival of the disk or for one telling of a change; it lives until nobody
/// holds it, be it through a link from another disk. It loads itself from the description that the disk service gives
/// and then from the registry properties of its media entry. It raises no event and has no lock: it changes on the
/// registry's thread, while that handles events, and is to be used there.
class Disk {
public:
    enum class DiskType : std::uint8_t { raid, corestorage, volume, drive, diskimage, applestorage, unknown };
    enum class VolumeKind : std::uint8_t { ntfs, hfs, msdos, apfs, unknown };
    enum class DriveInterface : std::uint8_t { ahci, nvme, usb2, usb3, ide, unknown };
    enum class DriveKind : std::uint8_t { ssd, hdd, unknown };
    enum class DriveProtocol : std::uint8_t { sd, ata, sata, pcie, usb, unknown };

protected:
    /// Only `create` can name it to the constructors, so there is no disk that was not loaded.
    struct Creation {};

public:
    explicit Disk(Creation /*unused*/) {}
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;
    virtual ~Disk() = default;

    /// A new disk of class `T` for a disk object, loaded. Never fails: what cannot be read is absent.
    template <std::derived_from<Disk> T>
    [[nodiscard]] static std::shared_ptr<T> create(const system::DADiskRef& disk)
    {
        auto object = std::make_shared<T>(Creation{});
        static_cast<Disk&>(*object).init(disk);
        return object;
    }

    /// The handle at the disk service: that of the arrival, or of the last change told since.
    [[nodiscard]] const system::DADiskRef& diskObject() const { return diskObject_; }
    [[nodiscard]] DiskType diskType() const { return diskType_; }
    /// Device name such as `disk0s2`; the disk's identity.
    [[nodiscard]] const std::optional<std::string>& bsdName() const { return bsdName_; }
    /// Number of the whole disk, which its partitions share.
    [[nodiscard]] std::optional<std::int64_t> bsdUnit() const { return bsdUnit_; }
    [[nodiscard]] std::optional<std::int64_t> bsdMajor() const { return bsdMajor_; }
    [[nodiscard]] std::optional<std::int64_t> bsdMinor() const { return bsdMinor_; }
    [[nodiscard]] const std::optional<std::string>& mediaName() const { return mediaName_; }
    [[nodiscard]] const std::optional<std::string>& content() const { return content_; }
    [[nodiscard]] const std::optional<base::Uuid>& mediaUuid() const { return mediaUuid_; }
    /// In bytes.
    [[nodiscard]] std::optional<std::int64_t> size() const { return size_; }
    /// The size for a reader: `500 GB`. Where the locale has a decimal comma the fraction and the blank are left out:
    /// `1GB`. Keeps its last value when the size goes.
    [[nodiscard]] const std::optional<std::string>& formattedSize() const { return formattedSize_; }
    /// File path of the disk's image.
    [[nodiscard]] const std::optional<std::string>& iconPath() const { return iconPath_; }
    [[nodiscard]] std::optional<bool> isInternal() const { return isInternal_; }
    [[nodiscard]] std::optional<bool> isRemovable() const { return isRemovable_; }
    [[nodiscard]] std::optional<bool> isEjectable() const { return isEjectable_; }
    [[nodiscard]] std::optional<bool> isWritable() const { return isWritable_; }
    [[nodiscard]] std::optional<bool> isMountable() const { return isMountable_; }
    [[nodiscard]] std::optional<bool> isNetworkDisk() const { return isNetworkDisk_; }

    /// The disk's media entry, looked up by its id: a new handle at each call, which the result releases. No handle
    /// when the entry has gone.
    [[nodiscard]] system::IOHandle ioService() const;

    /// The image at `iconPath`, read anew at each call; an empty image when there is none or it cannot be read.
    [[nodiscard]] system::Image icon() const;

    /// Whether the other is a disk of the same `bsdName`, present in both; class and other fields do not count. A disk
    /// without a name equals nothing, itself included.
    [[nodiscard]] bool isEqual(const Disk* other) const;

    /// Loads everything anew under another handle of the same disk. A description or registry table that cannot be had
    /// leaves the fields as they were. Links to other disks stay.
    virtual void update(const system::DADiskRef& disk);

    /// Takes over what the class reads from the properties of the disk's media entry, or from entries above it. Runs
    /// after `loadDAInfo`. Here: nothing.
    virtual void loadIOInfo(const PropertyTable& info);

    /// Takes over what the class reads from a description. A key with a value of another type counts as missing. A
    /// missing key makes its field absent, but for `mediaUuid`, `formattedSize` and `iconPath`: these keep their value.
    virtual void loadDAInfo(const PropertyTable& info);

protected:
    /// The second half of construction, where the loads of the subclass already run. A subclass calls that of its base
    /// first and then sets its `diskType`.
    virtual void init(const system::DADiskRef& disk);

    void setDiskType(DiskType diskType) { diskType_ = diskType; }

private:
    friend class DiskList;

    void loadFormattedSize();
    void loadIconPath(const PropertyTable& info);

    system::DADiskRef diskObject_;
    DiskType diskType_ = DiskType::unknown;
    std::optional<std::string> bsdName_;
    std::optional<std::int64_t> bsdUnit_;
    std::optional<std::int64_t> bsdMajor_;
    std::optional<std::int64_t> bsdMinor_;
    std::optional<std::string> mediaName_;
    std::optional<std::string> content_;
    std::optional<base::Uuid> mediaUuid_;
    std::optional<std::int64_t> size_;
    std::optional<std::string> formattedSize_;
    std::optional<std::string> iconPath_;
    std::optional<bool> isInternal_;
    std::optional<bool> isRemovable_;
    std::optional<bool> isEjectable_;
    std::optional<bool> isWritable_;
    std::optional<bool> isMountable_;
    std::optional<bool> isNetworkDisk_;

    std::shared_ptr<bool> keysAreStale_; ///< of the list that holds this disk: set when name, unit or UUID changes
};

template <>
inline constexpr std::array<std::string_view, 7> rawTexts<Disk::DiskType> = {
    "raid", "corestorage", "volume", "drive", "diskimage", "applestorage", "unknown"};

template <>
inline constexpr std::array<std::string_view, 5> rawTexts<Disk::VolumeKind> = {"ntfs", "hfs", "msdos", "apfs",
                                                                               "unknown"};

template <>
inline constexpr std::array<std::string_view, 6> rawTexts<Disk::DriveInterface> = {"ahci",  "nvme", "usb 2",
                                                                                   "usb 3", "ide",  "unknown"};

template <>
inline constexpr std::array<std::string_view, 3> rawTexts<Disk::DriveKind> = {"ssd", "hdd", "unknown"};

template <>
inline constexpr std::array<std::string_view, 6> rawTexts<Disk::DriveProtocol> = {"sd",   "ata", "sata",
                                                                                  "pcie", "usb", "unknown"};

} // namespace vantorel
