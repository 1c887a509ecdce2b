// Linkage of the C++ runtime's classes and functions.
#ifndef QORCPP_EXPORT_HPP
#define QORCPP_EXPORT_HPP

#if defined(_WIN32)
#if defined(QORCPP_BUILDING)
#define QORCPP_API __declspec(dllexport)
#else
#define QORCPP_API __declspec(dllimport)
#endif
#else
#define QORCPP_API __attribute__((visibility("default")))
#endif

#endif
