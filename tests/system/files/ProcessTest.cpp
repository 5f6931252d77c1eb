// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/files/Process.h"

#include "support/TemporaryFolder.h"
#include "support/ThreadCount.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

namespace vantorel::system {
namespace {

using namespace std::chrono_literals;

constexpr FileHandle::Bounds patience{.time = 30s};

Data bytes(std::string_view text)
{
    return Data(text.begin(), text.end());
}

/// Holds the process to what it had at the start: no descriptor, thread or child more.
class ProcessTest : public testing::Test {
protected:
    static std::ptrdiff_t count(const char* folder)
    {
        return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
    }

    void TearDown() override
    {
        EXPECT_EQ(count("/proc/self/fd"), descriptors_);
        EXPECT_EQ(test::threadCount(threads_), threads_);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
        EXPECT_EQ(errno, ECHILD);
    }

private:
    std::ptrdiff_t descriptors_ = count("/proc/self/fd");
    std::size_t threads_ = test::threadCountAtFirst();
};

/// Launches tools, each reading what the one before wrote, and reads the end of the chain.
std::optional<Data> outputOf(const std::vector<std::pair<std::string, std::vector<std::string>>>& tools,
                             const FileHandle::Bounds& bounds = patience)
{
    std::vector<std::unique_ptr<Task>> tasks;
    std::shared_ptr<Pipe> pipe;
    for (const auto& [path, arguments] : tools) {
        auto& task = tasks.emplace_back(std::make_unique<Task>());
        task->setLaunchPath(path);
        task->setArguments(arguments);
        task->setStandardInput(pipe);
        pipe = std::make_shared<Pipe>();
        task->setStandardOutput(pipe);
        task->launch();
    }
    return pipe->fileHandleForReading().readDataToEndOfFile(bounds);
}

std::pair<std::string, std::vector<std::string>> shell(const std::string& script)
{
    return {"/bin/sh", {"-c", script}};
}

TEST_F(ProcessTest, ChainsTwoProcessesByAPipe)
{
    EXPECT_EQ(outputOf({shell("printf 'two words'"), {"/usr/bin/tr", {"a-z", "A-Z"}}}), bytes("TWO WORDS"));
    EXPECT_EQ(outputOf({shell("exit 3"), {"/usr/bin/gzip", {"-c"}}})->size(), 20U) << "the empty gzip stream";
    EXPECT_EQ(outputOf({{"/bin/cat", {}}}), Data()) << "no input is the null device";
    EXPECT_EQ(outputOf({shell("head -c 5000000 /dev/zero"), {"/bin/cat", {}}}), Data(5'000'000));
}

TEST_F(ProcessTest, GivesAChildItsStandardDescriptorsAndSignalsOnly)
{
    const int inheritable = ::open("/dev/null", O_RDONLY);
    std::signal(SIGPIPE, SIG_IGN);
    const auto listing = outputOf({{"/bin/ls", {"/proc/self/fd"}}});
    EXPECT_EQ(*listing, bytes("0\n1\n2\n3\n")) << "3 is the folder that ls itself has open";
    EXPECT_EQ(outputOf({shell("kill -PIPE $$; printf alive")}), Data()) << "the host ignores the signal, the child not";
    std::signal(SIGPIPE, SIG_DFL);
    ::close(inheritable);
}

TEST_F(ProcessTest, WorksWhereTheHostHasClosedItsStandardDescriptors)
{
    const int saved[] = {fcntl(0, F_DUPFD_CLOEXEC, 10), fcntl(1, F_DUPFD_CLOEXEC, 10)};
    ::close(0);
    ::close(1);
    const auto output = outputOf({shell("printf text"), {"/bin/cat", {}}});
    ::dup2(saved[0], 0);
    ::dup2(saved[1], 1);
    ::close(saved[0]);
    ::close(saved[1]);
    EXPECT_EQ(output, bytes("text"));
}

TEST_F(ProcessTest, AMissingToolIsAnOrderlyFailure)
{
    auto pipe = std::make_shared<Pipe>();
    Task task;
    task.setLaunchPath("/usr/sbin/no-such-tool");
    task.setStandardOutput(pipe);
    EXPECT_THAT([&] { task.launch(); },
                testing::ThrowsMessage<ProcessError>("/usr/sbin/no-such-tool: No such file or directory"));
    EXPECT_EQ(pipe->fileHandleForReading().readDataToEndOfFile(patience), Data()) << "the stream has ended";
}

TEST_F(ProcessTest, LeavesNoChildThatBlocksFloodsOrHidesBehindAnother)
{
    EXPECT_FALSE(outputOf({shell("sleep 1000"), {"/usr/bin/gzip", {"-c"}}}, {.time = 50ms})) << "blocks";
    EXPECT_FALSE(outputOf({{"/usr/bin/yes", {}}}, {.time = 30s, .bytes = 1'000'000})) << "floods";
    EXPECT_EQ(outputOf({{"/usr/bin/yes", {}}, {"/usr/bin/head", {"-c", "4"}}}), bytes("y\ny\n")) << "reader left";
    EXPECT_EQ(outputOf({shell("printf a; kill -9 $$; printf b")}), bytes("a")) << "dies";

    const test::TemporaryFolder folder;
    const std::string started = folder.file("started");
    const auto pipe = std::make_shared<Pipe>();
    {
        Task task;
        task.setLaunchPath("/bin/sh");
        task.setArguments({"-c", "sleep 1000 & : >\"$0\"; sleep 1000", started});
        task.setStandardOutput(pipe);
        task.launch();
        const auto latest = std::chrono::steady_clock::now() + 30s;
        while (!std::filesystem::exists(started) && std::chrono::steady_clock::now() < latest)
            std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(pipe->fileHandleForReading().readDataToEndOfFile(patience), Data()) << "a grandchild held the pipe";
}

TEST_F(ProcessTest, DoesNotKillAStrangerWhenTheHostReapsItsChildren)
{
    std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(outputOf({shell("printf text")}), bytes("text"));
    EXPECT_FALSE(outputOf({shell("sleep 1000")}, {.time = 50ms}));
    std::signal(SIGCHLD, SIG_DFL);
}

TEST_F(ProcessTest, AProvidedToolAnswersInPlaceOfAnExecutable)
{
    provideTool("/usr/sbin/listing", [](const std::vector<std::string>& arguments, ToolOutput& output) {
        for (const std::string& argument : arguments)
            (void)output.write(bytes(argument));
        (void)output.write(Data(1'000'000, 'x'));
    });
    const auto output = outputOf({{"/usr/sbin/listing", {"-l", "-a"}}, {"/bin/cat", {}}});
    ASSERT_EQ(output->size(), 1'000'004U);
    EXPECT_EQ(Data(output->begin(), output->begin() + 5), bytes("-l-ax"));

    provideTool("/usr/sbin/listing", nullptr);
    EXPECT_THROW((void)outputOf({{"/usr/sbin/listing", {}}}), ProcessError);
}

TEST_F(ProcessTest, AProvidedToolEndsWithItsTaskWhateverItDoes)
{
    std::size_t written = 0;
    provideTool("/flood", [&](const auto&, ToolOutput& output) {
        while (output.write(Data(4096)))
            ++written;
    });
    EXPECT_FALSE(outputOf({{"/flood", {}}}, {.time = 30s, .bytes = 1'000'000}));
    EXPECT_GT(written, 0U);
    EXPECT_EQ(outputOf({{"/flood", {}}, {"/usr/bin/head", {"-c", "3"}}}), Data(3)) << "a broken pipe, no SIGPIPE";
    {
        Task unread; // its pipe is full and nobody will ever read it
        const auto pipe = std::make_shared<Pipe>();
        unread.setLaunchPath("/flood");
        unread.setStandardOutput(pipe);
        unread.launch();
        EXPECT_THROW(unread.launch(), ProcessError);
    }
    provideTool("/thrower", [](const auto&, ToolOutput& output) {
        (void)output.write(bytes("some"));
        throw std::runtime_error("out of paper");
    });
    EXPECT_EQ(outputOf({{"/thrower", {}}}), bytes("some"));
}

} // namespace
} // namespace vantorel::system
