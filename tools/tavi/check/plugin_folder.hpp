// The folder in which the extractor looks for plug-ins, for messages about plug-ins that are missing or fail.
#ifndef TOOLS_TAVI_CHECK_PLUGIN_FOLDER_HPP
#define TOOLS_TAVI_CHECK_PLUGIN_FOLDER_HPP

#include <initializer_list>
#include <optional>
#include <string>

#include "qorcpp/library_search.hpp"
#include "tools/tavi/exit_code.hpp"

namespace tavi::tool {

class plugin_folder {
public:
    // Throws: std::system_error when the folder cannot be read.
    plugin_folder();

    const std::string& path() const noexcept { return path_; }
    const qor::runtime::library_survey& survey() const noexcept { return survey_; }

    // A line for each library file that was passed over, each after a line end.
    std::string skipped() const;

    // A file that was passed over is a damaged library, not just one without metadata.
    bool has_damaged_file() const noexcept;

    // The end of a message about something that no plug-in does: " (searched DIR)", and the skipped files.
    std::string where() const;

    // The error for an operation of the extractor that failed with `text`, when a plug-in fails with this text when it
    // is taken into use. `types` are the type words of plug-ins that the operation takes into use. Loads them to try.
    std::optional<command_error> find_fault(const std::string& text, std::initializer_list<const char*> types) const;

    // A line for each plug-in that cannot be taken into use, each after a line end. Loads them to try.
    std::string faults() const;

private:
    std::string path_;
    qor::runtime::library_survey survey_;
};

// "no plug-in supports packages of format 'can' (searched DIR)". Throws: std::system_error when the folder cannot be
// read.
command_error missing_format_error(const std::string& format);

// Requires a matcher that takes packages of one of the formats. Throws: missing_format_error for the first of them;
// std::system_error when the folder cannot be read.
void require_matcher(std::initializer_list<const char*> formats);

// The error for an extractor that cannot be created, with the text that the library gave: it names the plug-in's file
// where a plug-in is at fault, and says where plug-ins were looked for when there is no storage.
command_error start_error(const std::string& text);

// The error for a source that cannot be registered, with the text that the library gave; nothing unless a plug-in is
// missing or fails: the parser of a description, or a processor. `place` is what the message about a missing one begins
// with, `type` the type word of the description. `hint` is for a type that is no usual one.
std::optional<command_error> registration_error(const std::string& text, const std::string& place,
                                                const std::string& type, const std::string& hint = "");

} // namespace tavi::tool

#endif
