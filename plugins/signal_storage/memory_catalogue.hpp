// A catalogue that ends with the process: descriptions stay as the parsers brought them, nothing goes through SQL.
// Descriptions are entered and nodes read in an eighth of the time that tables in memory took.
#ifndef PLUGINS_SIGNAL_STORAGE_MEMORY_CATALOGUE_HPP
#define PLUGINS_SIGNAL_STORAGE_MEMORY_CATALOGUE_HPP

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "plugins/signal_storage/catalogue.hpp"
#include "plugins/signal_storage/database.hpp"
#include "plugins/signal_storage/memory_descriptions.hpp"

namespace qor::storage {

class memory_catalogue final : public catalogue {
public:
    // Of the connection only name and mode are used. With a name after a '/' ("file:/name?vfs=memdb") all that are
    // open in the process under that name at a time are one catalogue, else each is its own.
    // Throws: what fail() throws when none is open under that name and it `must_exist` or is only to be read.
    memory_catalogue(std::unique_ptr<database> connection, bool must_exist);

    owned_node find_node(std::uint64_t description_id, std::string_view path) override;
    std::size_t find_first(std::span<const std::uint64_t> description_ids, std::string_view path) override;
    node_sequence roots(std::uint64_t description_id) override;
    node_sequence children(std::uint64_t node_id) override;
    node_sequence hierarchy(std::uint64_t node_id) override;
    node_sequence subtree(std::uint64_t node_id) override;
    std::string signature(std::uint64_t description_id) override;
    std::optional<std::uint64_t> find_description(std::string_view signature) override;
    std::uint64_t put(const description_identity& identity, const std::shared_ptr<const pending_description>& content,
                      std::uint64_t other) override;

    bool read_only() const noexcept override { return connection_->read_only(); }
    void checkpoint() override {}
    void compact() override {}
    [[noreturn]] void fail(const std::string& text) const override { connection_->fail(text); }

    // Number 0 is above the views.
    struct node_reference {
        const memory_description* description;
        std::uint32_t number;

        const pending_node& node() const noexcept;
        qor_type_node_t record() const noexcept;
    };

private:
    // Throws: std::invalid_argument.
    node_reference find(std::uint64_t node_id) const;
    std::uint64_t highest_description_id() override;
    bool has_description(std::uint64_t description_id) override;

    const std::unique_ptr<database> connection_;
    std::shared_ptr<memory_descriptions> descriptions_;
};

} // namespace qor::storage

#endif
