#ifndef DORNIMAGE_PLATFORM_FILEOPERATIONS_H
#define DORNIMAGE_PLATFORM_FILEOPERATIONS_H

#include "base/Export.h"
#include "platform/Types.h"

/* Copying and moving files: the system's own on Windows, stand-ins elsewhere. Names are wide and reach the
   system as UTF-8. A target is never seen half written: data goes to a new file beside it, is brought to the
   disk, and takes the target's name at the end. On failure the source and an older target are as they were.
 */
#ifndef _WIN32

/* Flags of MoveFileExW. */
constexpr DWORD MOVEFILE_REPLACE_EXISTING = 1;
constexpr DWORD MOVEFILE_COPY_ALLOWED = 2;

/* Copies a regular file with its permission bits. With `failIfExists` an existing target is a failure;
   otherwise it is replaced, a link itself and not what it points to. A file can't be copied onto itself. */
DORNIMAGE_API BOOL CopyFileW(const wchar_t* existingName, const wchar_t* newName, BOOL failIfExists);

/* Moves a file. An existing file under the new name is replaced with MOVEFILE_REPLACE_EXISTING, a directory
   never. To another file system a regular file is moved with MOVEFILE_COPY_ALLOWED only: it is copied, and
   deleted once the copy is whole and on the disk; a source that can't be deleted then stays, and the move
   counts as done. */
DORNIMAGE_API BOOL MoveFileExW(const wchar_t* existingName, const wchar_t* newName, DWORD flags);

#endif

#endif
