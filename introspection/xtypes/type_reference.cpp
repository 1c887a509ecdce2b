#include "introspection/xtypes/type_reference.hpp"

#include "introspection/xtypes/dynamic_type.hpp"

namespace qor::introspection::xtypes {

namespace {

std::shared_ptr<const dynamic_type> share_or_clone(const dynamic_type* type) {
    if (type == nullptr) {
        return nullptr;
    }
    if (has_flag(type->kind(), primitive_flag) && !has_flag(type->kind(), signal_flag | enumeration_flag)) {
        if (std::shared_ptr<const dynamic_type> shared = type->weak_from_this().lock()) {
            return shared;
        }
    }
    return type->clone();
}

} // namespace

type_reference::type_reference(const dynamic_type* type) : type_(share_or_clone(type)) {}

type_reference::type_reference(const type_reference& other) : type_(share_or_clone(other.get())) {}

type_reference& type_reference::operator=(const type_reference& other) {
    return *this = type_reference(other);
}

type_reference::~type_reference() = default;

} // namespace qor::introspection::xtypes
