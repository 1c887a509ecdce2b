// The slow, obvious way from a frame's bytes to a signal's value, by what its catalogue node says and nothing else.
#ifndef TESTS_DBC_PARSER_PLAIN_DECODER_HPP
#define TESTS_DBC_PARSER_PLAIN_DECODER_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/dbc_parser/recorded_description.hpp"

using frame_bytes = std::vector<uint8_t>;

struct decoded_value {
    double value;
    // The stored value: decimal digits of an integer, empty for a float.
    std::string raw;
};

// Nothing when the frame is too short for the signal, or its selectors say that it is not there.
std::optional<decoded_value> decode_plainly(const recorded_node& node, const frame_bytes& frame);

#endif
