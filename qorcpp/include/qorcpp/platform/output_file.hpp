// A file that gets its name when it is whole:
//
//   1. `output_file file("rows.csv")` makes a temporary file in the same folder.
//   2. `file.write(...)`
//   3. `file.publish()` gives it the name; a file of this name is replaced. Or `file.keep_part()` names it
//      "rows.csv.part". Without either it is removed with the object, and what was there before stays.
//
// The temporary name is ".rows.csv.tavi-N" with the first N from 0 to 9 that no running process uses. The file is
// locked while it is written, so the one that a killed process leaves is recognised by its missing lock: the next
// output to the same name removes it. Long names are cut.
//
// Pipes, devices and descriptors ("/dev/fd/3") are written directly; there `keep_part` keeps nothing.
#ifndef QORCPP_PLATFORM_OUTPUT_FILE_HPP
#define QORCPP_PLATFORM_OUTPUT_FILE_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "qorcpp/export.hpp"
#include "qorcpp/platform/stream.hpp"

namespace qor::platform {

// Thread: one at a time.
class QORCPP_API output_file {
public:
    // Symbolic links are followed: the file that they lead to is replaced. Its permissions are kept, a new file has
    // those that the process gives to new files. `path` is UTF-8.
    // Throws: std::system_error when a file that is there may not be written; folder_error when its folder takes no new
    // file.
    explicit output_file(const std::string& path);
    ~output_file();
    output_file(const output_file&) = delete;
    output_file& operator=(const output_file&) = delete;

    bool is_terminal() const noexcept { return stream_->is_terminal(); }

    // Writes all of it. Throws: as output_stream::write.
    void write(const char* bytes, std::size_t count);

    // Ends the file and gives it its name. To be called once. Throws: std::system_error; `keep_part` is possible then.
    void publish();

    // Ends the file after the last `write` that succeeded and names it "<path>.part", in place of an earlier part.
    // Gives the name, which is the temporary one where the other cannot be had; empty when nothing was kept. Throws:
    // std::system_error.
    std::string keep_part();

    // All names besides `path` itself under which an output to `path` may make or replace a file.
    static std::vector<std::string> other_names(const std::string& path);

private:
    void discard() noexcept;
    void release() noexcept;

    std::string target_;
    // Empty for what is written directly, and once the file has its name.
    std::string temporary_;
    std::unique_ptr<output_stream> stream_;
    // A second descriptor, which keeps the lock until the file has its name; negative for none.
    int lock_ = -1;
    std::uint64_t written_ = 0;
};

// A folder in which files cannot be made.
class QORCPP_API folder_error : public std::system_error {
public:
    using std::system_error::system_error;
};

} // namespace qor::platform

#endif
