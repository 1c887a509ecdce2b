// How a catalogue is opened.
#ifndef PLUGINS_SIGNAL_STORAGE_OPEN_OPTIONS_HPP
#define PLUGINS_SIGNAL_STORAGE_OPEN_OPTIONS_HPP

namespace qor::storage {

struct open_options {
    bool read_only = false;
    bool must_exist = false;
};

} // namespace qor::storage

#endif
