// The catalogue: entering descriptions, questions, start-up from a file.
//
// The description is shaped like that of a car: one view, messages of eight signals each, value tables on half of them.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "qorc/extensibility/signal_storage.h"
#include "qorcpp/call_frame.hpp"
#include "qorcpp/platform/shared_library.hpp"

namespace {

constexpr std::uint64_t signals_per_message = 8;
const char* const memory_uri = "file:signal_storage?mode=memory";

// Calls a slot and throws what it reports.
template<typename Function, typename... Arguments>
void call(Function* function, Arguments... arguments) {
    qor_error_details_t* details = nullptr;
    function(arguments..., &details);
    qor::rethrow_details(details);
}

class opened_storage {
public:
    explicit opened_storage(const std::string& uri) {
        call(symbol<qor_signal_storage_open_t>("qor_signal_storage_open"), uri.c_str(), std::uint8_t{0},
             std::uint32_t{0}, nullptr, &handle_);
        qor_service_locator_t* locator = nullptr;
        call(symbol<qor_signal_storage_get_service_locator_t>("qor_signal_storage_get_service_locator"), handle_,
             &locator);
        call(locator->resolve, locator->context, "qor_signal_storage_t", &storage);
        call(locator->resolve, locator->context, "qor_signal_storage_access_t", &access);
    }
    ~opened_storage() { symbol<qor_signal_storage_destroy_t>("qor_signal_storage_destroy")(handle_); }
    opened_storage(const opened_storage&) = delete;
    opened_storage& operator=(const opened_storage&) = delete;

    qor_signal_storage_t* storage = nullptr;
    qor_signal_storage_access_t* access = nullptr;

private:
    template<typename Symbol>
    static Symbol symbol(const char* name) {
        static const qor::platform::shared_library library(TAVI_LIBRARY_DIR "/libqor_signal_storage.so");
        return reinterpret_cast<Symbol>(library.get_symbol(name));
    }

