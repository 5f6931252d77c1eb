// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/history/History.h"
#include "health/Readings.h"
#include "support/TemporaryFolder.h"
#include "vantorel/smart/SmartController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <csignal>
#include <random>
#include <thread>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vantorel::host {
namespace {

using health::JudgedReading;
using test::AtaDrive;
using test::Slot;
using Use = HistoryStore::Use;

constexpr Timestamp day = 24 * 60 * 60 * 1000;
constexpr Timestamp start = 1'700'000'000'000;

JudgedReading reading(const AtaDrive& drive, const std::string& serial = "S1")
{
    const auto& controller = SmartController::shared().ataSmartController();
    auto result = controller.processExportedSmart(drive.data, drive.thresholds, false, {"ACME Disk", serial, "FW7"});
    return JudgedReading({*std::move(result), {}, {}, false});
}

/// A disk with so many replaced sectors after so many hours.
JudgedReading disk(std::uint64_t replaced, std::uint64_t hours, std::uint64_t pending = 0)
{
    return reading(AtaDrive({{5, replaced}, {9, hours}, {197, pending}}));
}

JudgedReading nonsense()
{
    AtaDrive drive({});
    drive.data.assign(512, 0xFF);
    return reading(drive);
}

Kept add(HistoryStore& store, JudgedReading judged, Timestamp time)
{
    auto change = store.transaction();
    judgeBeside(store, judged, time);
    const auto kept = keep(store, judged, "M", time);
    change.commit();
    return kept.value();
}

std::string integrityOf(const std::string& path)
{
    sqlite3* database = nullptr;
    sqlite3_open(path.c_str(), &database);
    std::string answer = "none";
    sqlite3_exec(
        database, "PRAGMA integrity_check",
        [](void* text, int, char** columns, char**) { return *static_cast<std::string*>(text) = columns[0], 0; },
        &answer, nullptr);
    sqlite3_close(database);
    return answer;
}

void alter(const std::string& path, const std::string& sql)
{
    sqlite3* database = nullptr;
    sqlite3_open(path.c_str(), &database);
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
}

TEST(SavedReading, GoesThroughItsImageAndThroughChangesByteByByte)
{
    std::mt19937 random(7);
    SavedReading saved{.saysFailing = false, .firmware = "1.0", .data = Data(512), .identify = Data(512, 3)};
    const Data first = *saved.image();
    EXPECT_EQ(SavedReading::fromImage(first), saved);
    for (std::size_t cut = 0; cut < first.size(); ++cut)
        EXPECT_FALSE(SavedReading::fromImage(DataView(first).first(cut)));
    for (int round = 0; round < 500; ++round) {
        Data now = first;
        for (auto i = random() % 40; i > 0; --i)
            now[random() % now.size()] = static_cast<std::uint8_t>(random());
        Data image = first;
        ASSERT_TRUE(applyChanges(image, changesBetween(first, now)));
        ASSERT_EQ(image, now);
    }
    for (const Data& changes :
         {Data{0}, Data{0, 5, 1}, Data{0x80}, Data{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 1}, Data{0, 0xFF, 0x7F, 1}}) {
        Data image(9);
        EXPECT_FALSE(applyChanges(image, changes));
    }
    saved.identify.resize(70'000);
    EXPECT_FALSE(saved.image());
}

TEST(History, GivesEveryReadingBackWhateverChanged)
{
    const test::TemporaryFolder folder;
    HistoryStore store(folder.file("h.db"), Use::write);
    std::mt19937 random(11);
    std::vector<SavedReading> expected;
    AtaDrive drive({{5, 3}});
    for (int i = 0; i < 300; ++i) {
        // Most readings differ in little, some in much.
        for (auto changes = i % 50 == 49 ? 400 : random() % 12; changes > 0; --changes)
            drive.data[random() % 362] = static_cast<std::uint8_t>(random());
        expected.push_back(SavedReading::of(reading(drive)));
        add(store, reading(drive), start + i);
    }
    const auto kept = store.find({"ACME Disk", "S1", ""});
    ASSERT_TRUE(kept);
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(store.at(*kept, start + static_cast<Timestamp>(i))->saved, expected[i]) << i;
    EXPECT_EQ(store.count(*kept), 300);
}

TEST(History, ComparesWithTheReadingThatTellsMost)
{
    struct Step {
        int day;
        JudgedReading judged;
    };
    struct Case {
        const char* what;
        std::vector<Step> kept;
        int now;
        JudgedReading judged;
        std::optional<int> comparedTo; ///< day
        std::string words;             ///< in the first reason
    };
    for (const Case& c : {
             Case{"nothing is kept", {}, 5, disk(63, 900), std::nullopt, "spare ones:"},
             Case{"nothing grew",
                  {{0, disk(63, 100)}, {90, disk(63, 800)}},
                  200,
                  disk(63, 4200),
                  0,
                  "none in the last 4100 powered hours"},
             Case{"grew just now",
                  {{0, disk(55, 100)}, {90, disk(55, 800)}},
                  91,
                  disk(63, 824),
                  90,
                  ", 8 more in 24 powered hours"},
             Case{"grew this month",
                  {{0, disk(55, 100)}, {80, disk(55, 600)}, {85, disk(60, 650)}, {90, disk(63, 800)}},
                  91,
                  disk(63, 824),
                  80,
                  ", 8 more in 224 powered hours"},
             Case{"grew long ago",
                  {{0, disk(1, 100)}, {20, disk(63, 300)}, {90, disk(63, 800)}},
                  91,
                  disk(63, 824),
                  20,
                  "none in the last 524 powered hours"},
             Case{"the clock jumped back",
                  {{50, disk(55, 500)}, {51, disk(55, 510)}, {3, disk(55, 520)}},
                  52,
                  disk(63, 530),
                  51,
                  ", 8 more in 20 powered hours"},
             Case{"nonsense in between",
                  {{0, disk(55, 100)}, {1, nonsense()}, {2, disk(55, 140)}},
                  3,
                  disk(63, 150),
                  2,
                  ", 8 more in 10 powered hours"},
             Case{"hours began anew",
                  {{0, disk(9, 60'000)}, {40, disk(63, 20)}, {41, disk(63, 50)}},
                  60,
                  disk(63, 70),
                  40,
                  "none in the last 50 powered hours"},
         }) {
        const test::TemporaryFolder folder;
        HistoryStore store(folder.file("h.db"), Use::write);
        for (const Step& step : c.kept)
            add(store, step.judged, start + step.day * day);
        JudgedReading judged = c.judged;
        const auto comparedTo = judgeBeside(store, judged, start + c.now * day);
        EXPECT_EQ(comparedTo, c.comparedTo ? std::optional(start + *c.comparedTo * day) : std::nullopt) << c.what;
        EXPECT_THAT(judged.verdict.reasons.front().sentence, testing::HasSubstr(c.words)) << c.what;
    }
}

TEST(History, TellsWhatGrewAndKeepsItWhenOldReadingsGo)
{
    const test::TemporaryFolder folder;
    HistoryStore store(folder.file("h.db"), Use::write);
    for (int i = 0; i < 10; ++i) // grows on the third and the seventh day
        add(store, disk(i < 3 ? 1 : i < 7 ? 4 : 9, 100 + 24 * static_cast<std::uint64_t>(i)), start + i * day);
    const KeptDrive drive = store.drives().at(0);
    const auto told = [&] {
        std::string text;
        for (const Growth& growth : growths(store, drive, 5))
            text += std::to_string((growth.since - start) / day) + "-" + std::to_string((growth.time - start) / day) +
                    " by " + health::decimalText(growth.comparison.changes.at(0).by) + "; ";
        return text;
    };
    EXPECT_EQ(told(), "2-3 by 3; 6-7 by 5; ");
    EXPECT_EQ(store.prune(start + 8 * day), 3) << "1, 4 and 5";
    EXPECT_EQ(told(), "2-3 by 3; 6-7 by 5; ");
    EXPECT_EQ(store.prune(start + 100 * day), 1) << "8, as the last stays";
    EXPECT_EQ(growths(store, drive, 1).at(0).since, start + 6 * day);
    // A report of a day in between comes late: what grew is told apart anew.
    auto change = store.transaction();
    EXPECT_TRUE(keepPast(store, disk(2, 160), "M", start + 5 * day / 2));
    EXPECT_FALSE(keepPast(store, disk(2, 160), "M", start + 5 * day / 2));
    change.commit();
    EXPECT_EQ(told(), "2-2 by 1; 2-3 by 2; 6-7 by 5; ");
}

TEST(History, AKnownCountIsQuietUntilItGrows)
{
    const test::TemporaryFolder folder;
    HistoryStore store(folder.file("h.db"), Use::write);
    add(store, disk(63, 100, 7), start);
    const KeptDrive drive = store.drives().at(0);
    EXPECT_ANY_THROW(acknowledge(store, drive, "heat.high", start));
    EXPECT_EQ(acknowledge(store, drive, "hdd.reallocated.high", start).at(0).count.number, 63);
    acknowledge(store, drive, "hdd.pending.high", start);
    const auto rulesAt = [&](std::uint64_t replaced, std::uint64_t pending) {
        JudgedReading judged = disk(replaced, 148, pending);
        judgeBeside(store, judged, start + 2 * day);
        return test::rules(judged.verdict.reasons);
    };
    EXPECT_EQ(rulesAt(63, 7), "good");
    EXPECT_EQ(rulesAt(63, 6), "good") << "it fell";
    EXPECT_EQ(rulesAt(64, 7), "hdd.reallocated.high");
    EXPECT_EQ(rulesAt(63, 8), "hdd.pending.high");
    JudgedReading known = disk(63, 148, 7);
    judgeBeside(store, known, start + 2 * day);
    EXPECT_EQ(known.verdict.level, health::Level::good);
    EXPECT_THAT(known.verdict.reasons.at(0).sentence, testing::Not(testing::HasSubstr("replaced")));
    EXPECT_THAT(test::rules(known.verdict.notes), testing::HasSubstr("hdd.reallocated.high"));
    EXPECT_EQ(store.withdraw(drive, "hdd.pending.high"), 1);
    EXPECT_EQ(rulesAt(63, 7), "hdd.pending.high");
}

TEST(History, KnowsADriveByModelAndNumberAndItsNameWhereItTellsOne)
{
    const test::TemporaryFolder folder;
    HistoryStore store(folder.file("h.db"), Use::write);
    const auto idOf = [&](const DriveIdentity& identity) { return store.findOrMake(identity).id; };
    const auto plain = idOf({"A", "S1", ""});
    EXPECT_EQ(idOf({"A", "S1", "5000c50000000001"}), plain) << "its name comes to be known";
    EXPECT_EQ(idOf({"A", "S1", ""}), plain);
    EXPECT_NE(idOf({"A", "S1", "5000c50000000002"}), plain);
    EXPECT_NE(idOf({"B", "S1", "5000c50000000001"}), plain);
    EXPECT_EQ(idOf({"A", "S1", "5000c50000000001"}), plain);
    EXPECT_FALSE(store.find({"A", "", ""}));
    auto change = store.transaction();
    EXPECT_FALSE(keep(store, reading(AtaDrive({}), " "), "M", start)) << "two drives could be meant";
}

TEST(History, TwoReadingsOfOneMomentAreBothKeptAndAClockThatWentBackIsTold)
{
    const test::TemporaryFolder folder;
    HistoryStore store(folder.file("h.db"), Use::write);
    EXPECT_FALSE(add(store, disk(1, 100), start).lastLevel);
    EXPECT_EQ(add(store, disk(63, 100), start).time, start + 1);
    const Kept earlier = add(store, disk(63, 101), start - day);
    EXPECT_EQ(earlier.clockBefore, start + 1);
    EXPECT_EQ(store.count(store.drives().at(0)), 3);
}

/// Adds readings in a process of its own until it is killed; writes a byte into the pipe behind each that is kept.
pid_t writer(const std::string& path, int pipe, int count, int first)
{
    const pid_t child = fork();
    if (child != 0)
        return child;
    try {
        for (int i = 0; i < count; ++i) {
            HistoryStore store(path, Use::write);
            add(store, disk(static_cast<std::uint64_t>(i) % 9, 100 + static_cast<std::uint64_t>(i)), start + first + i);
            if (write(pipe, "k", 1) != 1)
                _exit(2);
        }
        _exit(0);
    } catch (const std::exception&) {
        _exit(1);
    }
}

std::int64_t countIn(int pipe)
{
    std::int64_t count = 0;
    for (char byte = 0; read(pipe, &byte, 1) == 1;)
        ++count;
    return count;
}

TEST(History, AKilledWriterLosesNothingThatWasKept)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.file("h.db");
    std::mt19937 random(3);
    std::int64_t kept = 0;
    for (int round = 0; round < 25; ++round) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const pid_t child = writer(path, ends[1], 10'000, round * 10'000);
        close(ends[1]);
        char byte = 0;
        for (auto wanted = random() % 4; wanted > 0 && read(ends[0], &byte, 1) == 1; --wanted)
            ++kept;
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 20'000));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        kept += countIn(ends[0]);
        close(ends[0]);
        EXPECT_EQ(integrityOf(path), "ok");
    }
    HistoryStore store(path, Use::write);
    const auto drives = store.drives();
    const std::int64_t there = drives.empty() ? 0 : store.count(drives[0]);
    EXPECT_GT(kept, 0);
    EXPECT_GE(there, kept);
    EXPECT_LE(there, kept + 25) << "one a round may have been killed behind its end";
}

TEST(History, TwoWritersAtOnceLoseNothing)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.file("h.db");
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    for (const pid_t child : {writer(path, ends[1], 60, 0), writer(path, ends[1], 60, 0)}) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(integrityOf(path), "ok");
    HistoryStore store(path, Use::read);
    EXPECT_EQ(store.count(store.drives().at(0)), 120);
}

TEST(History, AFullDiskChangesNothingAndIsTold)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.file("h.db");
    {
        HistoryStore store(path, Use::write);
        add(store, disk(1, 100), start);
    }
    struct stat facts {};
    ASSERT_EQ(stat(path.c_str(), &facts), 0);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit full{static_cast<rlim_t>(facts.st_size) + 4096, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    int kept = 1;
    std::string told;
    try {
        std::mt19937 random(5);
        for (HistoryStore store(path, Use::write); kept < 5000; ++kept) {
            AtaDrive drive({});
            for (std::size_t i = 150; i < 500; ++i)
                drive.data[i] = static_cast<std::uint8_t>(random());
            add(store, reading(drive), start + kept);
        }
    } catch (const std::exception& error) {
        told = error.what();
    }
    EXPECT_THAT(told, testing::AllOf(testing::HasSubstr(path),
                                     testing::AnyOf(testing::HasSubstr("full"), testing::HasSubstr("disk I/O error"))));
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(integrityOf(path), "ok");
    HistoryStore store(path, Use::write);
    EXPECT_EQ(store.count(store.drives().at(0)), kept);
}

TEST(History, WhatCannotBeUsedIsToldInWords)
{
    const test::TemporaryFolder folder;
    const auto failureOf = [](const std::string& path, Use use) -> std::string {
        try {
            HistoryStore store(path, use, std::chrono::milliseconds(20));
            if (use == Use::write)
                add(store, disk(1, 100), start);
            return "none";
        } catch (const std::exception& error) {
            return std::string(error.what()).substr(path.size());
        }
    };
    const std::string path = folder.file("h.db");
    EXPECT_EQ(failureOf(path, Use::write), "none");
    {
        HistoryStore other(path, Use::write);
        const auto held = other.transaction();
        EXPECT_EQ(failureOf(path, Use::write), ": another process is busy with it; try again");
        EXPECT_EQ(failureOf(path, Use::read), "none");
    }
    alter(path, "PRAGMA user_version = 9");
    for (const Use use : {Use::read, Use::write})
        EXPECT_EQ(failureOf(path, use), ": it is of a newer version of vantorel: its form is 9, this one knows 1");
    alter(path, "PRAGMA user_version = 1; UPDATE frame SET image = x'00'");
    EXPECT_THAT(failureOf(path, Use::write), testing::HasSubstr(": it is damaged"));
    alter(path, "DELETE FROM frame");
    EXPECT_THAT(failureOf(path, Use::write), testing::HasSubstr(": it is damaged"));
    alter(folder.file("other.db"), "CREATE TABLE t (a)");
    EXPECT_EQ(failureOf(folder.file("other.db"), Use::write), ": it is no history");
    EXPECT_EQ(failureOf(folder.write("text", std::string(5000, 'x')), Use::write), ": it is no history");
    EXPECT_EQ(failureOf(folder.write("empty", ""), Use::read), ": it is no history");
    EXPECT_NE(failureOf(folder.file("gone/h.db"), Use::write), "none");
    EXPECT_NE(failureOf(folder.file("none"), Use::read), "none");
    EXPECT_FALSE(std::filesystem::exists(folder.file("none")));
}

TEST(History, IsReadWhereNothingMayBeWritten)
{
    const test::TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("f"));
    const std::string path = folder.file("f/h.db");
    {
        HistoryStore store(path, Use::write);
        add(store, disk(1, 100), start);
    }
    chmod(path.c_str(), 0444);
    chmod(folder.file("f").c_str(), 0555);
    chmod(folder.file("").c_str(), 0755);
    const uid_t user = geteuid();
    ASSERT_TRUE(user != 0 || seteuid(65534) == 0);
    EXPECT_EQ(HistoryStore(path, Use::read).drives().size(), 1U);
    EXPECT_THROW(add(*std::make_unique<HistoryStore>(path, Use::write), disk(1, 100), start), std::exception);
    static_cast<void>(seteuid(user));
    chmod(folder.file("f").c_str(), 0755);
}

} // namespace
} // namespace vantorel::host
