// The plug-in's boundary. Further forms of candump's output are classes beside candump_recording, named here.
#include "plugins/candump_reader/candump_recording.hpp"

QOR_RECORDING_READER(qor::candump::candump_recording)
