#include "introspection/xtypes/dynamic_type.hpp"

#include <utility>

#include "introspection/xtypes/alias_type.hpp"
#include "qorcpp/fnv.hpp"

namespace qor::introspection::xtypes {

dynamic_type::dynamic_type(type_kind kind, std::string name)
    : kind_(kind), name_(std::move(name)), name_hash_(fnv1a(name_)) {}

dynamic_type::dynamic_type(const dynamic_type& other) = default;
dynamic_type::dynamic_type(dynamic_type&& other) noexcept = default;
dynamic_type& dynamic_type::operator=(const dynamic_type& other) = default;
dynamic_type& dynamic_type::operator=(dynamic_type&& other) noexcept = default;
dynamic_type::~dynamic_type() = default;

dynamic_type& dynamic_type::add_annotation(const applied_annotation& annotation) {
    annotations_.push_back(annotation);
    return *this;
}

const dynamic_type& dynamic_type::resolve_alias(const dynamic_type& type) {
    const dynamic_type* resolved = &type;
    while (const auto* const alias = dynamic_cast<const alias_type*>(resolved)) {
        resolved = &alias->target();
    }
    return *resolved;
}

} // namespace qor::introspection::xtypes
