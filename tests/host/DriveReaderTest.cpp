// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/service/DriveReader.h"
#include "support/RegistryFixture.h"
#include "support/ThreadCount.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <set>
#include <thread>

#include <poll.h>

namespace vantorel::host {
namespace {

using DriveReaders = test::RegistryFixture;

TEST_F(DriveReaders, ReadManyDrivesOnABoundedNumberOfThreads)
{
    constexpr std::size_t count = DriveReader::mostThreads + 36;
    test::DiskTree tree;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        const auto driver = tree.driver("IONVMeController", "N" + number, {}, {{"NVMe SMART Capable", true}});
        tree.media(driver, "disk" + number, "Namespace");
    }
    auto& machine = load(std::move(tree));
    std::atomic<bool> hangs = true;
    std::atomic<std::size_t> opened = 0;
    machine.whenOpened = [&] { // and then there is no drive
        ++opened;
        while (hangs)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    };
    const std::size_t before = test::threadCountAtFirst();

    DriveReader reader;
    auto unread = unreadDrives({});
    ASSERT_EQ(unread.size(), count);
    for (int round = 0; round < 2; ++round) { // the second asks nobody
        for (const DriveOutcome& drive : unread)
            reader.begin(drive);
    }
    EXPECT_EQ(reader.asked().size(), count);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (opened < DriveReader::mostThreads && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    EXPECT_EQ(test::threadCount(before + DriveReader::mostThreads), before + DriveReader::mostThreads);
    EXPECT_EQ(opened, DriveReader::mostThreads);
    EXPECT_TRUE(reader.take().empty());

    hangs = false;
    std::set<std::string> names;
    std::size_t taken = 0;
    while (taken < count) {
        pollfd readable{reader.descriptor(), POLLIN, 0};
        ASSERT_EQ(poll(&readable, 1, 20'000), 1) << taken;
        for (const DriveOutcome& outcome : reader.take()) {
            EXPECT_EQ(outcome.kind, DriveOutcome::Kind::notOpened);
            names.insert(outcome.name);
            ++taken;
        }
    }
    EXPECT_EQ(names.size(), count) << "each once";
    EXPECT_TRUE(reader.asked().empty());
    EXPECT_EQ(test::threadCount(before), before);
    reader.begin(unread.front());
    EXPECT_EQ(reader.asked().size(), 1U) << "it may be asked again";
    while (!reader.asked().empty())
        static_cast<void>(reader.take());
}

} // namespace
} // namespace vantorel::host
