// A reader plug-in in use: one instance, its tables.
#ifndef HOST_SRC_RECORDINGS_READER_PLUGIN_HPP
#define HOST_SRC_RECORDINGS_READER_PLUGIN_HPP

#include <string>

#include "qorc/extensibility/recording_reader.h"
#include "qorcpp/plugin_handle.hpp"

namespace tavi::host {

inline constexpr const char* reader_type_word = "recording-reader";

class reader_plugin {
public:
    // Throws: std::exception for a library that is not a reader that can be used.
    explicit reader_plugin(const std::string& path)
        : handle_(path, reader_type_word), formats(handle_.table<qor_recording_format_support_t>()),
          reader(handle_.table<qor_recording_reader_support_t>()),
          filter(handle_.find_table<qor_recording_filter_support_t>()),
          split(handle_.find_table<qor_recording_split_support_t>()) {
        const bool is_whole = formats.get_format_count != nullptr && formats.get_format != nullptr &&
                              formats.recognise != nullptr && reader.open != nullptr && reader.close != nullptr &&
                              reader.next_batch != nullptr && reader.get_sources != nullptr &&
                              reader.get_properties != nullptr && reader.get_other_records != nullptr;
        if (!is_whole) {
            throw std::runtime_error("a function of its tables is missing");
        }
        if (filter != nullptr && (filter->set_filter == nullptr || filter->get_excluded == nullptr)) {
            throw std::runtime_error("a function of its filter table is missing");
        }
        if (split != nullptr &&
            (split->begin_split == nullptr || split->find_end == nullptr || split->open_part == nullptr ||
             split->set_chunk == nullptr || split->get_extent == nullptr)) {
            throw std::runtime_error("a function of its split table is missing");
        }
    }

    void* instance() const noexcept { return handle_.instance(); }

private:
    qor::plugin_handle handle_;

public:
    const qor_recording_format_support_t& formats;
    const qor_recording_reader_support_t& reader;
    // Null when the plug-in does not offer them.
    const qor_recording_filter_support_t* filter;
    const qor_recording_split_support_t* split;
};

// Throws host::error with the code and text of details, which it destroys; nothing for null.
void throw_reader_error(qor_error_details_t*& details);

} // namespace tavi::host

#endif
