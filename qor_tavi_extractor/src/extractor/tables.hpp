// The records of an extractor's tables, and how the tables are hashed.
#ifndef QOR_TAVI_EXTRACTOR_TABLES_HPP
#define QOR_TAVI_EXTRACTOR_TABLES_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "qorc/extensibility/package.h"
#include "qorcpp/fnv.hpp"
#include "runtime/tavi/data_matcher_proxy.hpp"
#include "runtime/tavi/data_processor_proxy.hpp"

namespace qor::tavi::detail {

struct source_record {
    uint64_t key;
    uint16_t source_id;
    uint32_t instance;
    std::string name;
    // Without duplicates, in order of first registration.
    std::vector<uint64_t> description_ids;
};

struct subscription_record {
    uint64_t handle;
    uint64_t source_key;
    // Extent of the last level in bytes.
    uint64_t size;
    // The catalogue node that the URL resolved to.
    uint64_t node;
    uint16_t source_id;
    uint32_t instance;
    // As the host gave it.
    std::string url;
    std::string schema;
};

struct bound_processor {
    std::string format;
    std::unique_ptr<runtime::tavi::data_processor_proxy> proxy;
};

// Where packages of one source and format go: what all tables say of them, so that a stream of packages asks the tables
// once. Points into the tables; forgotten when one of them changes.
struct package_route {
    // The packages' first bytes, up to the end of the format; what stands behind the format's zero is part of it, so
    // that packages of one format may have several routes, but never the other way round.
    static constexpr size_t header_size = offsetof(qor_package_t, payload_size);
    std::array<unsigned char, header_size> header{};
    bool is_set = false;
    // Null when nobody registered the source; the rest is null then, too.
    const std::vector<uint64_t>* handles = nullptr;
    // Null when there is none.
    const runtime::tavi::data_matcher_proxy* matcher = nullptr;
    const std::vector<bound_processor>* processors = nullptr;

    bool is_of(const qor_package_t& package) const noexcept {
        const auto* const bytes = reinterpret_cast<const unsigned char*>(&package);
        uint64_t difference = is_set ? 0 : 1;
        for (const size_t at : {0, 8, 16, 24, 32, 40, 47}) { // the last two overlap
            uint64_t ours;
            uint64_t theirs;
            std::memcpy(&ours, header.data() + at, sizeof(ours));
            std::memcpy(&theirs, bytes + at, sizeof(theirs));
            difference |= ours ^ theirs;
        }
        return difference == 0;
    }
};
static_assert(package_route::header_size == 55);

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

// Empties a table and takes it back to the buckets that it began with.
template<typename Table>
void reset_table(Table& table) {
    table.clear();
    table.rehash(initial_bucket_count);
}

} // namespace qor::tavi::detail

#endif
