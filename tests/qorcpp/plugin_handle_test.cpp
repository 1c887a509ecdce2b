// A plug-in in use ends as it began, also when it does not get that far.
#include "qorcpp/plugin_handle.hpp"

#include <gtest/gtest.h>

#include "tests/support/thrown.hpp"

namespace {

using qor::plugin_handle;
using tavi::test::thrown;

const qor::plugin_entries entries{"create", "destroy", "get_service_locator"};

int alive = 0;
int some_table = 0;

// Entries of a plug-in that are functions of this test, found under the names above.
void* find_entry(const qor::platform::shared_library&, const std::string& name) {
    static const auto destroy = +[](void*) { --alive; };
    return name == "destroy" ? reinterpret_cast<void*>(destroy) : &some_table;
}

void create(void*, void** instance) {
    ++alive;
    *instance = &alive;
}

qor_service_locator_t locator{[](void*, const char*, void* target, qor_error_details_t**) {
                                  *static_cast<void**>(target) = &some_table;
                                  return 0u;
                              },
                              [](void*, const char* name, bool* known, qor_error_details_t**) {
                                  *known = name == std::string("int");
                                  return 0u;
                              },
                              &some_table};

plugin_handle make(const qor::plugin_steps& steps) {
    return {qor::platform::shared_library(PROBE_FILE), entries, steps};
}

TEST(PluginHandle, EndsTheInstanceAndFindsTables) {
    {
        plugin_handle plugin = make({find_entry, create, [](void*, void*) { return &locator; }});
        EXPECT_EQ(alive, 1);
        EXPECT_EQ(plugin.instance(), &alive);
        EXPECT_EQ(&plugin.table<int>(), &some_table);
        EXPECT_EQ(plugin.find_table<long>(), nullptr);
        EXPECT_EQ(thrown<std::runtime_error>([&] { plugin.table<long>(); }), "the table long is missing");
        plugin.end_instance();
        EXPECT_EQ(alive, 0);
    }
    EXPECT_EQ(alive, 0) << "ended twice";
}

TEST(PluginHandle, EndsTheInstanceWhenAStepFails) {
    const auto fail = [](auto&&...) -> qor_service_locator_t* { throw std::runtime_error("no"); };
    qor_service_locator_t without_context = locator;
    without_context.context = nullptr;
    const std::string bad_locator = "the service locator is null or has a null function or context";
    const std::pair<qor::plugin_steps, std::string> rows[] = {
        {{fail, create, fail}, "no"},
        {{find_entry, [&](void*, void**) { fail(); }, fail}, "no"},
        {{find_entry,
          [&](void* entry, void** instance) {
              create(entry, instance);
              fail();
          },
          fail},
         "no"},
        {{find_entry, create, fail}, "no"},
        {{find_entry, create, [](void*, void*) { return static_cast<qor_service_locator_t*>(nullptr); }}, bad_locator},
        {{find_entry, create, [&](void*, void*) { return &without_context; }}, bad_locator},
    };
    for (const auto& [steps, text] : rows) {
        EXPECT_EQ(thrown<std::runtime_error>([&steps = steps] { make(steps); }), text);
        EXPECT_EQ(alive, 0);
    }
}

TEST(PluginHandle, NamesWhatAFileLacks) {
    EXPECT_EQ(thrown<std::runtime_error>([] { plugin_handle(PROBE_FILE, "data-matcher"); }),
              "the entry symbol 'qor_data_matcher_create' is missing");
    EXPECT_EQ(thrown<std::runtime_error>([] { plugin_handle(PROBE_FILE, "signal-storage"); }),
              "the entry symbol 'qor_signal_storage_open' is missing");
    EXPECT_EQ(thrown<std::runtime_error>([] {
                  plugin_handle("/no/such/file.so", "data-matcher");
              }).find("the library cannot be loaded: "),
              0u);
}

} // namespace
