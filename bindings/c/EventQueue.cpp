// SPDX-License-Identifier: GPL-2.0-or-later
#include "EventQueue.h"

#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

namespace vantorel::c {

EventQueue::EventQueue() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (descriptor_ < 0)
        throw std::system_error(errno, std::generic_category(), "event descriptor");
}

EventQueue::~EventQueue()
{
    ::close(descriptor_);
}

void EventQueue::signal() const
{
    [[maybe_unused]] const int status = ::eventfd_write(descriptor_, 1);
}

void EventQueue::push(std::string document)
{
    const std::scoped_lock lock(mutex_);
    if (documents_.size() == most) {
        documents_.clear();
        hasLost_ = true;
    } else {
        documents_.push_back(std::move(document));
    }
    signal();
    arrival_.notify_one();
}

EventQueue::Fetched EventQueue::fetch(int milliseconds)
{
    std::unique_lock lock(mutex_);
    const auto isThere = [this] { return hasSomething(); };
    if (milliseconds < 0)
        arrival_.wait(lock, isThere);
    else
        arrival_.wait_for(lock, std::chrono::milliseconds(milliseconds), isThere);
    Fetched fetched;
    if (isClosed_) {
        fetched.state = State::closed;
    } else if (std::exchange(hasLost_, false)) {
        fetched.state = State::lost;
    } else if (!documents_.empty()) {
        fetched = {State::event, std::move(documents_.front())};
        documents_.pop_front();
    }
    if (!hasSomething()) {
        eventfd_t count = 0;
        [[maybe_unused]] const int status = ::eventfd_read(descriptor_, &count);
    }
    return fetched;
}

void EventQueue::close()
{
    const std::scoped_lock lock(mutex_);
    isClosed_ = true;
    signal();
    arrival_.notify_all();
}

} // namespace vantorel::c
