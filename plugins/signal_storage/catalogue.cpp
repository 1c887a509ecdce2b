#include "plugins/signal_storage/catalogue.hpp"

#include <algorithm>
#include <stdexcept>

#include "plugins/signal_storage/memory_catalogue.hpp"
#include "plugins/signal_storage/node_id.hpp"
#include "plugins/signal_storage/sqlite_catalogue.hpp"

namespace qor::storage {

// SQLite reads the URI in either case, so that both kinds take the same and refuse it with the same words.
std::unique_ptr<catalogue> catalogue::open(const std::string& uri, const open_options& options) {
    auto connection = std::make_unique<database>(uri, options);
    if (connection->in_memory()) {
        return std::make_unique<memory_catalogue>(std::move(connection), options.must_exist);
    }
    return std::make_unique<sqlite_catalogue>(std::move(connection), options.must_exist);
}

std::uint64_t catalogue::description_id(std::string_view signature) {
    const std::optional<std::uint64_t> id = find_description(signature);
    if (!id) {
        throw std::invalid_argument("signature '" + std::string(signature) + "' is not in the signal storage");
    }
    return *id;
}

std::uint32_t catalogue::free_number(std::uint64_t other) {
    const std::uint64_t highest = std::max(other, highest_description_id());
    if (highest >= max_description_id) {
        fail("the catalogue is full: there is no description id left");
    }
    return static_cast<std::uint32_t>(highest + 1);
}

void catalogue::fail_node(std::uint64_t node_id) {
    throw std::invalid_argument("node id '" + std::to_string(node_id) + "' is not in the signal storage");
}

void catalogue::fail_description(std::uint64_t description_id) {
    throw std::invalid_argument("description id '" + std::to_string(description_id) + "' is not in the signal storage");
}

void catalogue::fail_path(std::uint64_t description_id, std::string_view path) {
    const std::string text = "path '" + std::string(path) + "' was not found in the signal storage";
    if (description_id == 0) {
        throw std::invalid_argument(text);
    }
    const std::string id = std::to_string(description_id);
    if (!has_description(description_id)) {
        throw std::invalid_argument(text + ": there is no description id '" + id + "'");
    }
    throw std::invalid_argument("path '" + std::string(path) + "' was not found in description id '" + id +
                                "' of the signal storage");
}

} // namespace qor::storage
