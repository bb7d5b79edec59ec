#ifndef DORNIMAGE_PLATFORM_GLOBALMEMORY_H
#define DORNIMAGE_PLATFORM_GLOBALMEMORY_H

#include "base/Export.h"
#include "platform/Types.h"

/* Blocks of memory behind handles, as clipboards pass them on: the system's own on Windows, stand-ins
   elsewhere. Handles may be used from any thread; one that is not, or no longer, a block's is answered with
   null or 0. */
#ifndef _WIN32

/* A block that stays where it is; its handle is its address. */
constexpr UINT GMEM_FIXED = 0x0000;
/* A block behind a handle that only GlobalLock turns into an address. */
constexpr UINT GMEM_MOVEABLE = 0x0002;
/* Zeros in all bytes that the call adds. */
constexpr UINT GMEM_ZEROINIT = 0x0040;
constexpr UINT GHND = GMEM_MOVEABLE | GMEM_ZEROINIT;

/* A new block of `size` bytes, which may be 0, on a 16-byte boundary; null without memory. The caller gives
   it back with GlobalFree. Other flags are ignored. */
DORNIMAGE_API HGLOBAL GlobalAlloc(UINT flags, SIZE_T size);
/* Changes a block's size and keeps its bytes as far as they fit. The new handle, that of a moveable block
   being the old one; null, the block being as before, without memory, for a locked block, and for a fixed one
   unless `flags` has GMEM_MOVEABLE, which lets it move. */
DORNIMAGE_API HGLOBAL GlobalReAlloc(HGLOBAL memory, SIZE_T size, UINT flags);
/* Gives a block back, locked or not. Null, or the handle when there is no such block. */
DORNIMAGE_API HGLOBAL GlobalFree(HGLOBAL memory);
/* The block's address, valid until as many GlobalUnlock. Null for what is no block. */
DORNIMAGE_API void* GlobalLock(HGLOBAL memory);
/* Whether a moveable block is locked still. */
DORNIMAGE_API BOOL GlobalUnlock(HGLOBAL memory);
/* Bytes of a block. */
DORNIMAGE_API SIZE_T GlobalSize(HGLOBAL memory);

#endif

#endif
