#include "tavi/schema_reader.hpp"

#include <cmath>
#include <functional>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

#include "introspection/xtypes/alias_type.hpp"
#include "introspection/xtypes/array_type.hpp"
#include "introspection/xtypes/primitive_type.hpp"
#include "introspection/xtypes/signal/make_signal_type.hpp"
#include "introspection/xtypes/string_type.hpp"
#include "introspection/xtypes/struct_type.hpp"

namespace tavi::host {

namespace {

namespace xtypes = qor::introspection::xtypes;
using nlohmann::json;
using type_pointer = std::shared_ptr<xtypes::dynamic_type>;

// Types inside types; real ones are a handful deep.
constexpr int depth_limit = 200;

// A value in the text. It knows the value that holds it, which outlives it, and so its place, but spells the place only
// for a message.
class place {
public:
    explicit place(const json& value) : value_(value) {}

    [[noreturn]] void fail(const std::string& cause) const {
        throw schema_error((holder_ == nullptr ? std::string("the schema") : path()) + ": " + cause);
    }

    place member(const char* key) const {
        if (!value_.is_object()) {
            fail("expected an object");
        }
        const auto found = value_.find(key);
        if (found == value_.end()) {
            fail(std::string("'") + key + "' is missing");
        }
        return {*found, *this, key, 0};
    }

    bool has(const char* key) const { return value_.is_object() && value_.contains(key); }

    std::size_t size() const {
        if (!value_.is_array()) {
            fail("expected an array");
        }
        return value_.size();
    }

    place element(std::size_t index) const { return {value_.at(index), *this, nullptr, index}; }

    const std::string& text() const {
        if (!value_.is_string()) {
            fail("expected a string");
        }
        return value_.get_ref<const std::string&>();
    }

    template<typename Integer>
    Integer integer() const {
        if (!value_.is_number_unsigned() || value_.get<std::uint64_t>() > std::numeric_limits<Integer>::max()) {
            fail("expected a whole number of at most " + std::to_string(std::numeric_limits<Integer>::max()));
        }
        return static_cast<Integer>(value_.get<std::uint64_t>());
    }

    double real() const {
        if (value_.is_string()) {
            return named_real();
        }
        if (!value_.is_number()) {
            fail("expected a number");
        }
        const double result = value_.get<double>();
        // "-0" reads as a signed integer, "0" as an unsigned one.
        const bool minus_zero = value_.is_number_integer() && !value_.is_number_unsigned() && result == 0;
        return minus_zero ? -0.0 : result;
    }

    // A byte order or encoding by its word, or as a number.
    template<typename Code>
    Code code() const {
        if (!value_.is_string()) {
            return static_cast<Code>(integer<std::underlying_type_t<Code>>());
        }
        if (const auto code = qor::signal_code_of<Code>(text())) {
            return *code;
        }
        fail("'" + text() + "' is not known");
    }

    xtypes::type_kind kind() const {
        if (!value_.is_string()) {
            return static_cast<xtypes::type_kind>(integer<std::uint32_t>());
        }
        const auto kind = xtypes::kind_of_name(text());
        if (!kind) {
            fail("'" + text() + "' is not a kind of type");
        }
        return *kind;
    }

private:
    place(const json& value, const place& holder, const char* key, std::size_t index)
        : value_(value), holder_(&holder), key_(key), index_(index) {}

    std::string path() const {
        return holder_ == nullptr ? std::string()
                                  : holder_->path() + '/' + (key_ != nullptr ? key_ : std::to_string(index_));
    }

    double named_real() const {
        if (text() == "NaN") {
            return std::numeric_limits<double>::quiet_NaN();
        }
        if (text() == "Infinity" || text() == "-Infinity") {
            return text().front() == '-' ? -HUGE_VAL : HUGE_VAL;
        }
        fail("expected a number, \"NaN\", \"Infinity\" or \"-Infinity\"");
    }

