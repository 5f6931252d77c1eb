// SPDX-License-Identifier: GPL-2.0-or-later
// What a host can do wrong, and what several threads can do at once. EveryFunction.c shows the right use.
#include "support/TemporaryFolder.h"
#include "vantorel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const std::string tower = std::string(VANTOREL_SAMPLES) + "/machines/tower";

/// A text that a function gave, freed.
std::string taken(char* text)
{
    const std::unique_ptr<char, decltype(&vantorel_free)> owner(text, vantorel_free);
    return text ? text : "";
}

vantorel_machine* opened(const std::string& path = tower, unsigned flags = 0)
{
    vantorel_machine* machine = nullptr;
    EXPECT_EQ(vantorel_open(path.c_str(), flags, &machine), VANTOREL_OK) << vantorel_last_error();
    return machine;
}

/// A machine of one volume that gets another name after `first` seconds and then every `interval`.
std::string changingMachine(const vantorel::test::TemporaryFolder& folder, int changes, double first, double interval)
{
    std::string events;
    for (int i = 1; i <= changes; ++i)
        events += (i > 1 ? "," : "") + std::string(R"({"at": )") + std::to_string(first + (i - 1) * interval) +
                  R"(, "volume": {"disk": "disk0s1", "kind": "hfs", "name": "name )" + std::to_string(i) + "\"}}";
    folder.write("ioreg.txt", R"(+-o Root  <class IORegistryEntry, id 0x1, retain 1>
  +-o AHCI  <class IOAHCIBlockStorageDevice, id 0x2, registered, matched, active, busy 0 (0 ms), retain 1>
    +-o Driver  <class IOBlockStorageDriver, id 0x3, registered, matched, active, busy 0 (0 ms), retain 1>
      +-o Whole  <class IOMedia, id 0x4, registered, matched, active, busy 0 (0 ms), retain 1>
        | {
        |   "BSD Name" = "disk0"
        |   "Whole" = Yes
        |   "Size" = 1000
        | }
        +-o Part  <class IOMedia, id 0x5, registered, matched, active, busy 0 (0 ms), retain 1>
            {
              "BSD Name" = "disk0s1"
              "Whole" = No
              "Size" = 900
            }
)");
    folder.write("machine.json", R"({"listing": "ioreg.txt", "events": [)" + events + "]}");
    return folder.file("");
}

