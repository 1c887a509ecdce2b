// A test's own copy of the extractor's library beside fake plug-ins, and short verbs over its functions.
#ifndef TESTS_EXTRACTOR_EXTRACTOR_FIXTURE_HPP
#define TESTS_EXTRACTOR_EXTRACTOR_FIXTURE_HPP

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "tests/extractor/extractor_functions.hpp"
#include "tests/fakes/fake_control.hpp"
#include "tests/support/counting_allocator.hpp"
#include "tests/support/outcome.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tavi::test {

using strings = std::vector<std::string>;

struct log_record {
    std::uint32_t level;
    std::string message, module, file, function;
    std::uint32_t line;
};

// The host's side: its locator with the control of the fakes and, when wanted, a log sink.
class fake_host {
public:
    fake_host();

    qor_service_locator_t locator;
    fakes::control control;
    bool offers_log = false;
    qor_log_t log;
    std::vector<log_record> records;
    std::optional<fakes::answer> log_answer;

    // "level message" of each record so far; then they are forgotten.
    strings take_log();
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
std::ostream& operator<<(std::ostream& stream, const data_record& record);

struct description {
    std::string name, type, content;
};

class extractor_test : public ::testing::Test {
protected:
    extractor_test();
    ~extractor_test() override;

    // ---- the directory; a plug-in's script may be changed until it is used
    // --------------------------------------------
    fakes::script& add_plugin(const std::string& name, const std::string& word, const std::string& without_symbol = {});
    fakes::script& add_matcher(const std::string& name, std::initializer_list<std::string> formats);
    fakes::script& add_parser(const std::string& name, std::initializer_list<fakes::format> formats);
    fakes::script& add_processor(const std::string& name, std::initializer_list<fakes::format> formats);
    fakes::script& storage() { return host.control.scripts["qor_signal_storage"]; }
    strings take(const std::set<std::string>& functions) { return host.control.take(functions); }

    // ---- life
    // ---------------------------------------------------------------------------------------------------------
    outcome create(const char* uri = "file:signal_storage?mode=memory", std::uint32_t flags = 0);
    void start() { ASSERT_EQ(create(), succeeded); }
    void destroy();

    // ---- sources; the signatures that come back stand in `signatures`
    // -------------------------------------------------
    outcome register_source(std::uint16_t id, std::uint32_t instance, const std::string& name,
                            const qor_data_source_provider_t* provider = nullptr, bool sanitize = false);
    outcome register_descriptions(std::uint16_t id, std::uint32_t instance, const std::string& name,
                                  const std::vector<description>& descriptions);
    outcome register_signatures(std::uint16_t id, std::uint32_t instance, const std::string& name,
                                const std::vector<const char*>& given);

    // ---- subscriptions and texts
    // -------------------------------------------------------------------------------------- 0 when it fails, which is
    // a failure of the test.
    std::uint64_t subscribe(const std::string& url);
    outcome try_subscribe(const std::string& url, bool lenient = false);
    // The text by the two-call protocol, or the outcome's text in angle brackets.
    template<typename Ask>
    static std::string read_text(Ask ask) {
        std::size_t size = 0;
        const outcome queried = ask(static_cast<char*>(nullptr), &size);
        if (queried != too_small) {
            return "<" + queried.text.value_or("no text") + ">";
        }
        std::string text(size + 1, 'x');
        EXPECT_EQ(ask(text.data(), &size), succeeded);
        return text.substr(0, size - 1);
    }
    std::string filter();
    std::string schema(const std::string& url, bool lenient = false);

    // ---- packages
    // -----------------------------------------------------------------------------------------------------
    std::vector<std::uint64_t> match(const package& unit, bool strict = false);
    outcome try_match(const package& unit, bool strict = false);
    std::vector<data_record> process(const package& unit, bool strict = false);
    outcome try_process(const package& unit, bool strict = false);

    temporary_directory directory;
    fake_host host;
    counting_allocator allocator;
    extractor_functions api;
    qor_service_locator_t* host_locator = &host.locator;
    qor_tavi_extractor_t* handle = nullptr;
    strings signatures;

private:
    outcome collect_signatures(outcome result, char** texts, std::size_t count);
    outcome try_process(const package& unit, bool strict, std::vector<data_record>& records);
    outcome try_match(const package& unit, bool strict, std::vector<std::uint64_t>& handles);
};

qor_data_source_t make_source(std::uint16_t id, std::uint32_t instance, const std::string& name);

// A catalogue of one description:  View(cycle 5) / Object(0x100, 4 x 16) / Group(at 4, 2 x 4) / Signal(at 1, 3 x 1),
// and View / Plain(0x200, 8) / Byte(at 3).
std::vector<qor_type_node_t> sample_catalogue();

} // namespace tavi::test

#endif
