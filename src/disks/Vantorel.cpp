// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/Vantorel.h"

#include "DiskClassification.h"
#include "DiskLinks.h"
#include "DiskList.h"
#include "RegistryWalk.h"
#include "vantorel/system/DispatchQueue.h"
#include "vantorel/system/MessageSink.h"
#include "vantorel/system/RunLoop.h"

#include <any>
#include <atomic>
#include <exception>
#include <iterator>
#include <string>

namespace vantorel {

namespace {

/// The disk object that a notification carries; null when it carries none.
system::DADiskRef diskOf(const system::Notification& notification)
{
    const auto* const disk = notification.as<system::DADiskRef>();
    return disk ? *disk : nullptr;
}

/// Whether a disk stands in `volumes`.
bool isShown(const Volume& volume)
{
    return !dynamic_cast<const RaidStorage*>(&volume) && !dynamic_cast<const AppleStorage*>(&volume) &&
           !volume.coreStorageVolume();
}

} // namespace

Vantorel::Vantorel() : disks_(std::make_unique<DiskList>()) {}

Vantorel::~Vantorel() = default;

Vantorel& Vantorel::shared()
{
    // Never destroyed, since disks hold objects of the disk service, whose life ends with the process in no set order.
    // Starting is apart from making: what the first pass of the run loop calls finds the registry made.
    static auto* const registry = new Vantorel;
    static std::atomic<bool> isStarted = false;
    if (!isStarted.exchange(true))
        registry->start();
    return *registry;
}

void Vantorel::start()
{
    const system::DASessionRef session = system::DASessionCreate(system::kCFAllocatorDefault);
    if (!session) {
        system::printMessage("Unable to initialize DASession");
        return;
    }
    auto& center = system::NotificationCenter::defaultCenter();
    center.addObserver("diskAppeared", [this](const auto& notification) { diskAppeared(notification); });
    center.addObserver("diskDisappeared", [this](const auto& notification) { diskDisappeared(notification); });
    center.addObserver("diskUpdated", [this](const auto& notification) { diskUpdated(notification); });

    const auto post = [&center](std::string_view name) {
        return [&center, name](const system::DADiskRef& disk, auto&&... /*unused*/) {
            center.postNotificationName(name, disk);
        };
    };
    system::DARegisterDiskAppearedCallback(session, nullptr, post("diskAppeared"), nullptr);
    system::DARegisterDiskDisappearedCallback(session, nullptr, post("diskDisappeared"), nullptr);
    system::DARegisterDiskDescriptionChangedCallback(session, nullptr, nullptr, post("diskUpdated"), nullptr);
    system::DASessionScheduleWithRunLoop(session, system::CFRunLoopGetCurrent(), system::kCFRunLoopDefaultMode);
    system::CFRunLoopRunInMode(system::kCFRunLoopDefaultMode, 0, true);
}

void Vantorel::diskAppeared(const system::Notification& notification)
{
    if (const system::DADiskRef diskObject = diskOf(notification)) {
        system::dispatch_async(system::dispatch_get_main_queue(),
                               [this, diskObject] { handleDiskAppeared(diskObject); });
    }
}

void Vantorel::handleDiskAppeared(const system::DADiskRef& diskObject)
{
    const std::shared_ptr<Disk> disk = createDisk(diskObject);
    if (!disk)
        return;
    linkToPhysicalVolume(disk);
    if (const auto volume = std::dynamic_pointer_cast<Volume>(disk))
        linkToContainers(volume);
    disks_->insert(disk);
    tellListeners(disk, DiskEvent::appeared);
}

void Vantorel::linkToPhysicalVolume(const std::shared_ptr<Disk>& disk) const
{
    // Every match is tied, so the last one in list order is what the new disk keeps.
    const auto tieToMatches = [this](const auto& logical, const std::optional<base::Uuid>& wanted) {
        for (const auto& match : disks_->withMediaUuid(wanted)) {
            if (const auto physical = std::dynamic_pointer_cast<Volume>(match))
                DiskLinks::tie(logical, physical);
        }
    };
    if (const auto logical = std::dynamic_pointer_cast<CoreStorage>(disk))
        tieToMatches(logical, logical->logicalVolumeUuid());
    else if (const auto container = std::dynamic_pointer_cast<AppleStorage>(disk))
        tieToMatches(container, container->bsdVolumeUUID());
}

void Vantorel::linkToContainers(const std::shared_ptr<Volume>& volume) const
{
    if (!disks_->hasContainers())
        return;
    // Volume, container, container's media: the same walk for every container, so it is made once.
    const auto media = propertiesOfAncestor(system::IOHandle(system::DADiskCopyIOMedia(volume->diskObject())), 2);
    const auto text = media ? media->get<std::string>("UUID") : std::nullopt;
    if (!text)
        return;
    for (const auto& match : disks_->withMediaUuid(base::Uuid::parse(*text))) {
        if (auto* const container = dynamic_cast<AppleStorage*>(match.get()))
            DiskLinks::put(volume, *container);
    }
}

void Vantorel::diskDisappeared(const system::Notification& notification)
{
    const system::DADiskRef diskObject = diskOf(notification);
    if (!diskObject) {
        system::printMessage("Error: Disk disappeared but was not found");
        return;
    }
    const auto name = system::DADiskGetBSDName(diskObject);
    if (!name) {
        system::printMessage("Error: Disk disappeared but unable to get BSD name");
        return;
    }
    const std::shared_ptr<Disk> removed = disks_->remove(*name);
    if (!removed) {
        system::printMessage("Error: Disk disappeared but was not found in current list");
        return;
    }
    tellListeners(removed, DiskEvent::disappeared);
}

void Vantorel::diskUpdated(const system::Notification& notification)
{
    const system::DADiskRef diskObject = diskOf(notification);
    if (!diskObject) {
        system::printMessage("Error: Disk updated but was not found");
        return;
    }
    const std::shared_ptr<Disk> fresh = createDisk(diskObject);
    if (!fresh) {
        system::printMessage("Error: Disk updated but could not be created");
        return;
    }
    const auto equals = fresh->bsdName() ? disks_->named(*fresh->bsdName()) : std::vector<std::shared_ptr<Disk>>();
    if (!equals.empty())
        equals.front()->update(diskObject);
    else
        system::printMessage("Error: Tried to update disk, but was not found");
    tellListeners(fresh, DiskEvent::updated);
}

void Vantorel::registerListener(std::shared_ptr<DiskListener> listener)
{
    if (listener)
        listeners_.push_back(std::move(listener));
}

void Vantorel::tellListeners(const std::shared_ptr<Disk>& disk, DiskEvent event) const
{
    const auto snapshot = listeners_;
    for (const auto& listener : snapshot) {
        try {
            listener->diskChanged(disk, event);
        } catch (const std::exception& error) {
            system::printMessage(std::string("Error: Disk listener failed: ") + error.what());
        } catch (...) {
            system::printMessage("Error: Disk listener failed");
        }
    }
}

const std::vector<std::shared_ptr<Disk>>& Vantorel::disks() const
{
    return disks_->disks();
}

void Vantorel::setDisks(std::vector<std::shared_ptr<Disk>> disks)
{
    disks_->assign(std::move(disks));
}

std::vector<std::shared_ptr<Drive>> Vantorel::drives() const
{
    return disks_->elements<Drive>();
}

std::vector<std::shared_ptr<Volume>> Vantorel::volumes() const
{
    auto volumes = disks_->elements<Volume>();
    std::erase_if(volumes, [](const auto& volume) { return !isShown(*volume); });
    return volumes;
}

std::shared_ptr<Drive> Vantorel::getDrive(std::string_view bsdName) const
{
    for (const auto& disk : disks_->named(bsdName)) {
        if (auto drive = std::dynamic_pointer_cast<Drive>(disk))
            return drive;
    }
    return nullptr;
}

std::shared_ptr<Volume> Vantorel::getVolume(std::string_view bsdName) const
{
    for (const auto& disk : disks_->named(bsdName)) {
        if (auto volume = std::dynamic_pointer_cast<Volume>(disk); volume && isShown(*volume))
            return volume;
    }
    return nullptr;
}

std::vector<std::shared_ptr<Volume>> Vantorel::getVolumes(const Drive& drive) const
{
    const auto logicalStorage = disks_->standingOn(drive.bsdUnit());
    std::vector<std::shared_ptr<Volume>> result;
    for (const auto& disk : logicalStorage) {
        if (const auto* const container = dynamic_cast<const AppleStorage*>(disk.get())) {
            result = container->logicalVolumes();
            break;
        }
    }
    for (const auto& disk : logicalStorage) {
        if (auto logical = std::dynamic_pointer_cast<CoreStorage>(disk); logical && isShown(*logical))
            result.push_back(std::move(logical));
    }
    std::vector<std::shared_ptr<Volume>> raids;
    for (const auto& disk : disks_->ofUnit(drive.bsdUnit())) {
        auto volume = std::dynamic_pointer_cast<Volume>(disk);
        if (!volume || !isShown(*volume))
            continue;
        if (auto raid = raidMember(volume->diskObject()))
            raids.push_back(std::move(raid));
        else
            result.push_back(std::move(volume));
    }
    std::move(raids.begin(), raids.end(), std::back_inserter(result));
    return result;
}

std::shared_ptr<RaidStorage> Vantorel::raidMember(const system::DADiskRef& disk) const
{
    const system::IOHandle media(system::DADiskCopyIOMedia(disk));
    system::IOHandle children;
    if (system::IORegistryEntryGetChildIterator(media.get(), system::kIOServicePlane, children.receive()) !=
        system::KERN_SUCCESS)
        return nullptr;
    while (const auto child = system::IOHandle(system::IOIteratorNext(children.get()))) {
        const auto properties = getPropertiesForService(child.get());
        if (!properties || properties->get<std::string>("IOClass") != "AppleRAIDMember")
            continue;
        const auto text = properties->get<std::string>("AppleRAID-MemberUUID");
        if (const auto uuid = text ? base::Uuid::parse(*text) : std::nullopt)
            return getRaidStorageFromMember(*uuid);
    }
    return nullptr;
}

std::shared_ptr<RaidStorage> Vantorel::getRaidStorageFromMember(const base::Uuid& uuid) const
{
    const auto sets = disks_->withMember(uuid);
    return sets.empty() ? nullptr : std::static_pointer_cast<RaidStorage>(sets.front());
}

system::PropertyTableRef Vantorel::getDiskInfo(const system::DADiskRef& disk)
{
    return vantorel::getDiskInfo(disk);
}

system::PropertyTableRef Vantorel::getRegistryEntryForDisk(const system::DADiskRef& disk)
{
    return vantorel::getRegistryEntryForDisk(disk);
}

system::PropertyTableRef Vantorel::getPropertiesForService(system::io_object_t serviceObject)
{
    return vantorel::getPropertiesForService(serviceObject);
}

ATASmartValue Vantorel::dummyAta()
{
    return {.id = 0,
            .name = "Dummy",
            .formattedValue = "Value",
            .current = 10,
            .worst = 5,
            .theshold = 0,
            .type = SmartAttributeType::oldAge,
            .state = ATASmartAttributeState::ok,
            .valueType = SmartValueType::string,
            .info = "Info"};
}

NVMeSmartValue Vantorel::dummyNvme()
{
    return {.name = "Dummy",
            .formattedValue = "Value",
            .valueType = SmartValueType::string,
            .state = NVMeSmartAttributeState::ok,
            .info = "Info"};
}

} // namespace vantorel
