// A source with subscriptions that a matcher and a processor serve, beside functions that call back once.
#ifndef TESTS_EXTRACTOR_CALL_BACK_FIXTURE_HPP
#define TESTS_EXTRACTOR_CALL_BACK_FIXTURE_HPP

#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {

using handle_list = std::vector<std::uint64_t>;

class call_back_test : public extractor_test {
protected:
    call_back_test()
        : matcher(add_matcher("m", {{"can"}})), box(add_processor("box", {{"raw", 5}})),
          parser(add_parser("p", {{"dbc"}, {"sdl"}})) {
        box.answers = {{"register_type", fakes::returns(1)}};
    }

    // Source 0x15#2, named engine, with `count` subscriptions.
    void start_with_subscriptions(int count) {
        destroy();
        start();
        register_engine();
        issued.clear();
        subscribe_all(count);
        take({});
    }
    void register_engine() { EXPECT_EQ(register_descriptions(0x15, 2, "engine", {{"one", "dbc", ""}}), succeeded); }
    void subscribe_all(int count) {
        for (int i = 0; i < count; ++i) {
            issue(subscribe("engine.View.Plain"));
        }
    }
    // Matcher and processor find the subscription in every package from now on.
    void issue(std::uint64_t subscription) {
        issued.push_back(subscription);
        matcher.match[subscription] = {true, 0, 1, 1};
        box.records[subscription] = {"x"};
    }
    std::size_t count() {
        std::size_t number = 0;
        EXPECT_EQ(call(api.get_subscription_count, handle, &number), succeeded);
        return number;
    }

    // The next call of the function calls back, once.
    static void once(fakes::script& who, const std::string& function, const std::function<void()>& action) {
        who.call_backs[function] = [&who, function, action] {
            who.call_backs.erase(function);
            action();
        };
    }
    static void once(std::function<void()>& call_back, const std::function<void()>& action) {
        call_back = [&call_back, action = action] {
            const auto kept = action;
            call_back = nullptr;
            kept();
        };
    }
    std::string match_function() const { return matcher.offers_batch ? "match_batch" : "match"; }

    fakes::script& matcher;
    fakes::script& box;
    fakes::script& parser;
    handle_list issued;
    const package can{0x15, 2, "can", "abcdefgh"};
    const package raw{0x15, 2, "raw", ""};
};

} // namespace tavi::test

#endif
