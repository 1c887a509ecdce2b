// From the flat node list of a path to the type tree that its bytes decode with.
#ifndef QOR_TAVI_EXTRACTOR_TYPE_PARSER_HPP
#define QOR_TAVI_EXTRACTOR_TYPE_PARSER_HPP

#include <cstdint>
#include <memory>
#include <string>

#include "introspection/xtypes/struct_type.hpp"
#include "qor_tavi_extractor/src/url/url.hpp"
#include "qorc/type_node.h"
#include "runtime/logger.hpp"

namespace qor::tavi::detail {

// Bytes of one element of a node. Throws: std::invalid_argument "invalid node object state" for null, "size value is
// not supported for view type nodes"; std::runtime_error "unexpected node type KIND".
std::uint64_t element_size_of(const qor_type_node_t* node);

// No object state. Thread: the caller's.
class type_parser {
public:
    using logger_pointer = std::shared_ptr<extensibility::log::logger>;

    // The type of what `url` names. `hierarchy` holds the path's nodes from the view down, `subtree` the last of them
    // and all below, parents before children; `subtree` may be written to during the call and is unchanged after it.
    // `lenient` logs layout faults instead of throwing them. `annotate` adds the annotation "measurement" with view,
    // cycle and address. A null logger logs nothing.
    //
    // Throws: std::runtime_error, std::invalid_argument for layout faults.
    static introspection::xtypes::struct_type parse_schema(const logger_pointer& logger, const url& url,
                                                           const qor_type_node_sequence_t& hierarchy,
                                                           const qor_type_node_sequence_t& subtree, bool lenient,
                                                           bool annotate);

    // The structure of the node at `index`, which moves on over what was read. `indexed`: the node's own array was
    // selected from, so that it is one element. `parent` is null at the top.
    static introspection::xtypes::struct_type parse(const logger_pointer& logger, const qor_type_node_sequence_t& nodes,
                                                    std::uint64_t& index, bool indexed,
                                                    const introspection::xtypes::struct_type* parent, bool lenient);

    // The name that a member takes: its own, or with `lenient` and a clash, one with a number behind it.
    // Throws: std::runtime_error "member names of aggregation types must be unique, ...".
    static std::string validate_member_name(const logger_pointer& logger,
                                            const introspection::xtypes::struct_type& structure,
                                            const std::string& name, std::uint64_t offset, bool lenient);
};

} // namespace qor::tavi::detail

#endif
