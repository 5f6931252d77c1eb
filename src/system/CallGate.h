// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <functional>
#include <string_view>

namespace vantorel::system {

/// Asked at the entry of every operation of this layer that can fail, with the operation's name. False makes the
/// operation fail as it fails on the platform: with its error status, or with nothing.
///
/// A real platform may refuse any of these calls at any time, and no recorded tree can show that for each of them. A
/// gate that counts lets a test refuse the n-th call, for every n; one that notes the names shows which calls were made
/// and in what order.
using CallGate = std::function<bool(std::string_view operation)>;

/// Sets the gate of the process, or with nothing takes it away. Not while other threads use this layer.
void setCallGate(CallGate ask);

/// Whether `operation` may go ahead; true without a gate. For the operations of this layer.
[[nodiscard]] bool callPasses(std::string_view operation);

} // namespace vantorel::system
