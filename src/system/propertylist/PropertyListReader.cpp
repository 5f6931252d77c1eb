// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/propertylist/PropertyList.h"

#include "BinaryPropertyList.h"
#include "XmlPropertyList.h"

namespace vantorel::system {

PropertyValue readPropertyList(DataView bytes, const PropertyListLimits& limits)
{
    return isBinaryPropertyList(bytes) ? readBinaryPropertyList(bytes).expanded(limits) : readXmlForm(bytes, limits);
}

} // namespace vantorel::system
