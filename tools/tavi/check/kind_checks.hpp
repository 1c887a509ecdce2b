// What a host would meet first in a plug-in of each kind: its tables, and questions about what it cannot know.
#ifndef TOOLS_TAVI_CHECK_KIND_CHECKS_HPP
#define TOOLS_TAVI_CHECK_KIND_CHECKS_HPP

#include <string>

#include "tools/tavi/check/checker.hpp"

namespace tavi::tool {

void check_matcher(const qor::plugin_handle& plugin, checker& check);
void check_parser(const qor::plugin_handle& plugin, checker& check);
void check_processor(const qor::plugin_handle& plugin, checker& check);
// `recording`: a file in one of the reader's formats to be read as well; may be empty.
void check_recording_reader(const qor::plugin_handle& plugin, checker& check, const std::string& recording);
void check_storage(const qor::plugin_handle& plugin, checker& check);

} // namespace tavi::tool

#endif