    const json& value_;
    const place* holder_ = nullptr;
    const char* key_ = nullptr;
    std::size_t index_ = 0;
};

type_pointer read_type(const place& at, int depth);

type_pointer read_signal(const place& at) {
    const place coefficients = at.member("coefficients");
    if (coefficients.size() != 6) {
        coefficients.fail("expected six numbers");
    }
    const auto coefficient = [&](std::size_t index) { return coefficients.element(index).real(); };
    const auto byte_order = at.member("byte_order").code<xtypes::signal_byte_order>();
    const auto encoding = at.member("encoding").code<xtypes::signal_encoding>();
    type_pointer type;
    xtypes::make_signal_type(at.member("converted").kind(), at.member("raw").kind(), type, byte_order,
                             at.member("bit_offset").integer<std::uint32_t>(),
                             at.member("bit_length").integer<std::uint32_t>(), coefficient(0), coefficient(1),
                             coefficient(2), coefficient(3), coefficient(4), coefficient(5), at.member("suffix").text(),
                             encoding);
    if (type == nullptr) {
        at.fail("there is no signal of these kinds");
    }
    return type;
}

type_pointer read_structure(const place& at, int depth) {
    auto structure = std::make_shared<xtypes::struct_type>(at.member("name").text());
    const place members = at.member("members");
    for (std::size_t i = 0; i < members.size(); ++i) {
        const place member = members.element(i);
        const type_pointer type = read_type(member.member("type"), depth);
        const std::string& name = member.member("name").text();
        if (structure->has_member(name)) {
            member.fail("there is a member '" + name + "' already");
        }
        structure->add_member_at({name, type.get()}, member.member("offset").integer<std::uint64_t>(), 0, false);
    }
    structure->set_memory_size(at.member("size").integer<std::uint64_t>());
    return structure;
}

template<typename T>
type_pointer read_primitive(const place& at, xtypes::type_kind kind) {
    const std::string& name = at.member("name").text();
    const type_pointer& shared = xtypes::primitive_type<T>::instance();
    if (name == shared->name() && !at.has("annotations")) {
        return shared;
    }
    return std::make_shared<xtypes::primitive_type<T>>(kind, name);
}

type_pointer read_kind(const place& at, int depth) {
    const place kind = at.member("kind");
    if (kind.text() == "signal") {
        return read_signal(at);
    }
    switch (const xtypes::type_kind known = kind.kind()) {
    case xtypes::type_kind::structure:
        return read_structure(at, depth);
    case xtypes::type_kind::array: {
        const type_pointer element = read_type(at.member("element"), depth);
        return std::make_shared<xtypes::array_type>(*element, at.member("dimension").integer<std::uint64_t>());
    }
    case xtypes::type_kind::string:
        return std::make_shared<xtypes::string_type>(at.member("bound").integer<std::uint64_t>());
    case xtypes::type_kind::alias: {
        const type_pointer target = read_type(at.member("target"), depth);
        return std::make_shared<xtypes::alias_type>(at.member("name").text(), *target);
    }
    case xtypes::type_kind::char8:
        return read_primitive<char>(at, known);
    case xtypes::type_kind::uint32:
        return read_primitive<std::uint32_t>(at, known);
    case xtypes::type_kind::uint64:
        return read_primitive<std::uint64_t>(at, known);
    default:
        kind.fail("there is no type of kind '" + kind.text() + "'");
    }
}

void read_parameter(const place& at, xtypes::annotation_type& type,
                    std::vector<std::function<void(xtypes::applied_annotation&)>>& values) {
    const std::string& name = at.member("name").text();
    const place value = at.member("value");
    switch (at.member("kind").kind()) {
    case xtypes::type_kind::string:
        type.add_parameter(name, xtypes::string_type(0));
        values.emplace_back([&name, text = value.text()](auto& annotation) { annotation.apply_parameter(name, text); });
        break;
    case xtypes::type_kind::uint32:
        type.add_parameter(name, *xtypes::primitive_type<std::uint32_t>::instance());
        values.emplace_back([&name, number = value.integer<std::uint32_t>()](auto& annotation) {
            annotation.apply_parameter(name, number);
        });
        break;
    case xtypes::type_kind::uint64:
        type.add_parameter(name, *xtypes::primitive_type<std::uint64_t>::instance());
        values.emplace_back([&name, number = value.integer<std::uint64_t>()](auto& annotation) {
            annotation.apply_parameter(name, number);
        });
        break;
    default:
        at.member("kind").fail("expected \"string\", \"uint32\" or \"uint64\"");
    }
}

void read_annotation(const place& at, xtypes::dynamic_type& target) {
    xtypes::annotation_type type(at.member("name").text());
    // Values can be given only when all parameters are known.
    std::vector<std::function<void(xtypes::applied_annotation&)>> values;
    const place parameters = at.member("parameters");
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        read_parameter(parameters.element(i), type, values);
    }
    xtypes::applied_annotation annotation(type);
    for (const auto& apply : values) {
        apply(annotation);
    }
    target.add_annotation(annotation);
}

type_pointer read_type(const place& at, int depth) {
    if (depth >= depth_limit) {
        at.fail("types are nested more than " + std::to_string(depth_limit) + " deep");
    }
    type_pointer type;
    try {
        type = read_kind(at, depth + 1);
        if (at.has("annotations")) {
            const place annotations = at.member("annotations");
            for (std::size_t i = 0; i < annotations.size(); ++i) {
                read_annotation(annotations.element(i), *type);
            }
        }
    } catch (const std::logic_error& error) {
        at.fail(error.what());
    }
    // Both follow from the rest; a text in which they do not was changed or belongs to another version.
    if (at.member("name").text() != type->name()) {
        at.member("name").fail("expected '" + type->name() + "'");
    }
    if (at.member("size").integer<std::uint64_t>() != type->instance_size()) {
        at.member("size").fail("expected " + std::to_string(type->instance_size()));
    }
    return type;
}

} // namespace

type_pointer read_schema(std::string_view text) {
    json document;
    try {
        document = json::parse(text);
    } catch (const json::parse_error& error) {
        throw schema_error("offset " + std::to_string(error.byte) + ": the text is not valid JSON");
    } catch (const json::exception& error) {
        throw schema_error(std::string("the schema: ") + error.what());
    }
    return read_type(place(document), 0);
}

} // namespace tavi::host
