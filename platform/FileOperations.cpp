#include "platform/FileOperations.h"

#include "base/FileName.h"
#include "platform/FileDescriptor.h"
#include "platform/FileState.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using dornplatform::FileDescriptor;
using dornplatform::FileState;

std::string directoryOf(const std::string& name) {
    const std::string::size_type slash = name.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : name.substr(0, slash);
}

bool isDirectory(const std::string& name) {
    struct stat state;
    return ::lstat(name.c_str(), &state) == 0 && S_ISDIR(state.st_mode);
}

/* Gives a file another name on the same file system, over an existing file only if `replace`. */
bool renameFile(const std::string& from, const std::string& to, bool replace) {
    if (isDirectory(to)) {
        errno = EEXIST;
        return false;
    }
    if (replace) {
        return ::rename(from.c_str(), to.c_str()) == 0;
    }
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return false;
    }
    // A file system without that flag; a second name is refused as well when the name is taken.
    if (::link(from.c_str(), to.c_str()) != 0) {
        return false;
    }
    if (::unlink(from.c_str()) == 0) {
        return true;
    }
    const int cause = errno;
    ::unlink(to.c_str());
    errno = cause;
    return false;
}

bool copyBytes(int from, int to) {
    std::vector<char> buffer(256 * 1024);
    for (;;) {
        const ssize_t got = ::read(from, buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return got == 0;
        }
        for (ssize_t done = 0; done < got;) {
            const ssize_t part = ::write(to, buffer.data() + done, static_cast<std::size_t>(got - done));
            if (part < 0 && errno != EINTR) {
                return false;
            }
            done += part > 0 ? part : 0;
        }
    }
}

/* A new file beside the target, which goes away again unless it takes the target's name. */
class FileBeside {
public:
    explicit FileBeside(const std::string& target)
        : name_(directoryOf(target) + "/.copy-XXXXXX"), file_(::mkostemp(name_.data(), O_CLOEXEC)) {}
    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;
    ~FileBeside() {
        if (exists_) {
            ::unlink(name_.c_str());
        }
    }

    bool isOpen() const { return exists_; }

    bool fill(int source, mode_t mode) {
        return copyBytes(source, file_.get()) && ::fchmod(file_.get(), mode) == 0 &&
               ::fsync(file_.get()) == 0 && file_.close();
    }

    bool takeName(const std::string& target, bool replace) {
        exists_ = !renameFile(name_, target, replace);
        return !exists_;
    }

private:
    std::string name_;
    FileDescriptor file_;
    bool exists_ = static_cast<bool>(file_);
};

/* Whether the names in a directory are on the disk, as far as the file system lets anyone see to it. */
bool syncDirectory(const std::string& name) {
    const FileDescriptor directory(::open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return directory && (::fsync(directory.get()) == 0 || errno == EINVAL);
}

FileState stateOf(const struct stat& file) {
    return {file.st_dev, file.st_ino, file.st_size, file.st_mtim.tv_sec, file.st_mtim.tv_nsec};
}

/* `copied` is the state of the source that the copy holds. */
bool copyFile(const std::string& from, const std::string& to, bool replace, FileState& copied) {
    struct stat source;
    const FileDescriptor file = dornplatform::openRegularFile(from.c_str(), source);
    if (!file || to.empty()) {
        return false;
    }
    struct stat target;
    if (::stat(to.c_str(), &target) == 0) {
        const bool same = target.st_dev == source.st_dev && target.st_ino == source.st_ino;
        if (same || !replace) {
            return false;
        }
    }
    FileBeside copy(to);
    // The permissions of the source without the bits that lend a user's or group's rights.
    if (!copy.isOpen() || !copy.fill(file.get(), source.st_mode & 0777)) {
        return false;
    }
    // A source that somebody wrote to meanwhile is in no state that the copy could hold.
    copied = stateOf(source);
    return ::fstat(file.get(), &source) == 0 && stateOf(source) == copied && copy.takeName(to, replace);
}

std::string nameOf(const wchar_t* name) {
    return name ? dorndisk::systemName(name) : std::string();
}

} // namespace

bool dornplatform::getFileState(const std::string& name, FileState& state) {
    struct stat file;
    if (::stat(name.c_str(), &file) != 0) {
        return false;
    }
    state = stateOf(file);
    return true;
}

BOOL CopyFileW(const wchar_t* existingName, const wchar_t* newName, BOOL failIfExists) {
    FileState copied{};
    return copyFile(nameOf(existingName), nameOf(newName), !failIfExists, copied);
}

BOOL MoveFileExW(const wchar_t* existingName, const wchar_t* newName, DWORD flags) {
    const std::string from = nameOf(existingName);
    const std::string to = nameOf(newName);
    const bool replace = (flags & MOVEFILE_REPLACE_EXISTING) != 0;
    if (renameFile(from, to, replace)) {
        return TRUE;
    }
    FileState copied{};
    if (errno != EXDEV || (flags & MOVEFILE_COPY_ALLOWED) == 0 || !copyFile(from, to, replace, copied)) {
        return FALSE;
    }
    // The source goes when the copy is sure to stay, and only if the name still leads to what was copied.
    FileState present{};
    if (syncDirectory(directoryOf(to)) && dornplatform::getFileState(from, present) && present == copied) {
        ::unlink(from.c_str());
    }
    return TRUE;
}
