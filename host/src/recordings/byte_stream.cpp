#include "tavi/byte_stream.hpp"

#include <utility>

#include "qorcpp/platform/stream.hpp"

namespace tavi::host {

namespace {

class file_stream final : public byte_stream {
public:
    template<typename... Arguments>
    explicit file_stream(const Arguments&... arguments) : file_(arguments...) {}

    std::size_t read(char* buffer, std::size_t room) override { return file_.read(buffer, room); }
    std::optional<std::uint64_t> size() const noexcept override { return file_.size(); }
    bool can_seek() const noexcept override { return file_.size().has_value(); }
    void seek(std::uint64_t offset) override { file_.seek(offset); }

private:
    qor::platform::input_stream file_;
};

class source_stream final : public byte_stream {
public:
    source_stream(byte_source source, std::optional<std::uint64_t> size) : source_(std::move(source)), size_(size) {}

    std::size_t read(char* buffer, std::size_t room) override { return source_(buffer, room); }
    std::optional<std::uint64_t> size() const noexcept override { return size_; }

private:
    byte_source source_;
    std::optional<std::uint64_t> size_;
};

} // namespace

std::unique_ptr<byte_stream> open_file(const std::string& path) {
    return std::make_unique<file_stream>(path);
}

std::unique_ptr<byte_stream> open_standard_input() {
    return std::make_unique<file_stream>();
}

std::unique_ptr<byte_stream> open_descriptor(int descriptor) {
    return std::make_unique<file_stream>(descriptor);
}

std::unique_ptr<byte_stream> open_source(byte_source source, std::optional<std::uint64_t> size) {
    return std::make_unique<source_stream>(std::move(source), size);
}

} // namespace tavi::host
