// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace vantorel::system {

/// Writes an XML property list piece by piece, for a list that is too large to be held as one value. The pieces gather
/// in `output`, from where the caller takes them as it likes.
class XmlWriter {
public:
    /// The head of the document; one value has to follow, and `end`.
    void begin();
    void end();

    void write(const PropertyValue& value);

    // A table or an array whose values are written one by one between the two; in a table a key stands before each.
    void openTable() { open("<dict>"); }
    void closeTable() { close("</dict>"); }
    void openArray() { open("<array>"); }
    void closeArray() { close("</array>"); }
    void key(std::string_view name) { element("key", name); }

    std::string output;

private:
    void open(std::string_view tag);
    void close(std::string_view tag);
    void line(std::string_view text);
    void element(std::string_view name, std::string_view text);
    void escape(std::string_view text);
    void writeArray(const PropertyArray& array);
    void writeTable(const PropertyTable& table);

    std::size_t level_ = 0;
};

} // namespace vantorel::system
