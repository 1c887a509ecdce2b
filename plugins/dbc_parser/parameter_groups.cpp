// A frame whose id a message has is of that message. The group counts for other ids only, and then for one message: the
// first of the file. The matcher is called for messages that a host subscribes to, so that each message which gets
// frames by its group carries the ids that the others have.
//
// Example: A 0x18FEF100, B 0x18FEF121, C 0x0CFEF1FE, all marked: A stays marked and carries the ids of C and B; B and C
// are known by their ids alone.
#include "plugins/dbc_parser/parameter_groups.hpp"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "qorcpp/can_frame.hpp"

namespace dbc_parser {

namespace {

std::string ids_but(const std::vector<uint32_t>& ids, uint32_t own) {
    std::string text;
    for (const uint32_t id : ids) {
        if (id != own) {
            text.append(text.empty() ? "" : ",").append(std::to_string(id));
        }
    }
    return text;
}

// In the order of the file, at least one.
void share(const std::vector<dbc_message*>& members) {
    std::vector<uint32_t> ids;
    ids.reserve(members.size());
    bool is_taken = false;
    for (dbc_message* const message : members) {
        ids.push_back(message->frame_id);
        message->id_alone = message != members.front();
        message->parameter_group = message->parameter_group && !is_taken;
        is_taken = is_taken || message->parameter_group;
    }
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    for (dbc_message* const message : members) { // two at most
        if (message->parameter_group || !message->id_alone) {
            message->group_ids = ids_but(ids, message->frame_id);
        }
    }
}

} // namespace

void share_parameter_groups(dbc_file& file) {
    std::map<uint32_t, std::vector<dbc_message*>> groups;
    for (dbc_message& message : file.messages) {
        if ((message.frame_id & qor::can_extended_bit) != 0) {
            groups[qor::parameter_group(message.frame_id)].push_back(&message);
        }
    }
    for (const auto& [group, members] : groups) {
        share(members);
    }
}

} // namespace dbc_parser
