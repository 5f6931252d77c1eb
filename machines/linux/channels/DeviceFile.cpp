// SPDX-License-Identifier: GPL-2.0-or-later
#include "DeviceFile.h"

#include "vantorel/base/Text.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <fstream>

namespace vantorel::channels {

namespace {

using namespace system;

#ifndef BLKGETDISKSEQ // newer than some C libraries
#define BLKGETDISKSEQ _IOR(0x12, 128, std::uint64_t)
#endif

/// A node changes hands when its device goes and another one comes. Its number tells the two apart mostly, and without
/// opening the wrong one; its disk sequence always.
bool isStill(const DeviceNode& node, const struct stat& facts)
{
    if (!S_ISBLK(facts.st_mode) && !S_ISCHR(facts.st_mode))
        return false;
    const std::string number = attribute(node, "dev");
    return number.empty() ||
           number == std::to_string(major(facts.st_rdev)) + ':' + std::to_string(minor(facts.st_rdev));
}

bool isStill(const DeviceNode& node, const DeviceFile& file)
{
    std::uint64_t sequence = 0;
    // Kernels before 5.15 do not know the request, and controllers have no sequence.
    return !node.diskSequence || file.control(BLKGETDISKSEQ, &sequence) != 0 || sequence == *node.diskSequence;
}

} // namespace

IOReturn statusOfError(int errorNumber)
{
    switch (errorNumber) {
    case ENODEV:
    case ENXIO:
    case ENOENT:
    case ENOMEDIUM:
        return kIOReturnNoDevice;
    case EPERM:
    case EACCES:
        return kIOReturnNotPrivileged;
    case EBUSY:
        return kIOReturnExclusiveAccess;
    case ENOMEM:
        return kIOReturnNoMemory;
    case EMFILE:
    case ENFILE:
        return kIOReturnNoResources;
    case ETIME:
    case ETIMEDOUT:
        return kIOReturnTimeout;
    case ENOTTY:
    case EINVAL:
    case EOPNOTSUPP:
        return kIOReturnUnsupported;
    default:
        return kIOReturnIOError;
    }
}

DeviceFile::~DeviceFile()
{
    if (descriptor_ >= 0)
        ::close(descriptor_);
}

int DeviceFile::control(unsigned long request, void* argument) const
{
    const int result = ::ioctl(descriptor_, request, argument);
    return result < 0 ? -errno : result;
}

OpenedFile openNode(const DeviceNode& node)
{
    struct stat facts {};
    if (::stat(node.path.c_str(), &facts) != 0)
        return {statusOfError(errno), {}};
    if (!isStill(node, facts))
        return {kIOReturnNoDevice, {}};
    int descriptor = -1;
    do
        descriptor = ::open(node.path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0)
        return {statusOfError(errno), {}};
    DeviceFile file(descriptor);
    if (!isStill(node, file))
        return {kIOReturnNoDevice, {}};
    return {kIOReturnSuccess, std::move(file)};
}

bool isSuspended(const DeviceNode& node)
{
    const std::string status = attribute(node, "device/power/runtime_status");
    return status == "suspended" || status == "suspending";
}

std::string attribute(const DeviceNode& node, const std::string& name)
{
    std::ifstream file(node.sysfs + '/' + name, std::ios::binary);
    std::string line;
    std::getline(file, line);
    return std::string(base::trimmed(line));
}

bool hasAttribute(const DeviceNode& node, const std::string& name)
{
    return ::access((node.sysfs + '/' + name).c_str(), F_OK) == 0;
}

} // namespace vantorel::channels
