#pragma once

/// Exports a symbol from the shared library; all others stay hidden.
/// Define QV_STATIC when using the static library on Windows; QV_BUILD is set while building.
#if defined(_WIN32) && !defined(QV_STATIC)
#if defined(QV_BUILD)
#define QV_EXPORT __declspec(dllexport)
#else
#define QV_EXPORT __declspec(dllimport)
#endif
#elif defined(_WIN32)
#define QV_EXPORT
#else
#define QV_EXPORT __attribute__((visibility("default")))
#endif
