// SPDX-License-Identifier: GPL-2.0-or-later
#include "Superblocks.h"

#include "SharedLibrary.h"
#include "vantorel/base/Text.h"

#include <array>
#include <blkid/blkid.h>
#include <fcntl.h>
#include <memory>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <utility>

namespace vantorel::machines {

namespace {

/// What is used of libblkid.
struct Libblkid {
    decltype(blkid_new_probe)* newProbe = nullptr;
    decltype(blkid_probe_set_device)* setDevice = nullptr;
    decltype(blkid_free_probe)* freeProbe = nullptr;
    decltype(blkid_probe_enable_superblocks)* enableSuperblocks = nullptr;
    decltype(blkid_probe_set_superblocks_flags)* setSuperblocksFlags = nullptr;
    decltype(blkid_probe_enable_partitions)* enablePartitions = nullptr;
    decltype(blkid_probe_set_partitions_flags)* setPartitionsFlags = nullptr;
    decltype(blkid_do_safeprobe)* probe = nullptr;
    decltype(blkid_probe_numof_values)* countValues = nullptr;
    decltype(blkid_probe_get_value)* value = nullptr;
    bool isUsable = false;

    static const Libblkid& shared()
    {
        static const Libblkid the;
        return the;
    }

private:
    Libblkid()
    {
        const SharedLibrary library("libblkid.so.1");
        isUsable = library.bind(newProbe, "blkid_new_probe") && library.bind(setDevice, "blkid_probe_set_device") &&
                   library.bind(freeProbe, "blkid_free_probe") &&
                   library.bind(enableSuperblocks, "blkid_probe_enable_superblocks") &&
                   library.bind(setSuperblocksFlags, "blkid_probe_set_superblocks_flags") &&
                   library.bind(enablePartitions, "blkid_probe_enable_partitions") &&
                   library.bind(setPartitionsFlags, "blkid_probe_set_partitions_flags") &&
                   library.bind(probe, "blkid_do_safeprobe") && library.bind(countValues, "blkid_probe_numof_values") &&
                   library.bind(value, "blkid_probe_get_value");
    }
};

/// libblkid's name of a value and udev's.
constexpr std::array<std::pair<std::string_view, std::string_view>, 11> names{
    {{"TYPE", "ID_FS_TYPE"},
     {"USAGE", "ID_FS_USAGE"},
     {"UUID", "ID_FS_UUID"},
     {"UUID_SUB", "ID_FS_UUID_SUB"},
     {"LABEL", "ID_FS_LABEL_ENC"},
     {"PTTYPE", "ID_PART_TABLE_TYPE"},
     {"PTUUID", "ID_PART_TABLE_UUID"},
     {"PART_ENTRY_SCHEME", "ID_PART_ENTRY_SCHEME"},
     {"PART_ENTRY_NAME", "ID_PART_ENTRY_NAME"},
     {"PART_ENTRY_UUID", "ID_PART_ENTRY_UUID"},
     {"PART_ENTRY_TYPE", "ID_PART_ENTRY_TYPE"}}};

bool mayBeRead(const BlockDevice& whole)
{
    if (!whole.hardware)
        return whole.backingFile || whole.isSolidState;
    switch (whole.hardware->road) {
    case Road::nvme:
    case Road::card:
    case Road::hypervisor:
    case Road::memory:
        return true;
    default:
        return whole.hardware->isSolidState == true;
    }
}

/// The device's node, open for reading; -1 when there is no such node, or not with this device's numbers.
int openNode(const BlockDevice& device)
{
    const std::string path = "/dev/" + device.name;
    struct stat status {};
    const auto isNode = [&] {
        return S_ISBLK(status.st_mode) && major(status.st_rdev) == device.major &&
               minor(status.st_rdev) == device.minor;
    };
    if (stat(path.c_str(), &status) != 0 || !isNode())
        return -1;
    const int node = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (node >= 0 && fstat(node, &status) == 0 && isNode())
        return node;
    if (node >= 0)
        close(node);
    return -1;
}

DeviceProperties probeNode(int node)
{
    const Libblkid& libblkid = Libblkid::shared();
    if (!libblkid.isUsable)
        return {};
    const std::unique_ptr<blkid_struct_probe, decltype(libblkid.freeProbe)> probe(libblkid.newProbe(),
                                                                                  libblkid.freeProbe);
    if (!probe || libblkid.setDevice(probe.get(), node, 0, 0) != 0)
        return {};
    libblkid.enableSuperblocks(probe.get(), 1);
    libblkid.setSuperblocksFlags(probe.get(),
                                 BLKID_SUBLKS_TYPE | BLKID_SUBLKS_USAGE | BLKID_SUBLKS_UUID | BLKID_SUBLKS_LABEL);
    libblkid.enablePartitions(probe.get(), 1);
    libblkid.setPartitionsFlags(probe.get(), BLKID_PARTS_ENTRY_DETAILS);
    if (libblkid.probe(probe.get()) != 0)
        return {};
    DeviceProperties found;
    for (int i = 0; i < libblkid.countValues(probe.get()); ++i) {
        const char* name = nullptr;
        const char* data = nullptr;
        std::size_t size = 0;
        if (libblkid.value(probe.get(), i, &name, &data, &size) != 0)
            continue;
        for (const auto& [own, key] : names) {
            // udev's texts spell a backslash out.
            if (own == name)
                found.emplace(key, base::replacingAll(base::toUtf8(stripped({data, size})), "\\", "\\x5c"));
        }
    }
    return found;
}

} // namespace

DeviceProperties readSuperblocks(const BlockDevice& device, const BlockDevice& whole)
{
    const int node = mayBeRead(whole) ? openNode(device) : -1;
    if (node < 0)
        return {};
    DeviceProperties found = probeNode(node);
    close(node);
    return found;
}

} // namespace vantorel::machines
