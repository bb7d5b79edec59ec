#include "OutputFile.h"

#include "ExitCode.h"
#include "ImageProcessing/DornImage/DornImage.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

bool bringToDisk(const fs::path& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    const bool synced = fsync(descriptor) == 0;
    const int reason = errno;
    close(descriptor);
    errno = reason;
    return synced;
}

constexpr char folderStem[] = ".dornimage-";
constexpr char folderEnd[] = "XXXXXX";
constexpr char outputName[] = "output";
constexpr char scratchName[] = "scratch"; // codecs add endings to it

// A lock on a folder, which goes with the process; -1 when there is none to be had.
int lockFolder(const char* folder, bool waits) {
    const int lock = open(folder, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (lock >= 0 && flock(lock, waits ? LOCK_EX : LOCK_EX | LOCK_NB) != 0) {
        close(lock);
        return -1;
    }
    return lock;
}

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

bool isNameOfOurs(const std::string& folderName) {
    return folderName.size() == std::strlen(folderStem) + std::strlen(folderEnd) &&
           startsWith(folderName, folderStem);
}

bool holdsOnlyOurs(const fs::path& folder) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        std::error_code unknown;
        if (!fs::is_regular_file(entry->symlink_status(unknown)) ||
            !(startsWith(name, outputName) || startsWith(name, scratchName))) {
            return false;
        }
    }
    return !error;
}

} // namespace

OutputFile::OutputFile(std::string target) : name_(std::move(target)), target_(name_) {
    std::error_code error;
    if (fs::is_symlink(target_, error)) {
        target_ = fs::weakly_canonical(target_, error);
        if (error) {
            fail(error.message());
        }
    }
    const fs::file_status status = fs::status(target_, error);
    if (status.type() == fs::file_type::directory) {
        fail("is a folder");
    }
    if (fs::exists(status) && status.type() != fs::file_type::regular) {
        fail("is not a regular file");
    }
    const fs::path parent = target_.has_parent_path() ? target_.parent_path() : fs::path(".");
    do {
        release();
        folder_ = (parent / (std::string(folderStem) + folderEnd)).string();
        if (!mkdtemp(folder_.data())) {
            fail("cannot write in folder " + parent.string() + ": " + std::strerror(errno));
        }
        // From here on nothing may throw, or the folder would stay.
        lock_ = lockFolder(folder_.c_str(), true);
        // Before it was locked, another process may have taken the folder for an abandoned one.
    } while (access(folder_.c_str(), F_OK) != 0);
}

OutputFile::~OutputFile() {
    // To empty it, it has to be opened, and that takes a descriptor and memory.
    if (rmdir(folder_.c_str()) != 0) {
        dorndisk::deleteDirectory(folder_);
    }
    release();
}

void OutputFile::release() {
    if (lock_ >= 0) {
        close(lock_);
        lock_ = -1;
    }
}

void OutputFile::discardAbandoned(const fs::path& folder) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (!isNameOfOurs(entry->path().filename().string())) {
            continue;
        }
        const int lock = lockFolder(entry->path().c_str(), false);
        if (lock >= 0) {
            std::error_code ignored;
            if (holdsOnlyOurs(entry->path())) {
                fs::remove_all(entry->path(), ignored);
            }
            close(lock);
        }
    }
}

std::string OutputFile::path() const {
    return (fs::path(folder_) / outputName).string();
}

std::string OutputFile::scratchPath() const {
    return (fs::path(folder_) / scratchName).string();
}

void OutputFile::commit(const Whole& whole) {
    const fs::path written = path();
    if (!bringToDisk(written)) {
        fail(std::strerror(errno));
    }
    std::error_code error;
    if (const fs::file_status replaced = fs::status(target_, error); fs::exists(replaced)) {
        fs::permissions(written, replaced.permissions(), error);
        if (error) {
            fail(error.message());
        }
    }
    if (whole) {
        whole(written.string());
    }
    fs::rename(written, target_, error);
    if (error) {
        fail(error.message());
    }
}

void OutputFile::fail(const std::string& cause) const {
    throw ToolError(ExitCode::output, name_, cause);
}

void copyFile(const std::string& from, const std::string& to, const OutputFile::Whole& whole) {
    if (access(from.c_str(), R_OK) != 0) {
        throw ToolError(ExitCode::input, from, std::strerror(errno));
    }
    OutputFile file(to);
    std::error_code error;
    if (!fs::copy_file(from, file.path(), error)) {
        throw ToolError(ExitCode::output, to, error.message());
    }
    file.commit(whole);
}
