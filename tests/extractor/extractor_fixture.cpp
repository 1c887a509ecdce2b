#include "tests/extractor/extractor_fixture.hpp"

#include <cstring>
#include <fstream>

#include "qorcpp/platform/module.hpp"
#include "tests/support/paths.hpp"

namespace tavi::test {

namespace {

namespace fs = std::filesystem;

fs::path copy_extractor(const fs::path& directory) {
    const std::string file_name = qor::platform::shared_library_file_name("qor_tavi_extractor");
    fs::copy_file(fs::path(library_folder) / file_name, directory / file_name);
    return directory / file_name;
}

// Puts a text over each place of another; what is shorter is filled up with zeros.
void overwrite(std::string& bytes, const std::string& old_text, std::string new_text) {
    new_text.resize(std::max(new_text.size(), old_text.size()), '\0');
    std::size_t place = bytes.find(old_text);
    ASSERT_NE(place, std::string::npos) << old_text;
    for (; place != std::string::npos; place = bytes.find(old_text, place + 1)) {
        bytes.replace(place, new_text.size(), new_text);
    }
}

void copy_text(char* target, std::size_t room, const std::string& text) {
    std::memcpy(target, text.data(), std::min(text.size(), room - 1));
}

} // namespace

fake_host::fake_host() {
    locator.context = this;
    locator.can_resolve = [](void* context, const char* service, bool* result, qor_error_details_t**) -> uint32_t {
        *result = static_cast<fake_host*>(context)->offers_log && std::string(service) == "qor_log_t";
        return QOR_STATUS_OK;
    };
    locator.resolve = [](void* context, const char* service, void* target, qor_error_details_t**) -> uint32_t {
        auto& self = *static_cast<fake_host*>(context);
        self.call_itself_back();
        *static_cast<void**>(target) =
            std::string(service) == "qor_log_t" ? static_cast<void*>(&self.log) : &self.control;
        return QOR_STATUS_OK;
    };
    log.context = this;
    log.log = [](void* context, const qor_log_info_t* info, qor_error_details_t** error) -> uint32_t {
        auto& self = *static_cast<fake_host*>(context);
        const std::string where = info->function, prefix = "qor::tavi::detail::";
        EXPECT_EQ(info->module + where.substr(0, prefix.size()), "libqor_tavi_extractor.so" + prefix);
        self.call_itself_back();
        self.records.push_back(std::to_string(info->level) + ' ' + where.substr(prefix.size()) + ": " + info->message);
        return self.log_fails ? qor_error_details_create(error, QOR_STATUS_TIMED_OUT, "log is full") : QOR_STATUS_OK;
    };
}

package::package(std::uint16_t source_id, std::uint32_t instance, const std::string& format, const std::string& payload)
    : bytes_(sizeof(qor_package_t) + payload.size()) {
    qor_package_t header{};
    header.source_id = source_id;
    header.instance = instance;
    copy_text(header.format_type, sizeof(header.format_type), format);
    header.payload_size = payload.size();
    std::memcpy(bytes_.data(), &header, sizeof(header));
    std::memcpy(bytes_.data() + sizeof(header), payload.data(), payload.size());
}

qor_data_source_t make_source(std::uint16_t id, std::uint32_t instance, const std::string& name) {
    qor_data_source_t source{};
    source.source_id = id;
    source.instance = instance;
    copy_text(source.name, sizeof(source.name), name);
    return source;
}

extractor_test::extractor_test() : api(copy_extractor(directory.path()).string()) {
    add_plugin("qor_signal_storage", "signal-storage", {});
    host.control.nodes = "view 1 0 View 5; object 2 1 Object 0x100 16 4; group 3 2 Group 4 4 2;"
                         "signal 4 3 Signal 1 1 3; object 5 1 Plain 0x200 8; signal 6 5 Byte 3";
    host.control.description_ids["one"] = 1; // the description to which the sample catalogue belongs
}

extractor_test::~extractor_test() {
    destroy();
    EXPECT_EQ(host.control.instances, 0) << "plug-in instances or description contexts are left";
    EXPECT_EQ(allocator.alive(), 0u) << "blocks are left";
    EXPECT_EQ(allocator.foreign, 0u) << "blocks were freed by an allocator that did not make them";
}

fakes::script& extractor_test::add_plugin(const std::string& name, const std::string& word, const formats& served,
                                          const std::string& without_symbol) {
    std::string bytes(fs::file_size(TAVI_FAKE_PLUGIN), '\0');
    std::ifstream(TAVI_FAKE_PLUGIN, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    overwrite(bytes, "qor-library-type=fake-plugin", "qor-library-type=" + word);
    if (!without_symbol.empty()) {
        overwrite(bytes, '\0' + without_symbol + '\0', '\0' + std::string(without_symbol.size(), 'x'));
    }
    const fs::path path = directory.path() / qor::platform::shared_library_file_name(name);
    fs::remove(path); // a new file, whoever still has the old one mapped
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    plugin(name).formats = served;
    return plugin(name);
}

outcome extractor_test::create(const char* uri, std::uint32_t flags) {
    return call(api.create, uri, flags, host_locator, &handle);
}

void extractor_test::destroy() {
    EXPECT_EQ(api.destroy(std::exchange(handle, nullptr)), QOR_STATUS_OK);
}

outcome extractor_test::register_descriptions(std::uint16_t id, std::uint32_t instance, const std::string& name,
                                              const std::vector<description>& descriptions) {
    std::vector<qor_data_description_content_t> contents;
    for (const description& given : descriptions) {
        qor_data_description_content_t& content = contents.emplace_back();
        copy_text(content.description.name, sizeof(content.description.name), given.name);
        copy_text(content.description.format_type, sizeof(content.description.format_type), given.type);
        content.content_size = given.content.size();
        content.content = given.content.data();
    }
    return collect(api.register_source_with_data_descriptions, id, instance, name.c_str(), contents.data(),
                   contents.size());
}

std::uint64_t extractor_test::subscribe(const std::string& url) {
    std::uint64_t subscription = 0;
    EXPECT_EQ(call(api.subscribe, handle, url.c_str(), false, &subscription), succeeded) << url;
    return subscription;
}

outcome extractor_test::try_match(const package& unit, bool strict) {
    std::uint64_t* found = nullptr;
    std::size_t count = 0;
    const outcome result = call(api.match, handle, unit.get(), strict, &found, &count, &allocator);
    handles.assign(found, found != nullptr ? found + count : found);
    allocator.free(found, allocator.context);
    return result;
}

outcome extractor_test::try_process(const package& unit, bool strict) {
    qor_dynamic_data_t** found = nullptr;
    std::size_t count = 0;
    const outcome result = call(api.process, handle, unit.get(), strict, &found, &count, &allocator);
    records.clear();
    for (std::size_t i = 0; found != nullptr && i < count; ++i) {
        const qor_dynamic_data_t& data = *found[i];
        records.push_back({data.subscription_handle,
                           {reinterpret_cast<const char*>(data.sequence.data), data.sequence.sequence_length},
                           data.declared_size});
        // A processor's record keeps its own sizes; the library's carries the length twice.
        EXPECT_TRUE(data.length == data.sequence.sequence_length || data.declared_size != 0);
        EXPECT_EQ(qor_dynamic_data_destroy(&allocator, found[i], nullptr), QOR_STATUS_OK);
    }
    allocator.free(found, allocator.context);
    return result;
}

} // namespace tavi::test
