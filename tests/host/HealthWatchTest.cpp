// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/service/HealthWatch.h"
#include "support/RegistryFixture.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vantorel::host {
namespace {

using namespace std::chrono_literals;
using test::contentsOf;

/// What the test and the service, a process of its own, tell each other.
struct Shared {
    std::atomic<bool> hangs = true; ///< the second drive
    std::atomic<bool> isFailing = false;
    std::atomic<bool> isExchanged = false; ///< another drive is in the place of the second
    std::atomic<int> readings[3] = {};     ///< that have begun, of each drive
};

std::size_t count(const std::string& text, const std::string& part)
{
    std::size_t times = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++times;
    return times;
}

/// A service that reads every second a drive that is good and one that hangs, on a machine of the test's own.
class WatchedDrives : public testing::Test {
protected:
    WatchedDrives()
    {
        void* const memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            throw std::runtime_error("no shared memory");
        shared = new (memory) Shared;
        manager = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        folder.file("manager").copy(address.sun_path, sizeof address.sun_path - 1);
        const timeval patience{30, 0};
        setsockopt(manager, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        if (bind(manager, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            throw std::runtime_error("no socket");
        std::fflush(nullptr);
        service = fork();
        if (service == 0)
            runService();
    }
    ~WatchedDrives() override
    {
        if (service > 0) {
            kill(service, SIGKILL);
            waitpid(service, nullptr, 0);
        }
        close(manager);
        munmap(shared, sizeof *shared);
    }
    WatchedDrives(const WatchedDrives&) = delete;
    WatchedDrives& operator=(const WatchedDrives&) = delete;

    /// Waits until the service has told its manager this.
    void isToldToManager(const std::string& word) const
    {
        char told[256];
        for (;;) {
            const ssize_t size = recv(manager, told, sizeof told, 0);
            ASSERT_GT(size, 0) << word << " is never told";
            if (std::string_view(told, static_cast<std::size_t>(size)).find(word) != std::string_view::npos)
                return;
        }
    }

    void until(const std::function<bool()>& condition, const std::string& what) const
    {
        const auto end = std::chrono::steady_clock::now() + 15s;
        while (!condition()) {
            ASSERT_LT(std::chrono::steady_clock::now(), end) << "in vain for " << what << ", told: " << output();
            std::this_thread::sleep_for(10ms);
        }
    }

    /// Waits for so many more readings of a drive to begin.
    void isReadAgain(std::size_t drive, int times) const
    {
        const int before = shared->readings[drive];
        until([&] { return shared->readings[drive] >= before + times; }, "readings of disk" + std::to_string(drive));
    }

    [[nodiscard]] std::string output() const { return contentsOf(folder.file("output")); }

    [[nodiscard]] long threads() const
    {
        const std::filesystem::directory_iterator tasks("/proc/" + std::to_string(service) + "/task");
        return std::distance(begin(tasks), end(tasks));
    }

    const test::TemporaryFolder folder;
    Shared* shared = nullptr;
    int manager = -1;
    pid_t service = 0;

private:
    [[noreturn]] void runService() const
    {
        setenv("NOTIFY_SOCKET", folder.file("manager").c_str(), 1);
        setenv("WATCHDOG_USEC", "600000", 1);
        unsetenv("WATCHDOG_PID");
        if (!std::freopen(folder.file("output").c_str(), "w", stdout))
            _exit(2);
        WatchOptions options;
        options.file = folder.write("watch.toml", "");
        options.interval = "1s";
        options.history = folder.file("history.db");
        options.metrics = folder.file("drives.prom");
        HealthWatch watch(options, false);
        test::DiskTree tree;
        const auto first = addDrive(tree, "disk0", "Good");
        const auto second = addDrive(tree, "disk1", "Slow");
        test::DiskTree later = tree;
        const auto third = addDrive(later, "disk1", "New");
        auto& machine = test::TestMachine::install(tree.entries);
        for (const auto& [drive, entry] : {std::pair(0, first), std::pair(1, second), std::pair(2, third)})
            machine.nvmeDrives[entry] = [this, drive = drive](const auto& command) { return answer(drive, command); };
        std::thread([this, &machine, second, &later, known = tree.entries.size()] {
            while (!shared->isExchanged)
                std::this_thread::sleep_for(10ms);
            machine.remove(second);
            for (std::size_t i = known; i < later.entries.size(); ++i)
                machine.arrive(later.entries[i]);
        }).detach();
        watch.run(100);
        _exit(EXIT_SUCCESS);
    }

    /// Gives the entry of its device.
    static test::DiskTree::Id addDrive(test::DiskTree& tree, const std::string& bsdName, const std::string& model)
    {
        const auto driver = tree.driver("IONVMeController", model, {{"Serial Number", model + "-1"}},
                                        {{"NVMe SMART Capable", true}}, "PCI-Express");
        tree.media(driver, bsdName, model + " Media");
        return driver - 1;
    }

    system::NvmeResult answer(int drive, const system::NvmeCommand& command) const
    {
        Data bytes = test::readTestData(command.opcode == 2 ? "nvme/smart.bin" : "nvme/identify.bin");
        if (command.opcode == 2) {
            if (command.cdw10to15[0] % 256 == 2)
                ++shared->readings[drive];
            bytes[3] = 100; // none of the reserve is used
            while (drive == 1 && shared->hangs)
                std::this_thread::sleep_for(5ms);
            if (drive == 1 && shared->isFailing)
                bytes[0] = 8; // it takes no more data
        }
        std::copy_n(bytes.begin(), std::min(bytes.size(), command.read.size()), command.read.begin());
        return {system::kIOReturnSuccess, command.read.size(), 0};
    }
};

const std::string noAnswer = "disk1: it has not answered since the last reading\n";
const std::string unknown = "disk1, Slow, serial Slow-1: good -> unknown: It does not answer.\n";

TEST_F(WatchedDrives, ThatHangHoldUpNothingAndAreTold)
{
    ASSERT_NO_FATAL_FAILURE(isToldToManager("READY=1"));
    ASSERT_NO_FATAL_FAILURE(isReadAgain(0, 5)); // while nobody takes the signs of life
    EXPECT_EQ(shared->readings[1], 1) << "asked again before it has answered";
    EXPECT_EQ(count(output(), noAnswer), 1) << output();
    EXPECT_EQ(count(output(), unknown), 1) << output();
    EXPECT_EQ(count(output(), "->"), 1) << output();
    const std::string failed = "disk1\",model=\"Slow\",serial=\"Slow-1\",state=\"failed\"} 1";
    EXPECT_EQ(count(contentsOf(folder.file("drives.prom")), failed), 1) << contentsOf(folder.file("drives.prom"));
    EXPECT_LE(threads(), 6)
        << "its own, the test's, the one that hangs, one that reads; those of a sanitizer or emulator";
    for (const char* const word : {"WATCHDOG=1", "WATCHDOG=1"})
        ASSERT_NO_FATAL_FAILURE(isToldToManager(word));
    kill(service, SIGHUP);
    ASSERT_NO_FATAL_FAILURE(isToldToManager("RELOADING=1"));
    ASSERT_NO_FATAL_FAILURE(isToldToManager("READY=1"));

    // Late is better than never.
    shared->isFailing = true;
    shared->hangs = false;
    ASSERT_NO_FATAL_FAILURE(until([this] { return count(output(), "unknown -> failing") == 1; }, "the answer"));
    ASSERT_NO_FATAL_FAILURE(isReadAgain(1, 2));
    const std::size_t told = count(output(), noAnswer);
    shared->hangs = true;
    ASSERT_NO_FATAL_FAILURE(until([&] { return count(output(), noAnswer) == told + 1; }, "word of the second time"));

    const auto asked = std::chrono::steady_clock::now();
    kill(service, SIGTERM);
    ASSERT_NO_FATAL_FAILURE(isToldToManager("STOPPING=1"));
    int status = -1;
    waitpid(service, &status, 0);
    service = 0;
    EXPECT_EQ(status, 0);
    double load = 0; // a computer that has much else to do takes its time
    const bool isBusy = getloadavg(&load, 1) != 1 || load > std::thread::hardware_concurrency() + 1;
    EXPECT_LT(std::chrono::steady_clock::now() - asked, isBusy ? 5s : 1s);
}

TEST_F(WatchedDrives, ThatHangAreForgottenWhenTheyAreGone)
{
    ASSERT_NO_FATAL_FAILURE(isToldToManager("READY=1"));
    ASSERT_NO_FATAL_FAILURE(isReadAgain(1, 1));
    ASSERT_NO_FATAL_FAILURE(isReadAgain(0, 1));
    shared->isExchanged = true;
    ASSERT_NO_FATAL_FAILURE(isReadAgain(2, 4)); // under the same name
    EXPECT_LE(count(output(), noAnswer), 1) << output();
    EXPECT_EQ(count(output(), "New"), 0) << output();
}

} // namespace
} // namespace vantorel::host
