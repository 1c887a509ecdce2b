#include "plugins/signal_storage/node_table.hpp"

#include <utility>

#include "plugins/signal_storage/checked_row.hpp"
#include "plugins/signal_storage/node_id.hpp"
#include "plugins/signal_storage/path_bucket.hpp"
#include "qorcpp/fnv.hpp"

namespace qor::storage {

namespace {

std::string select_node_sql(const std::string& condition) {
    return select_sql("node", columns_of<node_row>(), condition);
}

node_above top_of(const stored_description& description) noexcept {
    return {0, make_node_id(description.id, 0), make_node_id(description.id, description.node_count), 0};
}

node_above as_above(const node_row& row) noexcept {
    return {row.node.id, row.place.position, row.place.last, row.place.depth};
}

bool is_child(const node_row& row, const node_above& above) noexcept {
    return row.node.parent_id == above.id && row.node.id > above.id && row.place.depth == above.depth + 1 &&
           row.place.position > above.position && row.place.last >= row.place.position && row.place.last <= above.last;
}

std::string name_of(std::uint64_t position) {
    return "node " + std::to_string(node_number(position)) + " of its tree ";
}

} // namespace

// Nodes in order of positions, each of which belongs below one that came before it.
class node_table::walk {
public:
    explicit walk(const node_above& top) : above_{top} {}

