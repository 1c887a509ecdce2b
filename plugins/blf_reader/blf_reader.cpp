#include "plugins/blf_reader/blf_recording.hpp"

QOR_RECORDING_READER(tavi::blf::blf_recording)
