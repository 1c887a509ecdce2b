// The top level: what the URL selects, what the annotation says, and what a signal node says of its type.
#include "introspection/xtypes/signal_type_base.hpp"
#include "tests/support/thrown.hpp"
#include "tests/type_parser/parsing.hpp"

namespace tavi::test {
namespace {

using qor::tavi::detail::element_size_of;
using qor::tavi::detail::url;
using qor::tavi::detail::url_source_token;
using qor::tavi::detail::url_token;

url make_url(const std::vector<std::optional<std::uint64_t>>& indices) {
    std::vector<std::shared_ptr<url_token>> tokens = {std::make_shared<url_source_token>(1, 1)};
    for (const auto& index : indices) {
        tokens.push_back(index ? std::make_shared<url_token>("n", *index) : std::make_shared<url_token>("n"));
    }
    return url(std::move(tokens));
}

struct_type schema_of(const url& url, std::vector<qor_type_node_t> hierarchy, bool annotate) {
    std::vector<qor_type_node_t> subtree = {signal_node(4, 3, "s", 5, 1, 3)};
    return type_parser::parse_schema(nullptr, url, {hierarchy.data(), hierarchy.size()},
                                     {subtree.data(), subtree.size()}, false, annotate);
}

TEST(parse_schema, only_the_last_token_selects_an_element) {
    EXPECT_EQ(shape_of(schema_of(make_url({{}, 2, 0}), {}, false)), "s:1{s@0 uint8}");
    EXPECT_EQ(shape_of(schema_of(make_url({{}, 2, {}}), {}, false)), "s:3{s@0 3*uint8}");
    EXPECT_EQ(shape_of(schema_of(url({}), {}, false)), "s:3{s@0 3*uint8}");
}

// "view, cycle, address" with the types of the parameters.
std::string annotation_of(const struct_type& type) {
    if (type.annotations().size() != 1) {
        return std::to_string(type.annotations().size()) + " annotations";
    }
    const applied_annotation& annotation = type.annotations().front();
    std::string text = annotation.type().name() + "(";
    for (const annotation_parameter& parameter : annotation.type().parameters()) {
        text += parameter.type->name() + " " + parameter.name + ", ";
    }
    text += ")";
    for (const applied_parameter& parameter : annotation.parameters()) {
        text += " " + parameter.name + "=";
        std::visit(
            [&](const auto& value) {
                if constexpr (std::is_same_v<std::remove_cvref_t<decltype(value)>, std::string>) {
                    text += value;
                } else {
                    text += std::to_string(value);
                }
            },
            parameter.value);
    }
    return text;
}

TEST(parse_schema, annotates_with_view_cycle_and_address_of_the_path) {
    const std::string type = "measurement(std::string view, uint32_t cycle, uint64_t address, )";
    const struct {
        std::vector<qor_type_node_t> hierarchy;
        std::string annotation;
    } cases[] = {
        {{}, " view= cycle=0 address=0"},
        {{view_node(1, "V", 7), object_node(2, 1, "O", 0x1000, 8), group_node(3, 2, "g", 0x20, 8, 9),
          signal_node(4, 3, "s", 5)},
         " view=V cycle=7 address=" + std::to_string(0x1025)},
        {{view_node(1, "V", 7), object_node(2, 1, "O", 0x1000, 8), group_node(3, 2, "g", 0x20, 8),
          object_node(4, 3, "P", 0x300, 8), node(9, 5, 4, "?"), signal_node(6, 5, "s", 5)},
         " view=V cycle=7 address=" + std::to_string(0x305)},
        {{view_node(1, nullptr, 0xFFFFFFFF), object_node(2, 1, "O", 0xFFFFFFFFFFFFFFFF, 8), signal_node(3, 2, "s", 2)},
         " view= cycle=4294967295 address=1"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(annotation_of(schema_of(make_url({{}}), each.hierarchy, true)), type + each.annotation);
        EXPECT_EQ(annotation_of(schema_of(make_url({{}}), each.hierarchy, false)), "0 annotations");
    }
}

TEST(type_parser, hands_every_field_of_a_signal_to_its_type) {
    qor_type_node_t signal = signal_node(1, 0, "S", 3, 4);
    signal.signal.converted_kind = 0x400B;
    signal.signal.raw_kind = 0x4085;
    signal.signal.bit_offset = 5;
    signal.signal.bit_length = 11;
    signal.signal.encoding = QOR_ENCODING_SIGN_MAGNITUDE;
    signal.signal.numerator_x2 = 1;
    signal.signal.numerator_x1 = 2;
    signal.signal.numerator_x0 = 3;
    signal.signal.denominator_x2 = 4;
    signal.signal.denominator_x1 = 5;
    signal.signal.denominator_x0 = 6;
    signal.signal.signal_suffix = "km/h and more";
    signal.signal.signal_suffix_length = 4;
    const auto name_of = [&](std::uint8_t byte_order) {
        signal.signal.byte_order = byte_order;
        std::uint64_t index = 0;
        return type_parser::parse(nullptr, {&signal, 1}, index, false, nullptr, false).member(0).type->name();
    };
    const std::string numbers = "_sm_5_11_1.000000_2.000000_3.000000_4.000000_5.000000_6.000000";
    EXPECT_EQ(name_of(0), "signal_double_uint16_t_le" + numbers + "_km/h");
    EXPECT_EQ(name_of(1), "signal_double_uint16_t_be" + numbers + "_km/h");
    EXPECT_EQ(name_of(2), "signal_double_uint16_t_ibe" + numbers + "_km/h");
    EXPECT_EQ(name_of(3), "signal_double_uint16_t_le" + numbers + "_km/h");
    signal.signal.signal_suffix_length = 0;
    signal.signal.raw_kind = 0; // as the converted kind
    EXPECT_EQ(name_of(0), "signal_double_double_le" + numbers);
    signal.signal.signal_suffix_length = 4;
    signal.signal.signal_suffix = nullptr;
    EXPECT_EQ(name_of(0), "signal_double_double_le" + numbers);
}

TEST(element_size_of, knows_the_kinds_that_have_one) {
    for (const qor_type_node_t& sized :
         {object_node(1, 0, "n", 0, 7), group_node(1, 0, "n", 0, 7), signal_node(1, 0, "n", 0, 7)}) {
        EXPECT_EQ(element_size_of(&sized), 7u);
    }
    const qor_type_node_t view = view_node(1, "V");
    const qor_type_node_t unknown = node(5, 1, 0, "N");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { element_size_of(&view); }),
              "size value is not supported for view type nodes");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { element_size_of(nullptr); }), "invalid node object state");
    EXPECT_EQ(thrown<std::runtime_error>([&] { element_size_of(&unknown); }), "unexpected node type 5");
}

} // namespace
} // namespace tavi::test
