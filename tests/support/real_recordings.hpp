// Recordings of the folder of measurement data, and the frames that they hold, a line each: "12.500000 can0 123#1122",
// with " fd" or "#R" where that applies and times cut to microseconds.
#ifndef TESTS_SUPPORT_REAL_RECORDINGS_HPP
#define TESTS_SUPPORT_REAL_RECORDINGS_HPP

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <zlib.h>

#include "tests/support/paths.hpp"
#include "tests/support/split.hpp"

namespace tavi::test {

inline std::optional<std::string> real_recordings() {
    const char* const given = std::getenv("TAVI_SHARED_DATA");
    const std::filesystem::path path = given != nullptr
                                           ? std::filesystem::path(given)
                                           : std::filesystem::path(source_folder) / ".." / "shared" / "data";
    return std::filesystem::is_directory(path / "logs") ? std::optional((path / "logs").string()) : std::nullopt;
}

// The content of a file, inflated where it is in the gzip format.
inline std::string content_of(const std::string& path) {
    const gzFile file = gzopen(path.c_str(), "rb");
    if (file == nullptr) {
        throw std::runtime_error("cannot open " + path);
    }
    std::string content;
    char block[65536];
    for (int count = gzread(file, block, sizeof block); count > 0; count = gzread(file, block, sizeof block)) {
        content.append(block, static_cast<std::size_t>(count));
    }
    gzclose(file);
    return content;
}

inline std::string to_microseconds(const std::string& time) {
    const std::string longer = (time.find('.') == std::string::npos ? time + "." : time) + "000000";
    return longer.substr(0, longer.find('.') + 7);
}

// The lines of NAME.frames.csv.gz.
inline std::vector<std::string> listed_frames(const std::string& path) {
    const std::vector<std::string> rows = lines_of(content_of(path));
    std::vector<std::string> frames;
    for (std::size_t row = 1; row < rows.size(); ++row) { // after the names of the columns
        const auto views = split(rows[row], ',');
        const std::vector<std::string> cell(views.begin(), views.end());
        frames.push_back(to_microseconds(cell.at(0)) + " " + cell.at(1) + " " + cell.at(2) + "#" +
                         (cell.at(5) == "1" ? "R" + cell.at(6) : cell.at(7)) + (cell.at(4) == "1" ? " fd" : ""));
    }
    return frames;
}

// The packages of a reading as reader_plugin::read gives it; the rest of it goes to `others`.
inline std::vector<std::string> read_frames(const std::string& text, std::string& others) {
    std::vector<std::string> frames;
    for (const std::string& line : lines_of(text)) {
        if (line.starts_with("! ") || line.starts_with("end: ") || line.starts_with("other: ")) {
            others += line + "\n";
            continue;
        }
        const std::size_t blank = line.find(' ');
        std::string frame = to_microseconds(line.substr(0, blank)) + line.substr(blank);
        if (const std::size_t flags = frame.find(" fd"); flags != std::string::npos) {
            frame.erase(flags + 3);
        }
        frames.push_back(frame);
    }
    return frames;
}

} // namespace tavi::test

#endif
