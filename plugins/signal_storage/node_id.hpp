// How the id of a node is made: the id of its description in the high 32 bits, its number below, counted from 1 in the
// order of adding. So the nodes of a description are one range, and ids grow with descriptions.
#ifndef PLUGINS_SIGNAL_STORAGE_NODE_ID_HPP
#define PLUGINS_SIGNAL_STORAGE_NODE_ID_HPP

#include <cstdint>

namespace qor::storage {

// So that a node's id is never negative for SQLite.
inline constexpr std::uint64_t max_description_id = 0x7fffffff;

constexpr std::uint64_t make_node_id(std::uint64_t description_id, std::uint64_t number) noexcept {
    return (description_id << 32) + number;
}

constexpr std::uint64_t description_of(std::uint64_t node_id) noexcept {
    return node_id >> 32;
}

constexpr std::uint64_t node_number(std::uint64_t node_id) noexcept {
    return node_id & 0xffffffff;
}

} // namespace qor::storage

#endif
