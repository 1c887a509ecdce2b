// Steps that the composite types and the primitives share when they look at another type.
#ifndef INTROSPECTION_XTYPES_COMPOSITE_SOURCE_HPP
#define INTROSPECTION_XTYPES_COMPOSITE_SOURCE_HPP

#include <stdexcept>

#include "introspection/xtypes/dynamic_type.hpp"
#include "introspection/xtypes/struct_type.hpp"

namespace qor::introspection::xtypes {

// The structure that `type` is, or null.
inline const struct_type* as_structure(const dynamic_type& type) noexcept {
    return type.kind() == type_kind::structure ? dynamic_cast<const struct_type*>(&type) : nullptr;
}

// The type of a structure's only member, null for everything else.
inline const dynamic_type* only_member_type(const dynamic_type& type) noexcept {
    const struct_type* const structure = as_structure(type);
    return structure != nullptr && structure->members().size() == 1 ? structure->members().front().type.get() : nullptr;
}

[[noreturn]] inline void throw_different_types(const dynamic_type& source, const dynamic_type& destination) {
    throw std::runtime_error("cannot copy data from different types: from '" + source.name() + "' to '" +
                             destination.name() + "'");
}

} // namespace qor::introspection::xtypes

#endif
