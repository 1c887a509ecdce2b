#include "plugins/signal_storage/schema.hpp"

#include <string>

#include "plugins/signal_storage/checked_row.hpp"
#include "plugins/signal_storage/description_row.hpp"
#include "plugins/signal_storage/node_row.hpp"
#include "plugins/signal_storage/open_options.hpp"
#include "plugins/signal_storage/path_bucket.hpp"

namespace qor::storage {

namespace {

constexpr std::int64_t version_without_digests = 1;

constexpr const char* other_tables_sql = R"sql(
CREATE TABLE catalogue (
    description_count INTEGER NOT NULL
);
INSERT INTO catalogue VALUES (0);
CREATE UNIQUE INDEX node_by_id ON node (id) WHERE id <> position;
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

// A node's id is (description id << 32) + its number in the order of adding. Its position is the same for the order
// in which a reader walks the tree, parents first: below a node are the positions up to `last`. Both are equal when a
// parser adds depth first, so that only other nodes need the index from id to position.
std::string tables_sql() {
    return create_table_sql("description", columns_of<description_row>()) + ";\n" +
           create_table_sql("node", columns_of<node_row>()) + ";\n" +
           create_table_sql("path_bucket", columns_of<path_bucket_row>()) + ";\n" + other_tables_sql;
}

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
        database.execute(tables_sql().c_str());
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
                      ", this program reads versions up to " + std::to_string(schema_version));
    }
    if (version == version_without_digests) {
        database.fail("the file has schema version 1, which has no digests that show damage; register its descriptions "
                      "into a new catalogue");
    }
    if (version != schema_version ||
        database.query_integer("SELECT count(*) FROM sqlite_schema WHERE type = 'table' AND name IN "
                               "('catalogue', 'description', 'node', 'path_bucket', 'description_text')") != 5) {
        database.fail("the file is damaged: tables of the catalogue are missing");
    }
}

} // namespace

void prepare_schema(database& database, bool must_exist) {
    if (is_unmarked(database) && is_empty(database)) {
        if (must_exist || database.read_only()) {
            database.fail(no_catalogue_text(must_exist));
        }
        create_tables(database);
    }
    check_marks(database);
}

} // namespace qor::storage
