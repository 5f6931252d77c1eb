// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/Disk.h"

#include "PropertyReading.h"
#include "system/files/Bundle.h"
#include "system/formatting/ByteCountFormatter.h"
#include "vantorel/disks/DiskLookUps.h"

#include <cstddef>
#include <tuple>

namespace vantorel {

namespace {

/// The name without its last extension. What begins with the dot is a name, not an extension.
std::string stringByDeletingPathExtension(const std::string& name)
{
    const std::size_t dot = name.rfind('.');
    const std::size_t start = name.rfind('/') + 1;
    return dot == std::string::npos || dot <= start || dot + 1 == name.size() ? name : name.substr(0, dot);
}

} // namespace

void Disk::init(const system::DADiskRef& disk)
{
    update(disk);
}

void Disk::update(const system::DADiskRef& disk)
{
    diskObject_ = disk;
    if (const auto description = system::DADiskCopyDescription(disk))
        loadDAInfo(*description);
    if (const auto properties = getRegistryEntryForDisk(disk))
        loadIOInfo(*properties);
}

void Disk::loadIOInfo(const PropertyTable& /*info*/) {}

void Disk::loadDAInfo(const PropertyTable& info)
{
    const std::tuple before(bsdUnit_, bsdName_, mediaUuid_);
    bsdUnit_ = info.get<std::int64_t>("DAMediaBSDUnit");
    bsdName_ = info.get<std::string>("DAMediaBSDName");
    bsdMajor_ = info.get<std::int64_t>("DAMediaBSDMajor");
    bsdMinor_ = info.get<std::int64_t>("DAMediaBSDMinor");
    mediaName_ = info.get<std::string>("DAMediaName");
    loadUuid(info, "DAMediaUUID", mediaUuid_);
    content_ = info.get<std::string>("DADeviceContent");
    size_ = info.get<std::int64_t>("DAMediaSize");
    loadFormattedSize();
    isInternal_ = info.get<bool>("DADeviceInternal");
    isRemovable_ = info.get<bool>("DADeviceRemovable");
    isEjectable_ = info.get<bool>("DADeviceEjectable");
    isWritable_ = info.get<bool>("DADeviceWritable");
    isMountable_ = info.get<bool>("DADeviceMountable");
    isNetworkDisk_ = info.get<bool>("DADeviceNetwork");
    loadIconPath(info);
    if (keysAreStale_ && before != std::tie(bsdUnit_, bsdName_, mediaUuid_))
        *keysAreStale_ = true;
}

void Disk::loadFormattedSize()
{
    if (!size_)
        return;
    const std::string text = system::stringFromByteCount(*size_, system::ByteCountFormatterCountStyle::file);
    const std::size_t comma = text.find(',');
    if (comma == std::string::npos)
        formattedSize_ = text;
    else
        formattedSize_ = text.substr(0, comma) + text.substr(text.rfind(' ') + 1);
}

void Disk::loadIconPath(const PropertyTable& info)
{
    const auto icon = tableOf<std::string>(info, "DAMediaIcon");
    if (!icon)
        return;
    const auto identifier = icon->find("CFBundleIdentifier");
    if (identifier == icon->end())
        return;
    const auto location =
        system::KextManagerCreateURLForBundleIdentifier(system::kCFAllocatorDefault, identifier->second);
    const auto bundle = location ? system::Bundle::bundleWithPath(*location) : std::nullopt;
    if (!bundle)
        return;
    const auto file = icon->find("IOBundleResourceFile");
    if (file == icon->end())
        return;
    iconPath_ = bundle->pathForImageResource(stringByDeletingPathExtension(file->second));
}

system::IOHandle Disk::ioService() const
{
    const system::IOHandle media(system::DADiskCopyIOMedia(diskObject_));
    std::uint64_t id = 0;
    system::IORegistryEntryGetRegistryEntryID(media.get(), id);
    return system::IOHandle(
        system::IOServiceGetMatchingService(system::kIOMasterPortDefault, system::IORegistryEntryIDMatching(id)));
}

system::Image Disk::icon() const
{
    return iconPath_ ? system::Image::contentsOfFile(*iconPath_) : system::Image();
}

bool Disk::isEqual(const Disk* other) const
{
    return other && bsdName_ && bsdName_ == other->bsdName_;
}

} // namespace vantorel
