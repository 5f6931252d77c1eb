// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/// Stands before the name of the namespace that a public header opens: what the header declares is seen outside of the
/// shared library. All else is compiled hidden.
#define VANTOREL_PUBLIC [[gnu::visibility("default")]]
