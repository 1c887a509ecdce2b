// Writes a whole description into the tables.
#ifndef PLUGINS_SIGNAL_STORAGE_CATALOGUE_WRITER_HPP
#define PLUGINS_SIGNAL_STORAGE_CATALOGUE_WRITER_HPP

#include <cstdint>
#include <vector>

#include "plugins/signal_storage/description_identity.hpp"
#include "plugins/signal_storage/pending_description.hpp"
#include "plugins/signal_storage/statement.hpp"

namespace qor::storage {

class catalogue_writer {
public:
    // Where a node stands when the tree is walked depth first, counted from 1.
    struct position_range {
        std::uint32_t position;
        std::uint32_t last; // of the nodes below; the node's own when there are none
    };

    explicit catalogue_writer(database& owner);

    // Inserts the description with this id, all its nodes and texts.
    // Requires: a transaction; the id is free. Throws: what database::fail throws; the caller then rolls back.
    void write(const description_identity& identity, std::uint64_t description_id, const pending_description& content);

private:
    void write_description(const description_identity& identity, std::uint64_t description_id,
                           const pending_description& content);
    void write_nodes(std::uint64_t description_id, const pending_description& content);
    void write_paths(std::uint64_t description_id, const std::vector<pending_node>& nodes,
                     const std::vector<position_range>& ranges);
    void write_texts(std::uint64_t description_id, const pending_description& content);

    statement insert_description_;
    statement insert_node_;
    statement insert_path_;
    statement insert_text_;
};

} // namespace qor::storage

#endif
