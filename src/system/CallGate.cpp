// SPDX-License-Identifier: GPL-2.0-or-later
#include "CallGate.h"

#include <atomic>
#include <utility>

namespace vantorel::system {

namespace {

struct Gate {
    std::atomic<bool> set{false}; // all that a call looks at where there is no gate
    CallGate ask;
};

Gate& gate()
{
    static Gate the;
    return the;
}

} // namespace

void setCallGate(CallGate ask)
{
    gate().set = false;
    gate().ask = std::move(ask);
    gate().set = static_cast<bool>(gate().ask);
}

bool callPasses(std::string_view operation)
{
    return !gate().set.load(std::memory_order_acquire) || gate().ask(operation);
}

} // namespace vantorel::system
