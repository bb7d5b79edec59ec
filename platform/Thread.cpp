#include "platform/Thread.h"

#include <unistd.h>

DWORD GetCurrentThreadId() {
    return static_cast<DWORD>(::gettid());
}
