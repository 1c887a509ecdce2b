#include "plugins/signal_storage/storage.hpp"

#include <algorithm>

#include "plugins/signal_storage/node_id.hpp"
#include "plugins/signal_storage/schema.hpp"

namespace qor::storage {

storage::storage(const std::string& uri, const open_options& options)
    : database_(uri, options), reader_(database_), writer_(database_) {
    prepare_schema(database_);
}

std::uint32_t storage::free_number() {
    std::uint64_t highest = writer_.highest_description_id();
    for (const auto& [signature, open] : open_numbers_) {
        highest = std::max<std::uint64_t>(highest, open.number);
    }
    if (highest >= max_description_id) {
        database_.fail("the catalogue is full: there is no description id left");
    }
    return static_cast<std::uint32_t>(highest + 1);
}

storage::reservation storage::reserve(const description_identity& identity) {
    const std::lock_guard lock(mutex_);
    const std::optional<std::uint64_t> present = reader_.find_description(identity.signature);
    if (!present && database_.read_only()) {
        database_.fail("description '" + identity.name + "' is not there, and the storage is opened for reading only");
    }
    auto found = open_numbers_.find(identity.signature);
    if (found == open_numbers_.end()) {
        const std::uint32_t number = present ? static_cast<std::uint32_t>(*present) : free_number();
        found = open_numbers_.emplace(identity.signature, open_number{number, 0}).first;
    }
    ++found->second.contexts;
    return {found->second.number, present.has_value()};
}

void storage::release(const std::string& signature) noexcept {
    const std::lock_guard lock(mutex_);
    const auto found = open_numbers_.find(signature);
    if (found != open_numbers_.end() && --found->second.contexts == 0) {
        open_numbers_.erase(found);
    }
}

std::uint64_t storage::commit(const description_identity& identity, const pending_description& content) {
    const std::lock_guard lock(mutex_);
    if (const auto present = reader_.find_description(identity.signature)) {
        return *present;
    }
    if (!content.kept()) {
        database_.fail("description '" + identity.name + "' was removed while it was registered again");
    }
    transaction writing(database_);
    // Only from here on can no other process write.
    if (const auto present = reader_.find_description(identity.signature)) {
        return *present;
    }
    std::uint64_t id = content.number();
    if (reader_.has_description(id)) {
        id = free_number();
    }
    writer_.write(identity, id, content);
    writing.commit();
    return id;
}

void storage::checkpoint() {
    const std::lock_guard lock(mutex_);
    if (database_.in_memory() || database_.read_only()) {
        return;
    }
    const int status =
        sqlite3_wal_checkpoint_v2(database_.handle(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    if (status != SQLITE_OK) {
        database_.fail(status);
    }
}

void storage::compact() {
    const std::lock_guard lock(mutex_);
    {
        statement check(database_, "PRAGMA integrity_check(1)");
        execution row(check);
        const char* const text = row.next() ? row.text(0) : nullptr;
        if (text == nullptr || std::string_view(text) != "ok") {
            database_.fail(std::string("the file is damaged: ") + (text != nullptr ? text : "no answer to the check"));
        }
    }
    if (!database_.read_only()) {
        database_.execute("VACUUM");
    }
}

} // namespace qor::storage
