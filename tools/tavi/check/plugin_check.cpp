#include "tools/tavi/check/plugin_check.hpp"

#include <optional>
#include <stdexcept>

#include "tools/tavi/check/kind_checks.hpp"
#include "tools/tavi/check/plugin_formats.hpp"

namespace tavi::tool {

namespace {

void check_kind(const qor::plugin_handle& plugin, const std::string& type, const std::string& recording,
                checker& check) {
    if (type == "signal-storage") {
        check_storage(plugin, check);
        return;
    }
    type == "data-matcher"              ? check_matcher(plugin, check)
    : type == "data-description-parser" ? check_parser(plugin, check)
    : type == "recording-reader"        ? check_recording_reader(plugin, check, recording)
                                        : check_processor(plugin, check);
    if (check.sound()) {
        check.attempt("has a format at least", [&] {
            if (formats_of(plugin, type).empty()) {
                throw std::runtime_error("it has none, and so nothing is given to it");
            }
        });
    }
}

} // namespace

plugin_summary summarise_plugin(const std::string& path) {
    auto metadata = metadata_of(path);
    plugin_summary summary{metadata["qor-library-type"], metadata["qor-product-version"], {}, {}};
    // The storage's formats are all the same, and the libraries that are no plug-ins have none.
    if (is_plugin_type(summary.type) && summary.type != "signal-storage") {
        try {
            summary.formats = formats_of(qor::plugin_handle(path, summary.type), summary.type);
        } catch (const std::exception& error) {
            summary.failure = error.what();
        } catch (...) {
            summary.failure = "an exception that is no std::exception";
        }
    }
    return summary;
}

void check_plugin(const std::string& path, const std::string& recording, const verdict_sink& tell) {
    checker check(tell);
    auto metadata = metadata_of(path);
    const std::string type = metadata["qor-library-type"];
    check.require(metadata["qor-meta"] == "nddictionary", "metadata block in section .qorrt",
                  "there is none; the file is no shared library, or damaged, or built without qorc/metadata.h");
    if (check.sound()) {
        check.require(is_plugin_type(type), "type word '" + type + "' is that of a plug-in", "it is not");
    }
    if (!check.sound()) {
        return;
    }
    std::optional<qor::plugin_handle> plugin;
    check.attempt("loads, has its entry symbols, makes an instance and gives a locator",
                  [&] { plugin.emplace(path, type); });
    if (!plugin) {
        return;
    }
    check.attempt("makes a second instance, as for two extractors in one process",
                  [&] { const qor::plugin_handle second(path, type); });
    if (check.sound()) {
        check_kind(*plugin, type, recording, check);
    }
    check.attempt("is destroyed and unloaded", [&] { plugin.reset(); });
}

} // namespace tavi::tool
