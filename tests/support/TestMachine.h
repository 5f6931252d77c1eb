// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/system/Machine.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vantorel::test {

/// A machine whose tree, volumes and later events a test puts together by hand. Install it through
/// `TestMachine::install`, which gives a reference that stays good while the machine is installed.
class TestMachine final : public system::Machine {
public:
    /// Installs a machine with these entries, parents before children.
    static TestMachine& install(std::vector<system::RegistryEntry> entries = {})
    {
        auto owned = std::make_unique<TestMachine>(std::move(entries));
        TestMachine& machine = *owned;
        system::install(std::move(owned));
        return machine;
    }

    explicit TestMachine(std::vector<system::RegistryEntry> entries) : entries_(std::move(entries)) {}

    // Later events, delivered as any machine's are.
    void arrive(system::RegistryEntry entry) { events_->entryArrived(std::move(entry)); }
    void change(std::uint64_t id, PropertyTable properties) { events_->entryChanged(id, std::move(properties)); }
    void remove(std::uint64_t id) { events_->entryRemoved(id); }
    void setVolume(const std::string& bsdName, system::VolumeFacts facts)
    {
        events_->volumeChanged(bsdName, std::move(facts));
    }

    // Answers to the questions of a machine; to be filled before they are asked.
    std::optional<std::vector<std::string>> mounted = std::vector<std::string>{};
    std::map<std::string, system::FileSystemFacts> fileSystems; ///< by mount point
    std::map<std::string, std::string, std::less<>> bundles;

    void start(system::MachineEvents& events) override
    {
        events_ = &events;
        for (system::RegistryEntry& entry : std::exchange(entries_, {}))
            events.entryArrived(std::move(entry));
    }
    std::optional<std::vector<std::string>> mountPoints() override { return mounted; }
    std::optional<system::FileSystemFacts> fileSystem(const std::string& path) override
    {
        const auto found = fileSystems.find(path);
        return found == fileSystems.end() ? std::nullopt : std::optional(found->second);
    }
    std::optional<std::string> bundleLocation(std::string_view identifier) override
    {
        const auto found = bundles.find(identifier);
        return found == bundles.end() ? std::nullopt : std::optional(found->second);
    }

private:
    std::vector<system::RegistryEntry> entries_;
    system::MachineEvents* events_ = nullptr;
};

} // namespace vantorel::test
