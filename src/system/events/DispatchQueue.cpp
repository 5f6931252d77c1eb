// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/DispatchQueue.h"

#include "RunLoopWork.h"

#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace vantorel::system {

namespace {

class MainQueue final : public DispatchQueue {
public:
    void async(std::function<void()> block) override { mainRunLoop()->post(RunLoop::Queue::main, std::move(block)); }
    const std::string& label() const override { return label_; }

private:
    std::string label_ = "com.apple.main-thread";
};

class SerialQueue final : public DispatchQueue {
public:
    explicit SerialQueue(std::string label) : label_(std::move(label)) {}
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    ~SerialQueue() override
    {
        // The last reference may go with a block, and a thread cannot wait for itself.
        if (thread_.get_id() == std::this_thread::get_id())
            thread_.detach();
        else if (thread_.joinable())
            thread_.join();
    }

    void async(std::function<void()> block) override
    {
        const std::scoped_lock lock(work_->mutex);
        work_->blocks.push_back(std::move(block));
        if (std::exchange(work_->running, true))
            return;
        if (thread_.joinable())
            thread_.join(); // it has said that it is done; nothing but its return is waited for
        thread_ = std::thread([work = work_] { run(*work); });
    }

    const std::string& label() const override { return label_; }

private:
    // Shared with the thread, which may be left alone with it.
    struct Work {
        std::mutex mutex;
        std::deque<std::function<void()>> blocks;
        bool running = false;
    };

    static void run(Work& work)
    {
        for (;;) {
            std::function<void()> block;
            {
                const std::scoped_lock lock(work.mutex);
                if (work.blocks.empty()) {
                    work.running = false;
                    return;
                }
                block = std::move(work.blocks.front());
                work.blocks.pop_front();
            }
            block();
        }
    }

    const std::string label_;
    const std::shared_ptr<Work> work_ = std::make_shared<Work>();
    std::thread thread_;
};

} // namespace

DispatchQueueRef dispatch_get_main_queue()
{
    static auto& queue = *new DispatchQueueRef(std::make_shared<MainQueue>());
    return queue;
}

DispatchQueueRef dispatch_queue_create(std::string label)
{
    return std::make_shared<SerialQueue>(std::move(label));
}

} // namespace vantorel::system
