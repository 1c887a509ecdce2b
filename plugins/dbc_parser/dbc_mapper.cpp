#include "plugins/dbc_parser/dbc_mapper.hpp"

#include <algorithm>
#include <deque>

#include "introspection/xtypes/type_kind.hpp"
#include "plugins/dbc_parser/dbc_names.hpp"
#include "plugins/dbc_parser/dbc_sections.hpp"
#include "plugins/dbc_parser/overlap.hpp"
#include "plugins/dbc_parser/text_encoding.hpp"
#include "qorc/text.hpp"
#include "qorcpp/signal_layout.hpp"

namespace dbc_parser {

namespace {

using qor::introspection::xtypes::type_kind;

constexpr const char* view_name = "CAN";

// Names messages, or the signals of one, and tells of those whose names changed.
template<typename Named, typename Label>
void settle_names(std::vector<Named>& siblings, std::deque<std::string>& changed_names, const Label& label,
                  const warning_sink& warn) {
    std::vector<std::string_view> names;
    names.reserve(siblings.size());
    for (const Named& named : siblings) {
        names.push_back(named.long_name.empty() ? named.name : named.long_name);
    }
    auto node_names = unique_node_names(names);
    for (size_t index = 0; index < siblings.size(); ++index) {
        std::string& name = node_names[index];
        if (name == names[index]) {
            siblings[index].node_name = names[index];
            continue;
        }
        // A digit in front is common and the leading '_' documented; anything else is worth a word.
        const bool only_digit = name.size() == names[index].size() + 1 && name.ends_with(names[index]);
        if (!only_digit) {
            warn(siblings[index].offset,
                 label(siblings[index]) + " is called " + quoted_name(name) + " in the catalogue");
        }
        siblings[index].node_name = changed_names.emplace_back(std::move(name));
    }
}

void settle_layout(dbc_message& message, const warning_sink& warn) {
    const uint32_t declared_size = message.size;
    for (const dbc_signal& signal : message.signals) {
        if (signal.bits.end() > declared_size && declared_size != 0) {
            warn(signal.offset, label_of(message, signal.name) + " ends after the message's " +
                                    std::to_string(declared_size) + " bytes");
        }
        message.size = std::max(message.size, signal.bits.end());
    }
    check_overlap(message, warn);
}

type_kind raw_kind_of(const dbc_signal& signal) noexcept {
    if (signal.type == value_type::float32) {
        return type_kind::float32;
    }
    if (signal.type == value_type::float64) {
        return type_kind::float64;
    }
    switch (qor::narrowest_integer_bits(signal.bits.bit_length)) {
    case 8:
        return signal.is_signed ? type_kind::int8 : type_kind::uint8;
    case 16:
        return signal.is_signed ? type_kind::int16 : type_kind::uint16;
    case 32:
        return signal.is_signed ? type_kind::int32 : type_kind::uint32;
    default:
        return signal.is_signed ? type_kind::int64 : type_kind::uint64;
    }
}

// Texts that records point to until the storage has copied them.
class text_room {
public:
    const char* keep(std::string text) { return text.empty() ? nullptr : texts_.emplace_back(std::move(text)).c_str(); }

private:
    std::deque<std::string> texts_;
};

qor_type_node_t node_of(const dbc_message& message, uint64_t view_id, text_room& texts) {
    qor_type_node_t node{};
    node.kind = QOR_TYPE_NODE_OBJECT;
    node.parent_id = view_id;
    node.name = texts.keep(std::string(message.node_name));
    node.comment = texts.keep(readable_text(message.comment));
    node.object.address = message.frame_id;
    node.object.flags =
        (message.parameter_group ? QOR_OBJECT_PARAMETER_GROUP : 0) | (message.id_alone ? QOR_OBJECT_ID_ALONE : 0);
    node.group_ids = message.group_ids.empty() ? nullptr : message.group_ids.c_str();
    node.object.element_count = 1;
    node.object.element_size = message.size;
    return node;
}

qor_type_node_t node_of(const dbc_signal& signal, uint64_t message_id, text_room& texts) {
    qor_type_node_t node{};
    node.kind = QOR_TYPE_NODE_SIGNAL;
    node.parent_id = message_id;
    node.name = texts.keep(std::string(signal.node_name));
    node.comment = texts.keep(readable_text(signal.comment));
    qor_signal_node_t& fields = node.signal;
    fields.offset = signal.bits.byte_offset;
    fields.bit_offset = signal.bits.bit_offset;
    fields.bit_length = signal.bits.bit_length;
    fields.element_size = signal.bits.byte_count;
    fields.element_count = 1;
    const type_kind raw = raw_kind_of(signal);
    const bool identity = signal.factor == 1.0 && signal.summand == 0.0;
    fields.raw_kind = static_cast<uint16_t>(raw);
    fields.converted_kind = static_cast<uint16_t>(identity ? raw : type_kind::float64);
    fields.byte_order = signal.bits.motorola ? QOR_BYTE_ORDER_INCONSISTENT_BIG_ENDIAN : QOR_BYTE_ORDER_LITTLE_ENDIAN;
    const std::string& presence = signal.multiplexing().presence;
    fields.multiplexing = static_cast<uint8_t>((signal.is_selector ? QOR_MULTIPLEXING_SELECTOR : 0) |
                                               (presence.empty() ? 0 : QOR_MULTIPLEXING_MULTIPLEXED));
    fields.presence = presence.empty() ? nullptr : presence.c_str();
    fields.numerator_x1 = signal.factor;
    fields.numerator_x0 = signal.summand;
    fields.denominator_x0 = 1.0;
    fields.minimum = signal.minimum;
    fields.maximum = signal.maximum;
    std::string unit = readable_text(signal.unit);
    fields.signal_suffix_length = unit.size();
    fields.unit = texts.keep(std::move(unit));
    fields.signal_suffix = fields.unit;
    const bool has_values = signal.value_table != nullptr && !signal.value_table->empty();
    fields.value_table = has_values ? signal.value_table->c_str() : nullptr;
    return node;
}

class file_writer {
public:
    explicit file_writer(qor::sdk::node_writer& catalogue) : catalogue_(catalogue) {}

