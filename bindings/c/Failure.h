// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel.h"

#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vantorel::c {

/// A failure with its code and what `vantorel_last_error` tells of it.
class Failure : public std::runtime_error {
public:
    Failure(vantorel_error code, const std::string& text) : std::runtime_error(text), code_(code) {}

    [[nodiscard]] vantorel_error code() const { return code_; }

private:
    vantorel_error code_;
};

/// What was noted last on the calling thread.
[[nodiscard]] const char* lastError() noexcept;

/// Notes it, as much as fits.
void noteError(std::string_view text) noexcept;

/// Does `work` and gives the code of what it throws.
template <typename Work>
vantorel_error guarded(Work work) noexcept
try {
    work();
    return VANTOREL_OK;
} catch (const Failure& failure) {
    noteError(failure.what());
    return failure.code();
} catch (const std::bad_alloc&) {
    noteError("there is not enough memory");
    return VANTOREL_NO_MEMORY;
} catch (const std::exception& error) {
    noteError(error.what());
    return VANTOREL_FAILED;
} catch (...) {
    noteError("something was thrown");
    return VANTOREL_FAILED;
}

} // namespace vantorel::c
