// Look-up in a map that has to hold the key.
#ifndef INTROSPECTION_XTYPES_CHECKED_MAP_HPP
#define INTROSPECTION_XTYPES_CHECKED_MAP_HPP

#include <stdexcept>

namespace qor::introspection::xtypes {

// Throws: std::out_of_range "invalid map<K, T> key", the same with every standard library.
template<typename Map>
const typename Map::mapped_type& value_at(const Map& map, const typename Map::key_type& key) {
    const auto entry = map.find(key);
    if (entry == map.end()) {
        throw std::out_of_range("invalid map<K, T> key");
    }
    return entry->second;
}

} // namespace qor::introspection::xtypes

#endif