    void write(dbc_file& file) {
        file.drop_indexes();
        text_room texts;
        qor_type_node_t view{};
        view.kind = QOR_TYPE_NODE_VIEW;
        view.name = view_name;
        // A line for the comment of every file that was joined.
        view.comment = texts.keep(qor::joined(file.comments, "\n", readable_text));
        const uint64_t view_id = catalogue_.add(view);
        std::vector<qor_type_node_t> objects;
        objects.reserve(file.messages.size());
        for (const dbc_message& message : file.messages) {
            objects.push_back(node_of(message, view_id, texts));
        }
        const auto object_ids = catalogue_.add(objects);
        for (size_t index = 0; index < file.messages.size(); ++index) {
            write_signals(file.messages[index], object_ids[index]);
            file.messages[index].signals = std::vector<dbc_signal>();
        }
        add_texts(0, file.attributes);
        if (!file.version.empty()) {
            add_text(0, "version", readable_text(file.version));
        }
    }

private:
    void write_signals(const dbc_message& message, uint64_t message_id) {
        text_room texts;
        std::vector<qor_type_node_t> nodes;
        nodes.reserve(message.signals.size());
        for (const dbc_signal& signal : message.signals) {
            nodes.push_back(node_of(signal, message_id, texts));
        }
        const auto ids = catalogue_.add(nodes);
        add_texts(message_id, message.attributes);
        for (size_t index = 0; index < ids.size(); ++index) {
            add_texts(ids[index], message.signals[index].attributes);
        }
    }

    void add_texts(uint64_t node_id, const std::vector<dbc_attribute>& attributes) {
        for (const dbc_attribute& attribute : attributes) {
            add_text(node_id, readable_text(attribute.key), readable_text(attribute.text));
        }
    }

    // Kept for people and tools; nothing is decoded by it.
    void add_text(uint64_t node_id, const std::string& key, const std::string& text) {
        if (!key.empty() && key != "comment") {
            catalogue_.add_text(node_id, key, text);
        }
    }

    qor::sdk::node_writer& catalogue_;
};

} // namespace

void settle_names_and_layout(dbc_file& file, const warning_sink& warn) {
    settle_names(
        file.messages, file.changed_names, [](const dbc_message& message) { return label_of(message); }, warn);
    for (dbc_message& message : file.messages) {
        const auto label = [&](const dbc_signal& signal) { return label_of(message, signal.name); };
        settle_names(message.signals, file.changed_names, label, warn);
        settle_layout(message, warn);
    }
}

void write_file(dbc_file& file, qor::sdk::node_writer& catalogue) {
    file_writer(catalogue).write(file);
}

} // namespace dbc_parser
