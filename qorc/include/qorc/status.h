/*
 * Status values.
 *
 * A status is an unsigned 32-bit number; 0 is success. The high 16 bits of any other value name a family, the low 16
 * bits a value of that family:
 *
 *      31            16 15             0
 *     +----------------+----------------+
 *     |     family     |     value      |      0xA0030016 = family 0xA003, value 22 (EINVAL)
 *     +----------------+----------------+
 */
#ifndef QORC_STATUS_H
#define QORC_STATUS_H

#include <stdint.h>

typedef uint32_t qor_status_t;

/* Families. */
#define QOR_STATUS_FAMILY_OWN UINT32_C(0xA0000000)     /* the system's own codes */
#define QOR_STATUS_FAMILY_RETRY UINT32_C(0xA0010000)   /* answers that ask for the call to be repeated */
#define QOR_STATUS_FAMILY_GENERIC UINT32_C(0xA0030000) /* a standard error number (errno) */
#define QOR_STATUS_FAMILY_STREAM UINT32_C(0xA0050000)  /* a code of the iostream category */
#define QOR_STATUS_FAMILY_OTHER UINT32_C(0xA0070000)   /* a code of any other category */

#define QOR_STATUS_OK UINT32_C(0)
/* Not an error: something the callee wants to tell. Callers swallow it. */
#define QOR_STATUS_INFORMATION UINT32_C(1)
#define QOR_STATUS_TIMED_OUT UINT32_C(0xA00005B4)
#define QOR_STATUS_NOT_IMPLEMENTED UINT32_C(0xA0000FA1)
/* A failure that no other value describes. */
#define QOR_STATUS_FAILURE UINT32_C(0xA0000FA5)
/* Only from a data source provider: the answer is not there yet, repeat the call with the same arguments. */
#define QOR_STATUS_NOT_READY UINT32_C(0xA0010001)
/* Errno 12, ENOMEM. */
#define QOR_STATUS_OUT_OF_MEMORY UINT32_C(0xA003000C)
/* Errno 17, EEXIST. */
#define QOR_STATUS_FILE_EXISTS UINT32_C(0xA0030011)
/* Errno 22, EINVAL. */
#define QOR_STATUS_INVALID_ARGUMENT UINT32_C(0xA0030016)
/* Errno 105, ENOBUFS: the caller's buffer is too small, the needed size was stored. Comes without error details. */
#define QOR_STATUS_BUFFER_TOO_SMALL UINT32_C(0xA0030069)

#endif
