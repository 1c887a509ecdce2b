// A catalogue in a file, on SQLite.
#ifndef PLUGINS_SIGNAL_STORAGE_SQLITE_CATALOGUE_HPP
#define PLUGINS_SIGNAL_STORAGE_SQLITE_CATALOGUE_HPP

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "plugins/signal_storage/catalogue.hpp"
#include "plugins/signal_storage/catalogue_writer.hpp"
#include "plugins/signal_storage/database.hpp"
#include "plugins/signal_storage/node_row.hpp"
#include "plugins/signal_storage/statement.hpp"

namespace qor::storage {

// Throws besides: what database::fail throws.
class sqlite_catalogue final : public catalogue {
public:
    // Makes the tables where there are none.
    explicit sqlite_catalogue(std::unique_ptr<database> connection);

    qor_type_node_t* find_node(std::uint64_t description_id, std::string_view path) override;
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

    // Moves what stands in a write-ahead log into the file; the journal that new files use leaves nothing behind.
    void checkpoint() override;

    // Throws: std::runtime_error that tells the first damage that was found.
    void compact() override;

    [[noreturn]] void fail(const std::string& text) const override { database_.fail(text); }

private:
    class snapshot;

    std::uint64_t highest_description_id() override;
    bool has_description(std::uint64_t description_id) override;

    bool seek(execution& row, std::uint64_t node_id);
    bool has_path(const qor_type_node_t& node, std::string_view path);
    node_sequence siblings(std::uint64_t first_position, std::uint64_t count);
    void check_count(std::uint64_t first_position, std::uint64_t last_position, std::uint64_t count);
    [[noreturn]] void fail_damaged(std::uint64_t position) const;

    const std::unique_ptr<database> connection_;
    database& database_;
    catalogue_writer writer_;
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
    statement highest_id_;
};

} // namespace qor::storage

#endif
