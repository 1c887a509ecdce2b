// Why a file is passed over where libraries are looked for.
#ifndef QORCPP_UNUSABLE_FILE_HPP
#define QORCPP_UNUSABLE_FILE_HPP

#include <stdexcept>

namespace qor::runtime {

// The text is the reason alone: "not a shared library". What keeps a file from being examined, such as a lack of
// handles, is not reported by this type.
class unusable_file : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A whole library that does not describe itself.
class library_without_metadata : public unusable_file {
public:
    using unusable_file::unusable_file;
};

} // namespace qor::runtime

#endif
