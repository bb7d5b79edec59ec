#ifndef DORNIMAGE_PLATFORM_RESOURCES_H
#define DORNIMAGE_PLATFORM_RESOURCES_H

#include "base/Export.h"
#include "platform/Types.h"

#include <cstddef>

/* Resources of a module: the system's own on Windows. Elsewhere an application registers blocks of memory by
   module, type and name, and the calls of the same names find them. All of it may be called from any thread.
 */
#ifndef _WIN32

/* A module is a number of the application's choice in the form of a pointer; null is the application itself.
   It is compared and never looked into. */
typedef struct HINSTANCE__* HINSTANCE;
/* A found resource; never dereferenced, and never given out twice. */
typedef struct HRSRC__* HRSRC;

/* The resource of that type and name; null if there is none. */
DORNIMAGE_API HRSRC FindResourceW(HINSTANCE module, const wchar_t* name, const wchar_t* type);
/* Makes a found resource ready for LockResource; null if it is not, or no longer, of that module. Nothing
   needs to be freed. */
DORNIMAGE_API HGLOBAL LoadResource(HINSTANCE module, HRSRC resource);
/* Bytes of a found resource; 0 as LoadResource gives null. */
DORNIMAGE_API DWORD SizeofResource(HINSTANCE module, HRSRC resource);
/* The registered memory; null for a resource that was registered without any, or is registered no more. */
DORNIMAGE_API void* LockResource(HGLOBAL resource);

namespace dornplatform {

/* Registers `size` bytes under a type and a name, which are compared without regard to the case of the
   letters A to Z. The bytes are not copied: they must stay until the resource is unregistered and nobody uses
   it any more. `data` may be null only with a `size` of 0. False for a size above 32 bits, a null type or
   name, and a type and name that are taken. */
DORNIMAGE_API bool registerResource(HINSTANCE module, const wchar_t* type, const wchar_t* name,
                                    const void* data, std::size_t size);
/* Forgets a resource; false if there is none. Handles to it answer null and 0 from then on. */
DORNIMAGE_API bool unregisterResource(HINSTANCE module, const wchar_t* type, const wchar_t* name);

} // namespace dornplatform

#endif

#endif
