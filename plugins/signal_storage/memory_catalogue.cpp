#include "plugins/signal_storage/memory_catalogue.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "plugins/signal_storage/node_id.hpp"
#include "plugins/signal_storage/open_options.hpp"
#include "qorcpp/fnv.hpp"

namespace qor::storage {

namespace {

using node_reference = memory_catalogue::node_reference;

// The names that SQLite's own memory file system shares.
bool is_shared(std::string_view name) noexcept {
    return name.size() > 1 && (name.front() == '/' || name.front() == '\\');
}

// Whether the names of the node and those above it make up the path, compared from the last one upwards.
bool has_path(node_reference place, std::string_view path) {
    for (;;) {
        const std::string_view name = place.node().name;
        if (!path.ends_with(name)) {
            return false;
        }
        path.remove_suffix(name.size());
        place.number = place.node().parent;
        if (place.number == 0) {
            return path.empty();
        }
        if (!path.ends_with('.')) {
            return false;
        }
        path.remove_suffix(1);
    }
}

node_reference find_path(const memory_description& description, std::string_view path, std::uint64_t hash) {
    auto entry = std::lower_bound(description.paths.begin(), description.paths.end(), std::pair(hash, 0U));
    for (; entry != description.paths.end() && entry->first == hash; ++entry) {
        if (const node_reference place{&description, entry->second}; has_path(place, path)) {
            return place;
        }
    }
    return {nullptr, 0};
}

node_sequence children_of(node_reference parent) {
    node_sequence sequence(parent.node().child_count);
    node_reference child{parent.description, parent.node().first_child};
    for (std::uint64_t i = 0; child.number != 0; child.number = child.node().next_sibling) {
        sequence.put(i++, child.record());
    }
    return sequence;
}

// The numbers of all below and including the node, parents before what is below them.
std::vector<std::uint32_t> walk(node_reference top) {
    std::vector<std::uint32_t> numbers;
    const pending_nodes& nodes = top.description->content->nodes();
    for (std::uint32_t at = top.number;;) {
        numbers.push_back(at);
        if (nodes[at].first_child != 0) {
            at = nodes[at].first_child;
            continue;
        }
        while (at != top.number && nodes[at].next_sibling == 0) {
            at = nodes[at].parent;
        }
        if (at == top.number) {
            return numbers;
        }
        at = nodes[at].next_sibling;
    }
}

} // namespace

memory_catalogue::memory_catalogue(std::unique_ptr<database> connection, bool must_exist)
    : connection_(std::move(connection)) {
    const bool must_be_there = must_exist || read_only();
    if (is_shared(connection_->name())) {
        descriptions_ = memory_descriptions::of_name(connection_->name(), must_be_there);
    } else if (!must_be_there) {
        descriptions_ = std::make_shared<memory_descriptions>();
    }
    if (descriptions_ == nullptr) {
        fail(no_catalogue_text(must_exist));
    }
}

const pending_node& memory_catalogue::node_reference::node() const noexcept {
    return description->content->nodes()[number];
}

qor_type_node_t memory_catalogue::node_reference::record() const noexcept {
    return make_record(node(), description->id, number);
}

memory_catalogue::node_reference memory_catalogue::find(std::uint64_t node_id) const {
    const std::uint64_t number = node_number(node_id);
    const memory_description* const found = descriptions_->find(description_of(node_id));
    if (found == nullptr || number == 0 || number >= found->content->nodes().size()) {
        fail_node(node_id);
    }
    return {found, static_cast<std::uint32_t>(number)};
}

owned_node memory_catalogue::find_node(std::uint64_t description_id, std::string_view path) {
    const std::uint64_t hash = fnv1a(path);
    node_reference found{nullptr, 0};
    if (description_id != 0) {
        const memory_description* const description = descriptions_->find(description_id);
        found = description != nullptr ? find_path(*description, path, hash) : found;
    } else {
        for (auto* at = descriptions_->after(0); at != nullptr && !found.description;
             at = descriptions_->after(at->id)) {
            found = find_path(*at, path, hash);
        }
    }
    if (found.description == nullptr) {
        fail_path(description_id, path);
    }
    return clone(found.record());
}

std::size_t memory_catalogue::find_first(std::span<const std::uint64_t> description_ids, std::string_view path) {
    const std::uint64_t hash = fnv1a(path);
    const std::vector<std::uint32_t> candidates = descriptions_->candidates(hash);
    const auto has_it = [&](std::uint64_t id) {
        return std::binary_search(candidates.begin(), candidates.end(), id) &&
               find_path(*descriptions_->find(id), path, hash).description != nullptr;
    };
    const auto found = std::find_if(description_ids.begin(), description_ids.end(), has_it);
    return static_cast<std::size_t>(found - description_ids.begin());
}

node_sequence memory_catalogue::roots(std::uint64_t description_id) {
    const memory_description* const found = descriptions_->find(description_id);
    if (found == nullptr) {
        fail_description(description_id);
    }
    return children_of({found, 0});
}

node_sequence memory_catalogue::children(std::uint64_t node_id) {
    return children_of(find(node_id));
}

node_sequence memory_catalogue::hierarchy(std::uint64_t node_id) {
    node_reference place = find(node_id);
    node_sequence sequence(place.node().depth);
    for (; place.number != 0; place.number = place.node().parent) {
        sequence.put(place.node().depth - 1, place.record());
    }
    return sequence;
}

node_sequence memory_catalogue::subtree(std::uint64_t node_id) {
    node_reference place = find(node_id);
    const std::vector<std::uint32_t> numbers = walk(place);
    node_sequence sequence(numbers.size());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        place.number = numbers[i];
        sequence.put(i, place.record());
    }
    return sequence;
}

std::string memory_catalogue::signature(std::uint64_t description_id) {
    const memory_description* const found = descriptions_->find(description_id);
    if (found == nullptr) {
        fail_description(description_id);
    }
    return found->identity.signature;
}

std::optional<std::uint64_t> memory_catalogue::find_description(std::string_view signature) {
    const memory_description* const found = descriptions_->find(signature);
    return found != nullptr ? std::optional(found->id) : std::nullopt;
}

std::uint64_t memory_catalogue::put(const description_identity& identity,
                                    const std::shared_ptr<const pending_description>& content, std::uint64_t other) {
    std::uint64_t id = content->number();
    for (;;) {
        if (const auto result = descriptions_->insert(id, identity, content)) {
            return *result;
        }
        id = free_number(other);
    }
}

std::uint64_t memory_catalogue::highest_description_id() {
    return descriptions_->highest_id();
}

bool memory_catalogue::has_description(std::uint64_t description_id) {
    return descriptions_->find(description_id) != nullptr;
}

} // namespace qor::storage
