#include "tools/tavi/output/block_output.hpp"

#include <algorithm>
#include <system_error>

#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

constexpr std::size_t block_size = std::size_t{256} << 10;

template<typename Action>
void checked(const std::string& name, Action action) {
    try {
        action();
    } catch (const qor::platform::folder_error& error) {
        throw output_error(printable(name) + ": error: cannot be written: " + error.code().message(), exit_code::failed,
                           "a file is written under a temporary name in the same folder, which needs write permission");
    } catch (const std::system_error& error) {
        throw output_error(printable(name) + ": error: cannot be written: " + error.code().message());
    }
}

} // namespace

block_output::block_output(const std::string& path)
    : row_output(block_size), name_(path.empty() ? "standard output" : path) {
    checked(name_, [&] {
        if (path.empty()) {
            standard_ = std::make_unique<qor::platform::output_stream>();
        } else {
            file_ = std::make_unique<qor::platform::output_file>(path);
        }
    });
}

void block_output::make_room(std::size_t count) {
    flush();
    if (block_.size() < count) {
        block_.resize(count);
    }
}

void row_output::write(std::string_view lines) {
    commit(std::copy(lines.begin(), lines.end(), reserve(lines.size())));
}

void block_output::write_through(std::string_view lines) {
    flush();
    write_out(lines);
}

void block_output::write_out(std::string_view lines) {
    checked(name_, [&] {
        standard_ ? standard_->write(lines.data(), lines.size()) : file_->write(lines.data(), lines.size());
    });
}

void block_output::flush() {
    const std::size_t count = used_;
    used_ = 0;
    write_out({block_.data(), count});
}

void block_output::close() {
    flush();
    checked(name_, [&] { standard_ ? standard_->close() : file_->publish(); });
}

std::string block_output::close_part() {
    try {
        flush();
    } catch (const std::exception&) {
        // What was written before is kept.
        used_ = 0;
    }
    std::string part;
    checked(name_, [&] { standard_ ? standard_->close() : void(part = file_->keep_part()); });
    return part;
}

} // namespace tavi::tool
