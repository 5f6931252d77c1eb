// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/machines/recorded/Redaction.h"

namespace vantorel::host {

/// A redaction that has noted the names of this host and of the users for whom the command runs.
[[nodiscard]] recorded::Redaction redactionHere();

/// The report with pseudonyms in the place of all that tells one computer from another, its registry listing included.
/// Throws `ReportError` for a report that cannot be read whole: nothing is let through unread.
[[nodiscard]] Data redactedReport(DataView report);

} // namespace vantorel::host
