/* Linkage of the runtime's functions: C names, visible outside the library. */
#ifndef QORC_EXPORT_H
#define QORC_EXPORT_H

#if defined(_WIN32)
#if defined(QORC_BUILDING)
#define QORC_API __declspec(dllexport)
#else
#define QORC_API __declspec(dllimport)
#endif
/* Marks what a plug-in or library of its own exports. */
#define QOR_EXPORT __declspec(dllexport)
#else
#define QORC_API __attribute__((visibility("default")))
#define QOR_EXPORT __attribute__((visibility("default")))
#endif

#endif
