#include "plugins/dbc_parser/dbc_model.hpp"

#include "qorcpp/fnv.hpp"

namespace dbc_parser {

namespace {

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

dbc_signal* dbc_file::find_signal(uint64_t written_id, std::string_view name) {
    const auto found = signal_index_.find({written_id, name});
    return found != signal_index_.end() ? &messages[found->second.first].signals[found->second.second] : nullptr;
}

dbc_signal* dbc_file::find_signal_of(size_t message, std::string_view name) {
    const auto found = signal_index_.find({messages[message].written_id, name});
    const bool is_there = found != signal_index_.end() && found->second.first == message;
    return is_there ? &messages[message].signals[found->second.second] : nullptr;
}

void dbc_file::index_message(size_t message) {
    const uint64_t key = messages[message].written_id;
    if (!message_index_.try_emplace(key, message).second) {
        further_messages_[key].places.push_back(message);
    }
}

void dbc_file::index_signal(size_t message, size_t signal) {
    const signal_key key{messages[message].written_id, messages[message].signals[signal].name};
    if (!signal_index_.try_emplace(key, message, signal).second) {
        further_signals_[key].places.emplace_back(message, signal);
    }
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
