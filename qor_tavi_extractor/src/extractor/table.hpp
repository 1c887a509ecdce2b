// The hash tables of an extractor.
#ifndef QOR_TAVI_EXTRACTOR_TABLE_HPP
#define QOR_TAVI_EXTRACTOR_TABLE_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>

#include "qorcpp/fnv.hpp"

namespace qor::tavi::detail {

struct parser_key {
    // 0 for any source.
    uint16_t source_id_filter;
    std::string format;

    bool operator==(const parser_key&) const = default;
};

// FNV-1a over the bytes of the key. Texts are looked up without making a string of them.
struct table_hash {
    using is_transparent = void;

    size_t operator()(uint64_t key) const noexcept { return fnv1a_integer(key); }
    size_t operator()(std::string_view key) const noexcept { return fnv1a(key); }
    size_t operator()(const parser_key& key) const noexcept {
        return fnv1a(key.format, fnv1a_integer(key.source_id_filter));
    }
};

inline constexpr size_t initial_bucket_count = 8;

template<typename Key, typename Value>
using table = std::unordered_map<Key, Value, table_hash, std::equal_to<>>;

// Empties a table and takes it back to the buckets that it began with; without memory for these it keeps those it has.
template<typename Table>
void reset_table(Table& table) noexcept {
    table.clear();
    try {
        table.rehash(initial_bucket_count);
    } catch (const std::bad_alloc&) {
        return;
    }
}

// Makes the next insertion of a node succeed. Throws: std::bad_alloc, and the table is as it was.
template<typename Table>
void make_room(Table& table) {
    const size_t needed = table.size() + 1;
    if (static_cast<float>(needed) > static_cast<float>(table.bucket_count()) * table.max_load_factor()) {
        table.reserve(2 * needed);
    }
}

} // namespace qor::tavi::detail

#endif
