/*
 * Library metadata: the text by which a library says what it is, readable from the file alone.
 *
 * Every library of the system holds, in a read-only section named ".qorrt", nothing but this text, zero-filled to
 * QOR_METADATA_SIZE bytes: one "key=value" a line, lines separated by one line feed, none behind the last:
 *
 *     qor-meta=nddictionary
 *     qor-sdk-version=1.0.0-0f3a5b7c
 *     build-configuration=release
 *     build-platform=Linux
 *     build-architecture=x64
 *     build-date=Nov 21 2026
 *     compiler=GNU
 *     compiler-version=120200
 *     qor-product-version=1.0.0-0f3a5b7c
 *     qor-library-type=data-matcher
 *
 * A plug-in is found by its last line: "signal-storage", "data-description-parser", "data-matcher", "data-processor".
 * The two runtimes are "runtime-c" and "runtime-cpp", the extractor is "tavi-extractor".
 */
#ifndef QORC_METADATA_H
#define QORC_METADATA_H

#include "qorc/build_info.h"
#include "qorc/export.h"

/* Size of the section in bytes. */
#define QOR_METADATA_SIZE 596

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The address of the block of the library that was asked, valid as long as the library is loaded. Cannot fail,
 * allocates nothing. Thread: any. Every library exports its own: look it up in the library's handle.
 */
QOR_EXPORT const char* qor_runtime_query_metadata(void);

#ifdef __cplusplus
}
#endif

#if defined(_MSC_VER)
#pragma section(".qorrt", read)
#define QOR_METADATA_SECTION __declspec(allocate(".qorrt"))
#else
#define QOR_METADATA_SECTION __attribute__((section(".qorrt"), used))
#endif

/* The text of a block; `type` and `version` are string literals. */
#define QOR_METADATA_TEXT(type, version)                                                                               \
    "qor-meta=nddictionary\n"                                                                                          \
    "qor-sdk-version=" QOR_BUILD_VERSION "\n"                                                                          \
    "build-configuration=" QOR_BUILD_CONFIGURATION "\n"                                                                \
    "build-platform=" QOR_BUILD_PLATFORM "\n"                                                                          \
    "build-architecture=" QOR_BUILD_ARCHITECTURE "\n"                                                                  \
    "build-date=" __DATE__ "\n"                                                                                        \
    "compiler=" QOR_BUILD_COMPILER "\n"                                                                                \
    "compiler-version=" QOR_BUILD_COMPILER_VERSION "\n"                                                                \
    "qor-product-version=" version "\n"                                                                                \
    "qor-library-type=" type

/*
 * Once in one source of a library, at file scope: its block and its qor_runtime_query_metadata. A macro since it has
 * to define a section and an exported symbol. `version` is the library's own version text.
 */
#define QOR_LIBRARY_METADATA_VERSION(type, version)                                                                    \
    QOR_METADATA_SECTION static const char qor_metadata_block[QOR_METADATA_SIZE] = QOR_METADATA_TEXT(type, version);   \
    const char* qor_runtime_query_metadata(void) {                                                                     \
        return qor_metadata_block;                                                                                     \
    }

/* The same for a library that is built with the system and shares its version. */
#define QOR_LIBRARY_METADATA(type) QOR_LIBRARY_METADATA_VERSION(type, QOR_BUILD_VERSION)

#endif
