// Turns the JSON text of a schema (docs/schema.md) back into the type that it was printed from.
#ifndef TAVI_SCHEMA_READER_HPP
#define TAVI_SCHEMA_READER_HPP

#include <memory>
#include <stdexcept>
#include <string_view>

#include "introspection/xtypes/dynamic_type.hpp"

namespace tavi::host {

// A text that is no schema. what() is "PLACE: CAUSE", for example "/members/2/type/bit_length: expected a number", with
// the place as a JSON pointer ("the schema" for the whole); "offset 17: CAUSE" for a text that is no JSON.
class schema_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The type, equal field by field to the one that was printed: printing it gives the same text. The schema of a
// subscription is a structure.
// Throws: schema_error. Any text is safe: depth and sizes are limited.
std::shared_ptr<qor::introspection::xtypes::dynamic_type> read_schema(std::string_view text);

} // namespace tavi::host

#endif
