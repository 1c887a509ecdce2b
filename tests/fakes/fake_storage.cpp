// A catalogue whose nodes are the test's; descriptions come and go without adding any.
#include <cstring>

#include "qorc/extensibility/signal_storage.h"
#include "tests/fakes/fake_plugin.hpp"

namespace tavi::fakes {

namespace {

using nodes = std::vector<qor_type_node_t>;

std::uint32_t not_found(const std::string& what, details error) {
    return qor_error_details_create(error, QOR_STATUS_INVALID_ARGUMENT, (what + " is not in the fake").c_str());
}

// ---- descriptions ---------------------------------------------------------------------------------------------------

struct description_context {
    fake_plugin& owner;
    std::string name;
    qor_signal_storage_context_t table{};
};

std::uint32_t commit(void* context, std::uint64_t* id, details error) {
    const auto& [owner, name, table] = *static_cast<description_context*>(context);
    return owner.perform("commit", name, error, [&, &owner = owner, &name = name] {
        auto& ids = owner.shared.description_ids;
        *id = ids.try_emplace(name, ids.size() + 1).first->second;
    });
}

std::uint32_t destroy_context(void* context, details error) {
    const auto& [owner, name, table] = *static_cast<description_context*>(context);
    --owner.shared.instances;
    return owner.perform("context_destroy", name, error, [] {});
}

std::uint32_t create_context(void* context, std::uint8_t type, const void* buffer, std::size_t size, const char* name,
                             qor_signal_storage_context_t** result, details error) {
    fake_plugin& self = fake_plugin::of(context);
    const std::string arguments = std::string(name) + " type=" + std::to_string(type) + " " + shown(buffer, size);
    return self.perform("create_context", arguments, error, [&] {
        const auto made = std::make_shared<description_context>(description_context{self, name});
        qor_signal_storage_context_t& table = made->table;
        const auto add = [](auto...) -> std::uint32_t { return QOR_STATUS_OK; };
        table.add_1 = add;
        table.add_1 = self.slot("add_1", table.add_1);
        table.add_2 = add;
        table.add_4 = add;
        table.commit = commit;
        table.destroy = self.slot("context_destroy", destroy_context);
        table.context = self.own.missing.contains("context_context") ? nullptr : made.get();
        self.contexts.push_back(made);
        // One that cannot be destroyed is not counted.
        self.shared.instances += table.destroy != nullptr && table.context != nullptr;
        *result = &table;
    });
}

// ---- queries --------------------------------------------------------------------------------------------------------

template<typename Test>
nodes where(const fake_plugin& self, Test test) {
    nodes list;
    std::ranges::copy_if(self.shared.nodes.nodes(), std::back_inserter(list), test);
    return list;
}

nodes path_to(const fake_plugin& self, std::uint64_t id) {
    const nodes found = where(self, [&](const qor_type_node_t& node) { return node.id == id; });
    nodes path = found.front().parent_id != 0 ? path_to(self, found.front().parent_id) : nodes();
    path.push_back(found.front());
    return path;
}

nodes children_of(const fake_plugin& self, std::uint64_t id) {
    return where(self, [&](const qor_type_node_t& node) { return node.parent_id == id; });
}

nodes subtree_of(const fake_plugin& self, std::uint64_t id) {
    nodes list = {path_to(self, id).back()};
    for (const qor_type_node_t& child : children_of(self, id)) {
        const nodes below = subtree_of(self, child.id);
        list.insert(list.end(), below.begin(), below.end());
    }
    return list;
}

nodes roots_of(const fake_plugin& self, std::uint64_t description) {
    return where(
        self, [&](const qor_type_node_t& node) { return node.parent_id == 0 && node.description_id == description; });
}

template<nodes (*List)(const fake_plugin&, std::uint64_t)>
std::uint32_t give(const char* function, void* context, std::uint64_t id, qor_type_node_sequence_t** result,
                   details error) {
    fake_plugin& self = fake_plugin::of(context);
    return self.perform(function, std::to_string(id), error, [&] {
        const nodes list = List(self, id);
        const std::size_t given = self.own.counts_only ? 0 : list.size();
        qor_memory_allocator_t* const allocator = qor_get_default_allocator();
        std::uint32_t status = qor_type_node_sequence_create(allocator, given, result, error);
        for (std::size_t i = 0; status == QOR_STATUS_OK && i < given; ++i) {
            status = qor_type_node_sequence_put(allocator, *result, i, &list[i], error);
        }
        if (status == QOR_STATUS_OK) {
            (*result)->count = self.own.count_of(function, list.size());
        }
        return status;
    });
}

std::uint32_t find_node(void* context, std::uint64_t description, const char* path, qor_type_node_t** result,
                        details error) {
    fake_plugin& self = fake_plugin::of(context);
    const std::string subject = std::to_string(description);
    return self.perform("find_node", subject + " " + path, error, [&]() -> std::uint32_t {
        for (const qor_type_node_t& node : self.shared.nodes.nodes()) {
            std::string own_path;
            for (const qor_type_node_t& level : path_to(self, node.id)) {
                own_path += (own_path.empty() ? "" : ".") + std::string(level.name);
            }
            if (own_path == path && (description == 0 || description == node.description_id)) {
                return qor_type_node_clone(qor_get_default_allocator(), &node, result, error);
            }
        }
        return not_found("path '" + std::string(path) + "' of description " + subject, error);
    });
}

std::uint32_t find_first(void* context, const std::uint64_t* ids, std::size_t count, const char* path,
                         std::size_t* index, details error) {
    fake_plugin& self = fake_plugin::of(context);
    std::string arguments;
    for (std::size_t i = 0; i < count; ++i) {
        arguments += std::to_string(ids[i]) + " ";
    }
    return self.perform("find_first", arguments + path, error,
                        [&] { *index = self.own.count_of("find_first", count); });
}

std::uint32_t get_node_children(void* context, const qor_type_node_t* node, qor_type_node_sequence_t** result,
                                details error) {
    return node == nullptr ? not_found("the null node", error)
                           : give<children_of>("get_node_children", context, node->id, result, error);
}

// ---- signatures and the rest ----------------------------------------------------------------------------------------

std::uint32_t get_signature(void* context, std::uint64_t description, char* buffer, std::size_t* size, details error) {
    fake_plugin& self = fake_plugin::of(context);
    const std::string subject = std::to_string(description);
    return self.perform("get_signature", subject + " room=" + std::to_string(*size), error, [&]() -> std::uint32_t {
        const auto& own = self.shared.signatures;
        const std::string text = own.contains(description) ? own.at(description) : "signature " + subject;
        const bool fits = *size > text.size();
        *size = self.own.count_of("get_signature", text.size() + 1);
        if (!fits) {
            return QOR_STATUS_BUFFER_TOO_SMALL;
        }
        std::memcpy(buffer, text.c_str(), text.size() + 1);
        return QOR_STATUS_OK;
    });
}

// Knows "signature 1" to "signature 9".
std::uint32_t get_description_id(void* context, const char* signature, std::uint64_t* id, details error) {
    const std::string text = signature;
    return fake_plugin::of(context).perform("get_description_id", text, error, [&]() -> std::uint32_t {
        if (!text.starts_with("signature ")) {
            return not_found("signature '" + text + "'", error);
        }
        *id = static_cast<std::uint64_t>(text.back() - '0');
        return QOR_STATUS_OK;
    });
}

std::uint32_t checkpoint(void* context, details error) {
    return fake_plugin::of(context).perform("checkpoint", "", error, [] {});
}

} // namespace

void become_storage(fake_plugin& self) {
    self.offer(qor_signal_storage_t{nullptr, self.slot("create_context", create_context), nullptr,
                                    self.slot("checkpoint", checkpoint), nullptr, &self});
    qor_signal_storage_access_t access{};
    access.find_node = find_node;
    access.get_root_nodes = [](auto... all) { return give<roots_of>("get_root_nodes", all...); };
    access.get_node_children = self.slot("get_node_children", get_node_children);
    access.get_node_hierarchy = [](auto... all) { return give<path_to>("get_node_hierarchy", all...); };
    access.get_node_subtree = [](auto... all) { return give<subtree_of>("get_node_subtree", all...); };
    access.get_signature = get_signature;
    access.get_description_id = get_description_id;
    access.context = &self;
    self.offer(access);
    self.offer(qor_signal_storage_maintenance_t{nullptr, &self});
    if (self.own.offers_search) {
        self.offer(qor_signal_storage_search_t{find_first, &self});
    }
}

} // namespace tavi::fakes
