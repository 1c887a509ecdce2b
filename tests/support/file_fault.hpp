// Functions of the operating system by which files are read, failing on demand. A test program that uses this compiles
// tests/support/file_fault.cpp.
#ifndef TESTS_SUPPORT_FILE_FAULT_HPP
#define TESTS_SUPPORT_FILE_FAULT_HPP

#include <string>

namespace tavi::test {

// While the object exists `function` (stat, open, pread, opendir or readdir) fails with errno `number`; stat, open and
// opendir only for paths that end with `end`. There is one object at a time.
class file_fault {
public:
    file_fault(const char* function, int number, std::string end = {});
    ~file_fault();
    file_fault(const file_fault&) = delete;
    file_fault& operator=(const file_fault&) = delete;
};

} // namespace tavi::test

#endif
