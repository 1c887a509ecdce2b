// What host, extractor and plug-ins say to one another: the console blocks of the pages in conversations/ are
// performed, each by an extractor of its own beside fake plug-ins, and have to read as they stand there.
//
//      $ VERB WORD...      what the host or the test does; more of it behind " ; ", blanks inside of '...'
//      $$ VERB WORD...     the same, nothing told of it; must not fail
//      $+ VERB WORD...     as $$, and again at the beginning of the page's later blocks
//      = RESULT            what the host gets
//      ! STATUS: TEXT      how the call failed
//        WHO.FUNCTION ...  the calls that reach plug-ins by then, without those that only ask what a plug-in offers
//        WHO.parses ...    for a description that is parsed as usual: create_context, parse_buffer, commit,
//                          context_destroy, all of that name and text
//        CALL, twice       for the same call again
//        (LEVEL WHERE: MESSAGE)  what is logged
//
// The blocks of faults have a line for each fault and what comes of it, '*' for the prefix of a kind's names:
//
//      WHO,WHO FAULT -> RESULT     of the start, or of a registration after it
//
// Whatever the fault, what was created by then is destroyed, in reverse, once.
#include <functional>
#include <iomanip>
#include <regex>
#include <span>

#include "tests/extractor/extractor_fixture.hpp"
#include "tests/support/page.hpp"

namespace tavi::test {
namespace {

using status_word = std::pair<std::string, std::uint32_t>;
const status_word statuses[] = {{"ok", QOR_STATUS_OK},
                                {"failure", QOR_STATUS_FAILURE},
                                {"invalid", QOR_STATUS_INVALID_ARGUMENT},
                                {"timed_out", QOR_STATUS_TIMED_OUT},
                                {"exists", QOR_STATUS_FILE_EXISTS},
                                {"information", QOR_STATUS_INFORMATION}};

// "A, B".
template<typename List, typename Text>
std::string joined(const List& list, Text text) {
    std::string all;
    for (const auto& each : list) {
        all += (all.empty() ? "" : ", ") + text(each);
    }
    return all;
}

std::string shown(const outcome& result, const std::optional<std::string>& given = {}) {
    if (result == succeeded) {
        return given ? '=' + (given->empty() ? "" : ' ' + *given) + '\n' : "";
    }
    EXPECT_EQ(result.status, result.code);
    return "! " + std::ranges::find(statuses, result.status, &status_word::second)->first + ": " +
           result.text.value_or("(null)") + '\n';
}

// The calls without what always repeats.
std::string shortened(std::string calls) {
    static const std::pair<std::regex, const char*> forms[] = {
        {std::regex(R"(  qor_signal_storage\.create_context (\S+) (type=\d) (.*)\n  (\w+)\.parse_buffer \1 type=0 \3\n)"
                    R"(  qor_signal_storage\.commit \1\n  qor_signal_storage\.context_destroy \1\n)"),
         "  $4.parses $1 $2 $3\n"},
        {std::regex(R"((  \w.*)\n\1\n)"), "$1, twice\n"},
        {std::regex(R"(  (\w+)\.create\n  \1\.destroy\n)"), "  $1.create and destroy\n"},
    };
    for (const auto& [usual, form] : forms) {
        calls = std::regex_replace(calls, usual, form);
    }
    return calls;
}

class conversation : public extractor_test {
public:
    conversation() {
        words_.str("open create destroy create_context parse_buffer commit context_destroy bind get_data_descriptions "
                   "register_type unregister_type match process find_node get_signature get_description_id checkpoint");
        calls_shown_ = words<std::set<std::string>>();
    }

    // What a line of the page makes everybody say.
    std::string perform(const std::string& line) {
        std::string told;
        for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 3) {
            end = line.find(" ; ", begin);
            words_ = std::istringstream(line.substr(begin, end - begin));
            words_ >> std::setbase(0);
            told += verbs_.at(word())();
            EXPECT_EQ(word(), "") << line;
        }
        std::string calls;
        for (const std::string& call : take(calls_shown_)) {
            calls += "  " + call + '\n';
        }
        told += shortened(calls);
        for (const std::string& record : std::exchange(host.records, {})) {
            told += "  (" + record + ")\n";
        }
        return told;
    }

private:
    void TestBody() override {}

