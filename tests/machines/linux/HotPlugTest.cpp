// SPDX-License-Identifier: GPL-2.0-or-later
#include "machines/linux/LinuxMachine.h"

#include "LiveFixture.h"
#include "vantorel/system/Installation.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <umockdev.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

/// Whether the socket of events is full: what comes is lost, and the next look at it says so.
std::atomic<bool> socketIsFull = false;

} // namespace

/// Stands before the C library's.
extern "C" [[gnu::visibility("default")]] ssize_t recvmsg(int socket, msghdr* message, int flags)
{
    static const auto receive = reinterpret_cast<decltype(&recvmsg)>(dlsym(RTLD_NEXT, "recvmsg"));
    const ssize_t size = receive(socket, message, flags);
    if (!socketIsFull || size <= 0)
        return size;
    errno = ENOBUFS;
    return -1;
}

namespace vantorel {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The library on a computer whose devices umockdev plugs in and out.
class HotPlugTest : public test::LiveFixture, public DiskListener {
protected:
    HotPlugTest() : bed(umockdev_testbed_new(), g_object_unref) {}

    /// The whole disk `name`, or partition `number` of the one whose folder is `whole`; gives its folder in sysfs.
    /// umockdev tells of it.
    std::string add(const std::string& name, int minor, int sequence, const std::string& whole = {}, int number = 0)
    {
        const std::string minorText = std::to_string(minor);
        const std::string sequenceText = std::to_string(sequence);
        const std::string numberText = std::to_string(number);
        const char* attributes[] = {"size", "4096", "partition", numberText.c_str(), nullptr};
        const char* properties[] = {"DEVNAME", name.c_str(),
                                    "DEVTYPE", whole.empty() ? "disk" : "partition",
                                    "MAJOR",   "8",
                                    "MINOR",   minorText.c_str(),
                                    "DISKSEQ", sequenceText.c_str(),
                                    nullptr};
        if (whole.empty())
            attributes[2] = nullptr;
        gchar* const path =
            umockdev_testbed_add_devicev(bed.get(), "block", name.c_str(), whole.empty() ? nullptr : whole.c_str(),
                                         const_cast<gchar**>(attributes), const_cast<gchar**>(properties));
        std::string folder = path;
        g_free(path);
        return folder;
    }
    void tell(const std::string& folder, const char* action)
    {
        umockdev_testbed_uevent(bed.get(), folder.c_str(), action);
    }
    void set(const std::string& folder, const char* attribute, const char* value)
    {
        umockdev_testbed_set_attribute(bed.get(), folder.c_str(), attribute, value);
    }
    void remove(const std::string& folder)
    {
        // The kernel takes the links away before it tells; umockdev needs the folder to tell of it.
        const std::unique_ptr<gchar, decltype(&g_free)> root(umockdev_testbed_get_root_dir(bed.get()), g_free);
        for (const char* const links : {"/sys/class/block", "/sys/block"})
            std::filesystem::remove(std::string(root.get()) + links + folder.substr(folder.rfind('/')));
        tell(folder, "remove");
        umockdev_testbed_remove_device(bed.get(), folder.c_str());
    }

    void look()
    {
        system::install(std::make_unique<machines::LinuxMachine>(
            machines::LinuxOptions{.readsSuperblocks = false,
                                   .events = machines::Udev::Source::udev,
                                   .times = {.arrayPolling = std::chrono::milliseconds(5)}}));
        settle();
        Vantorel::shared().registerListener(std::shared_ptr<DiskListener>(std::shared_ptr<void>(), this));
    }

    void diskChanged(const std::shared_ptr<Disk>& disk, DiskEvent event) override
    {
        const char* const mark = event == DiskEvent::appeared ? "+" : event == DiskEvent::disappeared ? "-" : "~";
        events.push_back(mark + disk->bsdName().value_or("?"));
    }

    /// What is told until there are so many, and for longer than a burst lasts after that.
    std::vector<std::string> told(std::size_t atLeast)
    {
        settleUntil([&] { return events.size() >= atLeast; });
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        settle();
        return std::exchange(events, {});
    }

