// What this library says of itself.
#include "qorc/metadata.h"

QOR_LIBRARY_METADATA("runtime-c")
