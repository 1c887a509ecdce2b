// The languages of descriptions that the parsers beside the extractor read.
#ifndef TAVI_DESCRIPTION_FORMATS_HPP
#define TAVI_DESCRIPTION_FORMATS_HPP

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tavi::host {

struct description_format {
    // The type word by which a description is registered: "dbc".
    std::string type;
    // For people; may be empty.
    std::string display_name;
    // Usual file name extensions, without the dot, in lower case.
    std::vector<std::string> extensions;
    // 0 for any source, else the only source id that it is for.
    std::uint16_t source_id = 0;
};

// In the order of the plug-ins' file names, for each in its own order. A plug-in that cannot be used gives none: the
// start of an extractor reports what is wrong with it. Loads each parser for the time of the call. Thread: any.
std::vector<description_format> description_formats();

// The format of files with an extension: the one of which it is the type word, else the first that names it; null when
// there is none. `extension` is without the dot, in lower case.
const description_format* find_format(const std::vector<description_format>& formats, std::string_view extension);

} // namespace tavi::host

#endif
