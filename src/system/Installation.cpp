// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/Installation.h"

#include "InstalledMachine.h"
#include "system/disks/DiskService.h"
#include "system/registry/RegistryTool.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <utility>

namespace vantorel::system {

namespace {

/// Passes on what one machine tells, until that machine is replaced.
class Line final : public MachineEvents {
public:
    void entryArrived(RegistryEntry entry) override { pass(std::move(entry)); }
    void entryChanged(std::uint64_t id, PropertyTable properties) override
    {
        pass(EntryChange{id, std::move(properties)});
    }
    void entryRemoved(std::uint64_t id) override { pass(EntryRemoval{id}); }
    void volumeChanged(std::string bsdName, VolumeFacts facts) override
    {
        pass(VolumeChange{std::move(bsdName), std::move(facts)});
    }

    void close()
    {
        const std::scoped_lock lock(mutex_);
        open_ = false;
    }

private:
    void pass(MachineEvent event)
    {
        const std::scoped_lock lock(mutex_);
        if (open_)
            DiskService::shared().tell(std::move(event));
    }

    std::mutex mutex_;
    bool open_ = true;
};

/// A machine and the line that it talks on, which ends after it.
struct Connected {
    Line line;
    std::unique_ptr<Machine> machine;
};

/// The line of the installed machine; null before the first.
struct Lines {
    std::mutex mutex;
    std::shared_ptr<Connected> current;
};

Lines& lines()
{
    static auto& the = *new Lines; // a machine's threads may talk until the process has ended
    return the;
}

} // namespace

void install(std::unique_ptr<Machine> newMachine)
{
    auto next = std::make_shared<Connected>();
    next->machine = std::move(newMachine);
    std::shared_ptr<Connected> last;
    {
        const std::scoped_lock lock(lines().mutex);
        last = std::exchange(lines().current, next);
        exchangeMachine({next, next->machine.get()});
    }
    if (last)
        last->line.close();
    provideRegistryTool();
    DiskService::shared().tell(MachineGone{});
    next->machine->start(next->line);
}

std::shared_ptr<Machine> machine()
{
    return installedMachine();
}

} // namespace vantorel::system
