#include "platform/FileOperations.h"

#include "base/Velmora.h"

#include "tests/ScratchDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <optional>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using dorntest::readFile;
using dorntest::ScratchDirectory;
using dorntest::writeFile;

constexpr DWORD replaceOrCopy = MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED;
const fs::perms ownerOnly = fs::perms::owner_read | fs::perms::owner_write;

std::wstring wide(const fs::path& name) {
    std::wstring result;
    Velmora::c_u8u16(result, name.string());
    return result;
}

BOOL copy(const fs::path& from, const fs::path& to, bool failIfExists) {
    return CopyFileW(wide(from).c_str(), wide(to).c_str(), failIfExists);
}

BOOL move(const fs::path& from, const fs::path& to, DWORD flags) {
    return MoveFileExW(wide(from).c_str(), wide(to).c_str(), flags);
}

/* Lets files grow to so many bytes for as long as it lives. */
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : oldHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &old_);
        const rlimit limited{bytes, old_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limited);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &old_);
        std::signal(SIGXFSZ, oldHandler_);
    }

private:
    void (*oldHandler_)(int);
    rlimit old_{};
};

class FileOperationsTest : public testing::Test {
protected:
    ScratchDirectory scratch_;
    const fs::path source_ = scratch_ / "so\xC3\xBCrce \xE2\x82\xAC";
    const fs::path target_ = scratch_ / "target";
};

TEST_F(FileOperationsTest, CopiesWholeFilesWithTheirMode) {
    const std::string big(700 * 1024 + 13, 'x');
    writeFile(source_, big);
    fs::permissions(source_, ownerOnly | fs::perms::group_read | fs::perms::set_uid);
    EXPECT_TRUE(copy(source_, target_, true));
    EXPECT_EQ(readFile(target_), big);
    EXPECT_EQ(fs::status(target_).permissions(), ownerOnly | fs::perms::group_read);

    writeFile(source_, "new");
    EXPECT_FALSE(copy(source_, target_, true));
    EXPECT_EQ(readFile(target_), big);
    EXPECT_TRUE(copy(source_, target_, false));
    EXPECT_EQ(readFile(target_), "new");
    EXPECT_EQ(readFile(source_), "new");
    EXPECT_EQ(dorntest::entryCount(scratch_.path()), 2);
}

TEST_F(FileOperationsTest, RefusesToCopyWhatIsNoOtherFile) {
    writeFile(source_, "kept");
    fs::create_hard_link(source_, scratch_ / "same");
    fs::create_directory(scratch_ / "folder");
    fs::create_symlink("nowhere", scratch_ / "dangling");
    ASSERT_EQ(::mkfifo((scratch_ / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(copy(source_, source_, false));
    EXPECT_FALSE(copy(source_, scratch_ / "same", false));
    EXPECT_FALSE(copy(source_, scratch_ / "folder", false));
    EXPECT_FALSE(copy(source_, scratch_ / "missing/target", false));
    EXPECT_FALSE(copy(source_, scratch_ / "dangling", true));
    EXPECT_FALSE(copy(source_, "", false));
    EXPECT_FALSE(copy(scratch_ / "folder", target_, false));
    EXPECT_FALSE(copy(scratch_ / "pipe", target_, false));
    EXPECT_FALSE(copy(scratch_ / "missing", target_, false));
    EXPECT_FALSE(CopyFileW(nullptr, wide(target_).c_str(), FALSE));
    EXPECT_FALSE(CopyFileW(wide(source_).c_str(), nullptr, FALSE));
    EXPECT_EQ(readFile(source_), "kept");
    EXPECT_EQ(dorntest::entryCount(scratch_.path()), 5);

    // A link in the place of the target gives way; what it names is not written to.
    fs::create_symlink("same", target_);
    writeFile(scratch_ / "other", "other");
    EXPECT_TRUE(copy(scratch_ / "other", target_, false));
    EXPECT_EQ(readFile(target_), "other");
    EXPECT_EQ(readFile(scratch_ / "same"), "kept");
}

TEST_F(FileOperationsTest, MovesOverAFileOnlyWhenTold) {
    writeFile(source_, "new");
    writeFile(target_, "old");
    fs::create_directory(scratch_ / "folder");
    EXPECT_FALSE(move(source_, target_, 0));
    EXPECT_FALSE(move(source_, target_, MOVEFILE_COPY_ALLOWED));
    EXPECT_FALSE(move(source_, scratch_ / "folder", replaceOrCopy));
    EXPECT_FALSE(move(scratch_ / "missing", target_, replaceOrCopy));
    EXPECT_FALSE(MoveFileExW(nullptr, wide(target_).c_str(), replaceOrCopy));
    EXPECT_EQ(readFile(target_), "old");
    EXPECT_TRUE(move(source_, target_, replaceOrCopy));
    EXPECT_EQ(readFile(target_), "new");
    EXPECT_FALSE(fs::exists(source_));
    EXPECT_TRUE(move(target_, source_, 0));
    EXPECT_EQ(readFile(source_), "new");
    EXPECT_EQ(dorntest::entryCount(scratch_.path()), 2);
}

/* With the source on a file system in memory. */
class OtherFileSystemTest : public FileOperationsTest {
protected:
    void SetUp() override {
        struct stat here;
        struct stat there;
        const char* const memory = "/dev/shm";
        if (::stat(memory, &there) != 0 || ::stat(scratch_.path().c_str(), &here) != 0 ||
            here.st_dev == there.st_dev || ::access(memory, W_OK) != 0) {
            GTEST_SKIP() << "no second file system at " << memory;
        }
        away_.emplace(memory);
        far_ = *away_ / "page";
        writeFile(far_, std::string(100000, 'p'));
        fs::permissions(far_, ownerOnly | fs::perms::others_read);
        writeFile(target_, "old");
    }

    std::optional<ScratchDirectory> away_;
    fs::path far_;
};

TEST_F(OtherFileSystemTest, AMoveIsACopyAndADelete) {
    EXPECT_FALSE(move(far_, target_, MOVEFILE_REPLACE_EXISTING));
    EXPECT_FALSE(move(far_, target_, MOVEFILE_COPY_ALLOWED));
    EXPECT_EQ(readFile(target_), "old");
    EXPECT_TRUE(fs::exists(far_));
    EXPECT_TRUE(move(far_, target_, replaceOrCopy));
    EXPECT_FALSE(fs::exists(far_));
    EXPECT_EQ(readFile(target_), std::string(100000, 'p'));
    EXPECT_EQ(fs::status(target_).permissions(), ownerOnly | fs::perms::others_read);
    EXPECT_EQ(dorntest::entryCount(scratch_.path()), 1);
}

TEST_F(OtherFileSystemTest, ACopyThatBreaksOffLeavesBothAsTheyWere) {
    {
        const FileSizeLimit limit(60000);
        EXPECT_FALSE(move(far_, target_, replaceOrCopy));
        EXPECT_FALSE(copy(far_, scratch_ / "new", false));
    }
    EXPECT_EQ(readFile(far_).size(), 100000u);
    EXPECT_EQ(readFile(target_), "old");
    EXPECT_EQ(dorntest::entryCount(scratch_.path()), 1);
}

} // namespace
