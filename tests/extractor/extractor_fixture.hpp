// A test's own copy of the extractor's library beside fake plug-ins, and short verbs over its functions.
#ifndef TESTS_EXTRACTOR_EXTRACTOR_FIXTURE_HPP
#define TESTS_EXTRACTOR_EXTRACTOR_FIXTURE_HPP

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "tests/extractor/extractor_functions.hpp"
#include "tests/fakes/fake_control.hpp"
#include "tests/support/counting_allocator.hpp"
#include "tests/support/outcome.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tavi::test {

using strings = std::vector<std::string>;

// The host's side: its locator with the control of the fakes and, when wanted, a log sink.
class fake_host {
public:
    fake_host();

    qor_service_locator_t locator;
    fakes::control control;
    bool offers_log = false;
    qor_log_t log;
    strings records; // "LEVEL FUNCTION: MESSAGE" of each
    bool log_fails = false;
    std::function<void()> call_back; // what each call of the locator or the log sink does first

private:
    void call_itself_back() const {
        if (call_back) {
            const auto copy = call_back; // since it may change itself
            copy();
        }
    }
};

// A package with its payload.
class package {
public:
    package(std::uint16_t source_id, std::uint32_t instance, const std::string& format, const std::string& payload);
    const qor_package_t* get() const { return reinterpret_cast<const qor_package_t*>(bytes_.data()); }

private:
    std::vector<std::uint8_t> bytes_;
};

// What a host sees of a dynamic data record.
struct data_record {
    std::uint64_t handle;
    std::string bytes;
    std::uint32_t declared_size = 0;
    bool operator==(const data_record&) const = default;
};

struct description {
    std::string name, type, content;
};

qor_data_source_t make_source(std::uint16_t id, std::uint32_t instance, const std::string& name);

class extractor_test : public ::testing::Test {
protected:
    extractor_test();
    ~extractor_test() override;

    // ---- the directory; a plug-in's script may be changed until it is used ----------------------------------------
    using formats = std::vector<fakes::format>;
    fakes::script& add_plugin(const std::string& name, const std::string& word, const formats& served,
                              const std::string& without_symbol = {});
    fakes::script& add_matcher(const std::string& name, const formats& served) {
        return add_plugin(name, "data-matcher", served);
    }
    fakes::script& add_parser(const std::string& name, const formats& served) {
        return add_plugin(name, "data-description-parser", served);
    }
    fakes::script& add_processor(const std::string& name, const formats& served) {
        return add_plugin(name, "data-processor", served);
    }
    fakes::script& plugin(const std::string& name) { return host.control.scripts[name]; }
    fakes::script& storage() { return plugin("qor_signal_storage"); }
    strings take(const std::set<std::string>& functions) { return host.control.take(functions); }

    // ---- life -----------------------------------------------------------------------------------------------------
    outcome create(const char* uri = "file:signal_storage?mode=memory", std::uint32_t flags = 0);
    void start() { ASSERT_EQ(create(), succeeded); }
    void destroy();

    // ---- sources; the signatures that come back stand in `signatures` ---------------------------------------------
    outcome register_source(std::uint16_t id, std::uint32_t instance, const std::string& name, bool sanitize = false) {
        const qor_data_source_t source = make_source(id, instance, name);
        return collect(api.register_source, &source, nullptr, sanitize);
    }
    outcome register_descriptions(std::uint16_t id, std::uint32_t instance, const std::string& name,
                                  const std::vector<description>& descriptions);

    // ---- subscriptions ----------------------------------------------------------------------------------
    // 0 when it fails, which is a failure of the test.
    std::uint64_t subscribe(const std::string& url);
    void unsubscribe_all() { EXPECT_EQ(call(api.unsubscribe_all, handle), succeeded); }

    // ---- packages; what comes back stands in `handles` and `records` too ------------------------------------------
    outcome try_match(const package& unit, bool strict = false);
    outcome try_process(const package& unit, bool strict = false);
    const std::vector<std::uint64_t>& match(const package& unit, bool strict = false) {
        EXPECT_EQ(try_match(unit, strict), succeeded);
        return handles;
    }
    const std::vector<data_record>& process(const package& unit, bool strict = false) {
        EXPECT_EQ(try_process(unit, strict), succeeded);
        return records;
    }

    temporary_directory directory;
    fake_host host;
    counting_allocator allocator;
    extractor_functions api;
    qor_service_locator_t* host_locator = &host.locator;
    qor_tavi_extractor_t* handle = nullptr;
    strings signatures;
    std::vector<std::uint64_t> handles;
    std::vector<data_record> records;

private:
    template<typename Function, typename... Arguments>
    outcome collect(Function* function, Arguments... arguments) {
        char** texts = nullptr;
        std::size_t count = 0;
        const outcome result = call(function, handle, arguments..., &texts, &count, &allocator);
        signatures.assign(texts, texts != nullptr ? texts + count : texts);
        for (std::size_t i = 0; texts != nullptr && i < count; ++i) {
            allocator.free(texts[i], allocator.context);
        }
        allocator.free(texts, allocator.context);
        return result;
    }
};

} // namespace tavi::test

#endif
