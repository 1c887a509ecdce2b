#include "plugins/nmea_processor/layout.hpp"

namespace nmea_processor {

const object_layout* find_object(std::string_view view, std::string_view name, uint64_t address, uint32_t element_count,
                                 uint32_t element_size) noexcept {
    static constexpr const object_layout* objects[] = {&time_object, &position_object,  &velocity_object,
                                                       &fix_object,  &satellite_object, &statistics_object};
    for (const object_layout* const object : objects) {
        if (object->view == view && object->name == name && object->address == address &&
            object->element_count == element_count && object->element_size == element_size) {
            return object;
        }
    }
    return nullptr;
}

} // namespace nmea_processor
