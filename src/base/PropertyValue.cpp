// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/base/PropertyValue.h"

namespace vantorel {

const PropertyValue* PropertyTable::lookUp(std::string_view key) const
{
    const auto found = find(key);
    return found == end() ? nullptr : &found->second;
}

PropertyValue::Type PropertyValue::type() const
{
    constexpr Type types[] = {Type::null, Type::boolean, Type::integer, Type::integer, Type::real,
                              Type::text, Type::data,    Type::uuid,    Type::array,   Type::table};
    static_assert(std::size(types) == std::variant_size_v<decltype(value_)>);
    return types[value_.index()];
}

} // namespace vantorel
