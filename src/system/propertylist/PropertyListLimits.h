// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace vantorel::system {

/// How much a property list may hold. A list that goes beyond is refused, however small its bytes are.
struct PropertyListLimits {
    std::size_t depth = 1024;        ///< arrays and tables inside one another
    std::size_t values = 4'000'000;  ///< values in all, each as often as it is reached
    std::size_t bytes = 256U << 20U; ///< bytes of the text and data values in all
};

/// A property list that cannot be read: `what()` is "PLACE: FAULT", such as "line 12: </dict> expected" or
/// "byte 0x1f4: object 12 is beyond the table".
class PropertyListError : public std::runtime_error {
public:
    PropertyListError(const std::string& place, const std::string& fault) : std::runtime_error(place + ": " + fault) {}
};

} // namespace vantorel::system
