#include "plugins/mf4_reader/mf4_recording.hpp"

QOR_RECORDING_READER(tavi::mf4::mf4_recording)
