// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/DiskArbitration.h"

#include "DiskService.h"
#include "system/CallGate.h"
#include "system/InstalledMachine.h"
#include "system/registry/HandleTable.h"

#include <utility>

namespace vantorel::system {

DASessionRef DASessionCreate(CFAllocatorRef /*allocator*/)
{
    return callPasses("DASessionCreate") ? std::make_shared<DASession>() : nullptr;
}

void DARegisterDiskAppearedCallback(const DASessionRef& session, std::nullptr_t /*match*/,
                                    DADiskAppearedCallback callback, void* context)
{
    session->appeared = std::move(callback);
    session->appearedContext = context;
}

void DARegisterDiskDisappearedCallback(const DASessionRef& session, std::nullptr_t /*match*/,
                                       DADiskDisappearedCallback callback, void* context)
{
    session->disappeared = std::move(callback);
    session->disappearedContext = context;
}

void DARegisterDiskDescriptionChangedCallback(const DASessionRef& session, std::nullptr_t /*match*/,
                                              std::nullptr_t /*watch*/, DADiskDescriptionChangedCallback callback,
                                              void* context)
{
    session->changed = std::move(callback);
    session->changedContext = context;
}

void DASessionScheduleWithRunLoop(const DASessionRef& session, const CFRunLoopRef& runLoop, std::string_view /*mode*/)
{
    DiskService::shared().schedule(session, runLoop);
}

void DASessionUnscheduleFromRunLoop(const DASessionRef& session, const CFRunLoopRef& /*runLoop*/,
                                    std::string_view /*mode*/)
{
    DiskService::shared().unschedule(session);
}

PropertyTableRef DADiskCopyDescription(const DADiskRef& disk)
{
    if (!callPasses("DADiskCopyDescription") || !disk)
        return nullptr;
    return DiskService::shared().description(*disk);
}

io_service_t DADiskCopyIOMedia(const DADiskRef& disk)
{
    if (!callPasses("DADiskCopyIOMedia") || !disk)
        return IO_OBJECT_NULL;
    RegistryNodeRef media = DiskService::shared().mediaEntry(*disk);
    return media ? HandleTable::shared().open(std::move(media)) : IO_OBJECT_NULL;
}

std::optional<std::string> DADiskGetBSDName(const DADiskRef& disk)
{
    if (!callPasses("DADiskGetBSDName") || !disk)
        return std::nullopt;
    return disk->bsdName;
}

DADiskRef DADiskCreateFromVolumePath(CFAllocatorRef /*allocator*/, const DASessionRef& session, const std::string& path)
{
    if (!callPasses("DADiskCreateFromVolumePath") || !session)
        return nullptr;
    const std::optional<FileSystemFacts> facts = installedMachine()->fileSystem(path);
    if (!facts || facts->mountPoint != path)
        return nullptr;
    if (facts->bsdName.empty())
        return std::make_shared<const DADisk>(); // a volume without a device, such as one of the network
    return DiskService::shared().diskNamed(facts->bsdName);
}

} // namespace vantorel::system
