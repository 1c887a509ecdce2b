#include "plugins/one/fine.hpp"
#include "plugins/two/neighbour.hpp"
