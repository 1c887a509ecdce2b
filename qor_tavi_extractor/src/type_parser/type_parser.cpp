// One pass over the node list. A call of parse reads one structure: its head node, then the nodes whose parent the head
// is, going down by recursion for objects and groups.
#include "qor_tavi_extractor/src/type_parser/type_parser.hpp"

#include <stdexcept>
#include <unordered_map>
#include <utility>

#include "introspection/xtypes/annotation.hpp"
#include "introspection/xtypes/array_type.hpp"
#include "introspection/xtypes/primitive_type.hpp"
#include "introspection/xtypes/signal/make_signal_type.hpp"
#include "introspection/xtypes/string_type.hpp"
#include "qorc/text.hpp"
#include "qorcpp/node_layout.hpp"

namespace qor::tavi::detail {

namespace {

using namespace introspection::xtypes;
using extensibility::log::statement;

constexpr const wchar_t* parse_name = L"qor::tavi::detail::type_parser::parse";
constexpr const wchar_t* validate_name = L"qor::tavi::detail::type_parser::validate_member_name";

// A storage gone wrong could nest nodes without end; each level takes a frame of the stack.
constexpr unsigned deepest_nesting = 256;

std::string name_of(const qor_type_node_t& node) {
    return std::string(text_of(node.name));
}

bool is_structure(const qor_type_node_t& node) noexcept {
    return kind_of(node) == node_kind::object || kind_of(node) == node_kind::group;
}

// An array's node counts as one element while its structure is read.
class single_element {
public:
    // Requires: an object or a group.
    explicit single_element(qor_type_node_t& node) noexcept : count_(*element_count_of(node)), remembered_(count_) {
        count_ = 1;
    }
    single_element(const single_element&) = delete;
    single_element& operator=(const single_element&) = delete;
    ~single_element() { count_ = remembered_; }

    std::uint32_t remembered() const noexcept { return remembered_; }

private:
    std::uint32_t& count_;
    std::uint32_t remembered_;
};

// Throws the clash, or logs it with `lenient`. Requires: the structure has a member of that name.
void judge_clash(const type_parser::logger_pointer& logger, const struct_type& structure, const std::string& name,
                 std::uint64_t offset, bool lenient) {
    const bool same_offset = structure.member(name).offset == offset;
    const std::string message = same_offset ? "member names of aggregation types must be unique, it appears that '" +
                                                  structure.name() + "." + name + "' is added multiple times0"
                                            : "member names of aggregation types must be unique, '" + structure.name() +
                                                  "' already has a member with '" + name + "' name0";
    if (!lenient) {
        throw std::runtime_error(message);
    }
    if (const statement say{logger, QOR_LOG_LEVEL_WARNING, validate_name}) {
        say("Validate member: %s", message.c_str());
    }
}

// The proposed name and the first free number after `number`, which is left in `number`.
std::string free_member_name(const struct_type& structure, const std::string& proposed, std::uint64_t& number) {
    std::string name;
    do {
        name = proposed + "_" + std::to_string(++number);
    } while (structure.has_member(name));
    return name;
}

class structure_reader {
public:
    structure_reader(const type_parser::logger_pointer& logger, const qor_type_node_sequence_t& nodes,
                     std::uint64_t& index, bool lenient) noexcept
        : logger_(logger), nodes_(nodes), index_(index), lenient_(lenient) {}

    struct_type read(bool indexed, const struct_type* parent, unsigned depth);

private:
    // The structure under construction.
    struct frame {
        struct_type type;
        const qor_type_node_t& head;
        bool indexed;
        std::uint64_t expected_size = 0;
        // The head is the only member, rather than the structure itself.
        bool self_member = false;
        // By proposed name, the first number that may still be free: many members of one name cost no more than others.
        std::unordered_map<std::string, std::uint64_t> next_numbers = {};
    };

    void read_head(frame& frame);
    void read_member_structure(frame& frame, qor_type_node_t& node, unsigned depth);
    void read_member_signal(frame& frame, const qor_type_node_t& node);
    void add_member(frame& frame, const qor_type_node_t& node, const dynamic_type& type, std::uint64_t offset);
    std::shared_ptr<dynamic_type> make_signal(const qor_type_node_t& node) const;

