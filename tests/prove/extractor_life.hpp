// The life of an extractor as a host sees it, call by call: created, sources of three kinds registered, subscribed,
// matched, processed, browsed, all taken back, destroyed.
//
// Memory may run short during the calls of the library, and nowhere else. What the calls leave allocated is counted.
#ifndef TESTS_PROVE_EXTRACTOR_LIFE_HPP
#define TESTS_PROVE_EXTRACTOR_LIFE_HPP

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "qor_tavi_extractor/qor_tavi_extractor.h"

namespace tavi::prove {

// Which allocations of a call fail, counted from 1.
struct shortage_plan {
    std::size_t first = 0; // 0: none
    bool for_good = false; // all from there on, not this one alone
};

// What a call gave.
struct answer {
    std::uint32_t status = 0;
    bool has_details = false;
    std::string text;    // of the details
    std::string content; // what the host received, when the call succeeded
    bool struck = false; // an allocation failed

    bool good() const noexcept { return status == QOR_STATUS_OK && !has_details; }
};

class extractor_life {
public:
    // How the receiver's statistics begin in what packages give.
    static constexpr const char* sentence_statistics = "5=";

    explicit extractor_life(const std::string& storage_uri);
    extractor_life(const extractor_life&) = delete;
    extractor_life& operator=(const extractor_life&) = delete;
    // Ends the extractor when its last step was not performed.
    ~extractor_life();

    std::size_t step_count() const noexcept { return steps_.size(); }
    const char* name(std::size_t step) const { return steps_[step].name; }
    answer perform(std::size_t step, const shortage_plan& plan = {});

    // Blocks that all calls until now have allocated and not freed. After the last step: what has leaked.
    std::ptrdiff_t blocks() const noexcept { return blocks_; }

private:
    struct step {
        const char* name;
        std::function<void()> run;
    };

    void add_sources();
    void add_subscriptions();
    void add_packages();
    void add_browsing();
    void add_end();

    // Calls the library under the plan, with the place of details as the last argument.
    template<typename... Parameters, typename... Arguments>
    bool call(std::uint32_t (*function)(Parameters...), Arguments... arguments);
    // Runs what frees results, so that it is counted.
    template<typename Work>
    void counted(Work work);
    template<typename Function, typename... Arguments>
    void call_for_text(Function* function, Arguments... arguments);
    void register_descriptions(std::uint16_t id, const char* name, const char* type, const std::string& content);
    void take_signatures(char** texts, std::size_t count);
    void take_nodes(qor_type_node_sequence_t* nodes);
    void subscribe(const char* url);
    void match(const std::vector<std::uint8_t>& package);
    void process(const std::vector<std::uint8_t>& package);
    // The number of a subscription in the order in which they were made; handles differ from life to life.
    std::string number_of(std::uint64_t handle) const;

    std::string uri_;
    std::vector<step> steps_;
    shortage_plan plan_;
    answer answer_;
    std::ptrdiff_t blocks_ = 0;
    qor_tavi_extractor_t* extractor_ = nullptr;
    qor_log_t log_{};
    qor_service_locator_t locator_{};
    std::vector<std::uint64_t> subscriptions_;
    std::string signature_;
    std::uint64_t root_ = 0; // the id of the view that was browsed last
};

} // namespace tavi::prove

#endif
