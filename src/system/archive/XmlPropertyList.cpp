// SPDX-License-Identifier: GPL-2.0-or-later
#include "XmlPropertyList.h"

namespace vantorel::system {

ObjectTable readXmlPropertyList(DataView)
{
    throw PropertyListError("");
}

} // namespace vantorel::system