TEST(CInterface, TellsBadArgumentsAndHandlesByACode)
{
    vantorel_machine* machine = nullptr;
    char* json = nullptr;
    char** names = nullptr;
    std::size_t count = 0;
    int descriptor = 0;
    vantorel_level level{};
    const char* const badName[] = {"disk0", "\xC3("};
    const char* const missingName[] = {nullptr};
    const std::vector<std::uint8_t> bytes((1 << 20) + 1);
    const auto ata = [&](std::size_t data, std::size_t thresholds, const char* model, unsigned flags = 0) {
        return vantorel_decode_ata(bytes.data(), data, bytes.data(), thresholds, model, flags, &json);
    };
    EXPECT_STREQ(vantorel_last_error(), "");

    struct Row {
        vantorel_error code;
        std::function<vantorel_error()> call;
        const char* text;
    };
    const auto expectAll = [](const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            EXPECT_EQ(row.call(), row.code) << row.text;
            EXPECT_THAT(vantorel_last_error(), HasSubstr(row.text));
        }
    };
    expectAll({
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_open(tower.c_str(), 0, nullptr); }, "machine is NULL"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_open("\xFF", 0, &machine); }, "path is no UTF-8"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_open(tower.c_str(), VANTOREL_RAW, &machine); }, "flag"},
        {VANTOREL_CANNOT_OPEN, [&] { return vantorel_open("/nowhere", 0, &machine); }, "/nowhere: "},
        {VANTOREL_CANNOT_OPEN, [&] { return vantorel_open(VANTOREL_TEST_DATA "/README.md", 0, &machine); },
         "README.md"},
        {VANTOREL_BAD_HANDLE, [&] { return vantorel_list(nullptr, &json); }, "machine is NULL"},
        {VANTOREL_BAD_HANDLE, [&] { return vantorel_list(reinterpret_cast<vantorel_machine*>(&level), &json); },
         "none"},
        {VANTOREL_BAD_HANDLE, [&] { return vantorel_close(reinterpret_cast<vantorel_machine*>(1)); }, "none"},
        {VANTOREL_BAD_ARGUMENT, [&] { return ata(511, 512, "M"); }, "data holds 511 bytes"},
        {VANTOREL_BAD_ARGUMENT, [&] { return ata(512, (1 << 20) + 1, "M"); }, "thresholds holds 1048577 bytes"},
        {VANTOREL_BAD_ARGUMENT, [&] { return ata(512, 512, nullptr); }, "model is NULL"},
        {VANTOREL_BAD_ARGUMENT, [&] { return ata(512, 512, "\x80"); }, "model is no UTF-8"},
        {VANTOREL_BAD_ARGUMENT, [&] { return ata(512, 512, "M", VANTOREL_WAKE); }, "flag"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_decode_nvme(nullptr, 512, nullptr, 0, 0, &json); },
         "log is NULL"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_decode_nvme(bytes.data(), 512, nullptr, 4096, 0, &json); },
         "identify is NULL"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_decode_nvme(bytes.data(), 512, bytes.data(), 4095, 0, &json); },
         "identify holds 4095 bytes"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_decode_nvme(bytes.data(), 512, nullptr, 0, 0, nullptr); },
         "json is NULL"},
    });

    machine = opened();
    expectAll({
        {VANTOREL_BUSY,
         [&] {
             vantorel_machine* second = machine;
             return vantorel_open(nullptr, 0, &second);
         },
         "one is open"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_list(machine, nullptr); }, "json is NULL"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_drive_names(machine, nullptr, &count); }, "names is NULL"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_drive_names(machine, &names, nullptr); }, "count is NULL"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_check(machine, nullptr, 1, 0, &json); }, "names is NULL"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_check(machine, missingName, 1, 0, &json); }, "a name is NULL"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_check(machine, badName, 2, 0, &json); }, "a name is no UTF-8"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_check(machine, badName, 1, VANTOREL_SSD, &json); }, "flag"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_verdict(machine, "disk0", nullptr, nullptr); }, "level is NULL"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_verdict(machine, nullptr, &level, nullptr); }, "name is NULL"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_event_descriptor(machine, nullptr); }, "descriptor is NULL"},
        {VANTOREL_BAD_ARGUMENT, [&] { return vantorel_next_event(machine, 0, nullptr); }, "json is NULL"},
    });

    EXPECT_EQ(vantorel_close(machine), VANTOREL_OK);
    vantorel_machine* const stale = machine;
    machine = opened();
    EXPECT_NE(machine, stale) << "the next machine is another one";
    expectAll({
        {VANTOREL_BAD_HANDLE, [&] { return vantorel_close(stale); }, "closed"},
        {VANTOREL_BAD_HANDLE, [&] { return vantorel_list(stale, &json); }, "closed"},
        {VANTOREL_BAD_HANDLE, [&] { return vantorel_drive_names(stale, &names, &count); }, "closed"},
        {VANTOREL_BAD_HANDLE, [&] { return vantorel_check(stale, nullptr, 0, 0, &json); }, "closed"},
        {VANTOREL_BAD_HANDLE, [&] { return vantorel_verdict(stale, "disk0", &level, nullptr); }, "closed"},
        {VANTOREL_BAD_HANDLE, [&] { return vantorel_listen(stale, nullptr, nullptr); }, "closed"},
        {VANTOREL_BAD_HANDLE, [&] { return vantorel_event_descriptor(stale, &descriptor); }, "closed"},
        {VANTOREL_BAD_HANDLE, [&] { return vantorel_next_event(stale, -1, &json); }, "closed"},
    });
    EXPECT_EQ(descriptor, -1);
    EXPECT_EQ(vantorel_close(machine), VANTOREL_OK);
}

TEST(CInterface, HasATextForEveryCode)
{
    std::vector<std::string> texts;
    for (int code = VANTOREL_OK; code <= VANTOREL_FAILED + 1; ++code)
        texts.emplace_back(vantorel_error_text(static_cast<vantorel_error>(code)));
    EXPECT_THAT(texts, testing::Each(testing::Not("")));
    EXPECT_EQ(texts[VANTOREL_FAILED], texts[VANTOREL_FAILED + 1]) << "an unknown one";
    EXPECT_EQ(std::set<std::string>(texts.begin(), texts.end()).size(), texts.size() - 1);
}

