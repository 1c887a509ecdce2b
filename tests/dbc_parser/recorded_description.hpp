// Reads a DBC into texts that people can read instead of a storage, with everything that was told on the way.
#ifndef TESTS_DBC_PARSER_RECORDED_DESCRIPTION_HPP
#define TESTS_DBC_PARSER_RECORDED_DESCRIPTION_HPP

#include <string>
#include <string_view>
#include <vector>

#include "qorc/type_node.h"

struct recorded_node {
    qor_type_node_t record{}; // its texts are gone
    std::string path;         // "CAN.M.s"
    std::string presence;
};

struct recorded_description {
    std::vector<recorded_node> nodes;
    // A line for each node and text, in the order in which they were written, what is not there left out:
    //
    //      CAN.M @ADDRESS 8 bytes, group "COMMENT"
    //      CAN.M.s OFFSET+BIT_OFFSET|BITS@BYTE_ORDER 2 bytes int16 = float64(0.5*x-3) [-1|1] 'UNIT'
    //      CAN.M KEY: TEXT
    //
    // Behind a signal also "selector", "if PRESENCE", "{VALUE TABLE}" and its comment.
    std::string written;
    // A line for each warning, then the refusal: "LINE:COLUMN CAUSE".
    std::string told;
};

recorded_description read_dbc(std::string_view text);

#endif
