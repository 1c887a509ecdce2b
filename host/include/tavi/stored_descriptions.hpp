// What a catalogue on disk holds, without an extractor on it.
#ifndef TAVI_STORED_DESCRIPTIONS_HPP
#define TAVI_STORED_DESCRIPTIONS_HPP

#include <string>
#include <vector>

namespace tavi::host {

// The signatures of all descriptions of a catalogue in the order in which they were registered; those that data
// processors brought are among them. The signal storage beside the extractor is asked, with the catalogue opened for
// reading: the extractor itself has no call that lists.
//
// uri  "file:" and a path, as for an extractor; the file must exist
//
// Throws: host::error with the storage's text, or when there is no storage beside the extractor. Thread: any.
std::vector<std::string> stored_signatures(const std::string& uri);

} // namespace tavi::host

#endif
