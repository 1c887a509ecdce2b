/*
 * Filesystem: the means by which a parser reaches files besides the description that it is given.
 *
 * A provider opens filesystems (that of local files: qorcpp/filesystem_provider.hpp); a filesystem stays valid after
 * its provider is gone, until its `close`. Paths are UTF-8 with '/' between names. A relative path counts from the root
 * that the filesystem was opened with; the empty root is the process's working directory.
 *
 * Errors of all functions: QOR_STATUS_INVALID_ARGUMENT for a null argument that is needed, else the family
 * QOR_STATUS_FAMILY_GENERIC with the errno value and a text that names the path.
 * Thread: a filesystem has no state but its root, its functions may be called from several threads.
 */
#ifndef QORC_FILESYSTEM_H
#define QORC_FILESYSTEM_H

#include <stdbool.h>

#include "qorc/service_locator.h"
#include "qorc/string_sequence.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Nineteen pointer-sized fields; functions take `context` first. Owner: whoever opened it, by `close`. */
typedef struct qor_filesystem_t {
    uint32_t (*exists)(void* context, const char* path, bool* exists, qor_error_details_t** error);
    uint32_t (*is_directory)(void* context, const char* path, bool* is_directory, qor_error_details_t** error);
    /* Bytes of a file. */
    uint32_t (*get_size)(void* context, const char* path, uint64_t* size, qor_error_details_t** error);
    /* Reads up to `*size` bytes from `offset` on and stores in `*size` how many there were, 0 at the file's end. */
    uint32_t (*read)(void* context, const char* path, uint64_t offset, void* buffer, uint64_t* size,
                     qor_error_details_t** error);
    /* Makes the file hold exactly these bytes; it is created when missing. */
    uint32_t (*write)(void* context, const char* path, const void* buffer, uint64_t size, qor_error_details_t** error);
    /* Adds the bytes to the file's end; it is created when missing. */
    uint32_t (*append)(void* context, const char* path, const void* buffer, uint64_t size, qor_error_details_t** error);
    /* Removes a file or an empty directory. */
    uint32_t (*remove)(void* context, const char* path, qor_error_details_t** error);
    uint32_t (*rename)(void* context, const char* path, const char* new_path, qor_error_details_t** error);
    /* Creates a directory and those above it. */
    uint32_t (*create_directory)(void* context, const char* path, qor_error_details_t** error);
    /* The names in a directory, sorted by their bytes; freed by the caller with the same allocator. */
    uint32_t (*list)(void* context, const char* path, qor_memory_allocator_t* allocator,
                     qor_runtime_c_string_sequence_t** names, qor_error_details_t** error);
    /* Room for functions to come, null. */
    void* unused_11;
    void* unused_12;
    void* unused_13;
    void* unused_14;
    void* unused_15;
    void* unused_16;
    void* unused_17;
    /* Frees the filesystem, this record included. */
    uint32_t (*close)(void* context, qor_error_details_t** error);
    void* context;
} qor_filesystem_t;

/* Service "qor_filesystem_provider_support_t" of a filesystem provider; functions take the provider's handle first. */
typedef struct qor_filesystem_provider_support_t {
    /* Stores a text that names the kind of the provider, valid as long as it: "local". */
    uint32_t (*get_name)(void* handle, const char** name, qor_error_details_t** error);
    /* Opens the filesystem below `root`, an existing directory or the empty text. */
    uint32_t (*open_filesystem)(void* handle, const char* root, qor_filesystem_t** filesystem,
                                qor_error_details_t** error);
} qor_filesystem_provider_support_t;

#ifdef __cplusplus
}
#endif

#endif
