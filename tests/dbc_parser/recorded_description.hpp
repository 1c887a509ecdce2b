// Reads a DBC into a list of nodes instead of a storage, with everything that was told on the way.
#ifndef TESTS_DBC_PARSER_RECORDED_DESCRIPTION_HPP
#define TESTS_DBC_PARSER_RECORDED_DESCRIPTION_HPP

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "qorc/type_node.h"

struct recorded_node {
    qor_type_node_t record{};
    std::string path;
    std::string comment;
    std::string unit;
    std::string value_table;
    std::string presence;
};

struct recorded_description {
    std::vector<recorded_node> nodes;
    // "PATH KEY" to text.
    std::map<std::string, std::string> texts;
    // "LINE:COLUMN CAUSE".
    std::vector<std::string> warnings;
    // Empty, or the refusal in the same form.
    std::string refusal;

    // The node of a path below the view; a node of kind 0 when there is none.
    const recorded_node& at(const std::string& path) const;
};

recorded_description read_dbc(std::string_view text);

#endif
