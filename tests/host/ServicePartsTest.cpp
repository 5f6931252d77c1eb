// SPDX-License-Identifier: GPL-2.0-or-later
// What the watching service tells: the service manager, the journal, and who wants to know of a change.
#include "health/Readings.h"
#include "host/metrics/MetricsFile.h"
#include "host/service/ChangeDocument.h"
#include "host/service/ServiceManager.h"
#include "support/RegistryFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace vantorel::host {
namespace {

/// A socket that takes datagrams under an abstract name of this process.
class Listener {
public:
    explicit Listener(const std::string& name)
        : name_("@vantorel-test-" + std::to_string(getpid()) + name), descriptor_(socket(AF_UNIX, SOCK_DGRAM, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path + 1, name_.data() + 1, name_.size() - 1);
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name_.size());
        EXPECT_EQ(bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), length), 0);
    }
    ~Listener() { close(descriptor_); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    [[nodiscard]] const std::string& name() const { return name_; }

    /// The next datagram; empty when none has come.
    [[nodiscard]] std::string next() const
    {
        std::array<char, 4096> buffer{};
        const ssize_t size = recv(descriptor_, buffer.data(), buffer.size(), MSG_DONTWAIT);
        return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }

private:
    std::string name_;
    int descriptor_;
};

TEST(ServiceManager, SignsHalfAsLateAsItIsToldToIfItIsMeant)
{
    const std::string self = std::to_string(getpid());
    const std::string other = std::to_string(getpid() + 1);
    struct Row {
        const char* socket;
        std::optional<std::string> microseconds;
        std::optional<std::string> process;
        std::optional<int> milliseconds;
    };
    const Row rows[] = {
        {"@s", "3000000", self, 1500}, {"@s", "3000000", {}, 1500}, {"@s", "3000000", "nobody", 1500},
        {"@s", "3000000", other, {}},  {"", "3000000", self, {}},   {"@s", "0", self, {}},
        {"@s", "1999", self, 1},       {"@s", "3001", self, 1},     {"@s", "4000", self, 2},
        {"@s", "3000000us", self, {}}, {"@s", {}, self, {}},
    };
    for (const Row& row : rows) {
        setenv("NOTIFY_SOCKET", row.socket, 1);
        for (const auto& [name, value] :
             {std::pair("WATCHDOG_USEC", row.microseconds), std::pair("WATCHDOG_PID", row.process)}) {
            unsetenv(name);
            if (value)
                setenv(name, value->c_str(), 1);
        }
        const auto sign = ServiceManager().signOfLife();
        EXPECT_EQ(sign ? std::optional<int>(sign->count()) : std::nullopt, row.milliseconds)
            << row.microseconds.value_or("-") << ' ' << row.process.value_or("-");
        for (const char* const name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"})
            EXPECT_EQ(std::getenv(name), nullptr) << "not for those that it starts";
    }
}

TEST(ServiceManager, IsToldThroughItsSocketAndMissedByNobody)
{
    const Listener manager("manager");
    setenv("NOTIFY_SOCKET", manager.name().c_str(), 1);
    const ServiceManager service;
    service.notify("READY=1");
    EXPECT_EQ(manager.next(), "READY=1");
    service.notifyReloading();
    EXPECT_THAT(manager.next(), testing::MatchesRegex("RELOADING=1\nMONOTONIC_USEC=[0-9]+"));
    ServiceManager().notify("READY=1"); // which has no socket any more
    EXPECT_EQ(manager.next(), "");
    for (const std::string name : {"@gone", "/none/such"}) {
        setenv("NOTIFY_SOCKET", name.c_str(), 1);
        ServiceManager().notify("READY=1");
    }
    setenv("NOTIFY_SOCKET", std::string(200, 'x').c_str(), 1); // longer than any address
    ServiceManager().notify("READY=1");
}

TEST(Journal, TakesEachFieldWithItsSizeAndLeavesOutEmptyOnes)
{
    const Listener listener("journal");
    setenv("VANTOREL_JOURNAL_SOCKET", listener.name().c_str(), 1);
    setenv("JOURNAL_STREAM", "0:0", 1);
    EXPECT_FALSE(Journal().isJournal());
    struct stat facts {};
    ASSERT_EQ(fstat(STDOUT_FILENO, &facts), 0);
    setenv("JOURNAL_STREAM", (std::to_string(facts.st_dev) + ":" + std::to_string(facts.st_ino)).c_str(), 1);
    const Journal journal;
    ASSERT_TRUE(journal.isJournal());
    journal.tell(Priority::warning, "a\nb", {{"NONE", ""}, {"LONG", std::string(258, 'l')}});
    const auto field = [](const std::string& name, const std::string& size, const std::string& text) {
        return name + '\n' + size + std::string(8 - size.size(), '\0') + text + '\n';
    };
    EXPECT_EQ(listener.next(), field("MESSAGE", "\x03", "a b") + field("PRIORITY", "\x01", "4") +
                                   field("SYSLOG_IDENTIFIER", "\x08", "vantorel") +
                                   field("LONG", "\x02\x01", std::string(258, 'l')));
}

using LevelChanges = test::RegistryFixture;

TEST_F(LevelChanges, AreToldInALineADocumentAndAMail)
{
    test::DiskTree tree;
    tree.media(tree.driver("AppleAHCI", "ACME\nDisk", {{"Serial Number", "  S9 "}}), "disk4", "Media");
    load(std::move(tree));
    const test::AtaDrive drive({{197, 70}, {5, 3000}, {187, 500}});
    DriveOutcome read;
    read.kind = DriveOutcome::Kind::read;
    read.name = "disk4";
    read.drive.emplace(*tracked<Drive>("disk4"));
    read.judged = health::judgeSavedAta(drive.data, drive.thresholds, "ACME Disk", false);
    read.comparedTo = 1'769'903'999'123;
    const LevelChange change{read, health::Level::good, read.judged->verdict.level};
    const health::Reason& first = read.judged->verdict.reasons.front();
    const std::string level(words(change.now));
    const std::string line = "disk4, ACME Disk, serial S9: good -> " + level + ": " + first.sentence;
    EXPECT_EQ(changeText(change), line);
    EXPECT_EQ(changeRules(change), test::rules(read.judged->verdict.reasons));
    EXPECT_THAT(changeRules(change), testing::HasSubstr(" ")) << "two reasons";
    EXPECT_THAT(changeMail(change, "a@b"),
                testing::StartsWith("To: a@b\nSubject: disk4: " + level +
                                    "\nMIME-Version: 1.0\nContent-Type: text/plain; charset=utf-8\n\n" + line + "\n- " +
                                    first.sentence + " (" + std::string(first.rule) + ": "));
    const auto document = nlohmann::json::parse(changeDocument(change));
    EXPECT_EQ(document["event"], "levelChanged");
    EXPECT_EQ(document["name"], "disk4");
    EXPECT_EQ(document["model"], "ACME\nDisk");
    EXPECT_EQ(document["serial"], "S9");
    EXPECT_EQ(document["lastLevel"], "good");
    EXPECT_EQ(document["level"], rawValue(change.now));
    EXPECT_EQ(document["comparedTo"], "2026-01-31T23:59:59.123Z");
    EXPECT_EQ(document["verdict"]["level"], rawValue(change.now));
    EXPECT_FALSE(document.contains("error"));

    DriveOutcome unread;
    unread.name = "disk5";
    unread.error = "It does not answer.";
    unread.remedy = "plug it in";
    const LevelChange lost{unread, health::Level::watch, health::Level::unknown};
    EXPECT_EQ(changeText(lost), "disk5: watch -> unknown: It does not answer.");
    EXPECT_EQ(changeRules(lost), "");
    EXPECT_THAT(changeMail(lost, "a"), testing::EndsWith("\n\ndisk5: watch -> unknown: It does not answer.\n"));
    auto lostDocument = nlohmann::json::parse(changeDocument(lost));
    EXPECT_EQ(lostDocument["error"], "It does not answer.");
    EXPECT_EQ(lostDocument["remedy"], "plug it in");
    for (const char* const key : {"model", "serial", "comparedTo", "verdict"})
        EXPECT_FALSE(lostDocument.contains(key)) << key;
    unread.remedy.clear();
    EXPECT_FALSE(nlohmann::json::parse(changeDocument(lost)).contains("remedy"));
}

TEST(MetricsFile, HasTheFormOfItsName)
{
    for (const char* const path : {"a.prom", "/var/lib/a.b.prom"})
        EXPECT_EQ(metricsFormatOf(path), MetricsFormat::classic) << path;
    for (const char* const path : {"-", "a", "a.prom.txt", ".prom", "prom", "a.prom/b", "a.PROM"})
        EXPECT_EQ(metricsFormatOf(path), MetricsFormat::openMetrics) << path;
}

} // namespace
} // namespace vantorel::host
