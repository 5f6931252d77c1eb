// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/PropertyValue.h"
#include "vantorel/base/Public.h"

namespace VANTOREL_PUBLIC vantorel {

/// A report as values, for a host that changes something in it.
struct ReportParts {
    PropertyTable root;    ///< without the listing
    PropertyValue listing; ///< of the registry, as the property list that it is; null when the report has none
};

/// Takes a report apart. Throws `ReportError` when it is none, or when its listing cannot be read.
[[nodiscard]] ReportParts takeApart(DataView report);

/// Makes a report of the parts. Throws `ReportError` when they are nested too deeply.
[[nodiscard]] Data putTogether(ReportParts parts);

} // namespace vantorel
