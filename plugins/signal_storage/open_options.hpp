// How a catalogue is opened.
#ifndef PLUGINS_SIGNAL_STORAGE_OPEN_OPTIONS_HPP
#define PLUGINS_SIGNAL_STORAGE_OPEN_OPTIONS_HPP

namespace qor::storage {

struct open_options {
    bool read_only = false;
    bool must_exist = false;
};

// Why an empty place is refused; else the storage was opened for reading only.
inline const char* no_catalogue_text(bool must_exist) noexcept {
    return must_exist ? "there is no catalogue, and it must exist"
                      : "there is no catalogue, and the storage is opened for reading only";
}

} // namespace qor::storage

#endif
