/*
 * Signal storage: the plug-in that holds the catalogue. There is one, in the library "qor_signal_storage" beside the
 * extractor (libqor_signal_storage.so).
 *
 * The life of a storage:
 *   1. qor_signal_storage_open gives a handle; qor_signal_storage_get_service_locator its locator.
 *   2. The tables qor_signal_storage_t, qor_signal_storage_access_t and qor_signal_storage_maintenance_t are resolved
 *      and copied. Their functions take the table's last field, `context`, first.
 *   3. For each description: create_context, then a parser's add_ calls, then commit, then destroy of the context.
 *      Destroy without commit leaves nothing behind.
 *   4. Queries of the access table.
 *   5. qor_signal_storage_destroy.
 *
 * Thread: the functions of the tables may be called by several threads at once. An extractor takes its lock for most of
 * its calls, but not for the node queries and the reader filter of its host (get_root_nodes, get_node_children,
 * get_node_hierarchy) nor for checkpoint: each of these may run beside others and beside one call under the lock. The
 * functions of one description context come one at a time.
 * Calling back: see plugin.h.
 * Errors: through details only. A description, node, path or signature that is not there is
 * QOR_STATUS_INVALID_ARGUMENT with a text that names it. What the storage cannot read as it was written is
 * QOR_STATUS_FAILURE with a text that names it and the storage's file, never an answer that may be wrong.
 */
#ifndef QORC_EXTENSIBILITY_SIGNAL_STORAGE_H
#define QORC_EXTENSIBILITY_SIGNAL_STORAGE_H

#include "qorc/service_locator.h"
#include "qorc/type_node.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Context types. The low two bits say what kind of description a parser brings, bit 2 marks a description that a data
 * processor brought. Descriptions of equal content, name and context type are one description.
 */
#define QOR_CONTEXT_TYPE_GENERAL 0
#define QOR_CONTEXT_TYPE_BUS 1
#define QOR_CONTEXT_TYPE_FROM_PROCESSOR 4

/*
 * Values of open_mode. Writing creates what is missing. A storage opened for reading only still takes descriptions that
 * it holds already, so that a parser can run as ever; a new one is an error of create_context.
 */
#define QOR_SIGNAL_STORAGE_MODE_READ_WRITE 0
#define QOR_SIGNAL_STORAGE_MODE_READ_ONLY 1

/* Bits of signal_storage_flags; an unknown bit is QOR_STATUS_INVALID_ARGUMENT. */
#define QOR_SIGNAL_STORAGE_READ_ONLY UINT32_C(1)  /* as the open mode: for hosts, who cannot choose that */
#define QOR_SIGNAL_STORAGE_MUST_EXIST UINT32_C(2) /* a catalogue that is missing is an error, it is not created */

/* Limits of what one query gives. A storage that counts more is refused: the query fails. */
#define QOR_SIGNAL_STORAGE_MAX_NODES 16777216       /* nodes of a sequence */
#define QOR_SIGNAL_STORAGE_MAX_SIGNATURE_SIZE 65536 /* bytes of a signature, terminator counted */

/*
 * A description context: one description on its way into the storage. The record lives in the storage and is handed to
 * the parser as it stands. All nodes enter in one transaction.
 *
 * add_1, add_2, add_4 and add_5 are called by parsers, each under the name beside it.
 */
typedef struct qor_signal_storage_context_t {
    union {
        uint32_t (*add_1)(void* context, const qor_type_node_t* node, uint64_t* node_id, qor_error_details_t** error);
        /*
         * Adds one node with its texts (name, comment, unit, value table, presence), which are copied. `parent_id` is 0
         * for a view, else an id that an earlier call of this context gave; siblings keep the order in which they come.
         * `id` and `description_id` are not read. Stores the new id in `*node_id` when that is not null.
         *
         * Errors: QOR_STATUS_INVALID_ARGUMENT for a null node, an empty name, a kind outside 1 to 4, an unknown parent,
         * a child that its parent's kind cannot have (a view stands at the root, objects below views or objects,
         * groups below objects or groups, signals below objects or groups).
         */
        uint32_t (*add_node)(void* context, const qor_type_node_t* node, uint64_t* node_id,
                             qor_error_details_t** error);
    };
    union {
        uint32_t (*add_2)(void* context, const qor_type_node_t* nodes, uint64_t count, uint64_t* node_ids,
                          qor_error_details_t** error);
        /*
         * Adds `count` siblings in a row, each as add_node; `node_ids` has room for `count` ids or is null. All records
         * have the same parent_id. On an error none of them was added.
         */
        uint32_t (*add_nodes)(void* context, const qor_type_node_t* nodes, uint64_t count, uint64_t* node_ids,
                              qor_error_details_t** error);
    };
    /* Makes the description durable and stores its id. The same description registered again gives the same id. */
    uint32_t (*commit)(void* context, uint64_t* description_id, qor_error_details_t** error);
    union {
        uint32_t (*add_4)(void* context, uint64_t node_id, const char* value_table, qor_error_details_t** error);
        /*
         * Sets or replaces the value table of a signal of this context, in the form of qor_signal_node_t::value_table:
         * for languages whose tables come after their signals.
         */
        uint32_t (*add_value_table)(void* context, uint64_t node_id, const char* value_table,
                                    qor_error_details_t** error);
    };
    union {
        uint32_t (*add_5)(void* context, uint64_t node_id, const char* key, const char* text,
                          qor_error_details_t** error);
        /*
         * Keeps a named text with a node of this context, or with the description itself for node_id 0: attributes of
         * the language that the node record has no field for. The key "comment" sets the node's comment.
         */
        uint32_t (*add_text)(void* context, uint64_t node_id, const char* key, const char* text,
                             qor_error_details_t** error);
    };
    /* Ends the context and frees the record; without a commit before it, nothing stays. */
    uint32_t (*destroy)(void* context, qor_error_details_t** error);
    void* context;
} qor_signal_storage_context_t;

