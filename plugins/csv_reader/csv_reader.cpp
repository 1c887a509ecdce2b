#include "plugins/csv_reader/csv_recording.hpp"

QOR_RECORDING_READER(qor::csv::python_can_recording, qor::csv::gvret_recording)
