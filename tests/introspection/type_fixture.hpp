// Short verbs for tests of types.
#ifndef TESTS_INTROSPECTION_TYPE_FIXTURE_HPP
#define TESTS_INTROSPECTION_TYPE_FIXTURE_HPP

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "introspection/xtypes/alias_type.hpp"
#include "introspection/xtypes/array_type.hpp"
#include "introspection/xtypes/make_signal_type.hpp"
#include "introspection/xtypes/primitive_type.hpp"
#include "introspection/xtypes/string_type.hpp"
#include "introspection/xtypes/struct_type.hpp"
#include "tests/support/thrown.hpp"

namespace tavi::test {

using namespace qor::introspection::xtypes;
using bytes = std::vector<std::uint8_t>;

inline const dynamic_type& character() {
    return *primitive_type<char>::instance();
}
inline const dynamic_type& number32() {
    return *primitive_type<std::uint32_t>::instance();
}
inline const dynamic_type& number64() {
    return *primitive_type<std::uint64_t>::instance();
}

// Everything about a signal that a test doesn't care about.
struct signal_options {
    type_kind converted = type_kind::uint8;
    type_kind raw = type_kind::uint8;
    std::uint32_t offset = 0;
    std::uint32_t length = 8;
    std::vector<double> c = {0, 1, 0, 0, 0, 1};
    std::uint8_t order = 0;
    std::uint32_t encoding = 0;
    std::string suffix = "";
};

inline std::shared_ptr<dynamic_type> make_dynamic(const signal_options& o) {
    std::shared_ptr<dynamic_type> type;
    make_signal_type(o.converted, o.raw, type, static_cast<signal_byte_order>(o.order), o.offset, o.length, o.c[0],
                     o.c[1], o.c[2], o.c[3], o.c[4], o.c[5], o.suffix, static_cast<signal_encoding>(o.encoding));
    return type;
}

inline std::shared_ptr<signal_type_base> make(const signal_options& o) {
    return std::dynamic_pointer_cast<signal_type_base>(make_dynamic(o));
}

struct placed {
    std::string name;
    const dynamic_type* type;
    std::uint64_t offset = 0;
};

inline struct_type structure(const std::string& name, const std::vector<placed>& members) {
    struct_type result(name);
    for (const placed& member : members) {
        result.add_member_at(member_record(member.name, member.type), member.offset, 0, false);
    }
    return result;
}

template<typename T>
T value_of(const std::uint8_t* memory) {
    T value;
    std::memcpy(&value, memory, sizeof(T));
    return value;
}

} // namespace tavi::test

#endif
