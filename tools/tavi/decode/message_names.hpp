// Names that distinguish the messages of several descriptions.
#ifndef TOOLS_TAVI_DECODE_MESSAGE_NAMES_HPP
#define TOOLS_TAVI_DECODE_MESSAGE_NAMES_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "qorc/type_node.h"
#include "tools/tavi/report/diagnostics.hpp"

namespace tavi::tool {

class catalogue;

// Descriptions that an interface may have together can have messages of one path that differ in id or layout. The first
// keeps its name, the others get a number: "CAN.Speed", "CAN.Speed_1". A message is called the same on all interfaces.
//
// The library finds the first of such messages only. So the descriptions are shared out to layers, in their order: in
// one layer each path is that of one message. An interface is a source for each layer that it has descriptions of.
class message_names {
public:
    // Of all descriptions of a catalogue that is loaded. Throws: host::error.
    explicit message_names(catalogue& known);

    // The name that a message, an object directly below a view, has in paths.
    std::string_view name_of(const qor_type_node_t& message) const;

    // Layers count from 0 in the order of the descriptions.
    std::size_t layer_of(std::size_t description) const { return layers_.empty() ? 0 : layers_[description]; }
    std::size_t layer_count() const noexcept { return layer_count_; }

    // An expression "View.Message..." with the name that the message has in its description; nothing when the one that
    // has the name there is called otherwise.
    std::optional<std::string> own_expression(std::size_t description, std::string_view expression) const;

    // Notes that messages have other names than in their description, one for each description.
    void report(const catalogue& known, message_sink& messages) const;

private:
    class writer;

    struct renaming {
        std::size_t description;
        std::size_t other; // the description that has the name
        std::string own_path;
        std::string path;
    };

    // By description; none when all have one.
    std::vector<std::size_t> layers_;
    std::size_t layer_count_ = 1;
    // By node id.
    std::unordered_map<std::uint64_t, std::string> names_;
    // In the order of the descriptions.
    std::vector<renaming> renamings_;
};

} // namespace tavi::tool

#endif
