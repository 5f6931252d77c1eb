// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/PropertyValue.h"
#include "vantorel/base/Public.h"

#include <stdexcept>

namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// An archive that cannot be read, or a value that cannot be archived. The text says what is wrong and in which object.
class KeyedArchiveError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The deepest that values in an archive may lie in each other.
inline constexpr int deepestArchivedValue = 256;

/// A value in the binary form of the platform's `NSKeyedArchiver`, which its unarchiver reads: a null as `NSNull`, a
/// boolean or number as `NSNumber`, a text as `NSString`, data as `NSData`, a UUID as `NSUUID`, an array as `NSArray`,
/// a table as `NSDictionary`. Equal texts and equal numbers are stored once. A text that is no well-formed UTF-8 gets
/// U+FFFD for each stray byte; everything else comes back exact. May be called on any thread.
/// Throws `KeyedArchiveError` when the value is nested deeper than `deepestArchivedValue`.
/// The format: docs/formats/keyed-archive.md.
[[nodiscard]] Data archivedDataWithRootObject(const PropertyValue& rootObject);

/// Whether the bytes are a property list with the marks of a keyed archive, wherever they stand in it. Such bytes need
/// not be an archive that can be read. Any thread.
[[nodiscard]] bool isKeyedArchive(DataView bytes);

/// Reads a keyed archive in its binary or XML form, written by any archiver: the value of its root object.
///
/// Mutable variants and subclasses are read as the class they derive from. Of the classes that have no kind of value of
/// their own, a set becomes an array, a date a real (seconds since 2001-01-01 00:00 UTC), a URL its text and, with a
/// base, a table of "NS.base" and "NS.relative". A nil reference becomes null.
///
/// Safe on any bytes: throws `KeyedArchiveError` for an archive that is cut, damaged, contains itself, is nested deeper
/// than `deepestArchivedValue` or holds another class; and, since objects may be shared, for one that expands to more
/// than a million values or to more than 64 MiB of text and data beyond its own size. May be called on any thread.
[[nodiscard]] PropertyValue unarchiveObjectWithData(DataView archive);

} // namespace system
} // namespace vantorel