    const type_parser::logger_pointer& logger_;
    const qor_type_node_sequence_t& nodes_;
    std::uint64_t& index_;
    bool lenient_;
};

void structure_reader::read_head(frame& frame) {
    const auto layout = layout_of_node(frame.head);
    if (!layout) {
        return;
    }
    const std::uint64_t size = layout->element_size;
    if (is_structure(frame.head)) {
        frame.self_member = layout->element_count != 1 && !frame.indexed;
        frame.expected_size = size * (frame.self_member ? layout->element_count : 1);
        index_ += frame.self_member ? 0 : 1;
    } else {
        frame.self_member = true;
        frame.expected_size = size * (frame.indexed ? 1 : layout->element_count);
    }
}

struct_type structure_reader::read(bool indexed, const struct_type* parent, unsigned depth) {
    if (index_ >= nodes_.count) {
        throw std::runtime_error("unexpected node list received for schema retrieval");
    }
    if (nodes_.nodes == nullptr) {
        throw std::invalid_argument("invalid node object state");
    }
    if (depth > deepest_nesting) {
        throw std::runtime_error("the nodes of '" + name_of(nodes_.nodes[0]) + "' are nested deeper than " +
                                 std::to_string(deepest_nesting) + " levels");
    }
    const qor_type_node_t& head = nodes_.nodes[index_];
    frame frame{struct_type((parent != nullptr ? parent->name() + "." : "") + name_of(head)), head, indexed};
    read_head(frame);
    while (index_ < nodes_.count) {
        qor_type_node_t& node = nodes_.nodes[index_];
        if (!frame.self_member && node.parent_id != head.id) {
            --index_; // the caller moves on over the last node of this structure
            frame.type.set_memory_size(frame.expected_size);
            break;
        }
        switch (kind_of(node)) {
        case node_kind::object:
        case node_kind::group:
            read_member_structure(frame, node, depth);
            break;
        case node_kind::signal:
            read_member_signal(frame, node);
            break;
        case node_kind::view:
            break;
        }
        ++index_;
    }
    if (frame.expected_size < frame.type.memory_size()) {
        if (const statement say{logger_, QOR_LOG_LEVEL_WARNING, parse_name}) {
            say("Truncating structure '%s' from size %lld to %lld bytes", frame.type.name().c_str(),
                static_cast<long long>(frame.type.memory_size()), static_cast<long long>(frame.expected_size));
        }
    }
    frame.type.set_memory_size(frame.expected_size);
    return std::move(frame.type);
}

void structure_reader::read_member_structure(frame& frame, qor_type_node_t& node, unsigned depth) {
    const single_element element(node);
    const struct_type structure = read(false, &frame.type, depth + 1);
    const std::uint64_t offset = frame.self_member ? 0 : layout_of_node(node)->offset;
    if (element.remembered() < 2) {
        add_member(frame, node, structure, offset);
    } else {
        add_member(frame, node, array_type(structure, element.remembered()), offset);
    }
}

void structure_reader::read_member_signal(frame& frame, const qor_type_node_t& node) {
    if (frame.type.has_member(name_of(node))) {
        if (frame.type.member(name_of(node)).offset != node.signal.offset) {
            throw std::runtime_error("type '" + frame.type.name() + "' already has a member '" + name_of(node) +
                                     "' with a different offset");
        }
        return; // the signal was listed twice
    }
    const auto signal = make_signal(node);
    const std::uint64_t offset = frame.self_member ? 0 : node.signal.offset;
    if (node.signal.element_count >= 2 && !frame.indexed) {
        add_member(frame, node, array_type(*signal, node.signal.element_count), offset);
    } else {
        add_member(frame, node, *signal, offset);
    }
}

void structure_reader::add_member(frame& frame, const qor_type_node_t& node, const dynamic_type& type,
                                  std::uint64_t offset) {
    std::string name = name_of(node);
    if (frame.type.has_member(name)) {
        judge_clash(logger_, frame.type, name, offset, lenient_);
        name = free_member_name(frame.type, name, frame.next_numbers[name]);
        if (const statement say{logger_, QOR_LOG_LEVEL_WARNING, parse_name}) {
            const std::string text = "Rename '" + frame.type.name() + "." + name_of(node) + "' to '" + name + "'" + "0";
            say("%s", text.c_str());
        }
    }
    try {
        frame.type.add_member_at(member_record(name, &type), offset, 0, true);
    } catch (const std::invalid_argument& fault) {
        if (!lenient_) {
            throw;
        }
        if (const statement say{logger_, QOR_LOG_LEVEL_WARNING, parse_name}) {
            say("%s", fault.what());
        }
        frame.type.add_member_at(member_record(name, &type), offset, 0, false);
    }
}

std::shared_ptr<dynamic_type> structure_reader::make_signal(const qor_type_node_t& node) const {
    const qor_signal_node_t& signal = node.signal;
    const type_kind converted{signal.converted_kind};
    const type_kind raw{signal.raw_kind != 0 ? signal.raw_kind : signal.converted_kind};
    signal_byte_order byte_order{signal.byte_order};
    if (find_signal_code(byte_order) == nullptr) {
        byte_order = signal_byte_order::little_endian;
    }
    const std::string suffix = signal.signal_suffix_length != 0 && signal.signal_suffix != nullptr
                                   ? std::string(signal.signal_suffix, signal.signal_suffix_length)
                                   : std::string();
    std::shared_ptr<dynamic_type> type;
    make_signal_type(converted, raw, type, byte_order, signal.bit_offset, signal.bit_length, signal.numerator_x2,
                     signal.numerator_x1, signal.numerator_x0, signal.denominator_x2, signal.denominator_x1,
                     signal.denominator_x0, suffix, signal_encoding{signal.encoding});
    if (!type) {
        throw std::runtime_error("failed to declare signal type '" + name_of(node) +
                                 "', a dynamic type was not returned");
    }
    return type;
}

} // namespace

std::uint64_t element_size_of(const qor_type_node_t* node) {
    if (node == nullptr) {
        throw std::invalid_argument("invalid node object state");
    }
    if (const auto layout = layout_of_node(*node)) {
        return layout->element_size;
    }
    if (kind_of(*node) == node_kind::view) {
        throw std::invalid_argument("size value is not supported for view type nodes");
    }
    throw std::runtime_error("unexpected node type " + std::to_string(node->kind));
}

struct_type type_parser::parse(const logger_pointer& logger, const qor_type_node_sequence_t& nodes,
                               std::uint64_t& index, bool indexed, const struct_type* parent, bool lenient) {
    return structure_reader(logger, nodes, index, lenient).read(indexed, parent, 0);
}

struct_type type_parser::parse_schema(const logger_pointer& logger, const url& url,
                                      const qor_type_node_sequence_t& hierarchy,
                                      const qor_type_node_sequence_t& subtree, bool lenient, bool annotate) {
    std::uint64_t index = 0;
    const bool indexed = url.size() != 0 && url.token(url.size() - 1).has_index();
    struct_type type = parse(logger, subtree, index, indexed, nullptr, lenient);
    if (!annotate) {
        return type;
    }
    std::string view;
    std::uint32_t cycle = 0;
    std::uint64_t address = 0;
    for (std::uint64_t level = 0; hierarchy.nodes != nullptr && level < hierarchy.count; ++level) {
        const qor_type_node_t& node = hierarchy.nodes[level];
        switch (kind_of(node)) {
        case node_kind::view:
            view = name_of(node);
            cycle = node.view.cycle;
            break;
        case node_kind::object:
            address = node.object.address;
            break;
        case node_kind::group:
        case node_kind::signal:
            address += layout_of_node(node)->offset;
            break;
        }
    }
    annotation_type measurement("measurement");
    measurement.add_parameter("view", string_type(0))
        .add_parameter("cycle", *primitive_type<std::uint32_t>::instance())
        .add_parameter("address", *primitive_type<std::uint64_t>::instance());
    applied_annotation applied(measurement);
    applied.apply_parameter("view", view).apply_parameter("cycle", cycle).apply_parameter("address", address);
    type.add_annotation(applied);
    return type;
}

std::string type_parser::validate_member_name(const logger_pointer& logger, const struct_type& structure,
                                              const std::string& name, std::uint64_t offset, bool lenient) {
    if (!structure.has_member(name)) {
        return name;
    }
    judge_clash(logger, structure, name, offset, lenient);
    std::uint64_t number = 0;
    return free_member_name(structure, name, number);
}

} // namespace qor::tavi::detail
