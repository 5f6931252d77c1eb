// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Session.h"
#include "vantorel.h"

#include <functional>
#include <memory>

/// The one session of a process and the handle that stands for it: a number that is never used again, so that a handle
/// of a session that has ended, or none at all, is told without looking at memory.
namespace vantorel::c {

/// Keeps the session of a handle open for the length of a call.
class Call {
public:
    /// Throws `Failure`.
    explicit Call(vantorel_machine* handle);
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call();

    Session* operator->() const { return session_; }

private:
    Session* session_;
};

/// Makes the session unless there is one already; gives its handle. Throws `Failure`, and what `make` throws.
[[nodiscard]] vantorel_machine* openSession(const std::function<std::unique_ptr<Session>()>& make);

/// Ends the session when all calls on it have returned. Throws `Failure`.
void closeSession(vantorel_machine* handle);

} // namespace vantorel::c
