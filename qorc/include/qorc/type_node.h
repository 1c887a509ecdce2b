/*
 * Catalogue node: what the signal storage says of one level of a description.
 *
 * A description is a forest of views; below a view stand objects, below objects groups and signals, below groups more
 * of both. The record is 424 bytes, little-endian, the same for all kinds: which fields count depends on `kind`.
 *
 * All texts are zero-terminated UTF-8, null when absent. Those of a record that the functions below made belong to it;
 * those of a record that a parser fills are only read.
 */
#ifndef QORC_TYPE_NODE_H
#define QORC_TYPE_NODE_H

#include "qorc/error_details.h"
#include "qorc/memory_allocator.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Values of qor_type_node_t::kind. */
#define QOR_TYPE_NODE_VIEW 1
#define QOR_TYPE_NODE_OBJECT 2
#define QOR_TYPE_NODE_GROUP 3
#define QOR_TYPE_NODE_SIGNAL 4

/* Values of qor_signal_node_t::byte_order; see the signal types for how each walks over the bytes. */
#define QOR_BYTE_ORDER_LITTLE_ENDIAN 0
#define QOR_BYTE_ORDER_BIG_ENDIAN 1
#define QOR_BYTE_ORDER_INCONSISTENT_BIG_ENDIAN 2

/* Values of qor_signal_node_t::encoding. */
#define QOR_ENCODING_UNSPECIFIED 0
#define QOR_ENCODING_SIGN_MAGNITUDE 1
#define QOR_ENCODING_ONES_COMPLEMENT 2
#define QOR_ENCODING_TWOS_COMPLEMENT 3

/*
 * Bits of qor_object_node_t::flags. An object with a 29-bit CAN id is matched by that id, and may also be matched by
 * its J1939 parameter group: with the first bit in all packages, without the second in packages of the format "j1939".
 */
#define QOR_OBJECT_PARAMETER_GROUP UINT32_C(1) /* by group in all packages */
#define QOR_OBJECT_ID_ALONE UINT32_C(2)        /* by id alone in "j1939": another of the description has the group */

/* Bits of qor_signal_node_t::multiplexing. */
#define QOR_MULTIPLEXING_SELECTOR 1    /* other signals' presence depends on this one */
#define QOR_MULTIPLEXING_MULTIPLEXED 2 /* present only under the condition in `presence` */

/* What a view node adds. Offset 72. */
typedef struct qor_view_node_t {
    /* Cycle id; 0 when the view has none. */
    uint32_t cycle;
} qor_view_node_t;

/* What an object node adds. Offset 144. */
typedef struct qor_object_node_t {
    /* Absolute address: a memory address, a CAN id (bit 31 set for 29-bit ids), or what the description's kind uses. */
    uint64_t address;
    /* QOR_OBJECT_ bits, for matchers. */
    uint32_t flags;
    /* Number of array elements, 1 when it is no array. */
    uint32_t element_count;
    /* Bytes of one element. */
    uint32_t element_size;
    uint32_t unused_164;
} qor_object_node_t;

/* What a group node adds. Offset 240. */
typedef struct qor_group_node_t {
    /* Byte offset in the parent. */
    uint32_t offset;
    uint32_t element_count;
    uint32_t element_size;
} qor_group_node_t;

/* What a signal node adds. Offset 280. */
typedef struct qor_signal_node_t {
    uint32_t unused_280;
    /* Byte offset in the parent. */
    uint32_t offset;
    /* Position of the first bit, counted from the first byte of the signal. */
    uint32_t bit_offset;
    /* Width of the value in bits. */
    uint32_t bit_length;
    uint32_t element_size;
    uint32_t element_count;
    /* Type kind of the stored value (introspection/xtypes/type_kind.hpp); 0 when equal to converted_kind. */
    uint16_t raw_kind;
    /* Type kind of the physical value. */
    uint16_t converted_kind;
    /* QOR_ENCODING_ value. */
    uint8_t encoding;
    /* QOR_BYTE_ORDER_ value; anything but 1 and 2 counts as 0. */
    uint8_t byte_order;
    /* QOR_MULTIPLEXING_ bits. */
    uint8_t multiplexing;
    uint8_t unused_311;
    /*
     * When the signal is in its object: conditions joined by '&', all of which must hold; null means always.
     * A condition reads the bits of a selector in the same object:
     *     <byte offset>:<bit offset>:<bit length>[/<raw bits>]:<byte order>:<signed 0|1>:<selector name>=<ranges>
     * with the byte offset counted from the object's start, <raw bits> the width of the selector's raw kind (by default
     * of the narrowest integer), the rest as in its node, and ranges "first-last" or single values in decimal, joined
     * by ','. Example: "0:0:4:0:0:S0=2,5-7&0:4:4:0:0:S1=0". A negative value has its sign: "-3--1" is -3 to -1.
     */
    const char* presence;
    /* Conversion: (n2 x^2 + n1 x + n0) / (d2 x^2 + d1 x + d0), x the stored value. */
    double numerator_x2;
    double numerator_x1;
    double numerator_x0;
    double denominator_x2;
    double denominator_x1;
    double denominator_x0;
    /* Limits of the physical value; both 0 when the description gives none. */
    double minimum;
    double maximum;
    /* Unit of the physical value; the same text stands in signal_suffix. */
    const char* unit;
    /* Value table: entries "<stored value>=<text>" joined by line feeds, which texts hold as "\n", and "\" as "\\". */
    const char* value_table;
    /* Free text that becomes part of the signal type's name: the unit. */
    const char* signal_suffix;
    /* Bytes of signal_suffix; 0 when there is none, the text is then not read. */
    uint64_t signal_suffix_length;
} qor_signal_node_t;

