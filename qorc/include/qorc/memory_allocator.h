/*
 * Memory allocator: the table by which memory crosses a library's boundary.
 *
 * Whoever frees memory uses the table that allocated it. Unlike in every other table, the context comes last.
 */
#ifndef QORC_MEMORY_ALLOCATOR_H
#define QORC_MEMORY_ALLOCATOR_H

#include <stddef.h>

#include "qorc/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct qor_memory_allocator_t {
    /* `size` bytes, aligned for any scalar; null when memory ran out. */
    void* (*malloc)(size_t size, void* context);
    /* Frees what malloc, realloc or calloc of this table gave; null is ignored. */
    void (*free)(void* memory, void* context);
    /* As the C function: the old block stays valid when null comes back. */
    void* (*realloc)(void* memory, size_t size, void* context);
    /* `count` times `size` bytes, all zero; null when the product overflows or memory ran out. */
    void* (*calloc)(size_t count, size_t size, void* context);
    /* `alignment` is a power of two. */
    void* (*aligned_malloc)(size_t alignment, size_t size, void* context);
    /* Frees what aligned_malloc of this table gave; null is ignored. */
    void (*aligned_free)(void* memory, void* context);
    /* Passed as the last argument of each function. */
    void* context;
} qor_memory_allocator_t;

/* The process-wide allocator over the C heap. Never null, never to be freed. Thread: any. */
QORC_API qor_memory_allocator_t* qor_get_default_allocator(void);

#ifdef __cplusplus
}
#endif

#endif
