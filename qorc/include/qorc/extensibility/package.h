/*
 * Package: one raw unit of recorded data, as a host hands it to the extractor and the extractor to plug-ins.
 *
 *      0    2    4        8                    55            63
 *     +----+----+--------+--------------------+-------------+----------- - -
 *     | id |    | inst.  | format type        | payload size| payload
 *     +----+----+--------+--------------------+-------------+----------- - -
 *
 * Example: source 0x0011, instance 2, format "can", a payload of 16 bytes (an 8-byte frame header and 8 data bytes) is
 * a block of 79 bytes: 11 00 00 00 02 00 00 00 'c' 'a' 'n' 00 ... 10 00 00 00 00 00 00 00, then the payload.
 */
#ifndef QORC_EXTENSIBILITY_PACKAGE_H
#define QORC_EXTENSIBILITY_PACKAGE_H

#include <stddef.h>
#include <stdint.h>

#pragma pack(push, 1)

/* Byte-packed; the payload follows the record, see qor_package_payload. */
typedef struct qor_package_t {
    /* Offset 0, low byte first. */
    uint16_t source_id;
    /* Offset 2, not read. */
    uint8_t unused[2];
    /* Offset 4. */
    uint32_t instance;
    /* Offset 8: format type specifier, zero-terminated, at most 46 bytes. An empty one makes the package generic. */
    char format_type[47];
    /* Offset 55: bytes of the payload. */
    uint64_t payload_size;
} qor_package_t;

#pragma pack(pop)

#ifdef __cplusplus
static_assert(sizeof(qor_package_t) == 63 && offsetof(qor_package_t, instance) == 4 &&
              offsetof(qor_package_t, format_type) == 8 && offsetof(qor_package_t, payload_size) == 55);
#endif

/* The first payload byte: offset 63. */
static inline const uint8_t* qor_package_payload(const qor_package_t* package) {
    return (const uint8_t*)package + sizeof(qor_package_t);
}

#endif
