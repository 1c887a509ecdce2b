// Any text as a URL expression: it is parsed, or refused with one of the documented exceptions, and a parsed one
// resolves against any hierarchy. A text and a stream of the same bytes have to give the same.
//
// Input: number of hierarchy nodes (a byte), their element count (a byte), the expression.
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "qor_tavi_extractor/src/url/driver.hpp"
#include "qor_tavi_extractor/src/url/url_context.hpp"

namespace {

using namespace qor::tavi::detail;

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

std::string described(const url& url) {
    std::string text;
    for (std::size_t index = 0; index < url.size(); ++index) {
        const url_token& token = url.token(index);
        text += token.name() + (token.has_index() ? std::to_string(token.index()) : "") + "|";
    }
    return text;
}

// The first node is a view, the others go through the array kinds.
std::vector<qor_type_node_t> make_nodes(std::uint8_t count, std::uint8_t element_count) {
    std::vector<qor_type_node_t> nodes(count);
    for (std::size_t index = 0; index < nodes.size(); ++index) {
        nodes[index].kind = static_cast<std::uint8_t>(index == 0 ? QOR_TYPE_NODE_VIEW : 2 + index % 3);
        nodes[index].object.element_count = element_count;
        nodes[index].group.element_count = element_count;
        nodes[index].signal.element_count = element_count;
    }
    return nodes;
}

template<typename Source>
std::string outcome(Source&& source, const qor_type_node_sequence_t& hierarchy) {
    std::shared_ptr<url_context> context;
    try {
        context = driver().parse(source);
    } catch (const std::invalid_argument& fault) {
        std::string text = fault.what();
        require(text.find(": syntax error, unexpected ") != text.npos ||
                text.find(": unterminated string ") != text.npos);
        return text;
    } catch (const std::out_of_range& fault) {
        require(fault.what() == std::string("stoi argument out of range"));
        return fault.what();
    }
    require(context->size() >= 3);
    require(context->source().filter() == nullptr && context->at(1).filter() == nullptr);
    const std::string path = context->location_path();
    require(!path.empty());
    try {
        const auto url = context->resolve(hierarchy);
        require(url->size() == context->size());
        return path + '|' + described(*url);
    } catch (const std::runtime_error& fault) {
        return fault.what();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    std::cout.setstate(std::ios::failbit); // line feeds are copied there
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    auto nodes = make_nodes(data[0], data[1]);
    const qor_type_node_sequence_t hierarchy = {nodes.data(), nodes.size()};
    const std::string expression(reinterpret_cast<const char*>(data) + 2, size - 2);
    std::istringstream stream(expression);
    require(outcome(expression, hierarchy) == outcome(stream, hierarchy));
    return 0;
}
