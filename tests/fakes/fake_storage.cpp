// A catalogue whose nodes are the test's; descriptions come and go without adding any.
#include <cstring>

#include "qorc/extensibility/signal_storage.h"
#include "tests/fakes/fake_plugin.hpp"

namespace tavi::fakes {

namespace {

using nodes = std::vector<const qor_type_node_t*>;

class storage;

struct description_context {
    storage& owner;
    std::string name;
    qor_signal_storage_context_t table;
};

std::uint32_t not_found(const std::string& what, qor_error_details_t** error) {
    return qor_error_details_create(error, QOR_STATUS_INVALID_ARGUMENT, (what + " is not in the fake").c_str());
}

class storage : public fake_plugin {
public:
    explicit storage(qor_service_locator_t* host_locator) : fake_plugin(host_locator) {
        offer(qor_signal_storage_t{nullptr, slot("create_context", create_context), nullptr,
                                   slot("checkpoint", checkpoint), nullptr, this});
        offer(qor_signal_storage_access_t{
            slot("find_node", find_node), nullptr, slot("get_root_nodes", get_root_nodes),
            slot("get_node_children", get_node_children), slot("get_node_hierarchy", get_node_hierarchy),
            slot("get_node_subtree", get_node_subtree), nullptr, nullptr, slot("get_signature", get_signature),
            slot("get_description_id", get_description_id), nullptr, nullptr, this});
        offer(qor_signal_storage_maintenance_t{nullptr, this});
    }

private:
    static storage& of(void* context) { return *static_cast<storage*>(context); }

    static std::uint32_t create_context(void* context, std::uint8_t type, const void* buffer, std::size_t size,
                                        const char* name, qor_signal_storage_context_t** result,
                                        qor_error_details_t** error) {
        storage& self = of(context);
        const std::string bytes(static_cast<const char*>(buffer), size);
        const std::string arguments = std::string(name) + " type=" + std::to_string(type) +
                                      (bytes == std::string(1, '\0') ? " zero byte" : " '" + bytes + "'");
        return self.perform("create_context", name, arguments, error, [&] {
            auto made = std::make_unique<description_context>(description_context{self, name, {}});
            qor_signal_storage_context_t& table = made->table;
            table.add_1 = self.slot("add_1", add_node);
            table.add_2 = self.slot("add_2", add_nodes);
            table.commit = self.slot("commit", commit);
            table.add_4 = self.slot("add_4", add_value_table);
            table.destroy = self.slot("context_destroy", destroy_context);
            table.context = self.own.missing.contains("context_context") ? nullptr : made.get();
            *result = &made->table;
            self.shared.instances += self.context_is_whole();
            self.open_contexts_.push_back(std::move(made));
            return QOR_STATUS_OK;
        });
    }
    // A context with a hole is nobody's to destroy, so it does not count.
    bool context_is_whole() const {
        const auto& missing = own.missing;
        return std::none_of(missing.begin(), missing.end(), [](const std::string& name) {
            return name.starts_with("add_") || name.starts_with("context_");
        });
    }
    static std::uint32_t add_node(void*, const qor_type_node_t*, std::uint64_t*, qor_error_details_t**) { return 0; }
    static std::uint32_t add_nodes(void*, const qor_type_node_t*, std::uint64_t, std::uint64_t*,
                                   qor_error_details_t**) {
        return 0;
    }
    static std::uint32_t add_value_table(void*, std::uint64_t, const char*, qor_error_details_t**) { return 0; }

    static std::uint32_t commit(void* context, std::uint64_t* id, qor_error_details_t** error) {
        auto& description = *static_cast<description_context*>(context);
        return description.owner.perform("commit", description.name, description.name, error, [&] {
            auto& ids = description.owner.shared.description_ids;
            *id = ids.try_emplace(description.name, ids.size() + 1).first->second;
            return QOR_STATUS_OK;
        });
    }
    static std::uint32_t destroy_context(void* context, qor_error_details_t** error) {
        auto& description = *static_cast<description_context*>(context);
        storage& self = description.owner;
        const std::string name = description.name;
        --self.shared.instances;
        std::erase_if(self.open_contexts_, [&](const auto& held) { return held.get() == &description; });
        return self.perform("context_destroy", name, name, error, [] { return QOR_STATUS_OK; });
    }

    static std::uint32_t checkpoint(void* context, qor_error_details_t** error) {
        return of(context).perform("checkpoint", "", "", error, [] { return QOR_STATUS_OK; });
    }

    // ---- queries ----------------------------------------------------------------------------------------------------

