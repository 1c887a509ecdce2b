// tavi: named, typed physical values out of recorded measurement data.

#include <cstdio>
#include <exception>
#include <new>
#include <sstream>
#include <string>

#include <CLI/CLI.hpp>

#include "qorc/build_info.h"
#include "qorcpp/platform/stream.hpp"
#include "tools/tavi/commands/commands.hpp"
#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/options.hpp"
#include "tools/tavi/output/block_output.hpp"
#include "tools/tavi/report/printable.hpp"

namespace {

using namespace tavi::tool;

// Prints help, version or what is wrong with the command line.
exit_code show(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream text;
    std::ostringstream fault;
    const bool done = app.exit(error, text, fault) == 0;
    std::fputs(printable_lines(fault.str()).c_str(), stderr);
    block_output output("");
    output.write(text.str());
    output.close();
    return done ? exit_code::done : exit_code::usage;
}

exit_code run(int argc, char** argv) {
    CLI::App app("Named, typed physical values out of recorded measurement data", "tavi");
    app.set_version_flag("--version", "tavi " QOR_BUILD_VERSION, "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.require_subcommand(1);
    app.footer("tavi COMMAND --help describes a command.");
    decode_options decode;
    tree_options tree;
    schema_options schema;
    plugins_options plugins;
    register_options kept;
    filter_options filter;
    add_decode_options(app, decode);
    add_tree_options(app, tree);
    add_schema_options(app, schema);
    add_plugins_options(app, plugins);
    add_register_options(app, kept);
    add_filter_options(app, filter);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (argc > 1 && argv[1][0] != '-' && app.get_subcommands().empty()) {
            std::fprintf(stderr, "Unknown command '%s'\nRun with --help for more information.\n",
                         printable(argv[1]).c_str());
            return exit_code::usage;
        }
        return show(app, error);
    }
    if (app.got_subcommand("tree")) {
        return run_tree(tree);
    }
    if (app.got_subcommand("plugins")) {
        return run_plugins(plugins);
    }
    if (app.got_subcommand("register")) {
        return run_register(kept);
    }
    if (app.got_subcommand("filter")) {
        return run_filter(filter);
    }
    return app.got_subcommand("schema") ? run_schema(schema) : run_decode(decode);
}

} // namespace

int main(int argc, char** argv) {
    try {
        qor::platform::watch_interrupts();
        return static_cast<int>(run(argc, argv));
    } catch (const command_error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        if (!error.hint.empty()) {
            std::fprintf(stderr, "  hint: %s\n", printable(error.hint).c_str());
        }
        return static_cast<int>(error.code);
    } catch (const qor::platform::closed_pipe_error&) {
        return static_cast<int>(exit_code::done);
    } catch (const std::bad_alloc&) {
        std::fputs("tavi: error: not enough memory\n", stderr);
        return static_cast<int>(exit_code::failed);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tavi: error: %s\n", printable(error.what()).c_str());
        return static_cast<int>(exit_code::failed);
    }
}
