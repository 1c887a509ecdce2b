// Which of the messages of a J1939 parameter group gets frames whose id no message has.
#ifndef PLUGINS_DBC_PARSER_PARAMETER_GROUPS_HPP
#define PLUGINS_DBC_PARSER_PARAMETER_GROUPS_HPP

#include "plugins/dbc_parser/dbc_model.hpp"

namespace dbc_parser {

// Requires: all messages that the file marks as parameter groups are marked. Of those of one group only the first stays
// marked; of all messages with 29-bit ids in a group all but the first are known by their id alone.
void share_parameter_groups(dbc_file& file);

} // namespace dbc_parser

#endif