    std::string word() {
        std::string next;
        words_ >> std::quoted(next, '\'');
        return next;
    }
    template<typename List = strings>
    List words() {
        List all;
        while (!(words_ >> std::ws).eof()) {
            all.insert(all.end(), word());
        }
        return all;
    }
    std::uint64_t number() {
        std::uint64_t next = 0;
        words_ >> next;
        return next;
    }
    // "ID#INSTANCE NAME"
    qor_data_source_t source() {
        const auto id = static_cast<std::uint16_t>(number());
        words_.ignore();
        const auto instance = static_cast<std::uint32_t>(number());
        return make_source(id, instance, word());
    }
    // "ID#INSTANCE FORMAT PAYLOAD"
    package unit() {
        const qor_data_source_t from = source();
        return {from.source_id, from.instance, from.name, word()};
    }
    fakes::script& plugin() { return extractor_test::plugin(word()); }
    template<typename List>
    std::string script_words(List fakes::script::*part) {
        fakes::script& who = plugin();
        return who.*part = words<List>(), "";
    }

    // The text that `function` gives by the two-call protocol.
    template<typename Function, typename... Arguments>
    std::string text_of(Function* function, Arguments... arguments) {
        std::size_t size = 0;
        const outcome asked = call(function, handle, arguments..., nullptr, &size);
        if (asked != too_small) {
            return shown(asked);
        }
        std::string text(size, 'x');
        const outcome given = call(function, handle, arguments..., text.data(), &size);
        return shown(given, text.substr(0, size - 1));
    }
    // What `function` stores behind its last argument.
    template<typename Result, typename Function, typename... Arguments>
    std::string stored(Function* function, Arguments... arguments) {
        Result result{};
        const outcome asked = call(function, handle, arguments..., &result);
        std::ostringstream text;
        text << std::boolalpha << result;
        return shown(asked, text.str());
    }
    template<typename Function, typename Argument>
    std::string names_of(Function* function, Argument argument) {
        qor_type_node_sequence_t* nodes = nullptr;
        const outcome result = call(function, handle, argument, &nodes);
        const std::span list(nodes != nullptr ? nodes->nodes : nullptr, nodes != nullptr ? nodes->count : 0);
        const std::string names = joined(list, [](const auto& node) { return std::string(node.name); });
        qor_type_node_sequence_destroy(qor_get_default_allocator(), nodes, nullptr);
        return shown(result, names);
    }
    std::string registered(const outcome& result) { return shown(result, joined(signatures, std::identity())); }

