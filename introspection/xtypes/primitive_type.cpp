#include "introspection/xtypes/primitive_type.hpp"

#include <cstring>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "introspection/xtypes/bytes.hpp"
#include "introspection/xtypes/composite_source.hpp"
#include "introspection/xtypes/numeric.hpp"
#include "introspection/xtypes/signal/scalar_kinds.hpp"
#include "introspection/xtypes/signal/signal_type_base.hpp"

namespace qor::introspection::xtypes {

namespace {

// Reads a Source and assigns it to a T.
template<typename T, typename Source>
void assign(std::uint8_t* destination, const std::uint8_t* source) noexcept {
    const auto value = load<Source>(source);
    if constexpr (std::is_floating_point_v<Source>) {
        store(destination, convert_real<T>(static_cast<double>(value)));
    } else {
        store(destination, static_cast<T>(value));
    }
}

// Kinds outside the eleven, and char8, which reads as a signed byte. False for kinds that hold no value.
template<typename T>
bool assign_other(type_kind kind, std::uint8_t* destination, const std::uint8_t* source) noexcept {
    switch (kind) {
    case type_kind::boolean:
        assign<T, std::uint8_t>(destination, source);
        return true;
    case type_kind::enumeration:
        assign<T, std::int32_t>(destination, source);
        return true;
    case type_kind::float128:
        // The data of this kind has always been a double, whatever its size says.
        assign<T, double>(destination, source);
        return true;
    case type_kind::char8:
        assign<T, std::int8_t>(destination, source);
        return true;
    case type_kind::char16:
    case type_kind::wide_char:
        assign<T, std::uint16_t>(destination, source);
        return true;
    default:
        return false;
    }
}

template<typename T>
bool assign_value(type_kind kind, std::uint8_t* destination, const std::uint8_t* source) noexcept {
    if (assign_other<T>(kind, destination, source)) {
        return true;
    }
    return any_scalar([&](const auto& scalar) {
        using type = typename std::remove_cvref_t<decltype(scalar)>::type;
        if (scalar.kind != kind) {
            return false;
        }
        assign<T, type>(destination, source);
        return true;
    });
}

// Kinds that are read without a look at the signal flag.
constexpr bool reads_directly(type_kind kind) noexcept {
    return kind == type_kind::float128 || kind == type_kind::char8 || kind == type_kind::char16 ||
           kind == type_kind::wide_char;
}

constexpr bool is_value_kind(type_kind kind) noexcept {
    return kind == type_kind::boolean || kind == type_kind::enumeration ||
           any_scalar([kind](const auto& scalar) { return scalar.kind == kind; });
}

} // namespace

template<typename T>
primitive_type<T>::primitive_type(type_kind kind, std::string name) : dynamic_type(kind, std::move(name)) {}

template<typename T>
primitive_type<T>::~primitive_type() = default;

template<typename T>
const std::shared_ptr<dynamic_type>& primitive_type<T>::instance() {
    static const std::shared_ptr<dynamic_type> type =
        std::make_shared<primitive_type>(scalar_of<T>().kind, std::string(scalar_of<T>().c_name));
    return type;
}

template<typename T>
std::uint64_t primitive_type<T>::instance_size() const {
    return sizeof(T);
}

template<typename T>
void primitive_type<T>::construct(std::uint8_t* instance) const {
    store(instance, T{0});
}

template<typename T>
void primitive_type<T>::copy(std::uint8_t* destination, const std::uint8_t* source) const {
    store(destination, load<T>(source));
}

template<typename T>
void primitive_type<T>::copy_from(std::uint8_t* destination, const std::uint8_t* source,
                                  const dynamic_type& source_type) const {
    const dynamic_type* type = &resolve_alias(source_type);
    while (const dynamic_type* const member = only_member_type(*type)) {
        type = &resolve_alias(*member);
    }
    if (!has_flag(type->kind(), primitive_flag | enumeration_flag)) {
        throw std::runtime_error("cannot copy data from type '" + type->name() + "' to type '" + name() + "'");
    }
    const type_kind value_kind = without_signal(type->kind());
    if (has_flag(type->kind(), signal_flag) && is_value_kind(value_kind) && !reads_directly(value_kind)) {
        type->decode(kind(), destination, source);
        return;
    }
    if (!assign_value<T>(value_kind, destination, source)) {
        throw std::runtime_error("primitive dynamic data of an unknown type: '" + name() + "'");
    }
}

template<typename T>
void primitive_type<T>::move(std::uint8_t* destination, std::uint8_t* source, bool) const {
    copy(destination, source);
}

template<typename T>
void primitive_type<T>::destroy(std::uint8_t*) const {}

template<typename T>
bool primitive_type<T>::compare(const std::uint8_t* left, const std::uint8_t* right) const {
    return load<T>(left) == load<T>(right);
}

template<typename T>
void primitive_type<T>::decode(type_kind, std::uint8_t* destination, const std::uint8_t* source) const {
    copy(destination, source);
}

template<typename T>
void primitive_type<T>::walk_instance_named(const instance_node& node, const std::string& path,
                                            named_instance_visitor visitor) const {
    visitor(path, node);
}

template<typename T>
void primitive_type<T>::walk_instance(const instance_node& node, instance_visitor visitor) const {
    visitor(node);
}

template<typename T>
std::uint32_t primitive_type<T>::compatibility(const dynamic_type& other) const {
    if (other.kind() == type_kind::alias || other.kind() == type_kind::structure) {
        return other.compatibility(*this);
    }
    if (!has_flag(other.kind(), primitive_flag)) {
        return compatibility_flag::incompatible;
    }
    if (other.kind() == kind()) {
        return 0;
    }
    std::uint32_t flags = other.instance_size() != instance_size() ? compatibility_flag::instance_size : 0;
    if (has_flag(other.kind(), unsigned_flag) != has_flag(kind(), unsigned_flag)) {
        flags |= compatibility_flag::signedness;
    }
    if (has_flag(other.kind(), signal_flag)) {
        const auto* const signal = dynamic_cast<const signal_type_base*>(&other);
        if (signal == nullptr || !signal->is_plain()) {
            flags |= compatibility_flag::needs_decoding;
        }
    }
    return flags;
}

template<typename T>
void primitive_type<T>::walk_type_named(const type_node& node, const std::string& path,
                                        named_type_visitor visitor) const {
    visitor(path, node);
}

template<typename T>
void primitive_type<T>::walk_path(const type_node& node, const std::string& path, path_visitor visitor) const {
    visitor(node, path);
}

template<typename T>
void primitive_type<T>::walk_type(const type_node& node, type_visitor visitor) const {
    visitor(node);
}

template<typename T>
std::shared_ptr<dynamic_type> primitive_type<T>::clone() const {
    return std::make_shared<primitive_type>(kind(), name());
}

template class primitive_type<char>;
template class primitive_type<std::uint32_t>;
template class primitive_type<std::uint64_t>;

} // namespace qor::introspection::xtypes
