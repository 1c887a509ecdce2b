// A row of the table `description`.
#ifndef PLUGINS_SIGNAL_STORAGE_DESCRIPTION_ROW_HPP
#define PLUGINS_SIGNAL_STORAGE_DESCRIPTION_ROW_HPP

#include <cstdint>
#include <span>

namespace qor::storage {

struct description_row {
    std::uint64_t id = 0;
    const char* signature = nullptr;
    const char* name = nullptr;
    std::uint64_t context_type = 0;
    std::uint64_t content_size = 0;
    std::uint64_t node_count = 0;
    std::uint64_t view_count = 0;
    std::span<const std::uint8_t> digest;

    // The columns of the table, see checked_row.hpp.
    template<typename Row, typename Visitor>
    static void visit_columns(Row& row, Visitor&& visit) {
        visit("id", "INTEGER PRIMARY KEY", &row.id);
        visit("signature", "TEXT NOT NULL UNIQUE", &row.signature);
        visit("name", "TEXT NOT NULL", &row.name);
        visit("context_type", "INTEGER NOT NULL", &row.context_type);
        visit("content_size", "INTEGER NOT NULL", &row.content_size);
        visit("node_count", "INTEGER NOT NULL", &row.node_count);
        visit("view_count", "INTEGER NOT NULL", &row.view_count);
        visit("digest", "BLOB NOT NULL", &row.digest);
    }
};

} // namespace qor::storage

#endif
