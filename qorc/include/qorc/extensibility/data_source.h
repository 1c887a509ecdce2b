/*
 * Data source: a producer of raw packages, known by a source id, an instance number and a name.
 *
 * The low 4 bits of a source id are the source type, the upper 12 bits the source class.
 */
#ifndef QORC_EXTENSIBILITY_DATA_SOURCE_H
#define QORC_EXTENSIBILITY_DATA_SOURCE_H

#include <stddef.h>

#include "qorc/error_details.h"

#ifdef __cplusplus
extern "C" {
#endif

#pragma pack(push, 1)

/* 589 bytes without padding. All texts are zero-terminated UTF-8; what is not used is zero. */
typedef struct qor_data_source_t {
    /* Offset 0. */
    uint16_t source_id;
    /* Offset 2. */
    uint32_t instance;
    /* Offset 6; zero in records that the extractor builds. */
    uint8_t flag;
    /* Offset 7: number of data descriptions of the source. */
    uint64_t data_description_count;
    /* Offset 15: free text, passed on to providers and processors. */
    char text_15[32];
    /* Offset 47: name, at most 254 bytes. */
    char name[255];
    /* Offset 302: free text, passed on. */
    char text_302[255];
    /* Offset 557: free text, passed on. */
    char text_557[32];
} qor_data_source_t;

/* 271 bytes without padding: which description of a source, and in which language it is written. */
typedef struct qor_data_description_t {
    /* Offset 0: name, at most 254 bytes. */
    char name[255];
    /* Offset 255: the type word by which a parser is chosen, such as "dbc", at most 15 bytes. */
    char format_type[16];
} qor_data_description_t;

/* 287 bytes without padding: a description with its text. */
typedef struct qor_data_description_content_t {
    qor_data_description_t description;
    /* Offset 271: bytes of `content`. */
    uint64_t content_size;
    /* Offset 279. Owner: the caller, valid for the duration of the call that takes the record. */
    const void* content;
} qor_data_description_content_t;

#pragma pack(pop)

/*
 * Turns a name into one that stands as a source in a URL expression without quotes.
 *
 * Letters, digits, '_' and '-' stay; every other character (a UTF-8 character of several bytes counts as one) becomes
 * '_'; what then does not begin with a letter or '_' gets a leading '_'; the empty name becomes "_".
 * "Front Radar.2" gives "Front_Radar_2", "3rd" gives "_3rd", " x" gives "_x".
 *
 * input   zero-terminated
 * output  room for `*size` bytes
 * size    in: bytes of room; out: bytes needed, terminator counted
 *
 * Returns 0, or QOR_STATUS_BUFFER_TOO_SMALL without details when `output` is null or too small. Details:
 * QOR_STATUS_INVALID_ARGUMENT for a null input or size.
 */
QORC_API uint32_t qor_data_source_sanitize_name(const char* input, char* output, size_t* size,
                                                qor_error_details_t** error);

#ifdef __cplusplus
}

namespace qor::extensibility {

using data_source = ::qor_data_source_t;
using data_description = ::qor_data_description_t;
using data_description_content = ::qor_data_description_content_t;

} // namespace qor::extensibility

static_assert(sizeof(qor_data_source_t) == 589 && offsetof(qor_data_source_t, instance) == 2 &&
              offsetof(qor_data_source_t, flag) == 6 && offsetof(qor_data_source_t, data_description_count) == 7 &&
              offsetof(qor_data_source_t, text_15) == 15 && offsetof(qor_data_source_t, name) == 47 &&
              offsetof(qor_data_source_t, text_302) == 302 && offsetof(qor_data_source_t, text_557) == 557);
static_assert(sizeof(qor_data_description_t) == 271 && offsetof(qor_data_description_t, format_type) == 255);
static_assert(sizeof(qor_data_description_content_t) == 287 &&
              offsetof(qor_data_description_content_t, content_size) == 271 &&
              offsetof(qor_data_description_content_t, content) == 279);
#endif

#endif
