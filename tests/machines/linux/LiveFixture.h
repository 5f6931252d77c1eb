// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "machines/linux/LinuxMachine.h"
#include "support/RegistryFixture.h"
#include "vantorel/system/Installation.h"

#include <chrono>
#include <memory>
#include <thread>

namespace vantorel::test {

/// The library on a live machine, which ends before the test does.
class LiveFixture : public RegistryFixture {
protected:
    LiveFixture() = default;
    ~LiveFixture() override
    {
        system::install(std::make_unique<machines::LinuxMachine>(machines::LinuxOptions{.sysfs = "/none"}));
    }
    LiveFixture(const LiveFixture&) = delete;
    LiveFixture& operator=(const LiveFixture&) = delete;

    /// Does what comes until `isDone`, for ten seconds at most.
    template <typename Done>
    static bool settleUntil(Done isDone)
    {
        for (int i = 0; i < 2000 && !isDone(); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            settle();
        }
        return isDone();
    }
};

} // namespace vantorel::test
