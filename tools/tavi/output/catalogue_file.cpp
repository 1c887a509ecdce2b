#include "tools/tavi/output/catalogue_file.hpp"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace tavi::tool {

namespace {

std::string without_escapes(std::string_view text) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        unsigned value = 0;
        const char* const digits = text.data() + at + 1;
        if (text[at] == '%' && text.size() - at > 2 &&
            std::from_chars(digits, digits + 2, value, 16).ptr == digits + 2) {
            result += static_cast<char>(value);
            at += 2;
        } else {
            result += text[at];
        }
    }
    return result;
}

bool is_in_memory(std::string_view parameters) {
    while (!parameters.empty()) {
        const std::string parameter = without_escapes(parameters.substr(0, parameters.find('&')));
        if (parameter == "mode=memory" || parameter == "vfs=memdb") {
            return true;
        }
        parameters.remove_prefix(std::min(parameters.size(), parameters.find('&')));
        parameters.remove_prefix(parameters.empty() ? 0 : 1);
    }
    return false;
}

} // namespace

std::string catalogue_file(const std::string& uri) {
    std::string_view path = uri;
    if (!path.starts_with("file:")) {
        return path == ":memory:" ? std::string() : uri;
    }
    path.remove_prefix(5);
    path = path.substr(0, path.find('#'));
    const std::size_t question = path.find('?');
    if (question != std::string_view::npos && is_in_memory(path.substr(question + 1))) {
        return {};
    }
    path = path.substr(0, question);
    if (path.starts_with("//")) {
        path.remove_prefix(std::min(path.size(), path.find('/', 2)));
    }
    const std::string file = without_escapes(path);
    return file == ":memory:" ? std::string() : file;
}

std::vector<std::string> catalogue_files(const std::string& path) {
    return {path, path + "-journal", path + "-wal", path + "-shm"};
}

} // namespace tavi::tool
