// How one type holds another: a member its type, a collection its content type.
#ifndef INTROSPECTION_XTYPES_TYPE_REFERENCE_HPP
#define INTROSPECTION_XTYPES_TYPE_REFERENCE_HPP

#include <memory>

#include "qorcpp/export.hpp"

namespace qor::introspection::xtypes {

class dynamic_type;

// Primitives that live behind a shared pointer are shared; every other type is cloned into the one who holds it, also
// when the reference is copied, so that no two holders can see each other's types.
class QORCPP_API type_reference {
public:
    type_reference() noexcept = default;

    // A null pointer makes an empty reference.
    explicit type_reference(const dynamic_type* type);

    type_reference(const type_reference& other);
    type_reference(type_reference&& other) noexcept = default;
    type_reference& operator=(const type_reference& other);
    type_reference& operator=(type_reference&& other) noexcept = default;
    ~type_reference();

    // Null when empty. Owner: the reference.
    const dynamic_type* get() const noexcept { return type_.get(); }
    const dynamic_type& operator*() const noexcept { return *type_; }
    const dynamic_type* operator->() const noexcept { return type_.get(); }
    explicit operator bool() const noexcept { return type_ != nullptr; }

private:
    std::shared_ptr<const dynamic_type> type_;
};

} // namespace qor::introspection::xtypes

#endif