typedef struct qor_type_node_t {
    /* The node's id in the storage; 0 in a record that a parser fills. */
    uint64_t id;
    /* The id of the node above; 0 for a root. */
    uint64_t parent_id;
    uint8_t unused_16[4];
    /* QOR_TYPE_NODE_ value. */
    uint8_t kind;
    uint8_t unused_21[3];
    const char* name;
    /* Free text for people. */
    const char* comment;
    /* The description that the node belongs to; set by the storage. */
    uint64_t description_id;
    uint8_t unused_48[24];
    qor_view_node_t view;
    uint8_t unused_76[68];
    qor_object_node_t object;
    /*
     * Objects only: ids that other objects of the description have in the parameter group of this one. Packages with
     * these ids are not matched by the group. In decimal, with bit 31, ascending, joined by ','; null for none.
     */
    const char* group_ids;
    uint8_t unused_176[64];
    qor_group_node_t group;
    uint8_t unused_252[28];
    qor_signal_node_t signal;
    /* The block that holds all texts of the record; null when the texts belong to someone else. Runtime only. */
    void* texts;
} qor_type_node_t;

typedef struct qor_type_node_sequence_t {
    /* `count` records in a row. */
    qor_type_node_t* nodes;
    uint64_t count;
} qor_type_node_sequence_t;

/*
 * Deep copy: the record and all texts. The texts are one block.
 * Errors: QOR_STATUS_INVALID_ARGUMENT for a null argument, QOR_STATUS_OUT_OF_MEMORY; `*copy` is then null.
 * Owner: the caller, by qor_type_node_destroy with the same allocator.
 */
QORC_API uint32_t qor_type_node_clone(qor_memory_allocator_t* allocator, const qor_type_node_t* source,
                                      qor_type_node_t** copy, qor_error_details_t** error);

/* Frees a record that qor_type_node_clone or a storage made; a null node is ignored. */
QORC_API uint32_t qor_type_node_destroy(qor_memory_allocator_t* allocator, qor_type_node_t* node,
                                        qor_error_details_t** error);

/* A sequence of `count` zeroed places. Errors as for qor_type_node_clone. Count 0 gives an empty sequence. */
QORC_API uint32_t qor_type_node_sequence_create(qor_memory_allocator_t* allocator, uint64_t count,
                                                qor_type_node_sequence_t** sequence, qor_error_details_t** error);

/*
 * Stores a deep copy of `node` at `index`, freeing the texts of what stands there; `node` stays the caller's.
 * Errors: QOR_STATUS_INVALID_ARGUMENT for a null argument or an index beyond the end, QOR_STATUS_OUT_OF_MEMORY.
 */
QORC_API uint32_t qor_type_node_sequence_put(qor_memory_allocator_t* allocator, qor_type_node_sequence_t* sequence,
                                             uint64_t index, const qor_type_node_t* node, qor_error_details_t** error);

/* Frees the sequence with its nodes; a null sequence is ignored. */
QORC_API uint32_t qor_type_node_sequence_destroy(qor_memory_allocator_t* allocator, qor_type_node_sequence_t* sequence,
                                                 qor_error_details_t** error);

#ifdef __cplusplus
}

#include <cstddef>

static_assert(sizeof(qor_type_node_t) == 424 && sizeof(qor_type_node_sequence_t) == 16);
static_assert(offsetof(qor_type_node_t, id) == 0 && offsetof(qor_type_node_t, parent_id) == 8 &&
              offsetof(qor_type_node_t, kind) == 20 && offsetof(qor_type_node_t, name) == 24);
static_assert(offsetof(qor_type_node_t, view.cycle) == 72);
static_assert(offsetof(qor_type_node_t, object.address) == 144 &&
              offsetof(qor_type_node_t, object.element_count) == 156 &&
              offsetof(qor_type_node_t, object.element_size) == 160 && offsetof(qor_type_node_t, group_ids) == 168);
static_assert(offsetof(qor_type_node_t, group.offset) == 240 && offsetof(qor_type_node_t, group.element_count) == 244 &&
              offsetof(qor_type_node_t, group.element_size) == 248);
static_assert(offsetof(qor_type_node_t, signal.offset) == 284 && offsetof(qor_type_node_t, signal.bit_offset) == 288 &&
              offsetof(qor_type_node_t, signal.bit_length) == 292 &&
              offsetof(qor_type_node_t, signal.element_size) == 296 &&
              offsetof(qor_type_node_t, signal.element_count) == 300 &&
              offsetof(qor_type_node_t, signal.raw_kind) == 304 &&
              offsetof(qor_type_node_t, signal.converted_kind) == 306 &&
              offsetof(qor_type_node_t, signal.encoding) == 308 && offsetof(qor_type_node_t, signal.byte_order) == 309);
static_assert(offsetof(qor_type_node_t, signal.numerator_x2) == 320 &&
              offsetof(qor_type_node_t, signal.denominator_x0) == 360 &&
              offsetof(qor_type_node_t, signal.signal_suffix) == 400 &&
              offsetof(qor_type_node_t, signal.signal_suffix_length) == 408);
#endif

#endif
