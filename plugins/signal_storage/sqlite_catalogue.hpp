// The questions that the catalogue answers.
#ifndef PLUGINS_SIGNAL_STORAGE_CATALOGUE_READER_HPP
#define PLUGINS_SIGNAL_STORAGE_CATALOGUE_READER_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "plugins/signal_storage/node_row.hpp"
#include "plugins/signal_storage/node_sequence.hpp"
#include "plugins/signal_storage/statement.hpp"

namespace qor::storage {

// Throws, all of it: std::invalid_argument that names the path, id or signature that is not there; what
// database::fail throws.
// Thread: one at a time.
class catalogue_reader {
public:
    explicit catalogue_reader(database& owner);

    // The caller owns the node. Description 0: the lowest id that has the path. Of equal paths in one description the
    // one that was added first.
    qor_type_node_t* find_node(std::uint64_t description_id, std::string_view path);

    node_sequence roots(std::uint64_t description_id);
    node_sequence children(std::uint64_t node_id);
    node_sequence hierarchy(std::uint64_t node_id);
    node_sequence subtree(std::uint64_t node_id);

    std::string signature(std::uint64_t description_id);
    std::uint64_t description_id(std::string_view signature);

    // Empty when there is no such description.
    std::optional<std::uint64_t> find_description(std::string_view signature);
    bool has_description(std::uint64_t description_id);

private:
    class snapshot;

    bool seek(execution& row, std::uint64_t node_id);
    bool has_path(const qor_type_node_t& node, std::string_view path);
    node_sequence siblings(std::uint64_t first_position, std::uint64_t count);
    void check_count(std::uint64_t first_position, std::uint64_t last_position, std::uint64_t count);
    [[noreturn]] void fail_node(std::uint64_t node_id) const;
    [[noreturn]] void fail_path(std::uint64_t description_id, std::string_view path);
    [[noreturn]] void fail_damaged(std::uint64_t position) const;

    database& database_;
    statement begin_;
    statement end_;
    statement by_path_;
    statement by_position_;
    statement range_;
    statement range_count_;
    statement link_;
    statement moved_;
    statement description_;
    statement by_signature_;
};

} // namespace qor::storage

#endif
