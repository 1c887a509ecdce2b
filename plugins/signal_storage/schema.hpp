// The tables of the catalogue and the marks by which its file is known.
#ifndef PLUGINS_SIGNAL_STORAGE_SCHEMA_HPP
#define PLUGINS_SIGNAL_STORAGE_SCHEMA_HPP

#include <cstdint>

#include "plugins/signal_storage/database.hpp"

namespace qor::storage {

// "TAVI" in the file's header, at byte 68.
inline constexpr std::int64_t application_id = 0x54415649;

// In the file's header, at byte 60. Counts up with each change of the tables that an older program could not read.
inline constexpr std::int64_t schema_version = 2;

// Checks that the database is a catalogue of this version; makes one of an empty database unless it `must_exist`.
// Throws: std::runtime_error that names the file when it is another application's, damaged, of another version, or
// empty where it cannot be.
void prepare_schema(database& database, bool must_exist);

} // namespace qor::storage

#endif
