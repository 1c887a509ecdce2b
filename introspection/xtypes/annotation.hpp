// Annotations: named parameters that a type carries besides its layout.
//   1. annotation_type says which parameters there are: annotation_type("a").add_parameter("p", uint32)
//   2. applied_annotation gives them values:            applied_annotation(a).apply_parameter("p", value)
//   3. dynamic_type::add_annotation hangs it onto a type.
#ifndef INTROSPECTION_XTYPES_ANNOTATION_HPP
#define INTROSPECTION_XTYPES_ANNOTATION_HPP

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "introspection/xtypes/type_reference.hpp"
#include "qorcpp/export.hpp"

namespace qor::introspection::xtypes {

struct annotation_parameter {
    std::string name;
    type_reference type;
};

class QORCPP_API annotation_type {
public:
    explicit annotation_type(std::string name);
    annotation_type(const annotation_type& other);
    annotation_type(annotation_type&& other) noexcept;
    annotation_type& operator=(const annotation_type& other);
    annotation_type& operator=(annotation_type&& other) noexcept;
    ~annotation_type();

    // Throws: std::invalid_argument "annotation 'NAME' already has a parameter named 'PARAMETER'".
    annotation_type& add_parameter(const std::string& name, const dynamic_type& type);

    const std::string& name() const noexcept { return name_; }
    // In order of addition.
    const std::vector<annotation_parameter>& parameters() const noexcept { return parameters_; }

private:
    std::string name_;
    std::vector<annotation_parameter> parameters_;
};

using annotation_value = std::variant<std::string, std::uint64_t, std::uint32_t>;

struct applied_parameter {
    std::string name;
    annotation_value value;
};

class QORCPP_API applied_annotation {
public:
    explicit applied_annotation(const annotation_type& type);
    applied_annotation(const applied_annotation& other);
    applied_annotation(applied_annotation&& other) noexcept;
    applied_annotation& operator=(const applied_annotation& other);
    applied_annotation& operator=(applied_annotation&& other) noexcept;
    ~applied_annotation();

    // Gives the parameter a value; a second value replaces the first.
    // Throws: std::invalid_argument "annotation 'NAME' doesn't have a parameter named 'PARAMETER'", or "annotation
    // 'NAME' parameter 'PARAMETER' of type 'TYPE' can't take a value of type 'TYPE'".
    applied_annotation& apply_parameter(const std::string& name, const std::string& value);
    applied_annotation& apply_parameter(const std::string& name, std::uint64_t value);
    applied_annotation& apply_parameter(const std::string& name, std::uint32_t value);

    const annotation_type& type() const noexcept { return type_; }
    // In order of application.
    const std::vector<applied_parameter>& parameters() const noexcept { return parameters_; }

private:
    applied_annotation& apply(const std::string& name, annotation_value value);

    annotation_type type_;
    std::vector<applied_parameter> parameters_;
};

} // namespace qor::introspection::xtypes

#endif
