// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/system/Localization.h"

/// The two forms of a `Localizable.strings` file.
namespace vantorel::system {

/// Whether the bytes begin like a property list, XML or binary, rather than like the text form.
[[nodiscard]] bool isPropertyList(DataView contents);

/// Throws `TranslationError`.
[[nodiscard]] Translations parseStringsPropertyList(DataView contents);

/// The old text form. Throws `TranslationError` with the line.
[[nodiscard]] Translations parseStringsText(DataView contents);

} // namespace vantorel::system
