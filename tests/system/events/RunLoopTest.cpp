// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/RunLoop.h"
#include "vantorel/system/DispatchQueue.h"
#include "vantorel/system/NotificationCenter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>

using namespace vantorel::system;
using testing::ElementsAre;

namespace {

CFRunLoopRunResult runOnce(bool returnAfterSourceHandled)
{
    return CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, returnAfterSourceHandled);
}

bool isReadable(int descriptor)
{
    pollfd waited{descriptor, POLLIN, 0};
    return ::poll(&waited, 1, 0) == 1;
}

} // namespace

TEST(RunLoop, DoesOnePassOfSourcesBeforeTheMainQueue)
{
    std::vector<std::string> done;
    const CFRunLoopRef loop = CFRunLoopGetCurrent();
    dispatch_async(dispatch_get_main_queue(), [&] { done.emplace_back("main"); });
    CFRunLoopPerformBlock(loop, [&] {
        done.emplace_back("source");
        CFRunLoopPerformBlock(loop, [&] { done.emplace_back("next pass"); });
    });
    EXPECT_EQ(runOnce(true), CFRunLoopRunResult::handledSource);
    EXPECT_THAT(done, ElementsAre("source"));
    EXPECT_EQ(runOnce(false), CFRunLoopRunResult::timedOut);
    EXPECT_THAT(done, ElementsAre("source", "next pass", "main"));
}

TEST(RunLoop, GivesAHostADescriptorThatIsReadableWhileThereIsWork)
{
    const int descriptor = runLoopDescriptor();
    EXPECT_FALSE(isReadable(descriptor));
    int done = 0;
    std::jthread([&] { dispatch_async(dispatch_get_main_queue(), [&] { ++done; }); }).join();
    CFRunLoopPerformBlock(CFRunLoopGetCurrent(), [&] { ++done; });
    EXPECT_TRUE(isReadable(descriptor));
    EXPECT_TRUE(performPendingWork());
    EXPECT_EQ(done, 2);
    EXPECT_FALSE(isReadable(descriptor));
    EXPECT_FALSE(performPendingWork());
}

TEST(RunLoop, KeepsWhatIsPendingBehindABlockThatThrows)
{
    bool isDone = false;
    CFRunLoopPerformBlock(CFRunLoopGetCurrent(), [] { throw std::runtime_error("block"); });
    CFRunLoopPerformBlock(CFRunLoopGetCurrent(), [&] { isDone = true; });
    EXPECT_THROW(runOnce(false), std::runtime_error);
    EXPECT_FALSE(isDone);
    runOnce(false);
    EXPECT_TRUE(isDone);
}

TEST(RunLoop, MayBeRunFromWithinABlock)
{
    std::vector<int> done;
    const CFRunLoopRef loop = CFRunLoopGetCurrent();
    CFRunLoopPerformBlock(loop, [&] {
        runOnce(false);
        done.push_back(1);
    });
    CFRunLoopPerformBlock(loop, [&] { done.push_back(2); });
    EXPECT_TRUE(performPendingWork());
    EXPECT_THAT(done, ElementsAre(2, 1));
}

TEST(RunLoop, WakesForWorkAndForAStopFromAnotherThread)
{
    const CFRunLoopRef loop = CFRunLoopGetCurrent();
    bool isDone = false;
    std::jthread other([&] { CFRunLoopPerformBlock(loop, [&] { isDone = true; }); });
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 60, true), CFRunLoopRunResult::handledSource);
    EXPECT_TRUE(isDone);
    other = std::jthread([&] { CFRunLoopStop(loop); });
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1e300, false), CFRunLoopRunResult::stopped);
}

