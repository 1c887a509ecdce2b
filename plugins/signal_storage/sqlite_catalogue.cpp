#include "plugins/signal_storage/sqlite_catalogue.hpp"

#include <limits>
#include <utility>

#include "plugins/signal_storage/node_id.hpp"
#include "plugins/signal_storage/schema.hpp"
#include "qorcpp/fnv.hpp"

namespace qor::storage {

// One consistent view of the file for all statements of a question, and one lock instead of one for each statement.
class sqlite_catalogue::snapshot {
public:
    explicit snapshot(sqlite_catalogue& owner) : owner_(owner) { execution(owner_.begin_).run(); }
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
    sqlite_catalogue& owner_;
};

sqlite_catalogue::sqlite_catalogue(std::unique_ptr<database> connection)
    : connection_(std::move(connection)), database_(*connection_), writer_(database_), begin_(database_, "BEGIN"),
      end_(database_, "COMMIT"),
      by_path_(database_,
               "SELECT " QOR_NODE_COLUMNS " FROM node_path_hash AS p JOIN node AS n ON n.position = p.position "
               "WHERE p.hash = ?1 AND p.node BETWEEN ?2 AND ?3 ORDER BY p.node"),
      by_position_(database_, "SELECT " QOR_NODE_COLUMNS " FROM node AS n WHERE n.position = ?1"),
      range_(database_,
             "SELECT " QOR_NODE_COLUMNS " FROM node AS n WHERE n.position BETWEEN ?1 AND ?2 ORDER BY n.position"),
      range_count_(database_, "SELECT count(*) FROM node WHERE position BETWEEN ?1 AND ?2"),
      link_(database_, "SELECT id, parent, name, position, child_count FROM node WHERE position = ?1"),
      moved_(database_, "SELECT position FROM node WHERE id = ?1 AND id <> position"),
      description_(database_, "SELECT signature, view_count, node_count FROM description WHERE id = ?1"),
      by_signature_(database_, "SELECT id FROM description WHERE signature = ?1"),
      highest_id_(database_, "SELECT max(id) FROM description") {
    prepare_schema(database_);
}

qor_type_node_t* sqlite_catalogue::find_node(std::uint64_t description_id, std::string_view path) {
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
                return clone(node);
            }
        }
    }
    fail_path(description_id, path);
}

// Puts `row`, a run by position whose first column is the id, at a node. Nearly all nodes stand where their id says.
bool sqlite_catalogue::seek(execution& row, std::uint64_t node_id) {
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
bool sqlite_catalogue::has_path(const qor_type_node_t& node, std::string_view path) {
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

void sqlite_catalogue::fail_damaged(std::uint64_t position) const {
    database_.fail("the file is damaged: node '" + std::to_string(position) + "' is missing or out of place");
}

// A count out of a damaged file must not make room for what was never there.
void sqlite_catalogue::check_count(std::uint64_t first_position, std::uint64_t last_position, std::uint64_t count) {
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
node_sequence sqlite_catalogue::siblings(std::uint64_t first_position, std::uint64_t count) {
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

node_sequence sqlite_catalogue::roots(std::uint64_t description_id) {
    const snapshot view(*this);
    execution row(description_);
    row.bind(1, description_id);
    if (!row.next()) {
        fail_description(description_id);
    }
    return siblings(make_node_id(description_id, 1), static_cast<std::uint64_t>(row.integer(1)));
}

node_sequence sqlite_catalogue::children(std::uint64_t node_id) {
    const snapshot view(*this);
    execution row(link_);
    if (!seek(row, node_id)) {
        fail_node(node_id);
    }
    return siblings(static_cast<std::uint64_t>(row.integer(3)) + 1, static_cast<std::uint64_t>(row.integer(4)));
}

node_sequence sqlite_catalogue::hierarchy(std::uint64_t node_id) {
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

node_sequence sqlite_catalogue::subtree(std::uint64_t node_id) {
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

std::string sqlite_catalogue::signature(std::uint64_t description_id) {
    execution row(description_);
    row.bind(1, description_id);
    if (!row.next()) {
        fail_description(description_id);
    }
    const char* const text = row.text(0);
    return text != nullptr ? text : "";
}

std::optional<std::uint64_t> sqlite_catalogue::find_description(std::string_view signature) {
    execution row(by_signature_);
    row.bind(1, signature);
    return row.next() ? std::optional(static_cast<std::uint64_t>(row.integer(0))) : std::nullopt;
}

bool sqlite_catalogue::has_description(std::uint64_t description_id) {
    execution row(description_);
    row.bind(1, description_id);
    return row.next();
}

std::uint64_t sqlite_catalogue::highest_description_id() {
    execution row(highest_id_);
    return row.next() ? static_cast<std::uint64_t>(row.integer(0)) : 0;
}

std::uint64_t sqlite_catalogue::put(const description_identity& identity,
                                    const std::shared_ptr<const pending_description>& content, std::uint64_t other) {
    transaction writing(database_);
    // Only from here on can no other process write.
    if (const auto present = find_description(identity.signature)) {
        return *present;
    }
    const std::uint64_t id = has_description(content->number()) ? free_number(other) : content->number();
    writer_.write(identity, id, *content);
    writing.commit();
    return id;
}

void sqlite_catalogue::checkpoint() {
    if (database_.read_only()) {
        return;
    }
    const int status =
        sqlite3_wal_checkpoint_v2(database_.handle(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    if (status != SQLITE_OK) {
        database_.fail(status);
    }
}

void sqlite_catalogue::compact() {
    {
        statement check(database_, "PRAGMA integrity_check(1)");
        execution row(check);
        const char* const text = row.next() ? row.text(0) : nullptr;
        if (text == nullptr || std::string_view(text) != "ok") {
            database_.fail(std::string("the file is damaged: ") + (text != nullptr ? text : "no answer to the check"));
        }
    }
    if (!database_.read_only()) {
        database_.execute("VACUUM");
    }
}

} // namespace qor::storage
