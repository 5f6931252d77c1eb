// SPDX-License-Identifier: GPL-2.0-or-later
#include "DiskService.h"

#include "MediaDescription.h"

#include <algorithm>
#include <iterator>
#include <mutex>

namespace vantorel::system {

namespace {

const std::string* bsdNameOf(const RegistryNode& media)
{
    const PropertyValue* const name = media.properties->lookUp("BSD Name");
    return name ? name->text() : nullptr;
}

std::shared_ptr<const PropertyArray> changedKeys(const PropertyTable& before, const PropertyTable& after)
{
    PropertyArray keys;
    for (const auto& [key, value] : before) {
        const PropertyValue* const now = after.lookUp(key);
        if (!now || *now != value)
            keys.emplace_back(key);
    }
    for (const auto& [key, value] : after) {
        if (!before.contains(key))
            keys.emplace_back(key);
    }
    return std::make_shared<const PropertyArray>(std::move(keys));
}

} // namespace

DiskService& DiskService::shared()
{
    static auto& the = *new DiskService; // a machine's threads may tell until the process has ended
    return the;
}

void DiskService::tell(MachineEvent event)
{
    const std::scoped_lock lock(Registry::shared().mutex);
    if (!home()) {
        apply(event);
        return;
    }
    waiting_.push_back(std::move(event));
    letNextCome();
}

CFRunLoopRef DiskService::home() const
{
    return scheduled_.empty() ? nullptr : scheduled_.front()->runLoop;
}

void DiskService::letNextCome()
{
    if (nextIsComing_ || waiting_.empty())
        return;
    nextIsComing_ = true;
    CFRunLoopPerformBlock(home(), [this, turn = turn_] { takeUpNext(turn); });
}

void DiskService::takeUpNext(std::uint64_t turn)
{
    const std::scoped_lock lock(Registry::shared().mutex);
    if (turn != turn_)
        return;
    nextIsComing_ = false;
    MachineEvent event = std::move(waiting_.front());
    waiting_.pop_front();
    apply(event);
    letNextCome(); // behind the deliveries of this one
}

void DiskService::deliverNext(const DASessionRef& session)
{
    DiskNews news;
    {
        const std::scoped_lock lock(Registry::shared().mutex);
        if (session->pending.empty())
            return; // not scheduled any more
        news = std::move(session->pending.front());
        session->pending.pop_front();
    }
    switch (news.kind) {
    case DiskNews::Kind::appeared:
        if (session->appeared)
            session->appeared(news.disk, session->appearedContext);
        break;
    case DiskNews::Kind::disappeared:
        if (session->disappeared)
            session->disappeared(news.disk, session->disappearedContext);
        break;
    case DiskNews::Kind::changed:
        if (session->changed)
            session->changed(news.disk, *news.keys, session->changedContext);
        break;
    }
}

void DiskService::send(const DASessionRef& session, const DiskNews& news)
{
    session->pending.push_back(news);
    CFRunLoopPerformBlock(session->runLoop, [session] { deliverNext(session); });
}

void DiskService::spread(const DiskNews& news)
{
    for (const DASessionRef& session : scheduled_)
        send(session, news);
}

void DiskService::schedule(const DASessionRef& session, const CFRunLoopRef& runLoop)
{
    Registry& registry = Registry::shared();
    const std::scoped_lock lock(registry.mutex);
    if (session->runLoop)
        return;
    session->runLoop = runLoop;
    scheduled_.push_back(session);
    RegistryTree::walk(*registry.tree.root(), [&](const RegistryNode& node) {
        if (const auto found = disks_.find(node.id); found != disks_.end())
            send(session, {DiskNews::Kind::appeared, found->second.disk, nullptr});
        return true;
    });
}

void DiskService::unschedule(const DASessionRef& session)
{
    const std::scoped_lock lock(Registry::shared().mutex);
    std::erase(scheduled_, session);
    session->runLoop = nullptr;
    session->pending.clear();
    ++turn_;
    nextIsComing_ = false;
    if (home())
        letNextCome();
    for (; !home() && !waiting_.empty(); waiting_.pop_front())
        apply(waiting_.front());
}

DiskService::Disk* DiskService::find(const std::string& bsdName)
{
    const auto [first, behind] = byName_.equal_range(bsdName);
    return first == behind ? nullptr : &disks_.at(std::prev(behind)->second);
}

const DiskService::Disk* DiskService::find(const DADisk& disk) const
{
    const auto found = disks_.find(disk.entryId);
    return found == disks_.end() || found->second.disk.get() != &disk ? nullptr : &found->second;
}

PropertyTableRef DiskService::description(const DADisk& disk)
{
    const std::scoped_lock lock(Registry::shared().mutex);
    const Disk* const found = find(disk);
    return found ? found->description : nullptr;
}

RegistryNodeRef DiskService::mediaEntry(const DADisk& disk)
{
    Registry& registry = Registry::shared();
    const std::scoped_lock lock(registry.mutex);
    return find(disk) ? registry.tree.find(disk.entryId) : nullptr;
}

DADiskRef DiskService::diskNamed(const std::string& bsdName)
{
    const std::scoped_lock lock(Registry::shared().mutex);
    const Disk* const found = find(bsdName);
    return found ? found->disk : nullptr;
}

void DiskService::apply(MachineEvent& event)
{
    if (auto* const entry = std::get_if<RegistryEntry>(&event))
        arrive(*entry);
    else if (auto* const changed = std::get_if<EntryChange>(&event))
        change(*changed);
    else if (const auto* const removal = std::get_if<EntryRemoval>(&event))
        remove(*removal);
    else if (auto* const volume = std::get_if<VolumeChange>(&event))
        changeVolume(*volume);
    else
        removeAll();
}

void DiskService::arrive(RegistryEntry& entry)
{
    if (const RegistryNodeRef node = Registry::shared().tree.arrive(std::move(entry)))
        describeBelow(*node);
}

void DiskService::change(EntryChange& change)
{
    RegistryTree& tree = Registry::shared().tree;
    const PropertyTableRef before = tree.change(change.id, std::move(change.properties));
    if (!before)
        return;
    const RegistryNodeRef node = tree.find(change.id);
    if (describesMediaBelow(*before, *node->properties))
        describeBelow(*node);
    else
        describe(*node);
    tellOfSet(*node, *before);
}

/// What a RAID set tells of itself is in no description, but whoever watches its disk is to hear of it.
void DiskService::tellOfSet(const RegistryNode& set, const PropertyTable& before)
{
    constexpr std::string_view members = "AppleRAID-Members";
    const auto keys = changedKeys(before, *set.properties);
    if (!set.properties->lookUp(members) || keys->empty())
        return;
    for (const auto& [order, below] : set.children) {
        if (const auto disk = disks_.find(below->id); disk != disks_.end())
            spread({DiskNews::Kind::changed, disk->second.disk, keys});
    }
}

void DiskService::remove(const EntryRemoval& removal)
{
    takeUp(Registry::shared().tree.remove(removal.id));
}

void DiskService::takeUp(const RegistryTree::Removal& removal)
{
    for (const RegistryNodeRef& node : removal.gone)
        forget(node->id);
    for (const RegistryNodeRef& node : removal.rehung)
        describeBelow(*node);
}

void DiskService::changeVolume(VolumeChange& change)
{
    Disk* const disk = find(change.bsdName);
    if (!disk) {
        volumesAhead_.insert_or_assign(std::move(change.bsdName), std::move(change.facts));
        return;
    }
    disk->volume = std::move(change.facts);
    describe(*Registry::shared().tree.find(disk->disk->entryId));
}

void DiskService::removeAll()
{
    takeUp(Registry::shared().tree.removeAll());
    volumesAhead_.clear();
}

void DiskService::describeBelow(RegistryNode& node)
{
    RegistryTree::walk(node, [this](const RegistryNode& below) {
        describe(below);
        return true;
    });
}

void DiskService::describe(const RegistryNode& node)
{
    const auto known = disks_.find(node.id);
    const std::string* const bsdName = isMedia(node) ? bsdNameOf(node) : nullptr;
    const RegistryNode* const device = bsdName ? blockStorageDevice(node) : nullptr;
    if (!device || (known != disks_.end() && known->second.disk->bsdName != *bsdName))
        forget(node.id); // under another name it is another disk
    if (!device)
        return;

    Disk& disk = disks_[node.id];
    if (const auto ahead = disk.disk ? volumesAhead_.end() : volumesAhead_.find(*bsdName); ahead != volumesAhead_.end())
        disk.volume = std::move(volumesAhead_.extract(ahead).mapped());
    auto description =
        std::make_shared<const PropertyTable>(describeMedia(node, *device, disk.volume ? &*disk.volume : nullptr));
    if (!disk.disk) {
        disk.disk = std::make_shared<const DADisk>(DADisk{*bsdName, node.id});
        disk.description = std::move(description);
        disk.name = byName_.emplace(*bsdName, node.id);
        spread({DiskNews::Kind::appeared, disk.disk, nullptr});
    } else if (*disk.description != *description) {
        const auto keys = changedKeys(*disk.description, *description);
        disk.description = std::move(description);
        spread({DiskNews::Kind::changed, disk.disk, keys});
    }
}

void DiskService::forget(std::uint64_t entryId)
{
    const auto found = disks_.find(entryId);
    if (found == disks_.end())
        return;
    const DADiskRef disk = found->second.disk;
    byName_.erase(found->second.name);
    disks_.erase(found);
    spread({DiskNews::Kind::disappeared, disk, nullptr});
}

} // namespace vantorel::system
