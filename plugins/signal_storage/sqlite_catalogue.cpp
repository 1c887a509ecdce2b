#include "plugins/signal_storage/catalogue_reader.hpp"

#include <limits>
#include <stdexcept>
#include <vector>

#include "plugins/signal_storage/node_id.hpp"
#include "qorcpp/fnv.hpp"

namespace qor::storage {

// One consistent view of the file for all statements of a question, and one lock instead of one for each statement.
// A database in memory has a single connection, which needs neither.
class catalogue_reader::snapshot {
public:
    explicit snapshot(catalogue_reader& owner) : owner_(owner) {
        if (!owner_.database_.in_memory()) {
            execution(owner_.begin_).run();
        }
    }
    ~snapshot() {
        try {
            if (sqlite3_get_autocommit(owner_.database_.handle()) == 0) {
                execution(owner_.end_).run();
            }
        } catch (...) {
            // The end of a transaction that wrote nothing has nothing to lose.
        }
    }
    snapshot(const snapshot&) = delete;
    snapshot& operator=(const snapshot&) = delete;

private:
    catalogue_reader& owner_;
};

catalogue_reader::catalogue_reader(database& owner)
    : database_(owner), begin_(owner, "BEGIN"), end_(owner, "COMMIT"),
      by_path_(owner, "SELECT " QOR_NODE_COLUMNS " FROM node_path_hash AS p JOIN node AS n ON n.position = p.position "
                      "WHERE p.hash = ?1 AND p.node BETWEEN ?2 AND ?3 ORDER BY p.node"),
      by_position_(owner, "SELECT " QOR_NODE_COLUMNS " FROM node AS n WHERE n.position = ?1"),
      range_(owner,
             "SELECT " QOR_NODE_COLUMNS " FROM node AS n WHERE n.position BETWEEN ?1 AND ?2 ORDER BY n.position"),
      range_count_(owner, "SELECT count(*) FROM node WHERE position BETWEEN ?1 AND ?2"),
      link_(owner, "SELECT id, parent, name, position, child_count FROM node WHERE position = ?1"),
      moved_(owner, "SELECT position FROM node WHERE id = ?1 AND id <> position"),
      description_(owner, "SELECT signature, view_count, node_count FROM description WHERE id = ?1"),
      by_signature_(owner, "SELECT id FROM description WHERE signature = ?1") {}

qor_type_node_t* catalogue_reader::find_node(std::uint64_t description_id, std::string_view path) {
    const snapshot view(*this);
    if (description_id <= max_description_id) {
        execution row(by_path_);
        row.bind(1, fnv1a(path));
        row.bind(2, make_node_id(description_id, 0));
        row.bind(3, description_id != 0 ? make_node_id(description_id, 0xffffffff)
                                        : static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()));
        while (row.next()) {
            const qor_type_node_t node = read_node_row(row, database_);
            if (has_path(node, path)) { // else: another path of the same hash
                qor_type_node_t* copy = nullptr;
                qor_error_details_t* details = nullptr;
                qor_type_node_clone(qor_get_default_allocator(), &node, &copy, &details);
                rethrow_details(details);
                return copy;
            }
        }
    }
    fail_path(description_id, path);
}

// Puts `row`, a run by position whose first column is the id, at a node. Nearly all nodes stand where their id says.
bool catalogue_reader::seek(execution& row, std::uint64_t node_id) {
    row.reset();
    row.bind(1, node_id);
    if (row.next() && static_cast<std::uint64_t>(row.integer(0)) == node_id) {
        return true;
    }
    execution moved(moved_);
    moved.bind(1, node_id);
    if (!moved.next()) {
        return false;
    }
    row.reset();
    row.bind(1, static_cast<std::uint64_t>(moved.integer(0)));
    return row.next();
}

// Whether the names of the node's ancestors make up the path, compared from the last level upwards.
bool catalogue_reader::has_path(const qor_type_node_t& node, std::string_view path) {
    std::string_view name = node.name;
    std::uint64_t parent = node.parent_id;
    execution row(link_);
    while (path.ends_with(name)) {
        path.remove_suffix(name.size());
        if (parent == 0) {
            return path.empty();
        }
        if (!path.ends_with('.')) {
            return false;
        }
        path.remove_suffix(1);
        if (!seek(row, parent)) {
            fail_damaged(parent);
        }
        const char* const text = row.text(2);
        name = text != nullptr ? text : "";
        parent = static_cast<std::uint64_t>(row.integer(1));
    }
    return false;
}

void catalogue_reader::fail_path(std::uint64_t description_id, std::string_view path) {
    const std::string text = "path '" + std::string(path) + "' was not found in the signal storage";
    if (description_id == 0) {
        throw std::invalid_argument(text);
    }
    const std::string id = std::to_string(description_id);
    if (!has_description(description_id)) {
        throw std::invalid_argument(text + ": there is no description id '" + id + "'");
    }
    throw std::invalid_argument("path '" + std::string(path) + "' was not found in description id '" + id +
                                "' of the signal storage");
}

