// The tables `node` and `path_bucket`: the nodes of descriptions, each checked as it is read.
//
// The digest of a row shows that it is what the commit wrote. Beyond that, no row is believed where the answer would
// have no end or no sense: on the way down ids rise, depths rise by one and positions stay within those of the node
// above. So there is no cycle, whatever the rows hold.
#ifndef PLUGINS_SIGNAL_STORAGE_NODE_TABLE_HPP
#define PLUGINS_SIGNAL_STORAGE_NODE_TABLE_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plugins/signal_storage/description_table.hpp"
#include "plugins/signal_storage/node_row.hpp"
#include "plugins/signal_storage/node_sequence.hpp"
#include "plugins/signal_storage/path_bucket.hpp"
#include "plugins/signal_storage/path_index.hpp"
#include "plugins/signal_storage/statement.hpp"

namespace qor::storage {

// What the nodes below a node are held against; depth 0 is a description.
struct node_above {
    std::uint64_t id; // 0 for a description
    std::uint64_t position;
    std::uint64_t last;
    std::uint64_t depth;
};

// Throws: std::runtime_error that names the description for a row that is missing, does not match its digest or is out
// of place; what database::fail throws; std::bad_alloc.
// Thread: as the database. Requires: calls that belong together are made in one transaction.
class node_table {
public:
    explicit node_table(database& owner);

    // The first that was added of those that have the path; null when none has it.
    owned_node find_path(const stored_description& description, std::string_view path);

    // The paths of all its nodes, for an index.
    std::vector<path_index::entry> paths(const stored_description& description);

    // These give nothing when the description never had a node of that id.
    std::optional<node_sequence> children(const stored_description& description, std::uint64_t node_id);
    std::optional<node_sequence> hierarchy(const stored_description& description, std::uint64_t node_id);
    std::optional<node_sequence> subtree(const stored_description& description, std::uint64_t node_id);

    node_sequence roots(const stored_description& description);

    // Reads all rows of a description; gives the hashes of its nodes' rows in order of positions. Throws when a row is
    // damaged or lost.
    std::vector<row_digest> check(const stored_description& description);

private:
    class walk;

    node_row read(const execution& row, const stored_description& description) const;
    node_row at(execution& row, const stored_description& description, std::uint64_t position) const;
    owned_node copy_at(const stored_description& description, std::uint64_t position);
    std::optional<node_row> seek(execution& row, const stored_description& description, std::uint64_t node_id);
    path_entries read_bucket(execution& row, const stored_description& description, std::uint64_t bucket) const;
    node_row next_of(execution& row, const stored_description& description, walk& tree, std::uint64_t position) const;
    bool has_path(const stored_description& description, const qor_type_node_t& node, std::string_view path);
    node_sequence siblings(const stored_description& description, const node_above& above, std::uint64_t count);
    void check_count(const stored_description& description, std::uint64_t first_position, std::uint64_t last_position,
                     std::uint64_t count);
    void check_paths(const stored_description& description);
    [[noreturn]] void fail_missing(const stored_description& description, std::uint64_t node_id) const;

    database& database_;
    statement by_position_;
    statement range_;
    statement range_count_;
    statement moved_;
    statement bucket_;
};

} // namespace qor::storage

#endif
