// Short verbs for tests of types.
#ifndef TESTS_INTROSPECTION_TYPE_FIXTURE_HPP
#define TESTS_INTROSPECTION_TYPE_FIXTURE_HPP

#include <iomanip>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "introspection/xtypes/alias_type.hpp"
#include "introspection/xtypes/array_type.hpp"
#include "introspection/xtypes/bytes.hpp"
#include "introspection/xtypes/primitive_type.hpp"
#include "introspection/xtypes/string_type.hpp"
#include "introspection/xtypes/struct_type.hpp"
#include "tests/introspection/decode_comparison.hpp"
#include "tests/support/thrown.hpp"

namespace tavi::test {

using bytes = std::vector<std::uint8_t>;

inline const dynamic_type& character = *primitive_type<char>::instance();
inline const dynamic_type& number32 = *primitive_type<std::uint32_t>::instance();
inline const dynamic_type& number64 = *primitive_type<std::uint64_t>::instance();

// Everything about a signal that a test doesn't care about.
struct signal_options {
    type_kind converted = type_kind::uint8;
    type_kind raw = type_kind::uint8;
    std::uint32_t offset = 0;
    std::uint32_t length = 8;
    signal_coefficients c = {};
    std::uint8_t order = 0;
    std::uint32_t encoding = 0;
    std::string suffix = "";
};

inline std::shared_ptr<signal_type_base> make(const signal_options& o) {
    const signal_parameters signal{o.raw,    signal_byte_order{o.order}, o.offset, o.length, o.c, {},
                                   o.suffix, signal_encoding{o.encoding}};
    return std::dynamic_pointer_cast<signal_type_base>(make_type(o.converted, signal));
}

inline std::string text_of(const bytes& buffer) {
    std::ostringstream text;
    for (const unsigned byte : buffer) {
        text << (text.tellp() > 0 ? " " : "") << std::hex << std::setw(2) << std::setfill('0') << byte;
    }
    return text.str();
}

// What `write` makes of a buffer: its bytes up to the last one that changed, or the failure.
template<typename Write>
std::string written(Write write, const bytes& before = bytes(24, 0xEE)) {
    bytes buffer = before;
    std::string failure;
    try {
        write(buffer.data());
    } catch (const std::exception& error) {
        failure = error.what();
    }
    const auto last = std::mismatch(buffer.rbegin(), buffer.rend(), before.rbegin()).first;
    buffer.erase(last.base(), buffer.end());
    return failure + text_of(buffer);
}

struct placed {
    std::string name;
    const dynamic_type& type;
    std::uint64_t offset = 0;
};

inline struct_type structure(const std::string& name, const std::vector<placed>& members) {
    struct_type result(name);
    for (const placed& member : members) {
        result.add_member_at(member_record(member.name, &member.type), member.offset, 0, false);
    }
    return result;
}

} // namespace tavi::test

#endif
