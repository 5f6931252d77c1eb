// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

extern "C" {

/// The library's version as a number, 0.1 for the releases 0.1.x.
extern const double VantorelVersionNumber;

/// The library's version as text, such as "0.1.0". NUL-terminated.
extern const unsigned char VantorelVersionString[];
}
