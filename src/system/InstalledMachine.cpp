// SPDX-License-Identifier: GPL-2.0-or-later
#include "InstalledMachine.h"

#include <mutex>
#include <utility>

namespace vantorel::system {

namespace {

class EmptyMachine final : public Machine {
public:
    void start(MachineEvents& /*events*/) override {}
};

struct Installed {
    std::mutex mutex;
    std::shared_ptr<Machine> current = std::make_shared<EmptyMachine>();
};

Installed& installed()
{
    static auto& the = *new Installed; // its threads may run until the process has ended
    return the;
}

} // namespace

std::shared_ptr<Machine> installedMachine()
{
    const std::scoped_lock lock(installed().mutex);
    return installed().current;
}

std::shared_ptr<Machine> exchangeMachine(std::shared_ptr<Machine> next)
{
    const std::scoped_lock lock(installed().mutex);
    return std::exchange(installed().current, std::move(next));
}

} // namespace vantorel::system
