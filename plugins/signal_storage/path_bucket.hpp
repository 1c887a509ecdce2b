// The table `path_bucket`: which nodes of a description may have a path.
//
// It is a hash table. A description of n nodes has n / 16 + 1 buckets, each a row, also when it is empty. A path with
// the FNV-1a hash h is in bucket h % count, as an entry of eight bytes: the high half of h, then the number of the
// node's position, low bytes first. Entries are ordered by hash, those of equal paths in the order of adding.
//
// Example: of 40 nodes, 3 buckets. "CAN.Speed" has the hash 0x99C23F4B5819FD4C, which is 0 modulo 3; at position 5 of
// description 1 it is the entry 4B 3F C2 99 05 00 00 00 of the row with the id 0x100000000.
//
// Why no index of SQLite: one row, checked by its digest, shows which nodes have the path, that none was lost, and
// that a path is not there. And these are a sixteenth of the rows to insert.
#ifndef PLUGINS_SIGNAL_STORAGE_PATH_BUCKET_HPP
#define PLUGINS_SIGNAL_STORAGE_PATH_BUCKET_HPP

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "plugins/signal_storage/pending_description.hpp"

namespace qor::storage {

struct path_bucket_row {
    std::uint64_t id = 0; // as of a node: the description's in the high half, below it the bucket's number from 0
    std::span<const std::uint8_t> entries;

    // The columns of the table, see checked_row.hpp.
    template<typename Row, typename Visitor>
    static void visit_columns(Row& row, Visitor&& visit) {
        visit("id", "INTEGER PRIMARY KEY", &row.id);
        visit("entries", "BLOB NOT NULL", &row.entries);
    }
};

std::uint64_t path_bucket_count(std::uint64_t node_count) noexcept;
std::uint64_t path_bucket_of(std::uint64_t path_hash, std::uint64_t node_count) noexcept;

// What the entries of a bucket are.
class path_entries {
public:
    explicit path_entries(std::span<const std::uint8_t> bytes) noexcept : bytes_(bytes) {}

    std::size_t count() const noexcept { return bytes_.size() / size; }
    // The high half.
    std::uint32_t hash(std::size_t index) const noexcept;
    bool has_hash(std::size_t index, std::uint64_t path_hash) const noexcept;
    std::uint32_t position(std::size_t index) const noexcept;

    static constexpr std::size_t size = 8;

private:
    std::span<const std::uint8_t> bytes_;
};

// The entries of all buckets. `positions` gives the number of a node's position by the node's number.
std::vector<std::vector<std::uint8_t>> make_path_buckets(const pending_nodes& nodes,
                                                         std::span<const std::uint32_t> positions);

} // namespace qor::storage

#endif
