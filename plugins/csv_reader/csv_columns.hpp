// Columns of CSV recordings by their names in the first line.
#ifndef PLUGINS_CSV_READER_CSV_COLUMNS_HPP
#define PLUGINS_CSV_READER_CSV_COLUMNS_HPP

#include <optional>
#include <string_view>
#include <vector>

namespace qor::csv {

// `byte` is one byte of data, `data` all of them in base64; `other` is passed over.
enum class column { time, id, extended, remote, error, direction, bus, length, data, byte, other };

enum class dialect {
    python_can, // timestamp,arbitration_id,extended,remote,error,dlc,data          seconds, data in base64
    gvret       // Time Stamp,ID,Extended,Dir,Bus,LEN,D1,D2,D3,D4,D5,D6,D7,D8       microseconds, a column for each byte
};

// Nothing for a line that does not name the columns that the dialect cannot do without.
std::optional<std::vector<column>> columns_of(std::string_view line, dialect dialect);

// Those above.
std::vector<column> default_columns(dialect dialect);

// Takes the text up to the next comma off the front, without blanks and quotation marks around it. Requires: a text
// that is not null. After the last field the text is null.
std::string_view next_field(std::string_view& text) noexcept;

} // namespace qor::csv

#endif
