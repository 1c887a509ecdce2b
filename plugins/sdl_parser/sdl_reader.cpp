// One function for each kind of node; each checks all rules of its own level before it goes down.
#include "plugins/sdl_parser/sdl_reader.hpp"

#include <algorithm>
#include <limits>
#include <unordered_set>

#include "plugins/sdl_parser/sdl_json.hpp"
#include "plugins/sdl_parser/sdl_signal.hpp"
#include "plugins/sdl_parser/sdl_value.hpp"
#include "qorc/text.hpp"
#include "qorcpp/node_layout.hpp"

namespace sdl_parser {

namespace {

constexpr uint64_t language_version = 1;
constexpr uint64_t uint32_maximum = std::numeric_limits<uint32_t>::max();
// Types are built by recursion over groups; nobody nests structures deeper.
constexpr unsigned deepest_nesting = 32;

// The names that a URL expression can carry: a view's may hold blanks behind its first letter.
std::string read_name(const sdl_value& parent, bool blanks) {
    const sdl_value value = parent.at("name");
    std::string name = value.text();
    const bool good =
        !name.empty() && qor::begins_name(name.front()) && std::all_of(name.begin(), name.end(), [&](char character) {
            return qor::continues_name(character) || (blanks && character == ' ');
        });
    if (!good) {
        value.fail(blanks ? "a name of letters, digits, '_', '-' and blanks that begins with a letter or '_'"
                          : "a name of letters, digits, '_' and '-' that begins with a letter or '_'");
    }
    return name;
}

void read_common(const sdl_value& value, uint8_t kind, sdl_node& node) {
    node.record.kind = kind;
    node.name = read_name(value, kind == QOR_TYPE_NODE_VIEW);
    node.comment = value.has("comment") ? value.at("comment").text() : "";
}

void check_unique(const sdl_value& list, const std::vector<sdl_node>& nodes) {
    std::unordered_set<std::string_view> names;
    for (size_t index = 0; index < nodes.size(); ++index) {
        if (!names.insert(nodes[index].name).second) {
            list.at(index).at("name").reject("the name \"" + nodes[index].name + "\" is here twice");
        }
    }
}

// Where the next member lies unless it says so itself: behind the one before.
uint64_t end_of(const sdl_node& node) {
    const auto layout = qor::layout_of_node(node.record);
    return layout ? layout->offset + uint64_t{layout->element_count} * layout->element_size : 0;
}

// The bytes of a structure: as its members need, or more if it says so.
uint32_t read_size(const sdl_value& value, uint64_t needed) {
    if (needed > uint32_maximum) {
        value.reject("the members take " + std::to_string(needed) + " bytes, more than " +
                     std::to_string(uint32_maximum));
    }
    return static_cast<uint32_t>(value.has("size") ? value.at("size").integer(needed, uint32_maximum) : needed);
}

uint32_t read_count(const sdl_value& value) {
    return static_cast<uint32_t>(value.has("count") ? value.at("count").integer(1, uint32_maximum) : 1);
}

uint64_t read_members(const sdl_value& parent, unsigned depth, std::vector<sdl_node>& members);

void read_group(const sdl_value& value, uint64_t next_offset, unsigned depth, sdl_node& node) {
    value.check_keys({"name", "comment", "at", "count", "size", "members"});
    qor_group_node_t& group = node.record.group;
    group.offset = static_cast<uint32_t>(value.has("at") ? value.at("at").integer(0, uint32_maximum) : next_offset);
    group.element_count = read_count(value);
    group.element_size = read_size(value, read_members(value, depth + 1, node.children));
}

// Reads the members and gives the bytes that they need.
uint64_t read_members(const sdl_value& parent, unsigned depth, std::vector<sdl_node>& members) {
    const sdl_value list = parent.at("members");
    if (list.size() == 0) {
        list.fail("an array of at least one member");
    }
    if (depth > deepest_nesting) {
        list.reject("groups are nested deeper than " + std::to_string(deepest_nesting));
    }
    uint64_t next_offset = 0;
    uint64_t needed = 0;
    for (size_t index = 0; index < list.size(); ++index) {
        const sdl_value value = list.at(index);
        sdl_node& node = members.emplace_back();
        const bool is_group = value.has("members");
        read_common(value, is_group ? QOR_TYPE_NODE_GROUP : QOR_TYPE_NODE_SIGNAL, node);
        if (!value.has("at") && next_offset > uint32_maximum) {
            value.reject("the members before this one end after byte " + std::to_string(uint32_maximum));
        }
        is_group ? read_group(value, next_offset, depth, node) : read_signal(value, next_offset, node);
        next_offset = end_of(node);
        needed = std::max(needed, next_offset);
    }
    check_unique(list, members);
    return needed;
}

void read_object(const sdl_value& value, sdl_node& node) {
    value.check_keys({"name", "comment", "address", "count", "size", "members"});
    read_common(value, QOR_TYPE_NODE_OBJECT, node);
    qor_object_node_t& object = node.record.object;
    object.address = value.at("address").integer(0, std::numeric_limits<uint64_t>::max());
    object.element_count = read_count(value);
    object.element_size = read_size(value, read_members(value, 1, node.children));
    const uint64_t size = uint64_t{object.element_count} * object.element_size;
    if (size - 1 > std::numeric_limits<uint64_t>::max() - object.address) {
        value.at("address").reject("the object's " + std::to_string(size) + " bytes end after the last address");
    }
}

void read_view(const sdl_value& value, sdl_node& node) {
    value.check_keys({"name", "comment", "cycle", "objects"});
    read_common(value, QOR_TYPE_NODE_VIEW, node);
    node.record.view.cycle =
        static_cast<uint32_t>(value.has("cycle") ? value.at("cycle").integer(0, uint32_maximum) : 0);
    const sdl_value objects = value.at("objects");
    for (size_t index = 0; index < objects.size(); ++index) {
        read_object(objects.at(index), node.children.emplace_back());
    }
    check_unique(objects, node.children);
}

} // namespace

std::vector<sdl_node> read_description(std::string_view text) {
    const json_document document(text);
    const sdl_value root(document.root(), "");
    root.check_keys({"$schema", "sdl", "comment", "views"});
    root.at("sdl").integer(language_version, language_version);
    for (const char* const key : {"$schema", "comment"}) {
        if (const auto text = root.find(key)) {
            text->text();
        }
    }
    const sdl_value views = root.at("views");
    std::vector<sdl_node> nodes;
    for (size_t index = 0; index < views.size(); ++index) {
        read_view(views.at(index), nodes.emplace_back());
    }
    check_unique(views, nodes);
    return nodes;
}

} // namespace sdl_parser
