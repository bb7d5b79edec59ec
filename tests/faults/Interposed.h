#ifndef DORNIMAGE_TESTS_FAULTS_INTERPOSED_H
#define DORNIMAGE_TESTS_FAULTS_INTERPOSED_H

#include "Faults.h"

#include <dlfcn.h>

// The functions that are marked so stand in front of the system's for every library of the process.
#define DORN_INTERPOSED extern "C" [[gnu::visibility("default")]]

namespace faults {

// Whether this call is the one to fail.
bool fails(Kind kind);

// Between arm() and disarm(), but for a Pause.
bool isArmed();

// Whether an address lies in the code of the library or of the tool.
bool isOurs(void* address);

// The function that another one stands in front of.
template <class Function>
Function* next(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace faults

#endif
