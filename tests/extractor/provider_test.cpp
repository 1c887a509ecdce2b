// Registration with a host's provider: retries, checks of its record, and what it may get wrong.
#include "tests/extractor/host_provider.hpp"

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace fakes;

class provider : public extractor_test {
protected:
    provider() {
        add_parser("p", {{"dbc"}});
        start();
    }
    outcome register_from(const host_provider& given) { return register_source(7, 2, "engine", &given); }
    host_provider host_side{make_source(7, 2, "engine"), {{"a", "dbc", "first"}, {"b", "dbc", ""}}};
};

TEST_F(provider, is_asked_on_a_thread_of_the_library) {
    ASSERT_EQ(register_from(host_side), succeeded);
    EXPECT_THAT(signatures, ElementsAre("signature 2", "signature 3"));
    EXPECT_THAT(take({"parse_buffer"}), ElementsAre("p.parse_buffer a type=0 'first'", "p.parse_buffer b type=0 ''"));
    host_side.threads.erase(std::this_thread::get_id()); // the test's own look at the source
    EXPECT_FALSE(host_side.threads.empty());
    EXPECT_EQ(host_side.calls["content"], 2);
}

TEST_F(provider, is_asked_again_until_it_is_ready) {
    host_provider patient(make_source(7, 2, "engine"), host_side.descriptions);
    for (const bool chatty : {false, true}) {
        patient.not_ready = 0;
        ASSERT_EQ(call(patient.get_data_source, patient.context, std::size_t{0}, &patient.source), succeeded);
        const qor_data_source_t source = patient.source;
        patient.not_ready = 3;
        patient.chatty = chatty;
        patient.calls.clear();
        EXPECT_EQ(call(api.register_source, handle, &source, &patient, false, nullptr, nullptr, nullptr), succeeded);
        EXPECT_EQ(patient.calls["content"], 8);
        EXPECT_EQ(patient.calls["size"], 8);
    }
}

TEST_F(provider, that_reports_fails_the_registration_with_its_status) {
    for (const char* function : {"sources", "source", "description", "content"}) {
        host_provider failing(make_source(7, 2, "engine"), host_side.descriptions);
        const qor_data_source_t source = failing.source;
        failing.answers[function] = reports(QOR_STATUS_FILE_EXISTS, "not yours");
        EXPECT_EQ(call(api.register_source, handle, &source, &failing, false, nullptr, nullptr, nullptr),
                  failed("not yours", QOR_STATUS_FILE_EXISTS))
            << function;
    }
}

TEST_F(provider, with_a_hole_is_refused_before_any_call) {
    const qor_data_source_t source = host_side.source;
    for (int hole = 0; hole < 4; ++hole) {
        qor_data_source_provider_t given = host_side;
        hole == 0   ? void(given.context = nullptr)
        : hole == 1 ? void(given.get_data_source_count = nullptr)
        : hole == 2 ? void(given.get_data_source = nullptr)
                    : void(given.get_data_description = nullptr);
        EXPECT_EQ(call(api.register_source, handle, &source, &given, false, nullptr, nullptr, nullptr),
                  failed("invalid data source provider handle"))
            << hole;
    }
    EXPECT_THAT(host_side.calls, IsEmpty());
}

TEST_F(provider, has_to_know_the_source_with_all_its_fields) {
    const std::function<void(qor_data_source_t&)> changes[] = {
        [](auto& source) { source.source_id ^= 1; },    [](auto& source) { source.instance ^= 1; },
        [](auto& source) { source.flag ^= 1; },         [](auto& source) { source.data_description_count += 1; },
        [](auto& source) { source.text_15[0] = 'x'; },  [](auto& source) { source.name[0] = 'x'; },
        [](auto& source) { source.text_302[0] = 'x'; }, [](auto& source) { source.text_557[0] = 'x'; },
    };
    for (const auto& change : changes) {
        qor_data_source_t other = host_side.source;
        change(other);
        EXPECT_EQ(call(api.register_source, handle, &other, &host_side, false, nullptr, nullptr, nullptr),
                  failed("the specified data source was not found"));
    }
    // What stands behind a text's end does not count.
    qor_data_source_t same = host_side.source;
    same.name[200] = 'x';
    EXPECT_EQ(call(api.register_source, handle, &same, &host_side, false, nullptr, nullptr, nullptr), succeeded);
}

TEST_F(provider, answers_a_size_query_with_one_status_only) {
    for (const std::uint32_t status : {QOR_STATUS_OK, QOR_STATUS_FAILURE}) {
        host_side.size_status = status;
        EXPECT_EQ(register_from(host_side), failed("unexpected value received from 'get_data_description_content' "
                                                   "function while retrieving content size"));
    }
}

TEST_F(provider, without_descriptions_is_not_asked_for_any) {
    host_provider empty(make_source(7, 2, "engine"), {});
    ASSERT_EQ(register_from(empty), succeeded);
    EXPECT_EQ(empty.calls.count("description"), 0u);
    EXPECT_THAT(signatures, IsEmpty());
}

} // namespace
} // namespace tavi::test
