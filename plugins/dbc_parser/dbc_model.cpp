#include "plugins/dbc_parser/dbc_model.hpp"

#include "qorcpp/fnv.hpp"

namespace dbc_parser {

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
    message_index_.try_emplace(messages[message].written_id, message);
}

void dbc_file::index_signal(size_t message, size_t signal) {
    signal_index_.try_emplace({messages[message].written_id, messages[message].signals[signal].name}, message, signal);
}

} // namespace dbc_parser