TEST(CInterface, KeepsAnErrorToTheThreadThatMadeIt)
{
    EXPECT_EQ(vantorel_close(nullptr), VANTOREL_BAD_HANDLE);
    std::thread([] { EXPECT_STREQ(vantorel_last_error(), ""); }).join();
    EXPECT_STRNE(vantorel_last_error(), "");
    const std::string longPath = std::string(3000, 'x') + "\xC3\xA4";
    vantorel_machine* machine = nullptr;
    EXPECT_EQ(vantorel_open(longPath.c_str(), 0, &machine), VANTOREL_CANNOT_OPEN);
    EXPECT_EQ(std::string(vantorel_last_error()).size(), 2047U);
}

TEST(CInterface, OpensThisComputer)
{
    vantorel_machine* machine = nullptr;
    const vantorel_error error = vantorel_open(nullptr, VANTOREL_WAKE, &machine);
    if (error == VANTOREL_CANNOT_OPEN)
        GTEST_SKIP() << vantorel_last_error();
    ASSERT_EQ(error, VANTOREL_OK);
    char* json = nullptr;
    EXPECT_EQ(vantorel_list(machine, &json), VANTOREL_OK);
    EXPECT_THAT(taken(json), HasSubstr(R"("machine":"this computer")"));
    EXPECT_EQ(vantorel_close(machine), VANTOREL_OK);
}

TEST(CInterface, WritesNumbersTheEnglishWayInAnyLocale)
{
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    vantorel_machine* const machine = opened();
    char* json = nullptr;
    ASSERT_EQ(vantorel_list(machine, &json), VANTOREL_OK);
    EXPECT_THAT(taken(json), HasSubstr(R"("formattedSize":"80.03 GB")"));
    EXPECT_EQ(vantorel_close(machine), VANTOREL_OK);
}

/// What a callback that calls back in was given.
struct CalledBack {
    vantorel_machine* machine = nullptr;
    std::vector<vantorel_error> codes;
    int calls = 0;
};

TEST(CInterface, LetsACallbackCallBackIn)
{
    CalledBack seen{.machine = opened()};
    const auto callback = [](const char*, void* context) {
        auto& back = *static_cast<CalledBack*>(context);
        if (++back.calls > 1)
            return;
        char* json = nullptr;
        vantorel_level level{};
        back.codes = {vantorel_close(back.machine), vantorel_list(back.machine, &json)};
        vantorel_free(json);
        back.codes.push_back(vantorel_verdict(back.machine, "disk1", &level, nullptr));
        int events = 0;
        while (vantorel_next_event(back.machine, 0, &json) == VANTOREL_OK) {
            vantorel_free(json);
            ++events;
        }
        EXPECT_GT(events, 5);
        back.codes.push_back(vantorel_next_event(back.machine, -1, &json));
        back.codes.push_back(vantorel_next_event(back.machine, 0, &json));
        back.codes.push_back(vantorel_listen(back.machine, nullptr, nullptr));
    };
    EXPECT_EQ(vantorel_listen(seen.machine, callback, &seen), VANTOREL_OK);
    EXPECT_EQ(seen.calls, 1) << "it ended the listening itself";
    EXPECT_THAT(seen.codes, ElementsAre(VANTOREL_IN_CALLBACK, VANTOREL_OK, VANTOREL_OK, VANTOREL_IN_CALLBACK,
                                        VANTOREL_NO_EVENT, VANTOREL_OK));
    EXPECT_EQ(vantorel_close(seen.machine), VANTOREL_OK);
}

