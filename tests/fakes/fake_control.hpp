// What a test decides of its fake plug-ins and what it learns from them. The test offers a `control` to the plug-ins as
// service "fake_control_t" of the host's locator; each fake finds its script there under the name of its file. Without
// a host locator a fake behaves as an empty script says and tells nobody.
#ifndef TESTS_FAKES_FAKE_CONTROL_HPP
#define TESTS_FAKES_FAKE_CONTROL_HPP

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "qorc/status.h"
#include "tests/support/nodes_of.hpp"

namespace tavi::fakes {

inline constexpr const char* control_service = "fake_control_t";

// What a function gives instead of doing its work.
struct answer {
    std::uint32_t status = 0;
    std::optional<std::uint32_t> code = {}; // of a details record; none is made without it
    std::optional<std::string> text = {};   // its description, null when absent
    bool throws = false;                    // a type that no handler knows
};

inline answer reports(std::uint32_t code, std::optional<std::string> text) {
    return {code, code, std::move(text)};
}
inline answer returns(std::uint32_t status) {
    return {.status = status};
}
inline answer throws_unknown() {
    return {.throws = true};
}

struct format {
    std::string word;
    std::uint32_t source = 0; // a parser's source id filter, a processor's source type
    std::uint16_t source_class = 0;
};

struct match_answer {
    bool matched = false;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    std::uint64_t expected_size = 0;
};

// One plug-in. `answers` goes by function name, or by name and first argument: "get_supported_format/1" (index),
// "match/2" (subscription handle), "resolve/qor_log_t" (service).
struct script {
    std::map<std::string, answer> answers = {};
    std::map<std::string, std::function<void()>> call_backs = {}; // by the same keys: what a call does first, or throws
    std::set<std::string> missing = {}; // tables not offered and slots left null; "locator" for the locator itself
    std::vector<format> formats = {};
    std::uint8_t context_type = 0;
    bool offers_batch = false;                        // a matcher's batch table
    bool offers_search = false;                       // a storage's search table; a search gives counts["find_first"]
    std::map<std::uint64_t, match_answer> match = {}; // by subscription handle; without one nothing matches
    // The bytes of a processor's records, by subscription handle; a record without them stays null.
    std::map<std::uint64_t, std::vector<std::optional<std::string>>> records = {};
    bool counts_only = false;                   // a processor counts its records, a storage its nodes, and gives none
    std::vector<std::string> descriptions = {}; // "null" has no text
    std::map<std::string, std::uint64_t> counts = {}; // by function: the count or size that it gives, true or not
    std::vector<std::uint64_t> outcomes = {};         // what a batch gives instead of the subscriptions that match

    std::uint64_t count_of(const std::string& function, std::uint64_t actual) const {
        const auto found = counts.find(function);
        return found != counts.end() ? found->second : actual;
    }
    const answer* find_answer(const std::string& function, const std::string& subject) const {
        return find(answers, function, subject);
    }
    void call_back(const std::string& function, const std::string& subject) const {
        if (const auto* const found = find(call_backs, function, subject)) {
            const auto copy = *found; // since it may change the script
            copy();
        }
    }

private:
    template<typename Value>
    static const Value* find(const std::map<std::string, Value>& values, const std::string& function,
                             const std::string& subject) {
        for (const std::string& key : {function + "/" + subject, function}) {
            if (const auto found = values.find(key); found != values.end()) {
                return &found->second;
            }
        }
        return nullptr;
    }
};

class control {
public:
    std::map<std::string, script> scripts;
    test::nodes_of nodes;                                 // the catalogue
    std::map<std::string, std::uint64_t> description_ids; // by name of the description; a new name gets the next number
    std::map<std::uint64_t, std::string> signatures;      // others read "signature 7"
    std::atomic<int> instances{0};                        // plug-in instances and description contexts alive

    // What there is no memory for is left out: a destructor may be the one that calls.
    void record(const std::string& library, const std::string& function, const std::string& arguments) {
        const std::lock_guard lock(mutex_);
        try {
            trace_.emplace_back(function, library + "." + function + (arguments.empty() ? "" : " ") + arguments);
        } catch (const std::bad_alloc&) {
            return;
        }
    }

    // The calls of these functions, or of all, so far, "library.function arguments" each; then the record starts anew.
    std::vector<std::string> take(const std::set<std::string>& functions) {
        const std::lock_guard lock(mutex_);
        std::vector<std::string> taken;
        for (const auto& [function, line] : trace_) {
            if (functions.empty() || functions.contains(function)) {
                taken.push_back(line);
            }
        }
        trace_.clear();
        return taken;
    }

private:
    std::mutex mutex_;
    std::vector<std::pair<std::string, std::string>> trace_;
};

} // namespace tavi::fakes

#endif