    const qor_type_node_t* by_id(std::uint64_t id) const {
        const auto found = std::find_if(shared.nodes.begin(), shared.nodes.end(),
                                        [&](const qor_type_node_t& node) { return node.id == id; });
        return found == shared.nodes.end() ? nullptr : &*found;
    }
    nodes path_to(const qor_type_node_t* node) const {
        nodes path;
        for (; node != nullptr; node = by_id(node->parent_id)) {
            path.insert(path.begin(), node);
        }
        return path;
    }
    void append_subtree(nodes& list, const qor_type_node_t* top) const {
        list.push_back(top);
        for (const qor_type_node_t& node : shared.nodes) {
            if (node.parent_id == top->id) {
                append_subtree(list, &node);
            }
        }
    }
    nodes where(const std::function<bool(const qor_type_node_t&)>& test) const {
        nodes list;
        for (const qor_type_node_t& node : shared.nodes) {
            if (test(node)) {
                list.push_back(&node);
            }
        }
        return list;
    }
    std::uint32_t give_nodes(const nodes& list, qor_type_node_sequence_t** result, qor_error_details_t** error) const {
        qor_memory_allocator_t* const allocator = qor_get_default_allocator();
        if (own.nodes_without_records) {
            const std::uint32_t created = qor_type_node_sequence_create(allocator, 0, result, error);
            (*result)->count = list.size();
            return created;
        }
        std::uint32_t status = qor_type_node_sequence_create(allocator, list.size(), result, error);
        for (std::size_t i = 0; status == QOR_STATUS_OK && i < list.size(); ++i) {
            status = qor_type_node_sequence_put(allocator, *result, i, list[i], error);
        }
        return status;
    }

    static std::uint32_t find_node(void* context, std::uint64_t description, const char* path, qor_type_node_t** result,
                                   qor_error_details_t** error) {
        storage& self = of(context);
        const std::string subject = std::to_string(description);
        return self.perform("find_node", subject, subject + " " + path, error, [&]() -> std::uint32_t {
            for (const qor_type_node_t& node : self.shared.nodes) {
                std::string own_path;
                for (const qor_type_node_t* level : self.path_to(&node)) {
                    own_path += (own_path.empty() ? "" : ".") + std::string(level->name);
                }
                if (own_path == path && (description == 0 || description == node.description_id)) {
                    return qor_type_node_clone(qor_get_default_allocator(), &node, result, error);
                }
            }
            return not_found("path '" + std::string(path) + "' of description " + subject, error);
        });
    }
    static std::uint32_t get_root_nodes(void* context, std::uint64_t description, qor_type_node_sequence_t** result,
                                        qor_error_details_t** error) {
        storage& self = of(context);
        const std::string subject = std::to_string(description);
        return self.perform("get_root_nodes", subject, subject, error, [&] {
            return self.give_nodes(self.where([&](const qor_type_node_t& node) {
                return node.parent_id == 0 && node.description_id == description;
            }),
                                   result, error);
        });
    }
    static std::uint32_t get_node_children(void* context, const qor_type_node_t* node,
                                           qor_type_node_sequence_t** result, qor_error_details_t** error) {
        storage& self = of(context);
        return self.perform("get_node_children", "", node == nullptr ? "null" : node->name, error, [&] {
            if (node == nullptr) {
                return not_found("the null node", error);
            }
            return self.give_nodes(
                self.where([&](const qor_type_node_t& child) { return child.parent_id == node->id; }), result, error);
        });
    }
    static std::uint32_t get_node_hierarchy(void* context, std::uint64_t id, qor_type_node_sequence_t** result,
                                            qor_error_details_t** error) {
        storage& self = of(context);
        const std::string subject = std::to_string(id);
        return self.perform("get_node_hierarchy", subject, subject, error,
                            [&] { return self.give_nodes(self.path_to(self.by_id(id)), result, error); });
    }
    static std::uint32_t get_node_subtree(void* context, std::uint64_t id, qor_type_node_sequence_t** result,
                                          qor_error_details_t** error) {
        storage& self = of(context);
        const std::string subject = std::to_string(id);
        return self.perform("get_node_subtree", subject, subject, error, [&] {
            nodes list;
            self.append_subtree(list, self.by_id(id));
            return self.give_nodes(list, result, error);
        });
    }

    // ---- signatures -------------------------------------------------------------------------------------------------

    std::string signature_of(std::uint64_t description) const {
        const auto found = shared.signatures.find(description);
        return found != shared.signatures.end() ? found->second : "signature " + std::to_string(description);
    }
    static std::uint32_t get_signature(void* context, std::uint64_t description, char* buffer, std::size_t* size,
                                       qor_error_details_t** error) {
        storage& self = of(context);
        const std::string subject = std::to_string(description);
        return self.perform("get_signature", subject, subject + " room=" + std::to_string(*size), error, [&] {
            const std::string text = self.signature_of(description);
            const bool fits = buffer != nullptr && *size > text.size();
            *size = text.size() + 1;
            if (!fits) {
                return QOR_STATUS_BUFFER_TOO_SMALL;
            }
            std::memcpy(buffer, text.c_str(), *size);
            return QOR_STATUS_OK;
        });
    }
    static std::uint32_t get_description_id(void* context, const char* signature, std::uint64_t* id,
                                            qor_error_details_t** error) {
        storage& self = of(context);
        return self.perform("get_description_id", signature, signature, error, [&] {
            for (std::uint64_t candidate = 1; candidate < 100; ++candidate) {
                if (self.signature_of(candidate) == signature) {
                    *id = candidate;
                    return QOR_STATUS_OK;
                }
            }
            return not_found("signature '" + std::string(signature) + "'", error);
        });
    }

    std::vector<std::unique_ptr<description_context>> open_contexts_;
};

} // namespace

std::unique_ptr<fake_plugin> make_storage(qor_service_locator_t* host_locator) {
    return std::make_unique<storage>(host_locator);
}

} // namespace tavi::fakes
