// Types as JSON text, complete enough to rebuild the type from it: docs/schema.md describes the format.
#ifndef INTROSPECTION_GENERATOR_JSON_PRINTER_HPP
#define INTROSPECTION_GENERATOR_JSON_PRINTER_HPP

#include <string>

#include "introspection/xtypes/dynamic_type.hpp"
#include "qorcpp/export.hpp"

namespace qor::introspection::generator {

class QORCPP_API json_printer {
public:
    // Valid UTF-8. With `indented`, two blanks a level and a line for each value; otherwise no white space at all.
    static std::string print(const xtypes::dynamic_type& type, bool indented);
};

} // namespace qor::introspection::generator

#endif
