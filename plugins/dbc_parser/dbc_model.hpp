// What a DBC says, as it was read: texts are views of the file, places are offsets in it.
#ifndef PLUGINS_DBC_PARSER_DBC_MODEL_HPP
#define PLUGINS_DBC_PARSER_DBC_MODEL_HPP

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "plugins/dbc_parser/bit_layout.hpp"

namespace dbc_parser {

// Values of a selector, first to last.
struct value_range {
    uint64_t first;
    uint64_t last;
};

enum class value_type : uint8_t { integer, float32, float64 };

struct dbc_attribute {
    std::string_view key;
    std::string_view text;
};

// When a signal is in its message. Few signals have one.
struct dbc_multiplexing {
    // Of "m3" or "m3M".
    std::optional<uint64_t> value;
    // From SG_MUL_VAL_: the selector's name, empty for none.
    std::string_view selector;
    std::vector<value_range> ranges;
    // In the form of the catalogue, once all is read.
    std::string presence;
};

// A file has up to a million of them: 192 bytes each.
struct dbc_signal {
    size_t offset = 0;
    std::string_view name;
    bit_layout bits;
    bool is_signed = false;
    bool is_selector = false; // "M", "m3M"
    value_type type = value_type::integer;
    double factor = 1.0;
    double summand = 0.0;
    double minimum = 0.0;
    double maximum = 0.0;
    std::string_view unit;
    std::string_view comment;
    // The name that an attribute gives instead of the shortened one; empty for none.
    std::string_view long_name;
    // Entries in the form of the catalogue; null for none. Signals that name one table share it.
    std::shared_ptr<const std::string> value_table;
    std::vector<dbc_attribute> attributes;
    // Null for a signal without.
    std::unique_ptr<dbc_multiplexing> own_multiplexing;
    // The name in the catalogue, once all is read: that of the file, or one of dbc_file::changed_names.
    std::string_view node_name;

    const dbc_multiplexing& multiplexing() const noexcept;
    dbc_multiplexing& make_multiplexing();
};

struct dbc_message {
    size_t offset = 0;
    // As written: bit 31 marks a 29-bit id.
    uint64_t written_id = 0;
    std::string_view name;
    // As it matches frames, bit 31 set for 29-bit ids.
    uint32_t frame_id = 0;
    uint32_t size = 0;
    // Known by its parameter group in all packages; by its id alone in those of the format "j1939".
    bool parameter_group = false;
    bool id_alone = false;
    // Ids of other messages in its group, in the form of the catalogue.
    std::string group_ids;
    std::string_view comment;
    std::string_view long_name;
    std::vector<dbc_attribute> attributes;
    std::vector<dbc_signal> signals;
    std::string_view node_name; // as of a signal
};

// Told as they are met: offset and cause.
using warning_sink = std::function<void(size_t offset, const std::string& cause)>;

struct dbc_file {
    std::string_view version;
    std::vector<std::string_view> comments;
    std::vector<dbc_message> messages;
    std::vector<dbc_attribute> attributes;
    std::deque<std::string> changed_names;
    // Bytes that texts may still take which stand once in the file and many times in the catalogue.
    size_t room = 0;

    // The message of an id as written, of two the first; null for none.
    dbc_message* find_message(uint64_t written_id);
    // The signal of that name in any message of the id; null for none.
    dbc_signal* find_signal(uint64_t written_id, std::string_view name);
    // The same, null also when the first of that name and id stands in another message than this one.
    dbc_signal* find_signal_of(size_t message, std::string_view name);

    // Gives a long name to a message of the id, or to a signal of that name in one. Where several share the id or the
    // short name, each line of the file is for one of them, in their order; where there is one, the last line counts.
    // Requires: find_message or find_signal finds one.
    void set_long_name(uint64_t written_id, std::string_view long_name);
    void set_long_name(uint64_t written_id, std::string_view signal, std::string_view long_name);

    // To be told of each message and signal that was added.
    void index_message(size_t message);
    void index_signal(size_t message, size_t signal);

    // Nothing is found any more.
    void drop_indexes();

private:
    struct signal_key {
        uint64_t written_id;
        std::string_view name;
        bool operator==(const signal_key&) const = default;
    };
    // Where the first signal of a key is.
    struct signal_slot {
        static constexpr uint32_t none = UINT32_MAX;
        uint32_t message = none;
        uint32_t signal = 0;
    };
    struct signal_key_hash {
        size_t operator()(const signal_key& key) const noexcept;
    };

    struct id_hash {
        size_t operator()(uint64_t written_id) const noexcept;
    };

    // What shares its key with one that the index has.
    template<typename Place>
    struct namesakes {
        std::vector<Place> places;
        size_t named_count = 0; // the first of them have a long name
    };

    using signal_place = std::pair<size_t, size_t>; // message and signal

    std::unordered_map<uint64_t, size_t, id_hash> message_index_;
    std::unordered_map<uint64_t, namesakes<size_t>, id_hash> further_messages_;
    // The slot of the key, or the empty one that it gets. Requires: an empty slot.
    const signal_slot& slot_of(const signal_key& key) const noexcept;
    signal_slot& slot_of(const signal_key& key) noexcept;
    signal_key key_of(const signal_slot& slot) const noexcept;
    void grow_signal_index();

    // A hash table of 2^n slots without lists: a key is in the first slot from its hash on that others do not take. A
    // signal takes 11 to 21 bytes, a tenth of what it would take in a std::unordered_map.
    std::vector<signal_slot> signal_index_;
    size_t indexed_signals_ = 0;
    std::unordered_map<signal_key, namesakes<signal_place>, signal_key_hash> further_signals_;
};

} // namespace dbc_parser

#endif