    void add_plugin() {
        const std::string name = word(), kind = word();
        formats served;
        for (const std::string& given : words()) { // "FORMAT:SOURCE:CLASS"
            std::istringstream parts(given);
            std::getline(parts, served.emplace_back().word, ':') >> std::setbase(0) >> served.back().source;
            parts.ignore() >> served.back().source_class;
        }
        extractor_test::add_plugin(name, "data-" + kind, served);
    }
    void answer() {
        auto& answers = plugin().answers;
        const std::string function = word(), how = word(), text = word();
        answers.erase(function);
        if (how == "throws") {
            answers[function] = fakes::throws_unknown();
        } else if (how == "informs") {
            answers[function] = {.code = QOR_STATUS_INFORMATION, .text = text};
        } else if (how != "works") {
            const std::uint32_t status = std::ranges::find(statuses, how, &status_word::first)->second;
            answers[function] = text.empty()
                                    ? fakes::returns(status)
                                    : fakes::reports(status, text == "null" ? std::nullopt : std::optional(text));
        }
    }
    // "URI FLAGS", or nothing.
    std::string start() {
        const strings how = words();
        return shown(how.empty() ? create()
                                 : create(how.at(0).c_str(), static_cast<std::uint32_t>(std::stoul(how.at(1)))));
    }
    std::string register_descriptions() {
        const qor_data_source_t given = source();
        std::vector<description> descriptions;
        for (const std::string& each : words()) { // "NAME:TYPE:CONTENT"
            std::istringstream parts(each);
            auto& [name, type, content] = descriptions.emplace_back();
            std::getline(std::getline(std::getline(parts, name, ':'), type, ':'), content);
        }
        return registered(
            extractor_test::register_descriptions(given.source_id, given.instance, given.name, descriptions));
    }
    std::string register_stored() {
        const qor_data_source_t given = source();
        const strings all = words();
        std::vector<const char*> list;
        for (const std::string& each : all) {
            list.push_back(each != "null" ? each.c_str() : nullptr);
        }
        return shown(call(api.register_source_from_signal_storage, handle, given.source_id, given.instance, given.name,
                          list.data(), list.size()));
    }
    std::istringstream words_;
    std::set<std::string> calls_shown_;
    const std::map<std::string, std::function<std::string()>> verbs_ = {
        {"plugin", [this] { return add_plugin(), ""; }},
        {"answer", [this] { return answer(), ""; }},
        {"missing", [this] { return script_words(&fakes::script::missing); }},
        {"gives_counts_only", [this] { return plugin().counts_only = true, ""; }},
        {"gives_all", [this] { return plugin().counts_only = false, ""; }},
        {"context_type_is_1", [this] { return plugin().context_type = 1, ""; }},
        {"brings", [this] { return script_words(&fakes::script::descriptions); }},
        {"matches", [this] { return plugin().match[number()].matched = true, ""; }},
        {"catalogue", [this] { return host.control.nodes = word().c_str(), host.control.description_ids = {}, ""; }},
        {"nodes", [this] { return host.control.nodes.add(word()), ""; }},
        {"nodes_of_two", [this] { return host.control.nodes.add(word(), 2), ""; }},
        {"log", [this] { return host.offers_log = true, host.log_fails = word() == "fails", ""; }},
        {"show", [this] { return calls_shown_.insert(word()), ""; }},
        {"start", [this] { return start(); }},
        {"end", [this] { return destroy(), ""; }},
        {"register", [this] { return register_descriptions(); }},
        {"register_plain",
         [this] {
             const qor_data_source_t given = source();
             return registered(register_source(given.source_id, given.instance, given.name, word() == "sanitized"));
         }},
        {"register_stored", [this] { return register_stored(); }},
        {"unregister_sources", [this] { return shown(call(api.unregister_sources, handle)); }},
        {"checkpoint", [this] { return shown(call(api.checkpoint_signal_storage, handle)); }},
        {"subscribe",
         [this] {
             const std::string url = word();
             return stored<std::uint64_t>(api.subscribe, url.c_str(), word() == "lenient");
         }},
        {"unsubscribe", [this] { return shown(call(api.unsubscribe, handle, number())); }},
        {"unsubscribe_all", [this] { return shown(call(api.unsubscribe_all, handle)); }},
        {"count", [this] { return stored<std::size_t>(api.get_subscription_count); }},
        {"url", [this] { return text_of(api.get_url, number()); }},
        {"schema",
         [this] {
             const std::string url = word(), how = word();
             return text_of(api.get_type_schema_by_url, url.c_str(), how == "lenient", how == "annotated",
                            how == "indented");
         }},
        {"schema_of", [this] { return text_of(api.get_type_schema_by_subscription, number()); }},
        {"filter", [this] { return text_of(api.get_reader_filter_expression); }},
        {"roots", [this] { return names_of(api.get_root_nodes, std::make_unique<qor_data_source_t>(source()).get()); }},
        {"roots_by_name", [this] { return names_of(api.get_root_nodes_by_source_name, word().c_str()); }},
        {"children_of_view", [this] { return names_of(api.get_node_children, host.control.nodes.nodes().data()); }},
        {"children_of_null", [this] { return names_of(api.get_node_children, nullptr); }},
        {"has_processor", [this] { return stored<bool>(api.has_data_processor, unit().get()); }},
        {"match",
         [this] {
             const outcome result = try_match(unit());
             return shown(result, joined(handles, [](std::uint64_t each) { return std::to_string(each); }));
         }},
        {"process", [this] { return shown(try_process(unit())); }},
    };
};

std::string replaced(std::string text, const std::string& old_part, const std::string& new_part) {
    for (std::size_t at = text.find(old_part); at != std::string::npos; at = text.find(old_part, at + 1)) {
        text.replace(at, old_part.size(), new_part);
    }
    return text;
}

// What comes of one plug-in's fault at the start and at a registration.
std::string result_of(const std::string& who, const std::string& fault) {
    static const std::map<std::string, std::string> prefixes = {{"storage", "qor_signal_storage"},
                                                                {"m", "qor_data_matcher"},
                                                                {"p", "qor_data_description_parser"},
                                                                {"box", "qor_data_processor"}};
    const std::string prefix = prefixes.at(who), name = who == "storage" ? prefix : who;
    const bool makes_none = (fault.starts_with("answer open ") || fault.starts_with("answer create ")) &&
                            fault.find(" informs ") == std::string::npos;
    conversation host;
    host.perform("plugin m matcher a b ; plugin p description-parser a b ; plugin box processor a b");
    host.perform(replaced(fault, "*", prefix).insert(fault.find(' '), ' ' + name));
    strings alive;
    const auto failure_of = [&](const char* action) {
        const strings before = alive;
        std::istringstream lines(host.perform(action));
        std::string failure;
        for (std::string line; std::getline(lines, line);) {
            const std::string called = line.starts_with("  ") ? line.substr(2, line.find('.') - 2) : "";
            if (line.starts_with("! ")) {
                failure = line.substr(2);
            } else if (line.find(".create") != std::string::npos || line.find(".open") != std::string::npos) {
                alive.insert(alive.end(), called != name || !makes_none, called);
            }
            if (line.ends_with("destroy")) {
                EXPECT_TRUE(!alive.empty() && alive.back() == called) << line;
                alive.resize(alive.size() - !alive.empty());
            }
        }
        EXPECT_TRUE(failure.empty() || alive == before) << action << " leaves instances";
        return failure;
    };
    std::string failure = failure_of("start");
    failure = failure.empty() ? failure_of("register 1#1 engine") : failure;
    failure_of("end");
    EXPECT_EQ(alive, strings());
    return failure.empty() ? "works" : replaced(failure, prefix, "*");
}

TEST(faults_at_start, end_as_the_page_shows) {
    expect_page("tests/extractor/conversations/start.md", "faults", [](const std::string& block) {
        std::istringstream lines(block);
        std::string told;
        for (std::string line; std::getline(lines, line);) {
            std::istringstream names(line.substr(0, line.find(' ')));
            const std::string fault = line.substr(line.find(' '), line.find(" -> ") - line.find(' '));
            std::string last;
            for (std::string who; std::getline(names, who, ',');) {
                SCOPED_TRACE(who + fault);
                const std::string result = fault + " -> " + result_of(who, fault.substr(1));
                told += told.empty() || last.empty() ? who : result == last ? ',' + who : last + '\n' + who;
                last = result;
            }
            told += last + '\n';
        }
        return told;
    });
}

class conversations : public ::testing::TestWithParam<const char*> {};

TEST_P(conversations, go_as_the_page_shows) {
    const std::string page = std::string("tests/extractor/conversations/") + GetParam() + ".md";
    std::vector<std::string> at_each_beginning;
    expect_page(page, "console", [&](const std::string& block) {
        conversation extractor;
        for (const std::string& line : at_each_beginning) {
            extractor.perform(line);
        }
        std::istringstream lines(block);
        std::string told;
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("$$ ") || line.starts_with("$+ ")) {
                told += line + '\n';
                at_each_beginning.insert(at_each_beginning.end(), line[1] == '+', line.substr(3));
                EXPECT_EQ(extractor.perform(line.substr(3)).find('!'), std::string::npos) << line;
            } else if (line.starts_with("$ ")) {
                told += line + '\n' + extractor.perform(line.substr(2));
            }
        }
        return told;
    });
}

INSTANTIATE_TEST_SUITE_P(pages, conversations,
                         ::testing::Values("browsing", "processors", "registration", "start", "subscriptions"));

} // namespace
} // namespace tavi::test
