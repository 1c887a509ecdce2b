// The names beside that of an output file.
#ifndef QORCPP_SRC_OUTPUT_FILE_NAMES_HPP
#define QORCPP_SRC_OUTPUT_FILE_NAMES_HPP

#include <string>
#include <vector>

namespace qor::platform {

// How many processes can write to one name at a time.
inline constexpr int most_temporaries = 10;

// ".rows.csv.tavi-0" for "rows.csv" and 0.
std::string temporary_file_name(const std::string& name, int number);

// "rows.csv.part"
std::string part_file_name(const std::string& name);

// All of them; `folder` is what goes before the name.
std::vector<std::string> names_beside(const std::string& folder, const std::string& name);

} // namespace qor::platform

#endif
