#include "plugins/signal_storage/storage.hpp"

#include <algorithm>

namespace qor::storage {

storage::storage(const std::string& uri, const open_options& options) : catalogue_(catalogue::open(uri, options)) {}

std::uint64_t storage::highest_open() const noexcept {
    std::uint64_t highest = 0;
    for (const auto& [signature, open] : open_numbers_) {
        highest = std::max<std::uint64_t>(highest, open.number);
    }
    return highest;
}

storage::reservation storage::reserve(const description_identity& identity) {
    const std::lock_guard lock(mutex_);
    const std::optional<std::uint64_t> present = catalogue_->find_description(identity.signature);
    if (!present && catalogue_->read_only()) {
        catalogue_->fail("description '" + identity.name +
                         "' is not there, and the storage is opened for reading only");
    }
    auto found = open_numbers_.find(identity.signature);
    if (found == open_numbers_.end()) {
        const std::uint32_t number =
            present ? static_cast<std::uint32_t>(*present) : catalogue_->free_number(highest_open());
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

std::uint64_t storage::commit(const description_identity& identity,
                              const std::shared_ptr<const pending_description>& content) {
    const std::lock_guard lock(mutex_);
    if (const auto present = catalogue_->find_description(identity.signature)) {
        return *present;
    }
    if (!content->kept()) {
        catalogue_->fail("description '" + identity.name + "' was removed while it was registered again");
    }
    return catalogue_->put(identity, content, highest_open());
}

} // namespace qor::storage
