// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/service/BoundedPrograms.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantorel::host {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class BoundedProgramsTest : public testing::Test {
protected:
    /// A program for the shell, run in the folder.
    [[nodiscard]] BoundedProgram shell(const std::string& what, const std::string& script, std::string input = "",
                                       std::chrono::milliseconds patience = 20s) const
    {
        return {what, {"/bin/sh", "-c", "cd '" + folder.file("") + "' || exit; " + script}, std::move(input), patience};
    }

    bool lookUntil(const std::function<bool()>& isDone)
    {
        for (int i = 0; i < 4000 && !isDone(); ++i) {
            std::this_thread::sleep_for(5ms);
            programs.look();
        }
        return isDone();
    }

    bool waitForTheEnd()
    {
        return lookUntil([this] { return !programs.nextLook(); });
    }

    test::TemporaryFolder folder;
    std::vector<std::string> complaints;
    BoundedPrograms programs{[this](const std::string& message) { complaints.push_back(message); }};
};

TEST_F(BoundedProgramsTest, RunOneAfterTheOtherAndTellWhatFails)
{
    const std::string input(100'000, 'i');
    programs.run(shell("slow", "sleep 0.1; cat > input", input));
    programs.run(shell("second", "test -s input && exit 7"));
    programs.run({"missing", {"/none/such"}, "", 20s});
    programs.run(shell("third", "kill -TERM $$"));
    programs.run(shell("last", "test $(ps -o pgid= $$) = $$ && echo done > last || exit 9"));
    EXPECT_THAT(complaints, IsEmpty()) << "nothing waits";
    ASSERT_TRUE(waitForTheEnd());
    EXPECT_THAT(complaints, ElementsAre("second: it ended with status 7", "missing: No such file or directory",
                                        "third: it was ended by signal 15"));
    EXPECT_EQ(test::contentsOf(folder.file("input")), input);
    EXPECT_EQ(test::contentsOf(folder.file("last")), "done\n") << "the leader of a group";
    programs.run({"missing", {"/none/such"}, "", 20s});
    EXPECT_EQ(complaints.size(), 4U) << "told at once where none runs";
    EXPECT_FALSE(programs.nextLook());
}

TEST_F(BoundedProgramsTest, AreKilledWithAllTheyStartedWhenTheirTimeIsOver)
{
    // Who hangs holds this pipe open, and so does all that it has started.
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    const int held = open(folder.file("pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(held, 0);
    const auto isHeld = [held] {
        char byte = 0;
        return read(held, &byte, 1) != 0; // else nobody has it open any more
    };
    const auto begin = BoundedPrograms::Clock::now();
    programs.run(shell("hangs", "exec 3> pipe; sleep 60 & echo > started; wait", "", 1050ms));
    programs.run(shell("next", "echo > next"));
    ASSERT_TRUE(programs.nextLook());
    EXPECT_GE(*programs.nextLook(), begin + 1050ms);
    EXPECT_LT(*programs.nextLook(), BoundedPrograms::Clock::now() + 1051ms);
    ASSERT_TRUE(lookUntil([this] { return !test::contentsOf(folder.file("started")).empty(); }));
    EXPECT_TRUE(isHeld());
    ASSERT_TRUE(lookUntil([this] { return !complaints.empty(); }));
    EXPECT_GE(BoundedPrograms::Clock::now(), begin + 1050ms);
    EXPECT_THAT(complaints, ElementsAre("hangs: it took more than 1 s and was killed"));
    EXPECT_TRUE(lookUntil([&] { return !isHeld(); }));
    ASSERT_TRUE(waitForTheEnd());
    EXPECT_EQ(test::contentsOf(folder.file("next")), "\n");
    close(held);
}

TEST_F(BoundedProgramsTest, AreForgottenAtAStop)
{
    programs.run(shell("first", "echo 1 >> log; sleep 20"));
    programs.run(shell("second", "echo 2 >> log"));
    ASSERT_TRUE(lookUntil([this] { return !test::contentsOf(folder.file("log")).empty(); }));
    programs.stop();
    EXPECT_FALSE(programs.nextLook());
    programs.run(shell("third", "echo 3 >> log"));
    ASSERT_TRUE(waitForTheEnd());
    EXPECT_EQ(test::contentsOf(folder.file("log")), "1\n3\n");
    EXPECT_THAT(complaints, IsEmpty());
}

TEST_F(BoundedProgramsTest, LeaveOutTheOldestThatWaitsOfTooMany)
{
    programs.run(shell("0", "while test ! -e go; do sleep 0.02; done"));
    std::string expected;
    for (int i = 1; i <= 101; ++i) {
        programs.run(shell(std::to_string(i), "echo " + std::to_string(i) + " >> log"));
        if (i > 2)
            expected += std::to_string(i) + '\n';
        EXPECT_EQ(complaints.size(), static_cast<std::size_t>(std::max(i - 99, 0)));
    }
    EXPECT_THAT(complaints, ElementsAre("1: too many wait; one is left out", "2: too many wait; one is left out"));
    folder.write("go", "");
    ASSERT_TRUE(waitForTheEnd());
    EXPECT_EQ(test::contentsOf(folder.file("log")), expected);
}

} // namespace
} // namespace vantorel::host
