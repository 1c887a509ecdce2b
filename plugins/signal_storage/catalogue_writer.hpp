// Writes a whole description into the tables.
#ifndef PLUGINS_SIGNAL_STORAGE_CATALOGUE_WRITER_HPP
#define PLUGINS_SIGNAL_STORAGE_CATALOGUE_WRITER_HPP

#include <cstdint>
#include <vector>

#include "plugins/signal_storage/description_identity.hpp"
#include "plugins/signal_storage/digest.hpp"
#include "plugins/signal_storage/pending_description.hpp"
#include "plugins/signal_storage/statement.hpp"

namespace qor::storage {

class catalogue_writer {
public:
    explicit catalogue_writer(database& owner);

    // Inserts the description with this id, all its nodes and texts.
    // Requires: a transaction; the id is free. Throws: what database::fail throws; the caller then rolls back.
    void write(const description_identity& identity, std::uint64_t description_id, const pending_description& content);

private:
    struct tree;

    void write_nodes(std::uint64_t description_id, const pending_description& content, const tree& tree,
                     const std::vector<row_digest>& hashes, row_digest seal);
    void write_paths(std::uint64_t description_id, const pending_description& content,
                     const std::vector<std::uint32_t>& positions, row_digest seal);
    void write_texts(std::uint64_t description_id, const pending_description& content);

    statement insert_description_;
    statement insert_node_;
    statement insert_path_bucket_;
    statement insert_text_;
    statement count_description_;
};

} // namespace qor::storage

#endif
