// The plug-in as a host sees it, with short verbs. What fails unexpectedly throws, and so fails the test with its text.
#ifndef TESTS_SIGNAL_STORAGE_OPENED_STORAGE_HPP
#define TESTS_SIGNAL_STORAGE_OPENED_STORAGE_HPP

#include <array>
#include <memory>
#include <stdexcept>
#include <string>

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
inline const char* const shared_memory_uri = "file:/shared?vfs=memdb";

struct failure : std::runtime_error {
    explicit failure(const outcome& error) : std::runtime_error(error.text.value_or("no details")), result(error) {}
    outcome result;
};

// What a function stores at the place that its last argument gives.
template<typename Result, typename Function, typename... Arguments>
Result get(Function* function, Arguments... arguments) {
    Result stored{};
    const outcome result = call(function, arguments..., &stored);
    return result == succeeded ? stored : throw failure(result);
}

template<typename Body>
outcome outcome_of(Body&& body) {
    try {
        body();
        return succeeded;
    } catch (const failure& error) {
        return error.result;
    }
}

struct owner {
    static inline qor_memory_allocator_t* const heap = qor_get_default_allocator();
    void operator()(void* handle) const { qor_signal_storage_destroy(handle); }
    void operator()(qor_signal_storage_context_t* table) const { table->destroy(table->context, nullptr); }
    void operator()(qor_type_node_t* node) const { qor_type_node_destroy(heap, node, nullptr); }
    void operator()(qor_type_node_sequence_t* nodes) const { qor_type_node_sequence_destroy(heap, nodes, nullptr); }
};
template<typename Record>
using owned = std::unique_ptr<Record, owner>;

inline qor_type_node_t make_node(std::uint8_t kind, const char* name, std::uint64_t parent_id = 0) {
    qor_type_node_t node{};
    node.kind = kind;
    node.name = name;
    node.parent_id = parent_id;
    return node;
}

// A description on its way in.
struct open_description {
    std::uint64_t add(const qor_type_node_t& node) {
        return get<std::uint64_t>(table->add_node, table->context, &node);
    }
    std::uint64_t add(std::uint8_t kind, const char* name, std::uint64_t parent_id = 0) {
        return add(make_node(kind, name, parent_id));
    }
    // The ids of V, V.O and V.O.S, which it adds.
    std::array<std::uint64_t, 3> add_signal() {
        const std::uint64_t view = add(QOR_TYPE_NODE_VIEW, "V");
        const std::uint64_t object = add(QOR_TYPE_NODE_OBJECT, "O", view);
        return {view, object, add(QOR_TYPE_NODE_SIGNAL, "S", object)};
    }
    outcome try_add(const qor_type_node_t& node) { return call(table->add_node, table->context, &node, nullptr); }
    outcome add_text(std::uint64_t id, const char* key, const char* text) {
        return call(table->add_text, table->context, id, key, text);
    }
    std::uint64_t commit() { return get<std::uint64_t>(table->commit, table->context); }

    owned<qor_signal_storage_context_t> table;
};

class opened_storage {
public:
    explicit opened_storage(const std::string& uri, std::uint8_t mode = 0, std::uint32_t flags = 0)
        : handle_(get<void*>(qor_signal_storage_open, uri.c_str(), mode, flags, nullptr)) {
        auto* const locator = get<qor_service_locator_t*>(qor_signal_storage_get_service_locator, handle_.get());
        const auto resolve = [&]<typename Table>(Table*& table, const char* service) {
            table = get<Table*>(locator->resolve, locator->context, service);
        };
        resolve(storage, "qor_signal_storage_t");
        resolve(access, "qor_signal_storage_access_t");
        resolve(maintenance, "qor_signal_storage_maintenance_t");
        resolve(search, "qor_signal_storage_search_t");
    }

    open_description begin(const std::string& content, const char* name = "car.dbc",
                           std::uint8_t type = QOR_CONTEXT_TYPE_BUS) {
        const void* const bytes = content.data();
        return {owned<qor_signal_storage_context_t>(get<qor_signal_storage_context_t*>(
            storage->create_context, storage->context, type, bytes, content.size(), name))};
    }
    owned<qor_type_node_t> find(std::uint64_t description_id, const std::string& path) {
        return owned<qor_type_node_t>(
            get<qor_type_node_t*>(access->find_node, access->context, description_id, path.c_str()));
    }
    outcome try_find(std::uint64_t description_id, const std::string& path) {
        return outcome_of([&] { find(description_id, path); });
    }
    std::size_t find_first(const std::vector<std::uint64_t>& ids, const std::string& path) {
        return get<std::size_t>(search->find_first, search->context, ids.data(), ids.size(), path.c_str());
    }
    // Asks one of the questions that sequences of nodes answer.
    template<typename Function, typename Argument>
    owned<qor_type_node_sequence_t> ask(Function* question, Argument argument) {
        return owned<qor_type_node_sequence_t>(get<qor_type_node_sequence_t*>(question, access->context, argument));
    }
    template<typename Function, typename Argument>
    outcome try_ask(Function* question, Argument argument) {
        return outcome_of([&] { ask(question, argument); });
    }
    auto roots(std::uint64_t description_id) { return ask(access->get_root_nodes, description_id); }
    auto subtree(std::uint64_t node_id) { return ask(access->get_node_subtree, node_id); }

    outcome checkpoint() { return call(storage->checkpoint, storage->context); }
    outcome compact() { return call(maintenance->compact, maintenance->context); }

    qor_signal_storage_t* storage;
    qor_signal_storage_access_t* access;
    qor_signal_storage_maintenance_t* maintenance;
    qor_signal_storage_search_t* search;

private:
    owned<void> handle_;
};

// CAN { EngineData { Speed, Torque }, Body { Doors { Left } } }; the signals come last, as some languages bring them.
inline std::uint64_t enter_car(open_description car) {
    const std::uint64_t can = car.add(QOR_TYPE_NODE_VIEW, "CAN");
    const std::uint64_t engine = car.add(QOR_TYPE_NODE_OBJECT, "EngineData", can);
    const std::uint64_t body = car.add(QOR_TYPE_NODE_OBJECT, "Body", can);
    const std::uint64_t doors = car.add(QOR_TYPE_NODE_GROUP, "Doors", body);
    car.add(QOR_TYPE_NODE_SIGNAL, "Left", doors);
    car.add(QOR_TYPE_NODE_SIGNAL, "Speed", engine);
    car.add(QOR_TYPE_NODE_SIGNAL, "Torque", engine);
    return car.commit();
}
inline std::uint64_t enter_car(opened_storage& storage, const std::string& content = "content") {
    return enter_car(storage.begin(content));
}

} // namespace tavi::test

#endif
