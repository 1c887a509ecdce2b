// The plug-in as a host sees it, with short verbs. What fails unexpectedly throws, and so fails the test with its text.
#ifndef TESTS_SIGNAL_STORAGE_OPENED_STORAGE_HPP
#define TESTS_SIGNAL_STORAGE_OPENED_STORAGE_HPP

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "qorc/extensibility/signal_storage.h"
#include "tests/support/outcome.hpp"

extern "C" {
uint32_t qor_signal_storage_open(const char* uri, uint8_t open_mode, uint32_t flags, qor_service_locator_t* host,
                                 void** handle, qor_error_details_t** error);
void qor_signal_storage_destroy(void* handle);
uint32_t qor_signal_storage_get_service_locator(void* handle, qor_service_locator_t** locator,
                                                qor_error_details_t** error);
}

namespace tavi::test {

inline const char* const memory_uri = "file:signal_storage?mode=memory";

inline void expect(const outcome& result) {
    if (result != succeeded) {
        throw std::runtime_error(result.text.value_or("status without details"));
    }
}

inline outcome try_open(const std::string& uri, std::uint8_t mode = 0, std::uint32_t flags = 0) {
    void* handle = nullptr;
    const outcome result = call(qor_signal_storage_open, uri.c_str(), mode, flags, nullptr, &handle);
    qor_signal_storage_destroy(handle);
    return result;
}

struct node_deleter {
    void operator()(qor_type_node_t* node) const { qor_type_node_destroy(qor_get_default_allocator(), node, nullptr); }
    void operator()(qor_type_node_sequence_t* nodes) const {
        qor_type_node_sequence_destroy(qor_get_default_allocator(), nodes, nullptr);
    }
};
using owned_node = std::unique_ptr<qor_type_node_t, node_deleter>;
using owned_nodes = std::unique_ptr<qor_type_node_sequence_t, node_deleter>;

inline std::vector<std::string> names(const owned_nodes& nodes) {
    std::vector<std::string> result;
    for (std::uint64_t i = 0; i < nodes->count; ++i) {
        result.emplace_back(nodes->nodes[i].name);
    }
    return result;
}

inline qor_type_node_t make_node(std::uint8_t kind, const char* name, std::uint64_t parent_id = 0) {
    qor_type_node_t node{};
    node.kind = kind;
    node.name = name;
    node.parent_id = parent_id;
    return node;
}

// A description on its way in; destroyed with the object.
class open_description {
public:
    explicit open_description(qor_signal_storage_context_t* opened) : table(opened) {}
    open_description(open_description&& other) noexcept : table(std::exchange(other.table, nullptr)) {}
    ~open_description() { destroy(); }

    std::uint64_t add(const qor_type_node_t& node) {
        std::uint64_t id = 0;
        expect(call(table->add_node, table->context, &node, &id));
        return id;
    }
    std::uint64_t add(std::uint8_t kind, const char* name, std::uint64_t parent_id = 0) {
        return add(make_node(kind, name, parent_id));
    }
    outcome try_add(const qor_type_node_t& node) { return call(table->add_node, table->context, &node, nullptr); }

    std::uint64_t commit() {
        std::uint64_t id = 0;
        expect(call(table->commit, table->context, &id));
        return id;
    }
    void destroy() {
        if (auto* const ended = std::exchange(table, nullptr)) {
            expect(call(ended->destroy, ended->context));
        }
    }

    qor_signal_storage_context_t* table;
};

class opened_storage {
public:
    explicit opened_storage(const std::string& uri, std::uint8_t mode = 0, std::uint32_t flags = 0) {
        expect(call(qor_signal_storage_open, uri.c_str(), mode, flags, nullptr, &handle));
        qor_service_locator_t* locator = nullptr;
        expect(call(qor_signal_storage_get_service_locator, handle, &locator));
        expect(call(locator->resolve, locator->context, "qor_signal_storage_t", &storage));
        expect(call(locator->resolve, locator->context, "qor_signal_storage_access_t", &access));
        expect(call(locator->resolve, locator->context, "qor_signal_storage_maintenance_t", &maintenance));
    }
    ~opened_storage() { qor_signal_storage_destroy(handle); }
    opened_storage(const opened_storage&) = delete;
    opened_storage& operator=(const opened_storage&) = delete;

