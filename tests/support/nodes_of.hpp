// Nodes of a catalogue, written as text.
#ifndef TESTS_SUPPORT_NODES_OF_HPP
#define TESTS_SUPPORT_NODES_OF_HPP

#include <deque>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include "qorc/type_node.h"

namespace tavi::test {

// Nodes of "object 1 9 O 256 20; signal 2 1 a 4": kind, id and parent, name or '-' for none, then offset, address or
// cycle (0), size of an element (1) and number of elements (1). Other kinds than the four are numbers. Signals are of
// unsigned bytes. The nodes belong to description 1 unless another is told.
class nodes_of {
public:
    nodes_of() = default;
    nodes_of(const char* text) { add(text); }
    nodes_of(nodes_of&&) = default;
    nodes_of& operator=(nodes_of&&) = default;

    void add(const std::string& text, std::uint64_t description = 1) {
        std::istringstream parts(text);
        for (std::string part; std::getline(parts, part, ';');) {
            std::istringstream words(part);
            std::string kind, name;
            std::uint64_t numbers[] = {0, 1, 1};
            qor_type_node_t& node = nodes_.emplace_back();
            words >> kind >> node.id >> node.parent_id >> name >> std::setbase(0);
            for (std::uint64_t read = 0, at = 0; words >> read; ++at) {
                numbers[at] = read;
            }
            const auto place = static_cast<std::uint32_t>(numbers[0]), size = static_cast<std::uint32_t>(numbers[1]),
                       count = static_cast<std::uint32_t>(numbers[2]);
            const std::size_t letter = std::string("0vogs").find(kind[0]);
            node.kind = static_cast<std::uint8_t>(letter != std::string::npos ? letter : kind[0] - '0');
            node.name = name == "-" ? nullptr : names_.emplace_back(name).c_str();
            node.description_id = description;
            node.view.cycle = place;
            node.object = {numbers[0], 0, count, size, 0};
            node.group = {place, count, size};
            node.signal.offset = place;
            node.signal.bit_length = 8;
            node.signal.element_size = size;
            node.signal.element_count = count;
            node.signal.converted_kind = 0x4083;
            node.signal.numerator_x1 = node.signal.denominator_x0 = 1;
        }
    }

    std::vector<qor_type_node_t>& nodes() { return nodes_; }
    qor_type_node_sequence_t sequence() { return {nodes_.data(), nodes_.size()}; }

private:
    std::deque<std::string> names_;
    std::vector<qor_type_node_t> nodes_;
};

} // namespace tavi::test

#endif