    std::unique_ptr<UMockdevTestbed, decltype(&g_object_unref)> bed;
    std::vector<std::string> events;
};

TEST_F(HotPlugTest, DisksComeChangeAndGo)
{
    add("sda", 0, 1);
    look();
    EXPECT_EQ(names(Vantorel::shared().disks()), "sda");

    const std::string disk = add("sdb", 16, 2);
    add("sdb1", 17, 2, disk, 1);
    auto arrivals = told(2);
    std::erase(arrivals, "~sdb"); // told before its partition came, it is no leaf any more
    EXPECT_THAT(arrivals, ElementsAre("+sdb", "+sdb1"));
    EXPECT_EQ(tracked<Volume>("sdb1")->bsdUnit(), tracked<Drive>("sdb")->bsdUnit());

    set(disk, "size", "8192");
    tell(disk, "change");
    EXPECT_THAT(told(1), ElementsAre("~sdb"));
    EXPECT_EQ(tracked<Drive>("sdb")->size(), 8192 * 512);
    tell(disk, "change");
    EXPECT_THAT(told(0), IsEmpty());

    remove(disk); // takes the partition's folder along, as the kernel does
    EXPECT_THAT(told(2), ElementsAre("-sdb1", "-sdb"));
    EXPECT_EQ(names(Vantorel::shared().disks()), "sda");
}

TEST_F(HotPlugTest, AHundredDisksInASecondAreEachToldOnce)
{
    look();
    // As many as umockdev's sockets hold that nobody has read from yet.
    constexpr std::size_t burst = 8;
    constexpr std::size_t count = 104;
    std::vector<std::string> folders;
    while (folders.size() < count) {
        for (std::size_t i = 0; i < burst; ++i) {
            const int number = static_cast<int>(folders.size());
            folders.push_back(add("vd" + std::to_string(number), number, 1000 + number));
        }
        ASSERT_TRUE(settleUntil([&] { return events.size() >= folders.size(); }));
    }
    EXPECT_EQ(events.size(), count);
    EXPECT_EQ(std::set<std::string>(events.begin(), events.end()).size(), count);

    for (std::size_t i = 0; i < count; i += burst) {
        for (std::size_t j = i; j < i + burst; ++j)
            remove(folders[j]);
        ASSERT_TRUE(settleUntil([&] { return events.size() >= count + i + burst; }));
    }
    EXPECT_TRUE(Vantorel::shared().disks().empty());
}

TEST_F(HotPlugTest, EventsThatWereLostAreMadeUpFor)
{
    const std::string first = add("sda", 0, 1);
    const std::string second = add("sdb", 16, 2);
    look();
    settle();
    events.clear();
    socketIsFull = true;
    remove(first);
    EXPECT_THAT(told(1), ElementsAre("-sda"));
    set(second, "size", "8192");
    tell(second, "change");
    EXPECT_THAT(told(1), ElementsAre("~sdb"));
    add("sdc", 32, 3);
    EXPECT_THAT(told(1), ElementsAre("+sdc"));
    socketIsFull = false;
    EXPECT_EQ(names(Vantorel::shared().disks()), "sdb sdc");
}

TEST_F(HotPlugTest, AFailingMemberOfAnArrayIsTold)
{
    add("sda", 0, 1);
    add("sdb", 16, 2);
    const std::string array = add("md0", 0, 3);
    const auto putArray = [&](const char* name, const char* value) { set(array, name, value); };
    putArray("md/level", "raid1");
    putArray("md/array_state", "clean");
    putArray("md/raid_disks", "2");
    putArray("md/degraded", "0");
    putArray("md/dev-sda/slot", "0");
    putArray("md/dev-sda/state", "in_sync");
    putArray("md/dev-sdb/slot", "1");
    putArray("md/dev-sdb/state", "in_sync");
    look();
    told(0);
    ASSERT_EQ(tracked<RaidStorage>("md0")->members().size(), 2U);

    putArray("md/dev-sdb/state", "faulty"); // nobody tells of it
    putArray("md/degraded", "1");
    const auto changes = told(1);
    ASSERT_FALSE(changes.empty());
    EXPECT_EQ(std::set<std::string>(changes.begin(), changes.end()), std::set<std::string>{"~md0"});
    EXPECT_THAT(told(0), IsEmpty()) << "once";
}

TEST_F(HotPlugTest, ADiskThatTookTheNameOfAnotherIsAnother)
{
    const std::string first = add("sdb", 16, 2);
    look();
    const auto before = tracked<Drive>("sdb");
    remove(first);
    add("sdb", 16, 3);
    EXPECT_THAT(told(2), ElementsAre("-sdb", "+sdb"));
    EXPECT_NE(tracked<Drive>("sdb")->bsdUnit(), before->bsdUnit());
}

} // namespace

} // namespace vantorel