/* Service "qor_signal_storage_t": six fields. Fields named reserved are not called and may be null. */
typedef struct qor_signal_storage_t {
    void* reserved_1;
    /*
     * Opens a description context. `buffer` is the raw content of the description, `size` its bytes, `name` its name;
     * all are read during the call only.
     */
    uint32_t (*create_context)(void* context, uint8_t context_type, const void* buffer, size_t size, const char* name,
                               qor_signal_storage_context_t** new_context, qor_error_details_t** error);
    void* reserved_3;
    /* Brings the storage's file up to date. */
    uint32_t (*checkpoint)(void* context, qor_error_details_t** error);
    void* reserved_5;
    void* context;
} qor_signal_storage_t;

/*
 * Service "qor_signal_storage_access_t": thirteen fields. Nodes and sequences that come back belong to the caller, who
 * frees them under the default allocator. A sequence has at most QOR_SIGNAL_STORAGE_MAX_NODES nodes.
 */
typedef struct qor_signal_storage_access_t {
    /* The node of the last level of a path, names joined by '.', the view first. Id 0 searches all descriptions. */
    uint32_t (*find_node)(void* context, uint64_t description_id, const char* path, qor_type_node_t** node,
                          qor_error_details_t** error);
    void* reserved_2;
    /* The views of a description, in the order in which they were added. */
    uint32_t (*get_root_nodes)(void* context, uint64_t description_id, qor_type_node_sequence_t** nodes,
                               qor_error_details_t** error);
    /* The nodes directly below one; takes the record of which only the id is read. A null node is an error. */
    uint32_t (*get_node_children)(void* context, const qor_type_node_t* node, qor_type_node_sequence_t** nodes,
                                  qor_error_details_t** error);
    /* The nodes from the view down to the given one, root first. */
    uint32_t (*get_node_hierarchy)(void* context, uint64_t node_id, qor_type_node_sequence_t** nodes,
                                   qor_error_details_t** error);
    /* The node, then all below it in depth-first order: parents before children, siblings in their order. */
    uint32_t (*get_node_subtree)(void* context, uint64_t node_id, qor_type_node_sequence_t** nodes,
                                 qor_error_details_t** error);
    void* reserved_7;
    void* reserved_8;
    /*
     * The signature of a description. `*size` is the room in bytes and becomes what is needed, terminator counted. Too
     * little room: QOR_STATUS_BUFFER_TOO_SMALL without details. At most QOR_SIGNAL_STORAGE_MAX_SIGNATURE_SIZE.
     */
    uint32_t (*get_signature)(void* context, uint64_t description_id, char* buffer, size_t* size,
                              qor_error_details_t** error);
    /* The reverse. */
    uint32_t (*get_description_id)(void* context, const char* signature, uint64_t* description_id,
                                   qor_error_details_t** error);
    void* reserved_11;
    void* reserved_12;
    void* context;
} qor_signal_storage_access_t;

/*
 * Service "qor_signal_storage_search_t", optional: many descriptions in one call. A storage that offers it keeps an
 * index, so that what a source is subscribed to is found at the same cost however many descriptions the source has.
 */
typedef struct qor_signal_storage_search_t {
    /*
     * Stores in `*index` the place of the first of `description_ids`, `id_count` of them, in which
     * qor_signal_storage_access_t::find_node would find `path`, and `id_count` when none has it, which is no error. An
     * id that the storage does not know does not have it. Fails where find_node, asked for one after another, would
     * fail for another reason than that a path is not there.
     */
    uint32_t (*find_first)(void* context, const uint64_t* description_ids, size_t id_count, const char* path,
                           size_t* index, qor_error_details_t** error);
    void* context;
} qor_signal_storage_search_t;

/* Service "qor_signal_storage_maintenance_t". The extractor resolves it and never calls it. */
typedef struct qor_signal_storage_maintenance_t {
    /* Checks the storage's file for damage and gives back unused room. */
    uint32_t (*compact)(void* context, qor_error_details_t** error);
    void* context;
} qor_signal_storage_maintenance_t;

/* Entry symbols. */
typedef uint32_t (*qor_signal_storage_open_t)(const char* uri, uint8_t open_mode, uint32_t signal_storage_flags,
                                              qor_service_locator_t* host_locator, void** handle,
                                              qor_error_details_t** error);
typedef void (*qor_signal_storage_destroy_t)(void* handle);
typedef uint32_t (*qor_signal_storage_get_service_locator_t)(void* handle, qor_service_locator_t** locator,
                                                             qor_error_details_t** error);

#ifdef __cplusplus
}

static_assert(sizeof(qor_signal_storage_context_t) == 7 * sizeof(void*) &&
              sizeof(qor_signal_storage_t) == 6 * sizeof(void*) &&
              sizeof(qor_signal_storage_access_t) == 13 * sizeof(void*) &&
              sizeof(qor_signal_storage_maintenance_t) == 2 * sizeof(void*));
#endif

#endif
