// The plug-in's boundary.
#include "plugins/nmea_reader/nmea_recording.hpp"

QOR_RECORDING_READER(qor::nmea_log::nmea_recording)
