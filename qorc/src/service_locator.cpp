#include "qorc/service_locator.h"

#include "qorc/memory_allocator.h"
#include "qorc/single_service.hpp"

qor_service_locator_t* qor_get_default_service_locator(void) {
    static qor::single_service allocator("qor_memory_allocator_t", qor_get_default_allocator());
    return &allocator.locator;
}
