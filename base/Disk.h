#ifndef DORNIMAGE_BASE_DISK_H
#define DORNIMAGE_BASE_DISK_H

#include "base/Export.h"
#include "base/Velmora.h"

#include <cstdio>
#include <string>

/* Files and temporary names. Wide names reach the system as UTF-8. Nothing here throws, except when memory
   runs out; a name with an embedded zero names no file, and every operation fails on it. */
namespace dorndisk {

/* A file by name. */
class DORNIMAGE_API File {
public:
    /* Keeps the name; the file is not touched. */
    explicit File(const Velmora::pstring& name);

    /* Opens the file as fopen does with that mode. Null on failure. The caller owns the result and closes it
       with fclose; the destructor of the File leaves it open. */
    std::FILE* open(const char* mode) const;

private:
    Velmora::pstring name_;
};

/* Deletes one file, or one link without what it points to. A directory is not deleted. */
DORNIMAGE_API bool deleteFile(const Velmora::u8string& name);
DORNIMAGE_API bool deleteFile(const std::wstring& name);

/* Deletes a directory with all that is in it. Links in it are deleted and never followed, and a link in the
   place of the directory is refused. What can't be deleted stays, the rest goes all the same, and the result
   is false. Each level of folders takes one open file of the process while it is emptied. */
DORNIMAGE_API bool deleteDirectory(const Velmora::u8string& name);

/* Makes a new directory for this user alone (mode 0700) in the system's temporary place: the directory named
   by TMPDIR if that is an absolute path, else /tmp. Its name starts with `prefix`, which may not hold a
   separator, and goes on with letters by chance. Writes the full path to `path` on success only. */
DORNIMAGE_API bool createTempDir(const Velmora::u8string& prefix, Velmora::u8string& path);

/* Makes a new empty file for this user alone (mode 0600) in `directory`, never one that exists: `name`,
   letters by chance, and `extension` as it is, with a dot put in front if it lacks one and isn't empty.
   Neither may hold a separator; an empty directory fails. Writes the full path to `path` on success only. */
DORNIMAGE_API bool createTempFile(const std::wstring& directory, const std::wstring& name,
                                  const std::wstring& extension, std::wstring& path);

} // namespace dorndisk

#endif
