// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "support/DiskTree.h"
#include "vantorel/disks/Vantorel.h"
#include "vantorel/system/MessageSink.h"
#include "vantorel/system/RunLoop.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantorel::test {

/// Tests of the registry on a machine of the test's own, with the library's messages caught.
class RegistryFixture : public testing::Test {
protected:
    RegistryFixture()
    {
        system::setMessageSink([this](std::string_view line) { messages.emplace_back(line); });
    }
    ~RegistryFixture() override { system::setMessageSink(nullptr); }
    RegistryFixture(const RegistryFixture&) = delete;
    RegistryFixture& operator=(const RegistryFixture&) = delete;

    /// Installs the machine of a tree and has all its disks arrive.
    TestMachine& load(DiskTree tree)
    {
        TestMachine& machine = TestMachine::install(std::move(tree.entries));
        settle();
        return machine;
    }

    /// Does what is pending until nothing is.
    static void settle()
    {
        static_cast<void>(Vantorel::shared());
        while (system::performPendingWork()) {
        }
    }

    /// The tracked disk of a name as a `T`; null when it is missing or of another class.
    template <typename T = Disk>
    static std::shared_ptr<T> tracked(std::string_view bsdName)
    {
        for (const auto& disk : Vantorel::shared().disks()) {
            if (disk->bsdName() == bsdName)
                return std::dynamic_pointer_cast<T>(disk);
        }
        return nullptr;
    }

    /// The device names of disks, parted by blanks; "-" for one without.
    template <typename Disks>
    static std::string names(const Disks& disks)
    {
        std::string text;
        for (const auto& disk : disks)
            text += (text.empty() ? "" : " ") + disk->bsdName().value_or("-");
        return text;
    }

    std::vector<std::string> messages;
};

/// Notes what it is told as "appeared disk0".
class NotingListener : public DiskListener {
public:
    void diskChanged(const std::shared_ptr<Disk>& disk, DiskEvent event) override
    {
        told.push_back(std::string(rawValue(event)) + " " + disk->bsdName().value_or("-"));
        last = disk;
    }

    std::vector<std::string> told;
    std::shared_ptr<Disk> last;
};

} // namespace vantorel::test
