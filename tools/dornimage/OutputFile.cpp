#include "OutputFile.h"

#include "ExitCode.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
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
    std::string pattern = (parent / ".dornimage-XXXXXX").string();
    if (!mkdtemp(pattern.data())) {
        fail("cannot write in folder " + parent.string() + ": " + std::strerror(errno));
    }
    folder_ = pattern;
}

OutputFile::~OutputFile() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

void OutputFile::commit() {
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
    fs::rename(written, target_, error);
    if (error) {
        fail(error.message());
    }
}

void OutputFile::fail(const std::string& cause) const {
    throw ToolError(ExitCode::output, name_, cause);
}

void copyFile(const std::string& from, const std::string& to) {
    if (access(from.c_str(), R_OK) != 0) {
        throw ToolError(ExitCode::input, from, std::strerror(errno));
    }
    OutputFile file(to);
    std::error_code error;
    if (!fs::copy_file(from, file.path(), error)) {
        throw ToolError(ExitCode::output, to, error.message());
    }
    file.commit();
}
