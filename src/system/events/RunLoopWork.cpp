// SPDX-License-Identifier: GPL-2.0-or-later
#include "RunLoopWork.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace vantorel::system {

RunLoop::RunLoop() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (descriptor_ < 0)
        throw std::system_error(errno, std::generic_category(), "run loop");
}

RunLoop::~RunLoop()
{
    ::close(descriptor_);
}

void RunLoop::signal() const
{
    // Fails only when the descriptor counts 2^64 - 2 signals, and then it is readable all the same.
    [[maybe_unused]] const int status = ::eventfd_write(descriptor_, 1);
}

void RunLoop::post(Queue queue, Block block)
{
    const std::scoped_lock lock(mutex_);
    if (hasEnded_)
        return mainRunLoop()->post(queue, std::move(block));
    const bool wasIdle = sources_.empty() && main_.empty();
    queued(queue).push_back(std::move(block));
    if (wasIdle)
        signal();
}

std::size_t RunLoop::runPending(Queue queue)
{
    std::deque<Block>& blocks = queued(queue);
    std::unique_lock lock(mutex_);
    const std::size_t pending = blocks.size();
    // A block may run this loop itself, and so find and take the ones counted here.
    for (std::size_t i = 0; i < pending && !blocks.empty(); ++i) {
        {
            const Block block = std::move(blocks.front());
            blocks.pop_front();
            lock.unlock();
            block();
        }
        lock.lock();
    }
    if (sources_.empty() && main_.empty()) {
        eventfd_t count = 0;
        [[maybe_unused]] const int status = ::eventfd_read(descriptor_, &count);
    }
    return pending;
}

void RunLoop::wait(int milliseconds) const
{
    pollfd waited{descriptor_, POLLIN, 0};
    ::poll(&waited, 1, milliseconds); // woken early by a signal, the caller looks again
}

void RunLoop::endWithThread()
{
    const std::scoped_lock lock(mutex_);
    hasEnded_ = true;
    for (; !sources_.empty(); sources_.pop_front())
        mainRunLoop()->post(Queue::sources, std::move(sources_.front()));
}

void RunLoop::requestStop()
{
    stop_ = true;
    signal();
}

bool RunLoop::takeStop()
{
    return stop_.exchange(false);
}

const std::shared_ptr<RunLoop>& mainRunLoop()
{
    static auto& loop = *new std::shared_ptr(std::make_shared<RunLoop>()); // stays while the process ends
    return loop;
}

} // namespace vantorel::system
