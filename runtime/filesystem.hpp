// A filesystem as parsers receive it, opened by a provider.
#ifndef RUNTIME_FILESYSTEM_HPP
#define RUNTIME_FILESYSTEM_HPP

#include <memory>

#include "qorc/filesystem.h"

namespace qor::runtime::io {

class filesystem : public std::enable_shared_from_this<filesystem> {
public:
    // `table` is closed at the end when it is owned.
    filesystem(qor_filesystem_t* table, bool owned) noexcept : table(table), owned(owned) {}
    filesystem(const filesystem&) = delete;
    filesystem& operator=(const filesystem&) = delete;
    // Whatever closing reports is swallowed.
    virtual ~filesystem();

    qor_filesystem_t* table;
    const bool owned;
};

} // namespace qor::runtime::io

#endif
