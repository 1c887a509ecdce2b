// The top level: what the URL selects, what the annotation says, and what a signal node says of its type.
#include "introspection/xtypes/signal/signal_type_base.hpp"
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

struct_type schema_of(const url& url, nodes_of hierarchy, bool annotate) {
    return type_parser::parse_schema(nullptr, url, hierarchy.sequence(), nodes_of("signal 4 3 s 5 1 3").sequence(),
                                     false, annotate);
}

TEST(parse_schema, only_the_last_token_selects_an_element) {
    EXPECT_EQ(shape_of(schema_of(make_url({{}, 2, 0}), "", false)), "s:1{s@0 uint8}");
    EXPECT_EQ(shape_of(schema_of(make_url({{}, 2, {}}), "", false)), "s:3{s@0 3*uint8}");
    EXPECT_EQ(shape_of(schema_of(url({}), "", false)), "s:3{s@0 3*uint8}");
}

// The annotation with the types of its parameters and their values.
std::string annotation_of(const struct_type& type) {
    if (type.annotations().size() != 1) {
        return std::to_string(type.annotations().size()) + " annotations";
    }
    const applied_annotation& annotation = type.annotations().front();
    std::ostringstream text;
    text << annotation.type().name();
    for (const annotation_parameter& parameter : annotation.type().parameters()) {
        text << ", " << parameter.type->name() << ' ' << parameter.name;
    }
    for (const applied_parameter& parameter : annotation.parameters()) {
        text << ' ' << parameter.name << '=';
        std::visit([&](const auto& value) { text << value; }, parameter.value);
    }
    return text.str();
}

TEST(parse_schema, annotates_with_view_cycle_and_address_of_the_path) {
    const std::string type = "measurement, std::string view, uint32_t cycle, uint64_t address";
    const std::pair<const char*, std::string> cases[] = {
        {"", " view= cycle=0 address=0"},
        {"view 1 0 V 7; object 2 1 O 4096 8; group 3 2 g 32 8 9; signal 4 3 s 5", " view=V cycle=7 address=4133"},
        {"view 1 0 V 7; object 2 1 O 4096 8; group 3 2 g 32 8; object 4 3 P 768 8; 9 5 4 ?; signal 6 5 s 5",
         " view=V cycle=7 address=773"},
        {"view 1 0 - 4294967295; object 2 1 O 18446744073709551615 8; signal 3 2 s 2",
         " view= cycle=4294967295 address=1"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(annotation_of(schema_of(make_url({{}}), each.first, true)), type + each.second);
        EXPECT_EQ(annotation_of(schema_of(make_url({{}}), each.first, false)), "0 annotations");
    }
}

TEST(type_parser, hands_every_field_of_a_signal_to_its_type) {
    nodes_of list("signal 1 0 S 3 4");
    qor_signal_node_t& signal = list.nodes()[0].signal;
    signal.converted_kind = 0x400B;
    signal.raw_kind = 0x4085;
    signal.bit_offset = 5;
    signal.bit_length = 11;
    signal.encoding = QOR_ENCODING_SIGN_MAGNITUDE;
    std::tie(signal.numerator_x2, signal.numerator_x1, signal.numerator_x0) = std::tuple(1, 2, 3);
    std::tie(signal.denominator_x2, signal.denominator_x1, signal.denominator_x0) = std::tuple(4, 5, 6);
    signal.signal_suffix = "km/h and more";
    signal.signal_suffix_length = 4;
    const auto name_of = [&](std::uint8_t byte_order) {
        signal.byte_order = byte_order;
        std::uint64_t index = 0;
        return type_parser::parse(nullptr, list.sequence(), index, false, nullptr, false).member(0).type->name();
    };
    const std::string numbers = "_sm_5_11_1.000000_2.000000_3.000000_4.000000_5.000000_6.000000";
    const char* const orders[] = {"le", "be", "ibe", "le"};
    for (std::uint8_t order = 0; order < 4; ++order) {
        EXPECT_EQ(name_of(order), std::string("signal_double_uint16_t_") + orders[order] + numbers + "_km/h");
    }
    signal.signal_suffix_length = 0;
    signal.raw_kind = 0; // as the converted kind
    EXPECT_EQ(name_of(0), "signal_double_double_le" + numbers);
    signal.signal_suffix_length = 4;
    signal.signal_suffix = nullptr;
    EXPECT_EQ(name_of(0), "signal_double_double_le" + numbers);
}

TEST(element_size_of, knows_the_kinds_that_have_one) {
    nodes_of list("object 1 0 n 0 7; group 1 0 n 0 7; signal 1 0 n 0 7; view 1 0 V; 5 1 0 N");
    for (std::size_t sized = 0; sized < 3; ++sized) {
        EXPECT_EQ(element_size_of(&list.nodes()[sized]), 7u);
    }
    EXPECT_EQ(thrown<std::invalid_argument>([&] { element_size_of(&list.nodes()[3]); }),
              "size value is not supported for view type nodes");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { element_size_of(nullptr); }), "invalid node object state");
    EXPECT_EQ(thrown<std::runtime_error>([&] { element_size_of(&list.nodes()[4]); }), "unexpected node type 5");
}

} // namespace
} // namespace tavi::test
