// SPDX-License-Identifier: GPL-2.0-or-later
#include "DiskLinks.h"

namespace vantorel {

void DiskLinks::tie(const std::shared_ptr<CoreStorage>& logical, const std::shared_ptr<Volume>& physical)
{
    logical->logicalVolume_ = physical;
    physical->coreStorageVolume_ = logical;
}

void DiskLinks::tie(const std::shared_ptr<AppleStorage>& container, const std::shared_ptr<Volume>& store)
{
    container->bsdVolume_ = store;
    store->apfsMedia_ = container;
}

void DiskLinks::put(const std::shared_ptr<Volume>& volume, AppleStorage& container)
{
    container.logicalVolumes_.push_back(volume);
    volume->volumeKind_ = Disk::VolumeKind::apfs;
}

std::shared_ptr<Volume> DiskLinks::physicalVolume(const Disk& disk)
{
    if (const auto* const container = dynamic_cast<const AppleStorage*>(&disk))
        return container->bsdVolume_;
    const auto* const logical = dynamic_cast<const CoreStorage*>(&disk);
    return logical ? logical->logicalVolume_ : nullptr;
}

std::vector<const Disk*> DiskLinks::of(const Disk& disk)
{
    std::vector<const Disk*> all;
    const auto add = [&all](const auto& link) {
        if (link)
            all.push_back(link.get());
    };
    if (const auto* const volume = dynamic_cast<const Volume*>(&disk)) {
        add(volume->coreStorageVolume_);
        add(volume->apfsMedia_);
    }
    add(physicalVolume(disk));
    if (const auto* const container = dynamic_cast<const AppleStorage*>(&disk)) {
        for (const auto& volume : container->logicalVolumes_)
            add(volume);
    }
    return all;
}

void DiskLinks::drop(Disk& disk)
{
    if (auto* const volume = dynamic_cast<Volume*>(&disk)) {
        volume->coreStorageVolume_.reset();
        volume->apfsMedia_.reset();
    }
    if (auto* const logical = dynamic_cast<CoreStorage*>(&disk))
        logical->logicalVolume_.reset();
    if (auto* const container = dynamic_cast<AppleStorage*>(&disk)) {
        container->bsdVolume_.reset();
        container->logicalVolumes_.clear();
    }
}

} // namespace vantorel
