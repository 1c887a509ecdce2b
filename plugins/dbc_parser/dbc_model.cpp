#include "plugins/dbc_parser/dbc_model.hpp"

#include <algorithm>

#include "qorcpp/fnv.hpp"

namespace dbc_parser {

namespace {

constexpr size_t smallest_index = 64;

// The first without a long name gets it: `first`, then its namesakes.
template<typename Named, typename Map, typename Access>
void name_next(Named& first, Map& namesakes_by_key, const typename Map::key_type& key, std::string_view long_name,
               const Access& access) {
    const auto found = namesakes_by_key.find(key);
    if (found == namesakes_by_key.end() || first.long_name.empty()) {
        first.long_name = long_name;
        return;
    }
    auto& [places, named_count] = found->second;
    const Named& last = named_count == 0 ? first : access(places[named_count - 1]);
    if (last.long_name != long_name && named_count < places.size()) { // else a line that joined files repeat
        access(places[named_count++]).long_name = long_name;
    }
}

} // namespace

const dbc_multiplexing& dbc_signal::multiplexing() const noexcept {
    static const dbc_multiplexing none;
    return own_multiplexing != nullptr ? *own_multiplexing : none;
}

dbc_multiplexing& dbc_signal::make_multiplexing() {
    if (own_multiplexing == nullptr) {
        own_multiplexing = std::make_unique<dbc_multiplexing>();
    }
    return *own_multiplexing;
}

size_t dbc_file::signal_key_hash::operator()(const signal_key& key) const noexcept {
    return qor::fnv1a(key.name, qor::fnv1a_integer(key.written_id));
}

// The standard library's own hash of a number is the number, and ids with one remainder are easy to choose.
size_t dbc_file::id_hash::operator()(uint64_t written_id) const noexcept {
    return qor::fnv1a_integer(written_id);
}

dbc_message* dbc_file::find_message(uint64_t written_id) {
    const auto found = message_index_.find(written_id);
    return found != message_index_.end() ? &messages[found->second] : nullptr;
}

dbc_file::signal_key dbc_file::key_of(const signal_slot& slot) const noexcept {
    const dbc_message& message = messages[slot.message];
    return {message.written_id, message.signals[slot.signal].name};
}

const dbc_file::signal_slot& dbc_file::slot_of(const signal_key& key) const noexcept {
    const size_t mask = signal_index_.size() - 1;
    size_t at = signal_key_hash()(key) & mask;
    while (signal_index_[at].message != signal_slot::none && key_of(signal_index_[at]) != key) {
        at = (at + 1) & mask;
    }
    return signal_index_[at];
}

dbc_file::signal_slot& dbc_file::slot_of(const signal_key& key) noexcept {
    return const_cast<signal_slot&>(std::as_const(*this).slot_of(key));
}

void dbc_file::grow_signal_index() {
    const std::vector<signal_slot> old = std::exchange(
        signal_index_, std::vector<signal_slot>(std::max<size_t>(smallest_index, 2 * signal_index_.size())));
    for (const signal_slot& slot : old) {
        if (slot.message != signal_slot::none) {
            slot_of(key_of(slot)) = slot;
        }
    }
}

dbc_signal* dbc_file::find_signal(uint64_t written_id, std::string_view name) {
    if (signal_index_.empty()) {
        return nullptr;
    }
    const signal_slot slot = slot_of({written_id, name});
    return slot.message != signal_slot::none ? &messages[slot.message].signals[slot.signal] : nullptr;
}

dbc_signal* dbc_file::find_signal_of(size_t message, std::string_view name) {
    if (signal_index_.empty()) {
        return nullptr;
    }
    const signal_slot slot = slot_of({messages[message].written_id, name});
    return slot.message == message ? &messages[message].signals[slot.signal] : nullptr;
}

void dbc_file::index_message(size_t message) {
    const uint64_t key = messages[message].written_id;
    if (!message_index_.try_emplace(key, message).second) {
        further_messages_[key].places.push_back(message);
    }
}

void dbc_file::index_signal(size_t message, size_t signal) {
    const signal_key key{messages[message].written_id, messages[message].signals[signal].name};
    if (4 * indexed_signals_ >= 3 * signal_index_.size()) {
        grow_signal_index();
    }
    signal_slot& slot = slot_of(key);
    if (slot.message != signal_slot::none) {
        further_signals_[key].places.emplace_back(message, signal);
        return;
    }
    slot = {static_cast<uint32_t>(message), static_cast<uint32_t>(signal)};
    ++indexed_signals_;
}

void dbc_file::drop_indexes() {
    message_index_ = {};
    further_messages_ = {};
    signal_index_ = {};
    indexed_signals_ = 0;
    further_signals_ = {};
}

void dbc_file::set_long_name(uint64_t written_id, std::string_view long_name) {
    name_next(*find_message(written_id), further_messages_, written_id, long_name,
              [this](size_t message) -> dbc_message& { return messages[message]; });
}

void dbc_file::set_long_name(uint64_t written_id, std::string_view signal, std::string_view long_name) {
    name_next(*find_signal(written_id, signal), further_signals_, signal_key{written_id, signal}, long_name,
              [this](const signal_place& place) -> dbc_signal& { return messages[place.first].signals[place.second]; });
}

} // namespace dbc_parser
