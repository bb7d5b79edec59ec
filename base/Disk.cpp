#include "base/Disk.h"

#include "base/FileName.h"

#include <cerrno>
#include <cstdlib>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dorndisk {

namespace {

constexpr std::string_view chancePart = "-XXXXXX";

bool hasZero(std::string_view text) {
    return text.find('\0') != std::string_view::npos;
}

/* Whether the text may be a part of one name in a directory. */
bool isNamePart(std::string_view text) {
    return !hasZero(text) && text.find('/') == std::string_view::npos;
}

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
using DirectoryPtr = std::unique_ptr<DIR, DirectoryCloser>;

/* Opens a directory by its name in `parent`, itself and not through a link. */
DirectoryPtr openDirectory(int parent, const char* name) {
    const int descriptor = ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0) {
        return nullptr;
    }
    DirectoryPtr directory(::fdopendir(descriptor));
    if (!directory) {
        ::close(descriptor);
    }
    return directory;
}

/* Far deeper than any tree of the library's own, and far from the end of the stack. */
constexpr int deepestLevel = 1000;

/* Every step works on a name relative to a directory that is held open, so that a directory which is swapped
   for a link meanwhile leads nowhere. */
bool deleteDirectoryAt(int parent, const char* name, int level = 0) {
    bool emptied = true;
    {
        const DirectoryPtr directory = openDirectory(parent, name);
        if (!directory || level > deepestLevel) {
            return false;
        }
        const int self = ::dirfd(directory.get());
        while (const dirent* entry = ::readdir(directory.get())) {
            const std::string_view entryName = entry->d_name;
            if (entryName == "." || entryName == "..") {
                continue;
            }
            // Linux answers EISDIR for a directory, other systems EPERM.
            if (::unlinkat(self, entry->d_name, 0) != 0) {
                const bool mayBeDirectory = errno == EISDIR || errno == EPERM;
                emptied = mayBeDirectory && deleteDirectoryAt(self, entry->d_name, level + 1) && emptied;
            }
        }
    }
    return emptied && ::unlinkat(parent, name, AT_REMOVEDIR) == 0;
}

std::string temporaryPlace() {
    const char* const place = ::secure_getenv("TMPDIR");
    return place && place[0] == '/' ? place : "/tmp";
}

} // namespace

std::string systemName(std::wstring_view name) {
    std::string narrow;
    Velmora::c_u16u8(narrow, name);
    return hasZero(narrow) ? std::string() : narrow;
}

File::File(const Velmora::pstring& name) : name_(name) {}

std::FILE* File::open(const char* mode) const {
    return std::fopen(systemName(name_).c_str(), mode);
}

bool deleteFile(const Velmora::u8string& name) {
    return !hasZero(name) && ::unlink(name.c_str()) == 0;
}

bool deleteFile(const std::wstring& name) {
    return deleteFile(Velmora::u8string(systemName(name)));
}

bool deleteDirectory(const Velmora::u8string& name) {
    // With a separator at its end a link would be followed. Names without one, such as those of temporary
    // directories, are not copied: their owners' destructors come here, and memory may be short.
    const std::size_t end = name.find_last_not_of('/');
    if (end == std::string::npos || hasZero(name)) {
        return false;
    }
    return end + 1 == name.size() ? deleteDirectoryAt(AT_FDCWD, name.c_str())
                                  : deleteDirectoryAt(AT_FDCWD, name.substr(0, end + 1).c_str());
}

bool createTempDir(const Velmora::u8string& prefix, Velmora::u8string& path) {
    if (!isNamePart(prefix)) {
        return false;
    }
    std::string name = temporaryPlace().append("/").append(prefix).append(chancePart);
    if (!::mkdtemp(name.data())) {
        return false;
    }
    path = std::move(name);
    return true;
}

bool createTempFile(const std::wstring& directory, const std::wstring& name, const std::wstring& extension,
                    std::wstring& path) {
    const std::string place = systemName(directory);
    std::string stem;
    std::string suffix;
    Velmora::c_u16u8(stem, name);
    Velmora::c_u16u8(suffix, extension);
    if (place.empty() || !isNamePart(stem) || !isNamePart(suffix)) {
        return false;
    }
    if (!suffix.empty() && suffix.front() != '.') {
        suffix.insert(suffix.begin(), '.');
    }
    std::string full = place + "/" + stem;
    full.append(chancePart).append(suffix);
    path.reserve(full.size()); // no memory is needed once the file is there
    const int descriptor = ::mkostemps(full.data(), static_cast<int>(suffix.size()), O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    ::close(descriptor);
    Velmora::c_u8u16(path, full);
    return true;
}

} // namespace dorndisk
