// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

namespace VANTOREL_PUBLIC vantorel {
namespace system {

class RunLoop;

/// The run loop of one thread. Whoever holds it may hand it work; only its own thread runs it.
using CFRunLoopRef = std::shared_ptr<RunLoop>;

inline constexpr std::string_view kCFRunLoopDefaultMode = "kCFRunLoopDefaultMode";

enum class CFRunLoopRunResult : std::int32_t { finished = 1, stopped = 2, timedOut = 3, handledSource = 4 };

/// The run loop of the calling thread, made at first use; it lives until the thread has ended and nobody holds it. With
/// the end of the thread its work goes to the main thread's run loop, also what it is handed later.
[[nodiscard]] CFRunLoopRef CFRunLoopGetCurrent();

/// Makes the calling thread the main thread of this layer until it ends: its run loop is the main one, on which the
/// main queue runs. For a host that keeps a thread of its own for the library, as the thread of `main` is somebody
/// else's. To be called before that thread first uses a run loop. When it ends the thread of `main` is the main one
/// again; what is pending then stays pending. Throws std::logic_error while another thread has that part; to call it
/// again changes nothing.
void becomeMainThread();

/// Runs the calling thread's run loop for at most `seconds` (0: one pass, without waiting). A pass does the work of the
/// sources that was pending when it began and then, on the main thread, what is pending on the main queue. With
/// `returnAfterSourceHandled` the run ends as soon as there was source work, before the main queue.
/// A callback that throws ends the run; what was pending behind it stays pending.
CFRunLoopRunResult CFRunLoopRunInMode(std::string_view mode, double seconds, bool returnAfterSourceHandled);

/// Lets a running `CFRunLoopRunInMode` of that loop return `stopped` after the pass it is in. From any thread, and from
/// within a signal handler.
void CFRunLoopStop(const CFRunLoopRef& runLoop);

/// Hands work to a run loop from any thread. It runs in order of handing over.
void CFRunLoopPerformBlock(const CFRunLoopRef& runLoop, std::function<void()> block);

/// For a host with an event loop of its own: a descriptor that is readable while the calling thread's run loop (on the
/// main thread, the main queue included) has work to do. Owned by the run loop; only to be polled.
[[nodiscard]] int runLoopDescriptor();

/// Does all work that is pending on the calling thread's run loop and, on the main thread, on the main queue, without
/// waiting for more. Gives whether there was any.
bool performPendingWork();

} // namespace system
} // namespace vantorel
