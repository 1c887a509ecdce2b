#include "tools/tavi/output/written_files.hpp"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "qorcpp/platform/file_identity.hpp"
#include "qorcpp/platform/output_file.hpp"
#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/output/catalogue_file.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

using qor::platform::file_identity;

class file_list {
public:
    void add_log(const std::string& log) {
        add(log == "-" ? qor::platform::identify_standard_input() : qor::platform::identify_file(log),
            log == "-" ? "standard input" : log, "the log that is read");
    }

    void add_descriptions(const std::vector<std::string>& descriptions) {
        for (const std::string& text : descriptions) {
            const std::string path = parse_description(text).path;
            add(qor::platform::identify_file(path), path, "a description that is read");
        }
    }

    void add_catalogue(const std::string& uri) {
        const std::string path = catalogue_file(uri);
        if (!path.empty()) {
            for (const std::string& file : catalogue_files(path)) {
                add_written(file, "the catalogue");
            }
        }
    }

    // With the names that it may have until it is whole; standard output for an empty path.
    void add_output(const std::string& path, const char* role) {
        if (path.empty()) {
            const auto identity = qor::platform::identify_standard_output();
            check(identity, "standard output", role);
            add(identity, "standard output", role);
            return;
        }
        const auto identity = qor::platform::identify_file(path);
        if (identity && identity->is_regular) {
            add_written(path, role);
            for (const std::string& name : qor::platform::output_file::other_names(path)) {
                add_written(name, role);
            }
        }
    }

private:
    struct entry {
        file_identity identity;
        std::string path;
        std::string role;
    };

    void add(std::optional<file_identity> identity, const std::string& path, const char* role) {
        if (identity && identity->is_regular) {
            entries_.push_back({*std::move(identity), path, role});
        }
    }

    void add_written(const std::string& path, const char* role) {
        const auto identity = qor::platform::identify_file(path);
        check(identity, path, role);
        add(identity, path, role);
    }

    void check(const std::optional<file_identity>& identity, const std::string& path, const std::string& role) const {
        const auto other = std::find_if(entries_.begin(), entries_.end(), [&](const entry& each) {
            return identity && each.identity == *identity && each.role != role;
        });
        if (other != entries_.end()) {
            const std::string name = other->path == path ? "" : ", " + printable(other->path);
            throw command_error(printable(path) + ": error: " + role + " would overwrite " + other->role + name);
        }
    }

    std::vector<entry> entries_;
};

} // namespace

void check_written_files(const decode_options& options) {
    file_list files;
    files.add_log(options.log);
    files.add_descriptions(options.catalogue.descriptions);
    files.add_catalogue(options.catalogue.storage);
    files.add_output(options.output, "the output");
    if (!options.report.empty()) {
        files.add_output(options.report, "the report");
    }
}

void check_written_files(const catalogue_options& options) {
    file_list files;
    files.add_descriptions(options.descriptions);
    files.add_catalogue(options.storage);
    files.add_output("", "the output");
}

} // namespace tavi::tool
