#ifndef DORNIMAGE_PLATFORM_THREAD_H
#define DORNIMAGE_PLATFORM_THREAD_H

#include "base/Export.h"
#include "platform/Types.h"

#ifndef _WIN32

/* The system's number of the calling thread, unique among the threads that live. */
DORNIMAGE_API DWORD GetCurrentThreadId();

#endif

#endif
