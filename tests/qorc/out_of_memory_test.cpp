// Every function that allocates, with each of its allocations failing in turn: the right status, nothing left behind,
// nothing stored.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "qorc/dynamic_data.h"
#include "qorc/filesystem.h"
#include "qorc/string_sequence.h"
#include "qorc/type_node.h"
#include "tests/support/counting_allocator.hpp"
#include "tests/support/outcome.hpp"
#include "tests/support/temporary_directory.hpp"

namespace {

using tavi::test::call;
using tavi::test::counting_allocator;
using tavi::test::failed;
using tavi::test::outcome;
using tavi::test::succeeded;

// Does its work with the allocator, gives back what it got, and tells the outcome.
using work = std::function<outcome(qor_memory_allocator_t* allocator)>;

const qor_type_node_t& sample_node() {
    static const qor_type_node_t node = [] {
        qor_type_node_t filled = {};
        filled.name = "Speed";
        filled.comment = "of the wheel";
        return filled;
    }();
    return node;
}

// Creates by `create`, uses by `use` when that worked, and ends by `destroy`.
template<typename Record, typename Create, typename Use, typename Destroy>
work life(Create create, Use use, Destroy destroy) {
    return [=](qor_memory_allocator_t* allocator) {
        Record* record = nullptr;
        outcome result = create(allocator, &record);
        if (result == succeeded) {
            result = use(allocator, record);
        } else {
            EXPECT_EQ(record, nullptr);
        }
        destroy(allocator, record, nullptr);
        return result;
    };
}

const auto no_use = [](auto*, auto*) { return succeeded; };

work listing() {
    return life<qor_runtime_c_string_sequence_t>(
        [](qor_memory_allocator_t* allocator, qor_runtime_c_string_sequence_t** names) {
            const tavi::test::temporary_directory directory;
            std::filesystem::create_directory(directory.path() / "a");
            std::filesystem::create_directory(directory.path() / "b");
            void* provider = nullptr;
            qor_service_locator_t* locator = nullptr;
            qor_filesystem_provider_support_t* support = nullptr;
            qor_filesystem_t* files = nullptr;
            qor_filesystem_provider_create_default(&provider, nullptr, nullptr);
            qor_filesystem_provider_get_service_locator_default(provider, &locator, nullptr);
            locator->resolve(locator->context, "qor_filesystem_provider_support_t", &support, nullptr);
            support->open_filesystem(provider, directory.path().c_str(), &files, nullptr);
            const outcome result = call(files->list, files->context, "", allocator, names);
            files->close(files->context, nullptr);
            qor_filesystem_provider_destroy_default(provider);
            return result;
        },
        no_use, qor_runtime_c_string_sequence_destroy);
}

TEST(out_of_memory, at_each_allocation_leaves_nothing_behind) {
    const struct {
        const char* name;
        work run;
        std::size_t allocations;
    } cases[] = {
        {"record",
         life<qor_dynamic_data_t>([](auto* a, auto** r) { return call(qor_dynamic_data_create, a, r); },
                                  [](auto* a, auto* r) {
                                      return call(qor_runtime_c_uint8_sequence_init, a, &r->sequence,
                                                  std::uint64_t{100});
                                  },
                                  qor_dynamic_data_destroy),
         2},
        {"record with room",
         life<qor_dynamic_data_t>(
             [](auto* a, auto** r) { return call(qor_dynamic_data_create_ex, a, std::uint64_t{100}, r); }, no_use,
             qor_dynamic_data_destroy),
         1},
        {"strings",
         life<qor_runtime_c_string_sequence_t>(
             [](auto* a, auto** r) { return call(qor_runtime_c_string_sequence_create, a, std::uint64_t{2}, r); },
             [](auto* a, auto* r) { return call(qor_runtime_c_string_sequence_put, a, r, std::uint64_t{1}, "text"); },
             qor_runtime_c_string_sequence_destroy),
         3},
        {"node",
         life<qor_type_node_t>([](auto* a, auto** r) { return call(qor_type_node_clone, a, &sample_node(), r); },
                               no_use, qor_type_node_destroy),
         2},
        {"nodes",
         life<qor_type_node_sequence_t>(
             [](auto* a, auto** r) { return call(qor_type_node_sequence_create, a, std::uint64_t{2}, r); },
             [](auto* a, auto* r) { return call(qor_type_node_sequence_put, a, r, std::uint64_t{0}, &sample_node()); },
             qor_type_node_sequence_destroy),
         3},
        {"directory", listing(), 4},
    };
    for (const auto& [name, run, allocations] : cases) {
        for (std::size_t failing = 0; failing <= allocations; ++failing) {
            counting_allocator allocator;
            allocator.fail_at = failing;
            EXPECT_EQ(run(&allocator),
                      failing == 0 ? succeeded : failed("memory allocation failed", QOR_STATUS_OUT_OF_MEMORY))
                << name << ", allocation " << failing;
            EXPECT_EQ(allocator.allocations, failing == 0 ? allocations : allocator.allocations) << name;
            EXPECT_EQ(allocator.alive(), 0u) << name << ", allocation " << failing;
            EXPECT_EQ(allocator.foreign, 0u) << name << ", allocation " << failing;
        }
    }
}

TEST(out_of_memory, a_product_that_overflows_asks_for_nothing) {
    counting_allocator allocator;
    const auto expected = failed("memory allocation failed", QOR_STATUS_OUT_OF_MEMORY);
    qor_runtime_c_string_sequence_t* strings = nullptr;
    qor_type_node_sequence_t* nodes = nullptr;
    EXPECT_EQ(call(qor_runtime_c_string_sequence_create, &allocator, UINT64_MAX / 8, &strings), expected);
    EXPECT_EQ(call(qor_type_node_sequence_create, &allocator, UINT64_MAX / 400, &nodes), expected);
    EXPECT_EQ(allocator.allocations, 2u) << "only the records themselves";
    EXPECT_EQ(allocator.alive(), 0u);
}

} // namespace
