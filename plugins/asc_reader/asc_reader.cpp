#include "plugins/asc_reader/asc_recording.hpp"

QOR_RECORDING_READER(qor::asc::asc_recording)
