// What the tests of the type parser share: nodes and types as lines of text, and one call of parse.
#ifndef TESTS_TYPE_PARSER_PARSING_HPP
#define TESTS_TYPE_PARSER_PARSING_HPP

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "introspection/xtypes/array_type.hpp"
#include "qor_tavi_extractor/src/type_parser/type_parser.hpp"
#include "tests/support/nodes_of.hpp"

namespace tavi::test {

using namespace qor::introspection::xtypes;
using qor::tavi::detail::type_parser;

// "G:32{G@0 4*G.G:8{a@0 uint8, b@4 uint8}}": structures with name, size and members at their offsets, arrays with
// their dimension, signals with the kind that they present.
inline std::string shape_of(const dynamic_type& type) {
    if (const auto* const array = dynamic_cast<const array_type*>(&type)) {
        return std::to_string(array->dimension()) + "*" + shape_of(array->content_type());
    }
    const auto* const structure = dynamic_cast<const struct_type*>(&type);
    if (structure == nullptr) {
        return std::string(kind_name(without_signal(type.kind())));
    }
    std::string members;
    for (const member_record& member : structure->members()) {
        members += (members.empty() ? "" : ", ") + member.name + "@" + std::to_string(member.offset) + " " +
                   shape_of(*member.type);
    }
    return type.name() + ":" + std::to_string(type.instance_size()) + "{" + members + "}";
}

// A host's log sink: "parse: MESSAGE" and a line feed for each record of the type parser.
struct recording_sink : qor_log_t {
    recording_sink() {
        context = this;
        log = [](void* self, const qor_log_info_t* info, qor_error_details_t**) {
            const std::string function = info->function;
            const std::string prefix = "qor::tavi::detail::type_parser::";
            EXPECT_EQ(function.substr(0, prefix.size()), prefix);
            EXPECT_EQ(info->level, 300u);
            static_cast<recording_sink*>(self)->told += function.substr(prefix.size()) + ": " + info->message + '\n';
            return std::uint32_t{0};
        };
    }
    type_parser::logger_pointer logger() { return std::make_shared<qor::extensibility::log::logger>(this); }

    std::string told;
};

// Runs `body`, which returns a type: its shape, or the failure as "runtime_error: TEXT", "invalid_argument: TEXT".
template<typename Body>
std::string outcome_of(Body&& body) {
    try {
        return shape_of(body());
    } catch (const std::runtime_error& error) {
        return std::string("runtime_error: ") + error.what();
    } catch (const std::invalid_argument& error) {
        return std::string("invalid_argument: ") + error.what();
    }
}

enum class parsing { strict, lenient, indexed };

// What is logged, then the outcome. Once with a logger and once without, which must make no other difference.
inline std::string parse(const qor_type_node_sequence_t& nodes, parsing mode = parsing::strict) {
    const auto with = [&](const type_parser::logger_pointer& logger) {
        std::uint64_t index = 0;
        return outcome_of([&] {
            return type_parser::parse(logger, nodes, index, mode == parsing::indexed, nullptr,
                                      mode == parsing::lenient);
        });
    };
    recording_sink sink;
    const std::string outcome = with(sink.logger());
    EXPECT_EQ(with(nullptr), outcome);
    return sink.told + outcome;
}

struct parse_case {
    const char* nodes;
    std::string outcome;
    parsing mode = parsing::strict;
};

inline void expect_all(const std::vector<parse_case>& cases) {
    for (const parse_case& each : cases) {
        EXPECT_EQ(parse(nodes_of(each.nodes).sequence(), each.mode), each.outcome) << each.nodes;
    }
}

} // namespace tavi::test

#endif
