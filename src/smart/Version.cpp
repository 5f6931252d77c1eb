// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/smart/Version.h"

const double VantorelVersionNumber = VANTOREL_VERSION_NUMBER;
const unsigned char VantorelVersionString[] = VANTOREL_VERSION_STRING;
