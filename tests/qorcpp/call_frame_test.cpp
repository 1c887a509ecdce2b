#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <future>
#include <optional>

#include "qorcpp/call_frame.hpp"
#include "tests/support/outcome.hpp"

namespace {

using tavi::test::failed;
using tavi::test::outcome;
using tavi::test::succeeded;

template<typename Closure>
outcome frame(Closure closure) {
    qor_error_details_t* details = nullptr;
    outcome result;
    result.status = qor::guarded_call(closure, &details);
    if (details != nullptr) {
        result.code = qor_error_details_get_code(details);
        result.text = qor_error_details_get_description(details);
    }
    qor_error_details_destroy(details);
    return result;
}

template<typename Exception>
std::function<void()> thrower(Exception exception) {
    return [exception] { throw exception; };
}

std::function<void()> code_thrower(int value, const std::error_category& category) {
    return [value, &category] { throw std::system_error(value, category); };
}

class odd_category : public std::error_category {
public:
    const char* name() const noexcept override { return "generic"; } // the name does not count
    std::string message(int) const override { return "odd"; }
};

TEST(call_frame, gives_each_exception_its_status_and_text) {
    using namespace qor::runtime;
    static const odd_category odd;
    struct own_error : std::exception {
        const char* what() const noexcept override { return "own"; }
    };
    const struct {
        std::function<void()> body;
        outcome expected;
    } cases[] = {
        {[] {}, succeeded},
        {thrower(std::bad_alloc()), failed("memory allocation failed", 0xA003000C)},
        {thrower(std::bad_array_new_length()), failed("memory allocation failed", 0xA003000C)},
        {thrower(not_implemented_error("n")), failed("n", 0xA0000FA1)},
        {thrower(timed_out_error("t")), failed("t", 0xA00005B4)},
        {thrower(file_exists_error("f")), failed("f", 0xA0030011)},
        {thrower(std::invalid_argument("i")), failed("i", 0xA0030016)},
        {thrower(std::out_of_range("o")), failed("o", 0xA0000FA5)},
        {thrower(std::logic_error("l")), failed("l", 0xA0000FA5)},
        {thrower(std::runtime_error("r")), failed("r", 0xA0000FA5)},
        {thrower(own_error()), failed("own", 0xA0000FA5)},
        {thrower(42), failed("unknown error", 0xA0000FA5)},
        {code_thrower(2, std::generic_category()),
         failed(std::system_error(2, std::generic_category()).what(), 0xA0030002)},
        {code_thrower(1, std::iostream_category()),
         failed(std::system_error(1, std::iostream_category()).what(), 0xA0050001)},
        {code_thrower(2, std::system_category()),
         failed(std::system_error(2, std::system_category()).what(), 0xA0070002)},
        {code_thrower(4, std::future_category()),
         failed(std::system_error(4, std::future_category()).what(), 0xA0070004)},
        {code_thrower(3, odd), failed("odd", 0xA0070003)},
        {code_thrower(-1, odd), failed("odd", 0xFFFFFFFF)},
        {code_thrower(0, std::generic_category()), failed(std::system_error(0, std::generic_category()).what(), 0)},
        {code_thrower(0, odd), failed("odd", 0)},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(frame(cases[i].body), cases[i].expected) << "case " << i;
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
    const struct {
        std::uint32_t code;
        const char* text;
        outcome expected;
    } cases[] = {
        {0xA00005B4, "late", failed("late", 0xA00005B4)},
        {0xA0000FA1, "dropped", failed("function not implemented", 0xA0000FA1)},
        {0xA0030011, "there", failed("there", 0xA0030011)},
        {0xA0030016, "bad", failed("bad", 0xA0030016)},
        {0xA0030016, nullptr, failed("unknwon error", 0xA0030016)},
        {1, "by the way", succeeded},
        {1, nullptr, succeeded},
        {0, "zero", failed("zero", 0xA0000FA5)},
        {0xA003000C, "memory", failed("memory", 0xA0000FA5)},
        {0xA0000FA5, nullptr, failed("unknwon error", 0xA0000FA5)},
        {0xA0010001, "not ready", failed("not ready", 0xA0000FA5)},
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
    qor_error_details_create(&none, 0, "zero");
    EXPECT_THROW(qor::rethrow_details(none), std::runtime_error);
}

} // namespace