TEST(RunLoop, IsOnePerThreadAndOnlyTheMainThreadRunsTheMainQueue)
{
    bool isDone = false;
    dispatch_async(dispatch_get_main_queue(), [&] { isDone = true; });
    CFRunLoopRef others;
    std::jthread([&] {
        others = CFRunLoopGetCurrent();
        performPendingWork();
    }).join();
    EXPECT_NE(others, CFRunLoopGetCurrent());
    EXPECT_FALSE(isDone);
    performPendingWork();
    EXPECT_TRUE(isDone);
}

TEST(RunLoop, HandsItsWorkToTheMainOneWhenItsThreadEnds)
{
    std::vector<int> done;
    CFRunLoopRef others;
    std::jthread([&] {
        others = CFRunLoopGetCurrent();
        for (const int number : {1, 2})
            CFRunLoopPerformBlock(others, [&done, number] { done.push_back(number); });
    }).join();
    CFRunLoopPerformBlock(others, [&] { done.push_back(3); });
    EXPECT_TRUE(isReadable(runLoopDescriptor()));
    performPendingWork();
    EXPECT_THAT(done, ElementsAre(1, 2, 3));
}

TEST(DispatchQueue, RunsBlocksOneByOneOnAThreadOfItsOwn)
{
    std::vector<int> done; // without a lock: a serial queue needs none
    std::thread::id thread;
    {
        const DispatchQueueRef queue = dispatch_queue_create("SystemReport");
        EXPECT_EQ(queue->label(), "SystemReport");
        for (int i = 0; i < 100; ++i) {
            dispatch_async(queue, [&, i] {
                done.push_back(i);
                thread = std::this_thread::get_id();
            });
            if (i % 10 == 0)
                std::this_thread::yield();
        }
    } // what was handed over still runs
    ASSERT_EQ(done.size(), 100U);
    EXPECT_TRUE(std::ranges::is_sorted(done));
    EXPECT_NE(thread, std::this_thread::get_id());
}

TEST(DispatchQueue, HasItsMainOneRunByTheThreadThatTakesThePartOfTheMainThread)
{
    std::vector<std::thread::id> ranOn;
    const auto note = [&] { ranOn.push_back(std::this_thread::get_id()); };
    std::thread::id other;
    std::thread([&] {
        becomeMainThread();
        other = std::this_thread::get_id();
        dispatch_async(dispatch_get_main_queue(), note);
        std::thread([] {
            EXPECT_THROW(becomeMainThread(), std::logic_error);
            EXPECT_FALSE(performPendingWork());
        }).join();
        becomeMainThread(); // again
        EXPECT_TRUE(performPendingWork());
        dispatch_async(dispatch_get_main_queue(), note); // stays behind
    }).join();
    EXPECT_TRUE(performPendingWork());
    EXPECT_THAT(ranOn, ElementsAre(other, std::this_thread::get_id()));
}

TEST(DispatchQueue, MayLoseItsLastReferenceInABlock)
{
    std::promise<void> end;
    DispatchQueueRef queue = dispatch_queue_create("short");
    DispatchQueue& first = *queue;
    first.async([held = std::move(queue), &end]() mutable {
        held.reset();
        end.set_value();
    });
    end.get_future().wait();
}

TEST(NotificationCenter, TellsObserversByNameInOrderOnThePostingThread)
{
    NotificationCenter& center = NotificationCenter::defaultCenter();
    std::vector<std::string> told;
    const auto first = center.addObserver("diskAppeared", [&](const Notification& notification) {
        told.push_back("first " + (notification.as<std::string>() ? *notification.as<std::string>() : "none"));
        center.addObserver("diskAppeared", [&](const Notification&) { told.emplace_back("added"); });
    });
    center.addObserver("diskAppeared", [&](const Notification&) { told.emplace_back("second"); });
    center.postNotificationName("diskAppeared", std::string("disk0"));
    EXPECT_THAT(told, ElementsAre("first disk0", "second"));
    told.clear();
    center.removeObserver(first);
    center.postNotificationName("diskAppeared", 7);
    center.postNotificationName("diskUpdated", {});
    EXPECT_THAT(told, ElementsAre("second", "added"));
}
