#include "introspection/generator/json_printer.hpp"

#include <type_traits>
#include <variant>

#include "introspection/generator/json_text.hpp"
#include "introspection/xtypes/alias_type.hpp"
#include "introspection/xtypes/array_type.hpp"
#include "introspection/xtypes/signal/scalar_kinds.hpp"
#include "introspection/xtypes/signal/signal_type_base.hpp"
#include "introspection/xtypes/string_type.hpp"
#include "introspection/xtypes/struct_type.hpp"

namespace qor::introspection::generator {

using namespace xtypes;

namespace {

void print_type(json_text& text, const dynamic_type& type);

void print_string(json_text& text, std::string_view key, std::string_view value) {
    text.key(key);
    text.string(value);
}

template<typename T>
void print_number(json_text& text, std::string_view key, T value) {
    text.key(key);
    text.number(std::uint64_t{value});
}

// The kind's name, or its number if it has none.
void print_kind(json_text& text, std::string_view key, type_kind kind) {
    text.key(key);
    const std::string_view name = kind_name(kind);
    if (name.empty()) {
        text.number(std::uint64_t{static_cast<std::uint32_t>(kind)});
    } else {
        text.string(name);
    }
}

// The code's word, or its number if it has none.
template<typename Code>
void print_code(json_text& text, std::string_view key, Code code) {
    text.key(key);
    if (const auto* const row = find_signal_code(code)) {
        text.string(row->word);
    } else {
        text.number(std::uint64_t{static_cast<std::underlying_type_t<Code>>(code)});
    }
}

void print_details(json_text& text, const signal_type_base& signal) {
    print_kind(text, "converted", without_signal(signal.kind()));
    print_kind(text, "raw", signal.raw_kind());
    print_code(text, "byte_order", signal.byte_order());
    print_number(text, "bit_offset", signal.bit_offset());
    print_number(text, "bit_length", signal.bit_length());
    text.key("coefficients");
    text.begin('[');
    for (double coefficient : {signal.numerator_x2(), signal.numerator_x1(), signal.numerator_x0(),
                               signal.denominator_x2(), signal.denominator_x1(), signal.denominator_x0()}) {
        text.number(coefficient);
    }
    text.end(']');
    print_code(text, "encoding", signal.encoding());
    print_string(text, "suffix", signal.signal_suffix());
}

void print_details(json_text& text, const struct_type& structure) {
    text.key("members");
    text.begin('[');
    for (const member_record& member : structure.members()) {
        text.begin('{');
        print_string(text, "name", member.name);
        print_number(text, "offset", member.offset);
        text.key("type");
        print_type(text, *member.type);
        text.end('}');
    }
    text.end(']');
}

void print_details(json_text& text, const array_type& array) {
    print_number(text, "dimension", array.dimension());
    text.key("element");
    print_type(text, array.content_type());
}

void print_details(json_text& text, const string_type& string) {
    print_number(text, "bound", string.bound());
}

void print_details(json_text& text, const alias_type& alias) {
    text.key("target");
    print_type(text, alias.target());
}

// Prints the details if the type is a Type.
template<typename Type>
bool print_details_as(json_text& text, const dynamic_type& type) {
    const auto* const known = dynamic_cast<const Type*>(&type);
    if (known != nullptr) {
        print_details(text, *known);
    }
    return known != nullptr;
}

void print_annotation(json_text& text, const applied_annotation& annotation) {
    text.begin('{');
    print_string(text, "name", annotation.type().name());
    text.key("parameters");
    text.begin('[');
    for (const applied_parameter& parameter : annotation.parameters()) {
        text.begin('{');
        print_string(text, "name", parameter.name);
        std::visit(
            [&text](const auto& value) {
                using type = std::remove_cvref_t<decltype(value)>;
                if constexpr (std::is_same_v<type, std::string>) {
                    print_kind(text, "kind", type_kind::string);
                    print_string(text, "value", value);
                } else {
                    print_kind(text, "kind", scalar_of<type>().kind);
                    print_number(text, "value", value);
                }
            },
            parameter.value);
        text.end('}');
    }
    text.end(']');
    text.end('}');
}

void print_type(json_text& text, const dynamic_type& type) {
    text.begin('{');
    if (has_flag(type.kind(), signal_flag)) {
        print_string(text, "kind", "signal");
    } else {
        print_kind(text, "kind", type.kind());
    }
    print_string(text, "name", type.name());
    print_number(text, "size", type.instance_size());
    // Primitives have no details.
    static_cast<void>(print_details_as<signal_type_base>(text, type) || print_details_as<struct_type>(text, type) ||
                      print_details_as<array_type>(text, type) || print_details_as<string_type>(text, type) ||
                      print_details_as<alias_type>(text, type));
    if (!type.annotations().empty()) {
        text.key("annotations");
        text.begin('[');
        for (const applied_annotation& annotation : type.annotations()) {
            print_annotation(text, annotation);
        }
        text.end(']');
    }
    text.end('}');
}

} // namespace

std::string json_printer::print(const dynamic_type& type, bool indented) {
    json_text text(indented);
    print_type(text, type);
    return text.take();
}

} // namespace qor::introspection::generator
