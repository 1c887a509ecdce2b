#include "introspection/xtypes/string_type.hpp"

#include <new>
#include <string>
#include <utility>

#include "introspection/xtypes/composite_source.hpp"
#include "introspection/xtypes/primitive_type.hpp"
#include "qorcpp/fnv.hpp"

namespace qor::introspection::xtypes {

namespace {

constexpr std::uint64_t string_size = 32;
static_assert(sizeof(std::string) <= string_size);

const std::string& string_at(const std::uint8_t* instance) noexcept {
    return *std::launder(reinterpret_cast<const std::string*>(instance));
}

std::string& string_at(std::uint8_t* instance) noexcept {
    return *std::launder(reinterpret_cast<std::string*>(instance));
}

} // namespace

template<typename Char, std::uint32_t Kind, typename Name>
basic_string_type<Char, Kind, Name>::basic_string_type(std::uint64_t bound)
    : mutable_collection_type(static_cast<type_kind>(Kind),
                              bound == 0 ? std::string(Name::value)
                                         : std::string(Name::value) + "_" + std::to_string(bound),
                              *primitive_type<Char>::instance(), bound) {}

template<typename Char, std::uint32_t Kind, typename Name>
basic_string_type<Char, Kind, Name>::basic_string_type(const basic_string_type& other) = default;

template<typename Char, std::uint32_t Kind, typename Name>
basic_string_type<Char, Kind, Name>::~basic_string_type() = default;

template<typename Char, std::uint32_t Kind, typename Name>
std::uint64_t basic_string_type<Char, Kind, Name>::instance_size() const {
    return string_size;
}

template<typename Char, std::uint32_t Kind, typename Name>
void basic_string_type<Char, Kind, Name>::construct(std::uint8_t* instance) const {
    std::string text;
    text.reserve(bound());
    new (instance) std::string(std::move(text));
}

template<typename Char, std::uint32_t Kind, typename Name>
void basic_string_type<Char, Kind, Name>::copy(std::uint8_t* destination, const std::uint8_t* source) const {
    new (destination) std::string(string_at(source), 0, bound() == 0 ? std::string::npos : bound());
}

template<typename Char, std::uint32_t Kind, typename Name>
void basic_string_type<Char, Kind, Name>::copy_from(std::uint8_t* destination, const std::uint8_t* source,
                                                    const dynamic_type& source_type) const {
    const dynamic_type* type = &resolve_alias(source_type);
    while (const dynamic_type* const member = only_member_type(*type)) {
        type = &resolve_alias(*member);
    }
    if (type->kind() != type_kind::string) {
        throw_different_types(*type, *this);
    }
    copy(destination, source);
}

template<typename Char, std::uint32_t Kind, typename Name>
void basic_string_type<Char, Kind, Name>::move(std::uint8_t* destination, std::uint8_t* source, bool) const {
    new (destination) std::string(std::move(string_at(source)));
}

template<typename Char, std::uint32_t Kind, typename Name>
void basic_string_type<Char, Kind, Name>::destroy(std::uint8_t* instance) const {
    std::string().swap(string_at(instance));
}

template<typename Char, std::uint32_t Kind, typename Name>
bool basic_string_type<Char, Kind, Name>::compare(const std::uint8_t* left, const std::uint8_t* right) const {
    return string_at(left) == string_at(right);
}

template<typename Char, std::uint32_t Kind, typename Name>
void basic_string_type<Char, Kind, Name>::walk_instance_named(const instance_node& node, const std::string& path,
                                                              named_instance_visitor visitor) const {
    visitor(path, node);
}

template<typename Char, std::uint32_t Kind, typename Name>
void basic_string_type<Char, Kind, Name>::walk_instance(const instance_node& node, instance_visitor visitor) const {
    visitor(node);
}

template<typename Char, std::uint32_t Kind, typename Name>
std::uint64_t basic_string_type<Char, Kind, Name>::hash(const std::uint8_t* instance) const {
    return fnv1a(string_at(instance));
}

template<typename Char, std::uint32_t Kind, typename Name>
std::uint32_t basic_string_type<Char, Kind, Name>::compatibility(const dynamic_type& other) const {
    const dynamic_type& type = resolve_alias(other);
    if (type.kind() == type_kind::structure) {
        return type.compatibility(*this);
    }
    const auto* const string = type.kind() == kind() ? dynamic_cast<const basic_string_type*>(&type) : nullptr;
    if (string == nullptr) {
        return compatibility_flag::incompatible;
    }
    return bound() != string->bound() ? compatibility_flag::string_bound : 0;
}

template<typename Char, std::uint32_t Kind, typename Name>
void basic_string_type<Char, Kind, Name>::walk_type_named(const type_node& node, const std::string& path,
                                                          named_type_visitor visitor) const {
    visitor(path, node);
}

template<typename Char, std::uint32_t Kind, typename Name>
void basic_string_type<Char, Kind, Name>::walk_path(const type_node& node, const std::string& path,
                                                    path_visitor visitor) const {
    visitor(node, path);
}

template<typename Char, std::uint32_t Kind, typename Name>
void basic_string_type<Char, Kind, Name>::walk_type(const type_node& node, type_visitor visitor) const {
    visitor(node);
}

template<typename Char, std::uint32_t Kind, typename Name>
std::shared_ptr<dynamic_type> basic_string_type<Char, Kind, Name>::clone() const {
    return std::make_shared<basic_string_type>(*this);
}

template<typename Char, std::uint32_t Kind, typename Name>
const std::uint8_t* basic_string_type<Char, Kind, Name>::element_at(const std::uint8_t* instance,
                                                                    std::uint64_t index) const {
    return reinterpret_cast<const std::uint8_t*>(string_at(instance).data() + index);
}

template<typename Char, std::uint32_t Kind, typename Name>
std::uint64_t basic_string_type<Char, Kind, Name>::element_count(const std::uint8_t* instance) const {
    return string_at(instance).size();
}

template class basic_string_type<char, static_cast<std::uint32_t>(type_kind::string), string_type_name>;

} // namespace qor::introspection::xtypes
