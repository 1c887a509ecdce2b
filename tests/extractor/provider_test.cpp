// Registration with a host's provider: retries, checks of its record, and what it may get wrong.
#include <cstring>
#include <functional>
#include <thread>

#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

// A host's provider of one source, whose answers the test sets.
class host_provider : public qor_data_source_provider_t {
public:
    explicit host_provider(std::vector<description> offered)
        : qor_data_source_provider_t{count_sources, give_source, nullptr, give_description, give_content, this},
          descriptions(std::move(offered)) {
        source.data_description_count = descriptions.size();
    }

    qor_data_source_t source = make_source(7, 2, "engine");
    std::vector<description> descriptions;
    int not_ready = 0;                            // how often each call is put off
    std::map<std::string, fakes::answer> answers; // by "sources", "source", "description", "size", "content"
    std::set<std::thread::id> threads;
    std::map<std::string, int> calls;

private:
    static host_provider& of(void* context) { return *static_cast<host_provider*>(context); }

    std::uint32_t perform(const std::string& function, qor_error_details_t** error, const std::function<void()>& work) {
        threads.insert(std::this_thread::get_id());
        if (const int call = calls[function]++; call % (not_ready + 1) != not_ready) {
            qor_error_details_create(call % 2 == 0 ? nullptr : error, QOR_STATUS_INFORMATION, "in a moment");
            return QOR_STATUS_NOT_READY;
        }
        if (answers.contains(function)) {
            const fakes::answer& given = answers[function];
            return given.code ? qor_error_details_create(error, *given.code, given.text->c_str()) : given.status;
        }
        return work(), function == "size" ? QOR_STATUS_BUFFER_TOO_SMALL : QOR_STATUS_OK;
    }
    static std::uint32_t count_sources(void* context, std::size_t* count, qor_error_details_t** error) {
        return of(context).perform("sources", error, [&] { *count = 1; });
    }
    static std::uint32_t give_source(void* context, std::size_t, qor_data_source_t* result,
                                     qor_error_details_t** error) {
        return of(context).perform("source", error, [&] { *result = of(context).source; });
    }
    static std::uint32_t give_description(void* context, std::size_t, std::size_t index, qor_data_description_t* result,
                                          qor_error_details_t** error) {
        return of(context).perform("description", error, [&] {
            const description& given = of(context).descriptions[index];
            std::memcpy(result->name, given.name.c_str(), given.name.size());
            std::memcpy(result->format_type, given.type.c_str(), given.type.size());
        });
    }
    static std::uint32_t give_content(void* context, std::size_t, std::size_t index, void* buffer, std::uint64_t* size,
                                      qor_error_details_t** error) {
        const std::string& content = of(context).descriptions[index].content;
        if (buffer != nullptr) {
            return of(context).perform("content", error, [&] { std::memcpy(buffer, content.data(), *size); });
        }
        *size = 100'000'000; // counts for nothing when the size is not ready
        return of(context).perform("size", error, [&] { *size = content.size(); });
    }
};

class provider : public extractor_test {
protected:
    provider() {
        add_parser("p", {{"dbc"}});
        start();
    }
    outcome register_from(const qor_data_source_provider_t& given) {
        return call(api.register_source, handle, &source, &given, false, nullptr, nullptr, nullptr);
    }
    outcome register_it() { return register_from(host_side); }
    host_provider host_side{{{"a", "dbc", "first"}, {"b", "dbc", ""}}};
    qor_data_source_t source = host_side.source; // as the host registers it
};

TEST_F(provider, is_asked_on_a_thread_of_the_library_until_it_is_ready) {
    for (const int not_ready : {0, 3}) {
        host_side.not_ready = not_ready;
        host_side.calls.clear();
        ASSERT_EQ(register_it(), succeeded);
        EXPECT_THAT(take({"parse_buffer"}),
                    ::testing::ElementsAre("p.parse_buffer a type=0 'first'", "p.parse_buffer b type=0 ''"));
        EXPECT_EQ(host_side.calls["size"], 2 * (not_ready + 1));
    }
    EXPECT_FALSE(host_side.threads.contains(std::this_thread::get_id()));
    // One thread for what there is, one for each content.
    host_side.threads.clear();
    host_side.descriptions.resize(1);
    source.data_description_count = host_side.source.data_description_count = 1;
    ASSERT_EQ(register_it(), succeeded);
    EXPECT_LE(host_side.threads.size(), 2u);
}

TEST_F(provider, that_reports_fails_the_registration_with_its_status) {
    for (const char* function : {"sources", "source", "description", "content"}) {
        host_side.answers = {{function, fakes::reports(QOR_STATUS_FILE_EXISTS, "not yours")}};
        EXPECT_EQ(register_it(), failed("not yours", QOR_STATUS_FILE_EXISTS)) << function;
    }
    // A query for the size has one good answer only.
    for (const std::uint32_t status : {QOR_STATUS_OK, QOR_STATUS_FAILURE}) {
        host_side.answers = {{"size", fakes::returns(status)}};
        EXPECT_EQ(register_it(), failed("unexpected value received from 'get_data_description_content' function while "
                                        "retrieving content size"));
    }
}

TEST_F(provider, with_a_hole_is_refused_before_any_call) {
    qor_data_source_provider_t holes[] = {host_side, host_side, host_side, host_side};
    holes[0].context = nullptr;
    holes[1].get_data_source_count = nullptr;
    holes[2].get_data_source = nullptr;
    holes[3].get_data_description = nullptr;
    for (const auto& given : holes) {
        EXPECT_EQ(register_from(given), failed("invalid data source provider handle"));
    }
    EXPECT_THAT(host_side.calls, ::testing::IsEmpty());
}

TEST_F(provider, has_to_know_the_source_with_all_its_fields) {
    auto& [source_id, instance, flag, description_count, text_15, name, text_302, text_557] = source;
    for (void* const field : {static_cast<void*>(&source_id), static_cast<void*>(&instance), static_cast<void*>(&flag),
                              static_cast<void*>(&description_count), static_cast<void*>(text_15),
                              static_cast<void*>(name), static_cast<void*>(text_302), static_cast<void*>(text_557)}) {
        *static_cast<char*>(field) ^= 1;
        EXPECT_EQ(register_it(), failed("the specified data source was not found"));
        *static_cast<char*>(field) ^= 1;
    }
    name[200] = 'x'; // what stands behind a text's end does not count
    EXPECT_EQ(register_it(), succeeded);
}

} // namespace
} // namespace tavi::test
