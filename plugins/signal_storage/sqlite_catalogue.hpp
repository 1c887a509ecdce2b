// A catalogue in a file, on SQLite.
#ifndef PLUGINS_SIGNAL_STORAGE_SQLITE_CATALOGUE_HPP
#define PLUGINS_SIGNAL_STORAGE_SQLITE_CATALOGUE_HPP

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>

#include "plugins/signal_storage/catalogue.hpp"
#include "plugins/signal_storage/catalogue_writer.hpp"
#include "plugins/signal_storage/database.hpp"
#include "plugins/signal_storage/description_table.hpp"
#include "plugins/signal_storage/node_table.hpp"
#include "plugins/signal_storage/path_index.hpp"
#include "plugins/signal_storage/statement.hpp"

namespace qor::storage {

// Throws besides: what database::fail throws; std::runtime_error that names the description for one that is damaged.
class sqlite_catalogue final : public catalogue {
public:
    // Makes the tables where there are none, unless the catalogue `must_exist`.
    sqlite_catalogue(std::unique_ptr<database> connection, bool must_exist);

    owned_node find_node(std::uint64_t description_id, std::string_view path) override;
    std::size_t find_first(std::span<const std::uint64_t> description_ids, std::string_view path) override;
    node_sequence roots(std::uint64_t description_id) override;
    node_sequence children(std::uint64_t node_id) override;
    node_sequence hierarchy(std::uint64_t node_id) override;
    node_sequence subtree(std::uint64_t node_id) override;
    std::string signature(std::uint64_t description_id) override;
    std::optional<std::uint64_t> find_description(std::string_view signature) override;

    // On an error the same call may be made again.
    std::uint64_t put(const description_identity& identity, const std::shared_ptr<const pending_description>& content,
                      std::uint64_t other) override;

    bool read_only() const noexcept override { return database_.read_only(); }

    // Moves what is in a write-ahead log into the file; the journal that new files use leaves nothing to move.
    void checkpoint() override;

    // Throws: std::runtime_error that names the first damage that was found.
    void compact() override;

    [[noreturn]] void fail(const std::string& text) const override { database_.fail(text); }

private:
    class snapshot;

    std::uint64_t highest_description_id() override;
    bool has_description(std::uint64_t description_id) override;

    using node_question = std::optional<node_sequence> (node_table::*)(const stored_description& description,
                                                                       std::uint64_t node_id);
    const stored_description& open(std::uint64_t description_id);
    void index_paths(std::uint64_t description_id);
    node_sequence ask(node_question question, std::uint64_t node_id);

    const std::unique_ptr<database> connection_;
    database& database_;
    statement begin_;
    statement end_;
    bool in_snapshot_ = false;
    description_table descriptions_;
    node_table nodes_;
    catalogue_writer writer_;
    // Of the descriptions that were asked about together with others.
    path_index index_;
    std::unordered_set<std::uint64_t> indexed_;
    // Those whose paths cannot be read: a question that comes to one of them finds out whether that matters.
    std::set<std::uint64_t> unreadable_;
};

} // namespace qor::storage

#endif
