// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

#include <exception>
#include <string>
#include <utility>

namespace VANTOREL_PUBLIC vantorel {

/// Why a drive could not be read: a text for a reader, which is all there is to it. There are no codes.
class SmartError : public std::exception {
public:
    explicit SmartError(std::string text) : text_(std::move(text)) {}

    [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }
    /// The text, unchanged.
    [[nodiscard]] const std::string& errorDescription() const noexcept { return text_; }

private:
    std::string text_;
};

/// A `SmartError` of a drive that could not be opened: it was sent no command.
class SmartOpenError : public SmartError {
public:
    using SmartError::SmartError;
};

} // namespace vantorel
