#include "plugins/signal_storage/schema.hpp"

#include <string>

namespace qor::storage {

namespace {

// A node's id is (description id << 32) + its number in the order of adding. Its position is the same for the order
// in which a reader walks the tree, parents first: below a node stand the positions up to `last`. Both are equal when
// a parser adds depth first, so that only other nodes need the index from id to position. A view has depth 1.
//
// The column "presence" of an object has its group_ids.
//
// Columns without a type keep doubles as they are: a REAL column would make 0.0 of -0.0.
constexpr const char* tables_sql = R"sql(
CREATE TABLE description (
    id           INTEGER PRIMARY KEY,
    signature    TEXT    NOT NULL UNIQUE,
    name         TEXT    NOT NULL,
    context_type INTEGER NOT NULL,
    content_size INTEGER NOT NULL,
    node_count   INTEGER NOT NULL,
    view_count   INTEGER NOT NULL
);
CREATE TABLE node (
    position       INTEGER PRIMARY KEY,
    id             INTEGER NOT NULL,
    last           INTEGER NOT NULL,
    depth          INTEGER NOT NULL,
    child_count    INTEGER NOT NULL,
    parent         INTEGER NOT NULL,
    kind           INTEGER NOT NULL,
    name           TEXT    NOT NULL,
    comment        TEXT,
    cycle          INTEGER,
    address        INTEGER,
    flags          INTEGER,
    offset         INTEGER,
    element_count  INTEGER,
    element_size   INTEGER,
    bit_offset     INTEGER,
    bit_length     INTEGER,
    raw_kind       INTEGER,
    converted_kind INTEGER,
    encoding       INTEGER,
    byte_order     INTEGER,
    multiplexing   INTEGER,
    presence       TEXT,
    numerator_x2,
    numerator_x1,
    numerator_x0,
    denominator_x2,
    denominator_x1,
    denominator_x0,
    minimum,
    maximum,
    unit           TEXT,
    value_table    TEXT,
    suffix         TEXT
);
CREATE UNIQUE INDEX node_by_id ON node (id) WHERE id <> position;
CREATE TABLE node_path_hash (
    hash     INTEGER NOT NULL,
    node     INTEGER NOT NULL,
    position INTEGER NOT NULL,
    PRIMARY KEY (hash, node)
) WITHOUT ROWID;
CREATE TABLE description_text (
    description INTEGER PRIMARY KEY,
    texts       TEXT    NOT NULL
);
CREATE VIEW node_text AS
    SELECT (d.description << 32) + json_extract(t.value, '$[0]') AS node,
           json_extract(t.value, '$[1]') AS key, json_extract(t.value, '$[2]') AS text
    FROM description_text AS d, json_each(d.texts) AS t;
CREATE VIEW node_path AS
    SELECT n.id AS node, n.id >> 32 AS description,
           (WITH RECURSIVE up (parent, path) AS (
                SELECT n.parent, n.name
                UNION ALL
                SELECT m.parent, m.name || '.' || up.path
                FROM up JOIN node AS m ON m.position = coalesce(
                    (SELECT x.position FROM node AS x WHERE x.id = up.parent AND x.id <> x.position), up.parent)
                WHERE up.parent <> 0)
            SELECT path FROM up WHERE parent = 0) AS path
    FROM node AS n;
)sql";

bool is_empty(database& database) {
    return database.query_integer("SELECT count(*) FROM sqlite_schema") == 0;
}

bool is_unmarked(database& database) {
    return database.query_integer("PRAGMA application_id") == 0 && database.query_integer("PRAGMA user_version") == 0;
}

void create_tables(database& database) {
    transaction writing(database);
    // Another process may have done it since the first look.
    if (is_unmarked(database) && is_empty(database)) {
        database.execute(tables_sql);
        database.execute(("PRAGMA application_id = " + std::to_string(application_id)).c_str());
        database.execute(("PRAGMA user_version = " + std::to_string(schema_version)).c_str());
    }
    writing.commit();
}

void check_marks(database& database) {
    if (database.query_integer("PRAGMA application_id") != application_id) {
        database.fail("the file is a database of another application");
    }
    const std::int64_t version = database.query_integer("PRAGMA user_version");
    if (version > schema_version) {
        database.fail("the file has schema version " + std::to_string(version) +
                      ", this program knows versions up to " + std::to_string(schema_version));
    }
    if (version != schema_version ||
        database.query_integer("SELECT count(*) FROM sqlite_schema WHERE type = 'table' AND name IN "
                               "('description', 'node', 'node_path_hash', 'description_text')") != 4) {
        database.fail("the file is damaged: tables of the catalogue are missing");
    }
}

} // namespace

void prepare_schema(database& database) {
    if (is_unmarked(database) && is_empty(database)) {
        if (database.read_only()) {
            database.fail("there is no catalogue, and the storage is opened for reading only");
        }
        create_tables(database);
    }
    check_marks(database);
}

} // namespace qor::storage