    open_description begin(const std::string& content, const char* name = "car.dbc",
                           std::uint8_t type = QOR_CONTEXT_TYPE_BUS) {
        qor_signal_storage_context_t* context = nullptr;
        expect(call(storage->create_context, storage->context, type, static_cast<const void*>(content.data()),
                    content.size(), name, &context));
        return open_description(context);
    }
    outcome try_begin(const std::string& content) {
        qor_signal_storage_context_t* context = nullptr;
        const outcome result = call(storage->create_context, storage->context, std::uint8_t{1},
                                    static_cast<const void*>(content.data()), content.size(), "new.dbc", &context);
        open_description closing(context);
        return result;
    }

    owned_node find(std::uint64_t description_id, const std::string& path) {
        qor_type_node_t* node = nullptr;
        expect(call(access->find_node, access->context, description_id, path.c_str(), &node));
        return owned_node(node);
    }
    outcome try_find(std::uint64_t description_id, const std::string& path) {
        qor_type_node_t* node = nullptr;
        const outcome result = call(access->find_node, access->context, description_id, path.c_str(), &node);
        owned_node closing(node);
        return result;
    }
    owned_nodes roots(std::uint64_t description_id) { return ask(access->get_root_nodes, description_id); }
    owned_nodes children(const qor_type_node_t& node) { return ask(access->get_node_children, &node); }
    owned_nodes hierarchy(std::uint64_t node_id) { return ask(access->get_node_hierarchy, node_id); }
    owned_nodes subtree(std::uint64_t node_id) { return ask(access->get_node_subtree, node_id); }

    std::string signature(std::uint64_t description_id) {
        char text[65] = {};
        std::size_t size = sizeof text;
        expect(call(access->get_signature, access->context, description_id, text, &size));
        return text;
    }
    outcome checkpoint() { return call(storage->checkpoint, storage->context); }
    outcome compact() { return call(maintenance->compact, maintenance->context); }

    void* handle = nullptr;
    qor_signal_storage_t* storage = nullptr;
    qor_signal_storage_access_t* access = nullptr;
    qor_signal_storage_maintenance_t* maintenance = nullptr;

private:
    template<typename Function, typename Argument>
    owned_nodes ask(Function* question, Argument argument) {
        qor_type_node_sequence_t* nodes = nullptr;
        expect(call(question, access->context, argument, &nodes));
        return owned_nodes(nodes);
    }
};

// CAN { EngineData { Speed, Torque }, Body { Doors { Left } } }; the signals come last, as some languages bring them.
inline std::uint64_t enter_car(open_description& car) {
    const std::uint64_t can = car.add(QOR_TYPE_NODE_VIEW, "CAN");
    const std::uint64_t engine = car.add(QOR_TYPE_NODE_OBJECT, "EngineData", can);
    const std::uint64_t body = car.add(QOR_TYPE_NODE_OBJECT, "Body", can);
    const std::uint64_t doors = car.add(QOR_TYPE_NODE_GROUP, "Doors", body);
    car.add(QOR_TYPE_NODE_SIGNAL, "Left", doors);
    const qor_type_node_t signals[] = {make_node(QOR_TYPE_NODE_SIGNAL, "Speed", engine),
                                       make_node(QOR_TYPE_NODE_SIGNAL, "Torque", engine)};
    expect(call(car.table->add_nodes, car.table->context, signals, std::uint64_t{2}, nullptr));
    return car.commit();
}

inline std::uint64_t enter_car(opened_storage& storage, const std::string& content = "content") {
    open_description car = storage.begin(content);
    return enter_car(car);
}

} // namespace tavi::test

#endif