void catalogue_reader::fail_damaged(std::uint64_t position) const {
    database_.fail("the file is damaged: node '" + std::to_string(position) + "' is missing or out of place");
}

void catalogue_reader::fail_node(std::uint64_t node_id) const {
    throw std::invalid_argument("node id '" + std::to_string(node_id) + "' is not in the signal storage");
}

// A count out of a damaged file must not make room for what was never there.
void catalogue_reader::check_count(std::uint64_t first_position, std::uint64_t last_position, std::uint64_t count) {
    constexpr std::uint64_t harmless = 4096;
    if (count <= harmless) {
        return;
    }
    execution row(range_count_);
    row.bind(1, first_position);
    row.bind(2, last_position);
    if (!row.next() || static_cast<std::uint64_t>(row.integer(0)) < count) {
        fail_damaged(first_position);
    }
}

// The nodes of one level from the first on: each stands right behind all that is below the one before it.
node_sequence catalogue_reader::siblings(std::uint64_t first_position, std::uint64_t count) {
    check_count(first_position, make_node_id(description_of(first_position), 0xffffffff), count);
    node_sequence nodes(count);
    std::uint64_t position = first_position;
    for (std::uint64_t i = 0; i < count; ++i) {
        execution row(by_position_);
        row.bind(1, position);
        if (!row.next()) {
            fail_damaged(position);
        }
        nodes.put(i, read_node_row(row, database_));
        position = read_node_place(row).last + 1;
    }
    return nodes;
}

node_sequence catalogue_reader::roots(std::uint64_t description_id) {
    const snapshot view(*this);
    execution row(description_);
    row.bind(1, description_id);
    if (!row.next()) {
        throw std::invalid_argument("description id '" + std::to_string(description_id) +
                                    "' is not in the signal storage");
    }
    return siblings(make_node_id(description_id, 1), static_cast<std::uint64_t>(row.integer(1)));
}

node_sequence catalogue_reader::children(std::uint64_t node_id) {
    const snapshot view(*this);
    execution row(link_);
    if (!seek(row, node_id)) {
        fail_node(node_id);
    }
    return siblings(static_cast<std::uint64_t>(row.integer(3)) + 1, static_cast<std::uint64_t>(row.integer(4)));
}

node_sequence catalogue_reader::hierarchy(std::uint64_t node_id) {
    const snapshot view(*this);
    execution row(by_position_);
    if (!seek(row, node_id)) {
        fail_node(node_id);
    }
    const node_place place = read_node_place(row);
    check_count(make_node_id(description_of(place.position), 1), place.position, place.depth);
    node_sequence nodes(place.depth);
    for (std::uint64_t level = place.depth; level != 0; --level) {
        const qor_type_node_t node = read_node_row(row, database_);
        nodes.put(level - 1, node);
        const std::uint64_t parent = node.parent_id;
        if (level == 1 && parent == 0) {
            return nodes;
        }
        if (parent == 0 || !seek(row, parent)) {
            break;
        }
    }
    fail_damaged(place.position);
}

node_sequence catalogue_reader::subtree(std::uint64_t node_id) {
    const snapshot view(*this);
    node_place place;
    {
        execution row(by_position_);
        if (!seek(row, node_id)) {
            fail_node(node_id);
        }
        place = read_node_place(row);
    }
    if (place.last < place.position) {
        fail_damaged(place.position);
    }
    const std::uint64_t count = place.last - place.position + 1;
    check_count(place.position, place.last, count);
    node_sequence nodes(count);
    execution row(range_);
    row.bind(1, place.position);
    row.bind(2, place.last);
    for (std::uint64_t i = 0; i < count; ++i) {
        if (!row.next()) {
            fail_damaged(place.position + i);
        }
        nodes.put(i, read_node_row(row, database_));
    }
    return nodes;
}

std::string catalogue_reader::signature(std::uint64_t description_id) {
    execution row(description_);
    row.bind(1, description_id);
    if (!row.next()) {
        throw std::invalid_argument("description id '" + std::to_string(description_id) +
                                    "' is not in the signal storage");
    }
    const char* const text = row.text(0);
    return text != nullptr ? text : "";
}

std::uint64_t catalogue_reader::description_id(std::string_view signature) {
    const std::optional<std::uint64_t> id = find_description(signature);
    if (!id) {
        throw std::invalid_argument("signature '" + std::string(signature) + "' is not in the signal storage");
    }
    return *id;
}

std::optional<std::uint64_t> catalogue_reader::find_description(std::string_view signature) {
    execution row(by_signature_);
    row.bind(1, signature);
    return row.next() ? std::optional(static_cast<std::uint64_t>(row.integer(0))) : std::nullopt;
}

bool catalogue_reader::has_description(std::uint64_t description_id) {
    execution row(description_);
    row.bind(1, description_id);
    return row.next();
}

} // namespace qor::storage
