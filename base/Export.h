#ifndef DORNIMAGE_BASE_EXPORT_H
#define DORNIMAGE_BASE_EXPORT_H

/* Marks what libDornImage offers to its users; everything else stays hidden.
   Also valid in C, for primitives/primitives.h. */
#if defined(DORNIMAGE_STATIC)
#define DORNIMAGE_API
#elif defined(_WIN32)
#if defined(DORNIMAGE_BUILDING)
#define DORNIMAGE_API __declspec(dllexport)
#else
#define DORNIMAGE_API __declspec(dllimport)
#endif
#else
#define DORNIMAGE_API __attribute__((visibility("default")))
#endif

#endif
