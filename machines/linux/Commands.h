// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace vantorel::machines {

/// Which commands a whole disk can be sent.
enum class Commands { none, ata, nvme };

} // namespace vantorel::machines
