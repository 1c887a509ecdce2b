// Failures below SQLite, which the plug-in and the tests share: of its memory, and of calls on files.
#ifndef TESTS_SIGNAL_STORAGE_SQLITE_FAULTS_HPP
#define TESTS_SIGNAL_STORAGE_SQLITE_FAULTS_HPP

namespace tavi::test {

enum class fault_kind {
    none,
    memory,    // allocations
    input,     // opens, reads and sizes of files, locks
    output,    // writes, truncations, synchronisations, removals
    disk_full, // as output, with the status of a full disk
};

// While it lives, SQLite's calls go through it, and files are not synchronised, which takes most of a commit's time.
// Requires: no connection is open when it begins and ends.
class sqlite_faults {
public:
    explicit sqlite_faults(fault_kind kind);
    ~sqlite_faults();
    sqlite_faults(const sqlite_faults&) = delete;
    sqlite_faults& operator=(const sqlite_faults&) = delete;

    // From now on call number `count`, counted from 1, fails; with `for_good` all after it too.
    void arm(unsigned count, bool for_good);

    // Nothing fails from now on. Returns whether something did.
    bool disarm();
};

} // namespace tavi::test

#endif
