#include <string>

#include <unistd.h>
