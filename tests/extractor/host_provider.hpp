// A host's provider of one source, whose answers the test sets.
#ifndef TESTS_EXTRACTOR_HOST_PROVIDER_HPP
#define TESTS_EXTRACTOR_HOST_PROVIDER_HPP

#include <cstring>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {

class host_provider : public qor_data_source_provider_t {
public:
    host_provider(qor_data_source_t offered, std::vector<description> offered_descriptions)
        : qor_data_source_provider_t{count_sources, give_source, nullptr, give_description, give_content, this},
          source(offered), descriptions(std::move(offered_descriptions)) {
        source.data_description_count = descriptions.size();
    }
    host_provider(const host_provider&) = delete;
    host_provider& operator=(const host_provider&) = delete;

    qor_data_source_t source;
    std::vector<description> descriptions;
    int not_ready = 0;   // how often each call is put off
    bool chatty = false; // an informational record comes with each call that is put off
    std::uint32_t size_status = QOR_STATUS_BUFFER_TOO_SMALL;
    std::map<std::string, fakes::answer> answers; // by "sources", "source", "description", "content"
    std::set<std::thread::id> threads;
    std::map<std::string, int> calls;

private:
    static host_provider& of(void* context) { return *static_cast<host_provider*>(context); }

    template<typename Work>
    std::uint32_t perform(const std::string& function, qor_error_details_t** error, Work&& work) {
        threads.insert(std::this_thread::get_id());
        if (calls[function]++ % (not_ready + 1) != not_ready) {
            if (chatty && error != nullptr) {
                qor_error_details_create(error, QOR_STATUS_INFORMATION, "in a moment");
            }
            return QOR_STATUS_NOT_READY;
        }
        if (const auto scripted = answers.find(function); scripted != answers.end() && error != nullptr) {
            const std::string text = scripted->second.text.value_or("");
            return qor_error_details_create(error, *scripted->second.code, text.c_str());
        }
        return work();
    }
    static std::uint32_t count_sources(void* context, std::size_t* count, qor_error_details_t** error) {
        return of(context).perform("sources", error, [&] {
            *count = 1;
            return QOR_STATUS_OK;
        });
    }
    static std::uint32_t give_source(void* context, std::size_t, qor_data_source_t* result,
                                     qor_error_details_t** error) {
        return of(context).perform("source", error, [&] {
            *result = of(context).source;
            return QOR_STATUS_OK;
        });
    }
    static std::uint32_t give_description(void* context, std::size_t, std::size_t index, qor_data_description_t* result,
                                          qor_error_details_t** error) {
        return of(context).perform("description", error, [&] {
            const description& given = of(context).descriptions[index];
            std::memcpy(result->name, given.name.c_str(), given.name.size());
            std::memcpy(result->format_type, given.type.c_str(), given.type.size());
            return QOR_STATUS_OK;
        });
    }
    static std::uint32_t give_content(void* context, std::size_t, std::size_t index, void* buffer, std::uint64_t* size,
                                      qor_error_details_t** error) {
        return of(context).perform(buffer == nullptr ? "size" : "content", error, [&] {
            const std::string& content = of(context).descriptions[index].content;
            if (buffer == nullptr) {
                *size = content.size();
                return of(context).size_status;
            }
            std::memcpy(buffer, content.data(), *size);
            return QOR_STATUS_OK;
        });
    }
};

} // namespace tavi::test

#endif
