#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <optional>

#include "qorcpp/call_frame.hpp"
#include "tests/support/outcome.hpp"

namespace {

using namespace tavi::test;

template<typename Closure>
outcome frame(Closure closure) {
    const auto run = [](Closure* body, qor_error_details_t** error) { return qor::guarded_call(*body, error); };
    return tavi::test::call(+run, &closure);
}

template<typename Exception>
std::function<void()> thrower(Exception exception) {
    return [exception] { throw exception; };
}

class odd_category : public std::error_category {
public:
    const char* name() const noexcept override { return "generic"; } // the name does not count
    std::string message(int) const override { return "odd"; }
};

TEST(call_frame, gives_each_exception_its_status_and_text) {
    using namespace qor::runtime;
    static const odd_category odd;
    const std::pair<std::function<void()>, outcome> cases[] = {
        {[] {}, succeeded},
        {thrower(std::bad_alloc()), failed("memory allocation failed", 0xA003000C)},
        {thrower(not_implemented_error("n")), failed("n", 0xA0000FA1)},
        {thrower(timed_out_error("t")), failed("t", 0xA00005B4)},
        {thrower(file_exists_error("f")), failed("f", 0xA0030011)},
        {thrower(std::invalid_argument("i")), failed("i", 0xA0030016)},
        {thrower(std::out_of_range("o")), failed("o", 0xA0000FA5)},
        {thrower(std::runtime_error("r")), failed("r", 0xA0000FA5)},
        {thrower(std::bad_cast()), failed("std::bad_cast", 0xA0000FA5)},
        {thrower(42), failed("unknown error", 0xA0000FA5)},
        {thrower(status_error(0xA0070007, "s")), failed("s", 0xA0070007)},
        {thrower(status_error(0, "none")), outcome{0, "none", 0}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(frame(cases[i].first), cases[i].second) << "case " << i;
    }
    const std::tuple<int, const std::error_category&, std::uint32_t> codes[] = {
        {3, odd, 0xA0070003},
        {-1, odd, 0xFFFFFFFF},
        {0, odd, 0},
        {0, std::generic_category(), 0},
        {2, std::generic_category(), 0xA0030002},
        {1, std::iostream_category(), 0xA0050001},
        {2, std::system_category(), 0xA0070002},
        {4, std::future_category(), 0xA0070004},
    };
    for (const auto& [value, category, status] : codes) {
        const std::system_error error(value, category);
        EXPECT_EQ(frame(thrower(error)), failed(error.what(), status));
    }
}

TEST(call_frame, passes_a_closures_own_status_on) {
    EXPECT_EQ(frame([]() -> std::uint32_t { return QOR_STATUS_BUFFER_TOO_SMALL; }), tavi::test::too_small);
    EXPECT_EQ(qor::guarded_call([] { throw std::runtime_error("r"); }, nullptr), QOR_STATUS_FAILURE);
    EXPECT_EQ(frame([] { qor::check_argument(static_cast<int*>(nullptr), "signal_storage_uri"); }),
              tavi::test::invalid("argument 'signal_storage_uri' was not initialized"));
}

// What rethrow_details throws for a code: through the frame, which tells types apart, and the type itself where the
// frame does not.
TEST(call_frame, turns_details_back_into_exceptions) {
    const std::tuple<std::uint32_t, const char*, outcome> cases[] = {
        {0xA00005B4, "late", failed("late", 0xA00005B4)},
        {0xA0000FA1, "dropped", failed("function not implemented", 0xA0000FA1)},
        {0xA0030011, "there", failed("there", 0xA0030011)},
        {0xA0030016, "bad", failed("bad", 0xA0030016)},
        {0xA0030016, nullptr, failed("unknwon error", 0xA0030016)},
        {1, "by the way", succeeded},
        {0, "zero", failed("zero", 0xA0000FA5)},
        {0xA003000C, "memory", failed("memory", 0xA0000FA5)},
        {0xA0000FA5, nullptr, failed("unknwon error", 0xA0000FA5)},
        {77, "", failed("", 0xA0000FA5)},
    };
    for (const auto& [code, text, expected] : cases) {
        qor_error_details_t* details = nullptr;
        qor_error_details_create(&details, code, text);
        EXPECT_EQ(frame([&] { qor::rethrow_details(details); }), expected) << std::hex << code;
        EXPECT_EQ(details, nullptr) << std::hex << code;
    }
    qor_error_details_t* none = nullptr;
    EXPECT_NO_THROW(qor::rethrow_details(none));
}

TEST(call_frame, failure_of_the_c_runtime_without_details_is_a_failure) {
    const std::tuple<std::uint32_t, const char*, outcome> cases[] = {
        {0, nullptr, succeeded},
        {1, nullptr, succeeded},
        {0xA003000C, nullptr, failed("memory allocation failed", 0xA003000C)},
        {0xA0030016, nullptr, failed("unknwon error", 0xA0030016)},
        {0xA0030016, "bad", failed("bad", 0xA0030016)},
        {0, "zero", failed("zero", 0xA0000FA5)},
    };
    for (const auto& [status, text, expected] : cases) {
        qor_error_details_t* details = nullptr;
        if (text != nullptr) {
            qor_error_details_create(&details, status, text);
        }
        EXPECT_EQ(frame([&, status = status] { qor::check_call(status, details); }), expected) << std::hex << status;
        EXPECT_EQ(details, nullptr);
    }
}

} // namespace
