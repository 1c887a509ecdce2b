#include "plugins/signal_storage/memory_descriptions.hpp"

#include <algorithm>

namespace qor::storage {

namespace {

std::vector<std::pair<std::uint64_t, std::uint32_t>> sorted_paths(const pending_nodes& nodes) {
    std::vector<std::pair<std::uint64_t, std::uint32_t>> paths;
    paths.reserve(nodes.size());
    for (std::uint32_t number = 1; number < nodes.size(); ++number) {
        paths.emplace_back(nodes[number].path_hash, number);
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::vector<path_index::entry> index_entries(const memory_description& description) {
    std::vector<path_index::entry> entries;
    entries.reserve(description.paths.size());
    for (const auto& [hash, number] : description.paths) {
        entries.push_back({static_cast<std::uint32_t>(hash >> 32), static_cast<std::uint32_t>(description.id)});
    }
    return entries;
}

} // namespace

std::shared_ptr<memory_descriptions> memory_descriptions::of_name(const std::string& name, bool must_exist) {
    static std::mutex mutex;
    static std::map<std::string, std::weak_ptr<memory_descriptions>> by_name;
    const std::lock_guard lock(mutex);
    std::erase_if(by_name, [](const auto& entry) { return entry.second.expired(); });
    const auto found = by_name.find(name);
    auto held = found != by_name.end() ? found->second.lock() : nullptr;
    if (held == nullptr && !must_exist) {
        held = std::make_shared<memory_descriptions>();
        by_name[name] = held;
    }
    return held;
}

const memory_description* memory_descriptions::find(std::uint64_t id) const {
    const std::shared_lock lock(mutex_);
    const auto found = by_id_.find(id);
    return found != by_id_.end() ? &found->second : nullptr;
}

const memory_description* memory_descriptions::find(std::string_view signature) const {
    const std::shared_lock lock(mutex_);
    const auto found = by_signature_.find(signature);
    return found != by_signature_.end() ? found->second : nullptr;
}

const memory_description* memory_descriptions::after(std::uint64_t id) const {
    const std::shared_lock lock(mutex_);
    const auto found = by_id_.upper_bound(id);
    return found != by_id_.end() ? &found->second : nullptr;
}

std::uint64_t memory_descriptions::highest_id() const {
    const std::shared_lock lock(mutex_);
    return by_id_.empty() ? 0 : by_id_.rbegin()->first;
}

std::vector<std::uint32_t> memory_descriptions::candidates(std::uint64_t path_hash) {
    {
        const std::shared_lock lock(mutex_);
        if (indexed_ == in_order_.size()) {
            return index_.candidates(path_hash);
        }
    }
    const std::lock_guard lock(mutex_);
    for (; indexed_ < in_order_.size(); ++indexed_) {
        index_.add(index_entries(*in_order_[indexed_]));
    }
    return index_.candidates(path_hash);
}

std::optional<std::uint64_t> memory_descriptions::insert(std::uint64_t id, const description_identity& identity,
                                                         std::shared_ptr<const pending_description> content) {
    memory_description added{id, identity, std::move(content), {}};
    added.paths = sorted_paths(added.content->nodes());
    const std::lock_guard lock(mutex_);
    if (const auto present = by_signature_.find(identity.signature); present != by_signature_.end()) {
        return present->second->id;
    }
    const auto [place, is_new] = by_id_.try_emplace(id, std::move(added));
    if (!is_new) {
        return std::nullopt;
    }
    try {
        in_order_.push_back(&place->second);
        by_signature_.emplace(identity.signature, &place->second);
    } catch (...) { // out of memory
        std::erase(in_order_, &place->second);
        by_id_.erase(place);
        throw;
    }
    return id;
}

} // namespace qor::storage