TEST(CInterface, TellsWhatHappensLaterToCallbackAndQueue)
{
    const vantorel::test::TemporaryFolder folder;
    const std::string path = changingMachine(folder, 2, 0.5, 0.05);
    vantorel_machine* const machine = opened(path, VANTOREL_PLAY);
    std::atomic<int> updates = 0;
    const auto callback = [](const char* json, void* context) {
        if (std::string_view(json).find(R"("event":"updated")") != std::string_view::npos)
            ++*static_cast<std::atomic<int>*>(context);
    };
    EXPECT_EQ(vantorel_listen(machine, callback, &updates), VANTOREL_OK);
    char* json = nullptr;
    std::string told;
    while (told.find("name 2") == std::string::npos) {
        ASSERT_EQ(vantorel_next_event(machine, 20'000, &json), VANTOREL_OK);
        told = taken(json);
    }
    EXPECT_EQ(vantorel_listen(machine, nullptr, nullptr), VANTOREL_OK);
    EXPECT_LE(updates, 2);
    EXPECT_GE(updates, 1);
    EXPECT_EQ(vantorel_close(machine), VANTOREL_OK);
}

TEST(CInterface, DropsEventsThatNobodyFetchesAndTellsSoOnce)
{
    const vantorel::test::TemporaryFolder folder;
    const std::string path = changingMachine(folder, 4200, 1, 0.00001);
    vantorel_machine* const machine = opened(path, VANTOREL_PLAY);
    int descriptor = -1;
    ASSERT_EQ(vantorel_event_descriptor(machine, &descriptor), VANTOREL_OK);
    // A callback hears everything, and tells when the last has come.
    std::atomic<bool> isOver = false;
    const auto callback = [](const char* json, void* context) {
        if (std::string_view(json).find("name 4200") != std::string_view::npos)
            *static_cast<std::atomic<bool>*>(context) = true;
    };
    ASSERT_EQ(vantorel_listen(machine, callback, &isOver), VANTOREL_OK);
    for (int i = 0; i < 2000 && !isOver; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_TRUE(isOver);
    char* json = nullptr;
    EXPECT_EQ(vantorel_next_event(machine, 0, &json), VANTOREL_EVENTS_LOST);
    std::string last;
    int kept = 0;
    while (vantorel_next_event(machine, 0, &json) == VANTOREL_OK) {
        last = taken(json);
        ++kept;
    }
    EXPECT_THAT(last, HasSubstr("name 4200"));
    EXPECT_LT(kept, 4096);
    EXPECT_EQ(vantorel_close(machine), VANTOREL_OK);
}

TEST(CInterface, ServesManyThreadsAtOnceWhileOneClosesAndOpensAnew)
{
    std::atomic<vantorel_machine*> machine = opened();
    std::atomic<bool> isOver = false;
    std::atomic<int> reads = 0;
    const auto use = [&] {
        while (!isOver) {
            char* json = nullptr;
            vantorel_level level{};
            int descriptor = 0;
            const vantorel_error codes[] = {
                vantorel_verdict(machine, "disk1", &level, nullptr),
                vantorel_list(machine, &json),
                vantorel_event_descriptor(machine, &descriptor),
            };
            vantorel_free(json);
            for (const vantorel_error code : codes)
                EXPECT_TRUE(code == VANTOREL_OK || code == VANTOREL_BAD_HANDLE) << vantorel_last_error();
            reads += codes[0] == VANTOREL_OK ? 1 : 0;
        }
    };
    const auto wait = [&] {
        while (!isOver) {
            char* json = nullptr;
            const vantorel_error code = vantorel_next_event(machine, -1, &json);
            EXPECT_TRUE(code == VANTOREL_OK || code == VANTOREL_BAD_HANDLE) << vantorel_last_error();
            vantorel_free(json);
        }
    };
    std::vector<std::thread> threads;
    threads.emplace_back(use);
    threads.emplace_back(use);
    threads.emplace_back(wait);
    for (int i = 0; i < 5; ++i) {
        for (const int before = reads; reads < before + 3;)
            std::this_thread::yield();
        EXPECT_EQ(vantorel_close(machine), VANTOREL_OK);
        machine = opened();
    }
    isOver = true;
    EXPECT_EQ(vantorel_close(machine), VANTOREL_OK);
    for (std::thread& thread : threads)
        thread.join();
}

TEST(CInterface, LeavesTheHostsSignalsAndItsMainThreadAlone)
{
    static std::atomic<pid_t> taker = 0;
    std::signal(SIGUSR1, [](int) { taker = ::gettid(); });
    vantorel_machine* machine = nullptr;
    std::thread([&] { machine = opened(); }).join();
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    ::kill(::getpid(), SIGUSR1);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(taker, 0) << "no thread of the library took it";
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(taker, ::gettid());
    EXPECT_EQ(vantorel_close(machine), VANTOREL_OK);
}

TEST(CInterface, StaysWithTheParentOfAFork)
{
    vantorel_machine* const machine = opened();
    const pid_t child = ::fork();
    if (child == 0) {
        char* json = nullptr;
        vantorel_machine* other = nullptr;
        const bool isRight = vantorel_list(machine, &json) == VANTOREL_BAD_HANDLE &&
                             vantorel_close(machine) == VANTOREL_BAD_HANDLE &&
                             vantorel_open(tower.c_str(), 0, &other) == VANTOREL_BUSY;
        ::_exit(isRight ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(vantorel_close(machine), VANTOREL_OK);
}

} // namespace
