// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/disks/Disk.h"

#include <string>

namespace vantorel::host {

/// What a disk is, in a few words: `ssd, nvme`, `APFS container`, `hfs volume`.
[[nodiscard]] std::string kindText(const Disk& disk);

/// How large it is, the same in every locale; empty when that is not known.
[[nodiscard]] std::string sizeText(const Disk& disk);

/// What people call it: the name of its volume or the drive's model, else its media's name. As it is given.
[[nodiscard]] std::string nameText(const Disk& disk);

} // namespace vantorel::host