    // False for a node that has no place there.
    bool accept(const node_row& row) {
        while (!above_.empty() && above_.back().last < row.place.position) {
            above_.pop_back();
        }
        if (above_.empty() || !is_child(row, above_.back())) {
            return false;
        }
        if (row.place.last > row.place.position) {
            above_.push_back(as_above(row));
        }
        return true;
    }

private:
    std::vector<node_above> above_;
};

node_table::node_table(database& owner)
    : database_(owner), by_position_(owner, select_node_sql("WHERE position = ?1")),
      range_(owner, select_node_sql("WHERE position BETWEEN ?1 AND ?2 ORDER BY position")),
      range_count_(owner, "SELECT count(*) FROM node WHERE position BETWEEN ?1 AND ?2"),
      moved_(owner, "SELECT position FROM node WHERE id = ?1 AND id <> position"),
      bucket_(owner, select_sql("path_bucket", columns_of<path_bucket_row>(), "WHERE id = ?1")) {}

void node_table::fail_missing(const stored_description& description, std::uint64_t node_id) const {
    fail_damaged(database_, description, "node id '" + std::to_string(node_id) + "' is missing or out of place");
}

// Texts point into `row`: valid until its next step.
node_row node_table::read(const execution& row, const stored_description& description) const {
    node_row read;
    const bool matches = read_row(row, read, description.seal);
    qor_type_node_t& node = read.node;
    if (!matches || node.name == nullptr || node.kind < QOR_TYPE_NODE_VIEW || node.kind > QOR_TYPE_NODE_SIGNAL ||
        description_of(node.id) != description.id) {
        fail_damaged(database_, description, name_of(read.place.position) + "does not match its digest");
    }
    node.description_id = description.id;
    node.signal.signal_suffix = read.suffix.data();
    node.signal.signal_suffix_length = read.suffix.size();
    return read;
}

node_row node_table::at(execution& row, const stored_description& description, std::uint64_t position) const {
    row.reset();
    row.bind(1, position);
    if (!row.next()) {
        fail_damaged(database_, description, name_of(position) + "is missing");
    }
    return read(row, description);
}

owned_node node_table::copy_at(const stored_description& description, std::uint64_t position) {
    execution row(by_position_);
    return clone(at(row, description, position).node);
}

// Some nodes are at the position that their id says; the others are in the index node_by_id.
std::optional<node_row> node_table::seek(execution& row, const stored_description& description, std::uint64_t node_id) {
    if (node_number(node_id) == 0 || node_number(node_id) > description.node_count) {
        return std::nullopt;
    }
    row.reset();
    row.bind(1, node_id);
    if (row.next() && static_cast<std::uint64_t>(row.integer(node_row::id_column)) == node_id) {
        return read(row, description);
    }
    execution moved(moved_);
    moved.bind(1, node_id);
    if (moved.next()) {
        const node_row found = at(row, description, static_cast<std::uint64_t>(moved.integer(0)));
        if (found.node.id == node_id) {
            return found;
        }
    }
    fail_missing(description, node_id);
}

// Whether the names of the node and those above it make up the path, compared from the last level upwards.
bool node_table::has_path(const stored_description& description, const qor_type_node_t& node, std::string_view path) {
    std::string_view name = node.name;
    std::uint64_t parent = node.parent_id;
    execution row(by_position_);
    while (path.ends_with(name)) {
        path.remove_suffix(name.size());
        if (parent == 0) {
            return path.empty();
        }
        if (!path.ends_with('.')) {
            return false;
        }
        path.remove_suffix(1);
        const std::optional<node_row> above = seek(row, description, parent);
        if (!above) {
            fail_missing(description, parent);
        }
        name = above->node.name;
        parent = above->node.parent_id;
    }
    return false;
}

// The entries point into `row`: valid until its next step.
path_entries node_table::read_bucket(execution& row, const stored_description& description,
                                     std::uint64_t bucket) const {
    row.bind(1, make_node_id(description.id, bucket));
    path_bucket_row read;
    if (!row.next() || !read_row(row, read, description.seal)) {
        fail_damaged(database_, description, "its table of paths does not match its digest");
    }
    return path_entries(read.entries);
}

owned_node node_table::find_path(const stored_description& description, std::string_view path) {
    const std::uint64_t hash = fnv1a(path);
    execution bucket(bucket_);
    const path_entries entries = read_bucket(bucket, description, path_bucket_of(hash, description.node_count));
    for (std::size_t i = 0; i < entries.count(); ++i) {
        if (!entries.has_hash(i, hash)) {
            continue;
        }
        owned_node found = copy_at(description, make_node_id(description.id, entries.position(i)));
        if (has_path(description, *found, path)) { // else: another path of the same hash
            return found;
        }
    }
    return nullptr;
}

std::vector<path_index::entry> node_table::paths(const stored_description& description) {
    std::vector<path_index::entry> paths;
    execution row(bucket_);
    for (std::uint64_t bucket = 0; bucket < path_bucket_count(description.node_count); ++bucket) {
        row.reset();
        const path_entries entries = read_bucket(row, description, bucket);
        for (std::size_t i = 0; i < entries.count(); ++i) {
            paths.push_back({entries.hash(i), static_cast<std::uint32_t>(description.id)});
        }
    }
    return paths;
}

// A count out of a damaged file must not allocate space for what was never there.
void node_table::check_count(const stored_description& description, std::uint64_t first_position,
                             std::uint64_t last_position, std::uint64_t count) {
    constexpr std::uint64_t harmless = 4096;
    if (count <= harmless) {
        return;
    }
    execution row(range_count_);
    row.bind(1, first_position);
    row.bind(2, last_position);
    if (!row.next() || static_cast<std::uint64_t>(row.integer(0)) < count) {
        fail_damaged(database_, description, "nodes are missing");
    }
}

// The nodes of one level: each comes right after all that is below the one before it.
node_sequence node_table::siblings(const stored_description& description, const node_above& above,
                                   std::uint64_t count) {
    check_count(description, above.position, above.last, count);
    node_sequence nodes(count);
    std::uint64_t position = above.position;
    for (std::uint64_t i = 0; i < count; ++i) {
        execution row(by_position_);
        const node_row found = at(row, description, position + 1);
        if (!is_child(found, above)) {
            fail_missing(description, found.node.id);
        }
        nodes.put(i, found.node);
        position = found.place.last;
    }
    if (position != above.last) {
        fail_damaged(database_, description, "nodes are missing");
    }
    return nodes;
}

node_sequence node_table::roots(const stored_description& description) {
    return siblings(description, top_of(description), description.view_count);
}

std::optional<node_sequence> node_table::children(const stored_description& description, std::uint64_t node_id) {
    node_place place;
    {
        execution row(by_position_);
        const std::optional<node_row> found = seek(row, description, node_id);
        if (!found) {
            return std::nullopt;
        }
        place = found->place;
    }
    return siblings(description, {node_id, place.position, place.last, place.depth}, place.child_count);
}

std::optional<node_sequence> node_table::hierarchy(const stored_description& description, std::uint64_t node_id) {
    execution row(by_position_);
    std::optional<node_row> found = seek(row, description, node_id);
    if (!found) {
        return std::nullopt;
    }
    check_count(description, make_node_id(description.id, 1), found->place.position, found->place.depth);
    node_sequence nodes(found->place.depth);
    for (std::uint64_t level = found->place.depth; level != 0; --level) {
        nodes.put(level - 1, found->node);
        const std::uint64_t parent = found->node.parent_id;
        if (found->place.depth != level || (level == 1) != (parent == 0)) {
            break;
        }
        if (level == 1) {
            return nodes;
        }
        found = seek(row, description, parent);
        if (!found) {
            break;
        }
    }
    fail_missing(description, node_id);
}

std::optional<node_sequence> node_table::subtree(const stored_description& description, std::uint64_t node_id) {
    node_place place;
    std::uint64_t parent = 0;
    {
        execution row(by_position_);
        const std::optional<node_row> found = seek(row, description, node_id);
        if (!found) {
            return std::nullopt;
        }
        place = found->place;
        parent = found->node.parent_id;
    }
    if (place.last < place.position) {
        fail_missing(description, node_id);
    }
    const std::uint64_t count = place.last - place.position + 1;
    check_count(description, place.position, place.last, count);
    node_sequence nodes(count);
    walk tree({parent, place.position - 1, place.last, place.depth - 1});
    execution row(range_);
    row.bind(1, place.position);
    row.bind(2, place.last);
    for (std::uint64_t i = 0; i < count; ++i) {
        nodes.put(i, next_of(row, description, tree, place.position + i).node);
    }
    return nodes;
}

// The node at `position`, which is the next of the rows.
node_row node_table::next_of(execution& row, const stored_description& description, walk& tree,
                             std::uint64_t position) const {
    if (!row.next()) {
        fail_damaged(database_, description, name_of(position) + "is missing");
    }
    const node_row found = read(row, description);
    if (found.place.position != position || !tree.accept(found)) {
        fail_missing(description, found.node.id);
    }
    return found;
}

std::vector<row_digest> node_table::check(const stored_description& description) {
    check_paths(description);
    const node_above top = top_of(description);
    check_count(description, top.position, top.last, description.node_count);
    std::vector<row_digest> hashes;
    walk tree(top);
    execution row(range_);
    row.bind(1, top.position + 1);
    row.bind(2, top.last);
    for (std::uint64_t position = top.position + 1; position <= top.last; ++position) {
        hashes.push_back(hash_row(next_of(row, description, tree, position)));
    }
    return hashes;
}

void node_table::check_paths(const stored_description& description) {
    std::uint64_t count = 0;
    for (std::uint64_t bucket = 0; bucket < path_bucket_count(description.node_count); ++bucket) {
        execution row(bucket_);
        count += read_bucket(row, description, bucket).count();
    }
    if (count != description.node_count) {
        fail_damaged(database_, description, "its table of paths lacks some");
    }
}

} // namespace qor::storage
