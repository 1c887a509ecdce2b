#include "introspection/xtypes/annotation.hpp"

#include <algorithm>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "introspection/xtypes/dynamic_type.hpp"
#include "introspection/xtypes/signal/scalar_kinds.hpp"

namespace qor::introspection::xtypes {

namespace {

template<typename Named>
auto find_named(std::vector<Named>& list, const std::string& name) {
    return std::find_if(list.begin(), list.end(), [&name](const Named& entry) { return entry.name == name; });
}

template<typename Named>
auto find_named(const std::vector<Named>& list, const std::string& name) {
    return std::find_if(list.begin(), list.end(), [&name](const Named& entry) { return entry.name == name; });
}

struct value_type {
    type_kind kind;
    std::string_view name;
};

value_type type_of(const annotation_value& value) {
    return std::visit(
        [](const auto& held) -> value_type {
            using type = std::remove_cvref_t<decltype(held)>;
            if constexpr (std::is_same_v<type, std::string>) {
                return {type_kind::string, "std::string"};
            } else {
                return {scalar_of<type>().kind, scalar_of<type>().c_name};
            }
        },
        value);
}

} // namespace

annotation_type::annotation_type(std::string name) : name_(std::move(name)) {}
annotation_type::annotation_type(const annotation_type& other) = default;
annotation_type::annotation_type(annotation_type&& other) noexcept = default;
annotation_type& annotation_type::operator=(const annotation_type& other) = default;
annotation_type& annotation_type::operator=(annotation_type&& other) noexcept = default;
annotation_type::~annotation_type() = default;

annotation_type& annotation_type::add_parameter(const std::string& name, const dynamic_type& type) {
    if (find_named(parameters_, name) != parameters_.end()) {
        throw std::invalid_argument("annotation '" + name_ + "' already has a parameter named '" + name + "'");
    }
    parameters_.push_back({name, type_reference(&type)});
    return *this;
}

applied_annotation::applied_annotation(const annotation_type& type) : type_(type) {}
applied_annotation::applied_annotation(const applied_annotation& other) = default;
applied_annotation::applied_annotation(applied_annotation&& other) noexcept = default;
applied_annotation& applied_annotation::operator=(const applied_annotation& other) = default;
applied_annotation& applied_annotation::operator=(applied_annotation&& other) noexcept = default;
applied_annotation::~applied_annotation() = default;

applied_annotation& applied_annotation::apply_parameter(const std::string& name, const std::string& value) {
    return apply(name, value);
}

applied_annotation& applied_annotation::apply_parameter(const std::string& name, std::uint64_t value) {
    return apply(name, value);
}

applied_annotation& applied_annotation::apply_parameter(const std::string& name, std::uint32_t value) {
    return apply(name, value);
}

applied_annotation& applied_annotation::apply(const std::string& name, annotation_value value) {
    const auto parameter = find_named(type_.parameters(), name);
    if (parameter == type_.parameters().end()) {
        throw std::invalid_argument("annotation '" + type_.name() + "' doesn't have a parameter named '" + name + "'");
    }
    const value_type given = type_of(value);
    if (parameter->type->kind() != given.kind) {
        throw std::invalid_argument("annotation '" + type_.name() + "' parameter '" + name + "' of type '" +
                                    parameter->type->name() + "' can't take a value of type '" +
                                    std::string(given.name) + "'");
    }
    const auto applied = find_named(parameters_, name);
    if (applied == parameters_.end()) {
        parameters_.push_back({name, std::move(value)});
    } else {
        applied->value = std::move(value);
    }
    return *this;
}

} // namespace qor::introspection::xtypes