    void* handle_ = nullptr;
};

qor_type_node_t make_signal(const std::string& name, std::uint64_t parent_id, std::uint32_t index) {
    qor_type_node_t node{};
    node.kind = QOR_TYPE_NODE_SIGNAL;
    node.parent_id = parent_id;
    node.name = name.c_str();
    node.comment = "What the signal means, in a few words";
    node.signal.offset = index;
    node.signal.bit_length = 12;
    node.signal.element_size = 2;
    node.signal.element_count = 1;
    node.signal.numerator_x1 = 0.125;
    node.signal.numerator_x0 = -40;
    node.signal.denominator_x0 = 1;
    node.signal.maximum = 471.875;
    node.signal.unit = "km/h";
    node.signal.signal_suffix = "km/h";
    node.signal.signal_suffix_length = 4;
    return node;
}

std::string signal_name(std::uint64_t message, std::uint32_t index) {
    return "VehicleSpeed_" + std::to_string(message) + "_" + std::to_string(index);
}

// Adds the nodes of one description as a parser would and commits it.
std::uint64_t enter(opened_storage& target, std::uint64_t signal_count) {
    const std::string content = std::to_string(signal_count);
    qor_signal_storage_context_t* context = nullptr;
    call(target.storage->create_context, target.storage->context, std::uint8_t{QOR_CONTEXT_TYPE_BUS},
         static_cast<const void*>(content.data()), content.size(), "car", &context);
    qor_type_node_t view{};
    view.kind = QOR_TYPE_NODE_VIEW;
    view.name = "CAN";
    std::uint64_t view_id = 0;
    call(context->add_node, context->context, &view, &view_id);
    std::vector<std::string> names(signals_per_message);
    std::vector<qor_type_node_t> signals(signals_per_message);
    std::vector<std::uint64_t> ids(signals_per_message);
    for (std::uint64_t message = 0; message < signal_count / signals_per_message; ++message) {
        const std::string name = "Message_" + std::to_string(message);
        qor_type_node_t object{};
        object.kind = QOR_TYPE_NODE_OBJECT;
        object.parent_id = view_id;
        object.name = name.c_str();
        object.object = {message, 0, 1, 8, 0};
        std::uint64_t object_id = 0;
        call(context->add_node, context->context, &object, &object_id);
        for (std::uint32_t i = 0; i < signals_per_message; ++i) {
            names[i] = signal_name(message, i);
            signals[i] = make_signal(names[i], object_id, i);
        }
        call(context->add_nodes, context->context, signals.data(), signals_per_message, ids.data());
        for (std::uint32_t i = 0; i < signals_per_message; i += 2) {
            call(context->add_value_table, context->context, ids[i], "0=Off\n1=On\n2=Error\n3=Not available");
        }
    }
    std::uint64_t description_id = 0;
    call(context->commit, context->context, &description_id);
    call(context->destroy, context->context);
    return description_id;
}

void find_with_hierarchy(opened_storage& source, const std::string& path) {
    qor_type_node_t* node = nullptr;
    call(source.access->find_node, source.access->context, std::uint64_t{1}, path.c_str(), &node);
    qor_type_node_sequence_t* nodes = nullptr;
    call(source.access->get_node_hierarchy, source.access->context, node->id, &nodes);
    qor_type_node_sequence_destroy(qor_get_default_allocator(), nodes, nullptr);
    qor_type_node_destroy(qor_get_default_allocator(), node, nullptr);
}

std::string path_of(std::uint64_t message) {
    return "CAN.Message_" + std::to_string(message) + "." + signal_name(message, 3);
}

// A file in the temporary directory, gone with the object.
struct temporary_file {
    temporary_file() { std::filesystem::remove(path); }
    ~temporary_file() { std::filesystem::remove(path); }
    const std::filesystem::path path = std::filesystem::temp_directory_path() / "tavi-storage-bench.db3";
    const std::string uri = "file:" + path.string();
};

void enter_in_memory(benchmark::State& state) {
    for (auto _ : state) {
        opened_storage storage(memory_uri);
        benchmark::DoNotOptimize(enter(storage, static_cast<std::uint64_t>(state.range(0))));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(enter_in_memory)->Arg(2150)->Arg(5000)->Arg(21500)->Arg(50000)->Unit(benchmark::kMillisecond);

void enter_on_disk(benchmark::State& state) {
    for (auto _ : state) {
        const temporary_file file;
        opened_storage storage(file.uri);
        benchmark::DoNotOptimize(enter(storage, static_cast<std::uint64_t>(state.range(0))));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(enter_on_disk)->Arg(2150)->Arg(21500)->Unit(benchmark::kMillisecond);

void enter_again(benchmark::State& state) {
    opened_storage storage(memory_uri);
    enter(storage, static_cast<std::uint64_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(enter(storage, static_cast<std::uint64_t>(state.range(0))));
    }
}
BENCHMARK(enter_again)->Arg(5000)->Unit(benchmark::kMicrosecond);

void start_from_file(benchmark::State& state) {
    const temporary_file file;
    {
        opened_storage storage(file.uri);
        enter(storage, static_cast<std::uint64_t>(state.range(0)));
    }
    for (auto _ : state) {
        opened_storage storage(file.uri);
        find_with_hierarchy(storage, path_of(100));
    }
}
BENCHMARK(start_from_file)->Arg(2150)->Arg(21500)->Unit(benchmark::kMicrosecond);

void find_one(benchmark::State& state, const std::string& uri) {
    opened_storage storage(uri);
    enter(storage, static_cast<std::uint64_t>(state.range(0)));
    std::uint64_t message = 0;
    for (auto _ : state) {
        find_with_hierarchy(storage, path_of(message++ % 268));
    }
}
void find_in_memory(benchmark::State& state) {
    find_one(state, memory_uri);
}
void find_in_file(benchmark::State& state) {
    const temporary_file file;
    find_one(state, file.uri);
}
BENCHMARK(find_in_memory)->Arg(2150)->Arg(50000)->Unit(benchmark::kMicrosecond);
BENCHMARK(find_in_file)->Arg(2150)->Arg(50000)->Unit(benchmark::kMicrosecond);

void read_subtree(benchmark::State& state) {
    opened_storage storage(memory_uri);
    const std::uint64_t description_id = enter(storage, static_cast<std::uint64_t>(state.range(0)));
    for (auto _ : state) {
        qor_type_node_sequence_t* nodes = nullptr;
        call(storage.access->get_node_subtree, storage.access->context, (description_id << 32) + 1, &nodes);
        qor_type_node_sequence_destroy(qor_get_default_allocator(), nodes, nullptr);
    }
}
BENCHMARK(read_subtree)->Arg(2150)->Arg(21500)->Unit(benchmark::kMicrosecond);

} // namespace
