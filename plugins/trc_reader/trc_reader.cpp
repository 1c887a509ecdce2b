#include "plugins/trc_reader/trc_recording.hpp"

QOR_RECORDING_READER(qor::trc::trc_recording)
