// What becomes of what the tool writes when memory, a file, the disk or the codec fails it at any one point:
// it tells, what it leaves is whole, and --resume does the rest.

#include "CleanInputs.h"
#include "CleanRun.h"
#include "FaultTest.h"
#include "ImageProcessing/DornImage/DornImage.h"
#include "PictureWriter.h"
#include "tests/ImageProcessing/DornImage/ListModel.h"

#include <cstring>
#include <iostream>
#include <map>
#include <set>

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;
using faults::Kind;

namespace {

// For its lifetime nothing of the tool's is shown.
class Silence {
public:
    Silence() : out_(std::cout.rdbuf(nullptr)), error_(std::cerr.rdbuf(nullptr)) {}
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    ~Silence() {
        std::cout.rdbuf(out_);
        std::cerr.rdbuf(error_);
    }

private:
    std::streambuf* out_;
    std::streambuf* error_;
};

using ToolFaults = faults::FaultTest;

TEST_F(ToolFaults, AFileIsReplacedInOnePieceOrStays) {
    const std::string place = (folder / "place").string();
    fs::create_directory(place);
    const std::string target = place + "/picture";
    const std::string before = "what was there";
    for (const auto format : {FIF_PNG, FIF_JPEG, FIF_TIFF, FIF_BMP, FIF_GIF}) {
        SCOPED_TRACE(FreeImage_GetFormatFromFIF(format));
        const ImageRef picture = format == FIF_GIF ? newPage(pageKinds[2], 40, 36) : colourPage(40, 36);
        for (const Kind kind :
             {Kind::allocation, Kind::codec, Kind::open, Kind::diskFull, Kind::diskBroken, Kind::cutWrite}) {
            const bool loses = format == FIF_JPEG && (kind == Kind::diskFull || kind == Kind::diskBroken);
            failEach(
                kind,
                [&]() -> Outcome {
                    {
                        const faults::Pause pause;
                        OutputFile::discardAbandoned(place);
                        dorntest::writeFile(target, before);
                    }
                    bool written = true;
                    try {
                        CodecMessages messages;
                        PictureWriter(target, format, {}, messages).writeSingle(*picture);
                    } catch (const ToolError&) {
                        written = false;
                    } catch (const std::bad_alloc&) {
                        written = false;
                    }
                    const faults::Pause pause;
                    EXPECT_TRUE(dorntest::entryCount(place) == 1 || kind == Kind::open);
                    const std::string content = dorntest::readFile(target);
                    EXPECT_TRUE(written || content == before);
                    return written ? Outcome(std::hash<std::string>()(content)) : std::nullopt;
                },
                loses ? Codec::losesMemory : Codec::keepsMemory);
        }
    }
}

using Files = std::map<std::string, std::string>;

class CleanFaults : public ToolFaults {
protected:
    CleanFaults() {
        fs::create_directory(in);
        const ImageRef fine = colourPage(40, 36);
        setResolution(fine, 200, 200);
        EXPECT_TRUE(fine->Save(FIF_PNG, in + "/1.png", 0));
        const ImageRef camera = newPage(pageKinds[2], 48, 32);
        lieOnItsSide(camera);
        EXPECT_TRUE(camera->Save(FIF_JPEG, in + "/2.jpg", 0));
        const ImageRef fax = newPage(pageKinds[0], 40, 20);
        setResolution(fax, 100, 50);
        EXPECT_TRUE(fax->Save(FIF_TIFF, in + "/3.tif"));
        const ImageRef empty = newPage(pageKinds[2], 64, 64);
        std::memset(FreeImage_GetBits(empty->getFIBTMAP()), 250, 64 * 64);
        EXPECT_TRUE(empty->Save(FIF_PNG, in + "/4.png", 0));
    }

    static void setResolution(const ImageRef& page, unsigned x, unsigned y) {
        FreeImage_SetDotsPerMeterX(page->getFIBTMAP(), x * 10000 / 254);
        FreeImage_SetDotsPerMeterY(page->getFIBTMAP(), y * 10000 / 254);
    }

    static void lieOnItsSide(const ImageRef& page) {
        constexpr char exif[] = "Exif\0\0II*\0\10\0\0\0\1\0\22\1\3\0\1\0\0\0\6\0\0\0\0\0\0";
        DornImage::FITagPtr tag;
        EXPECT_TRUE(tag.Create() && tag.SetTagKey("ExifRaw") && tag.SetTagType(FIDT_BYTE) &&
                    tag.SetTagCount(sizeof exif) && tag.SetTagLength(sizeof exif) && tag.SetTagValue(exif));
        EXPECT_TRUE(FreeImage_SetMetadata(FIMD_EXIF_RAW, page->getFIBTMAP(), "ExifRaw", tag.Get()));
    }

    // What the tool's process answers.
    ExitCode clean(const std::string& output, bool resume) const {
        const Silence silence;
        try {
            CleanPlan plan;
            plan.settings.dpi = 100;
            plan.settings.enlarge = false;
            plan.pages = pagesOf({in}, Decoding{});
            CleanOptions options;
            options.output = out + output;
            options.resume = resume;
            options.jobs = 1;
            options.progress = ProgressKind::none;
            return runClean(plan, options);
        } catch (const ToolError& error) {
            return error.code();
        } catch (const std::exception&) {
            return ExitCode::limits;
        }
    }

    // What a process of its own answers.
    template <class Work>
    static int inProcess(Work work) {
        const pid_t child = fork();
        if (child == 0) {
            _exit(work());
        }
        int status = -1;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // How a process ends in which that call fails.
    int cleanWithFault(const std::string& output, Kind kind, unsigned n) const {
        return inProcess([&] {
            // The JSON library needs memory to take its objects away, and ends the process without.
            if (kind == Kind::allocation) {
                std::set_terminate([] { _exit(ended); });
            }
            faults::arm(kind, n);
            const ExitCode code = clean(output, false);
            const bool hasFailed = faults::disarm();
            // It also loses a block when it can't get the next.
            const bool loses = kind != Kind::allocation && !faults::leaks().empty();
            return loses ? lost : hasFailed ? static_cast<int>(code) : cameThrough;
        });
    }

    // But for the journal and the pages that wait for a book; folders with a slash.
    Files written() const {
        Files files;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(out)) {
            const std::string name = fs::relative(entry, out).string();
            if (entry.is_directory()) {
                files[name + '/'];
            } else {
                files[name] = dorntest::readFile(entry.path());
            }
        }
        for (auto file = files.begin(); file != files.end();) {
            file = file->first.find("dornimage-clean") != std::string::npos ? files.erase(file) : ++file;
        }
        return files;
    }

    void startAnew() const {
        fs::remove_all(out);
        fs::create_directory(out);
    }

    // Lets each call fail in turn, or one of so many.
    void failEachOfClean(const std::string& output, Kind kind, unsigned step = 1) {
        startAnew();
        EXPECT_EQ(clean(output, false), ExitCode::done);
        const Files expected = written();
        unsigned runs = 0;
        unsigned endedRuns = 0;
        int code = 0;
        for (unsigned n = 1; code != cameThrough && n < 20000 && !HasFailure(); n += step) {
            startAnew();
            code = cleanWithFault(output, kind, n);
            SCOPED_TRACE("call " + std::to_string(n) + " of kind " + std::to_string(static_cast<int>(kind)) +
                         ", exit code " + std::to_string(code));
            const std::set<int> allowed = {0, 2, 3, 4, 5, cameThrough, ended};
            EXPECT_EQ(allowed.count(code), 1U);
            ++runs;
            endedRuns += code == ended ? 1 : 0;
            const Files present = written();
            EXPECT_TRUE((code != 0 && code != cameThrough) || present == expected);
            for (const auto& [name, content] : present) {
                const auto whole = expected.find(name);
                const bool isWhole = whole != expected.end() && whole->second == content;
                const bool isAbandoned = code == ended && name.find(".dornimage-") != std::string::npos;
                EXPECT_TRUE(isWhole || isAbandoned) << name;
            }
            if (output.empty() || present != expected) { // a book that is finished is refused
                EXPECT_EQ(clean(output, true), ExitCode::done);
                EXPECT_TRUE(written() == expected);
            }
        }
        EXPECT_EQ(code, cameThrough);
        EXPECT_LE(endedRuns, runs / 10);
    }

    // Mounts a file system of so many bytes for the outputs, which only this process and its children see.
    bool mountDisk(unsigned bytes) const {
        return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               mount("none", out.c_str(), "tmpfs", 0, ("size=" + std::to_string(bytes)).c_str()) == 0;
    }

    bool enlargeDisk() const { return mount("none", out.c_str(), "tmpfs", MS_REMOUNT, "size=16m") == 0; }

    // Beyond the tool's exit codes.
    static constexpr int cameThrough = 100;
    static constexpr int lost = 101;
    static constexpr int ended = 102;
    static constexpr int notPossible = 103;

    const std::string in = (folder / "in").string();
    const std::string out = (folder / "out").string();
};

TEST_F(CleanFaults, ResumeDoesWhatIsMissing) {
    for (const Kind kind : {Kind::codec, Kind::open, Kind::diskFull, Kind::diskBroken, Kind::cutWrite}) {
        failEachOfClean("", kind);
    }
    failEachOfClean("/book.tif", Kind::diskFull);
    failEachOfClean("/book.tif", Kind::cutWrite);
}

// There are thousands of allocations; DORN_FAULTS_STEP=1 in the environment fails each.
TEST_F(CleanFaults, ResumeDoesWhatIsMissingWithoutMemory) {
    const char* const step = std::getenv("DORN_FAULTS_STEP");
    failEachOfClean("", Kind::allocation, step ? static_cast<unsigned>(std::atoi(step)) : 61);
}

// Room for what is finished stays, and the list keeps its pages.
TEST_F(CleanFaults, ASmallDiskIsFull) {
    startAnew();
    EXPECT_EQ(clean("", false), ExitCode::done);
    const Files expected = written();
    startAnew();
    int code = -1;
    for (unsigned bytes = 4096; code != cameThrough && bytes < 512 * 1024 && !HasFailure(); bytes += 4096) {
        SCOPED_TRACE(bytes);
        code = inProcess([&]() -> int {
            if (!mountDisk(bytes)) {
                return notPossible;
            }
            setenv("TMPDIR", out.c_str(), 1);
            {
                const ListRef list = newList(1);
                const ImageRef pages[] = {colourPage(200, 150), colourPage(200, 150, 2)};
                list->AddImage(pages[0].get());
                list->AddImage(pages[1].get());
                EXPECT_TRUE(hasPage(*list, 0, pages[0]) && hasPage(*list, 1, pages[1]));
            }
            EXPECT_TRUE(fs::is_empty(out));
            const ExitCode given = clean("", false);
            EXPECT_TRUE(given == ExitCode::output || given == ExitCode::done);
            for (const auto& [name, content] : written()) {
                EXPECT_TRUE(name == "empty/" || content == expected.at(name)) << name;
            }
            EXPECT_TRUE(enlargeDisk());
            EXPECT_EQ(clean("", true), ExitCode::done);
            EXPECT_TRUE(written() == expected);
            return HasFailure() ? 1 : given == ExitCode::done ? cameThrough : 0;
        });
        if (code == notPossible) {
            GTEST_SKIP() << "this process may not mount";
        }
        EXPECT_TRUE(code == 0 || code == cameThrough) << code;
    }
    EXPECT_EQ(code, cameThrough);
}

TEST_F(CleanFaults, AFolderMayNotBeWrittenTo) {
    startAnew();
    constexpr auto readOnly = static_cast<fs::perms>(0555);
    for (const fs::path& place : {folder.path(), fs::path(in), fs::path(out)}) {
        fs::permissions(place, readOnly);
    }
    for (const fs::directory_entry& page : fs::directory_iterator(in)) {
        fs::permissions(page, readOnly);
    }
    const int code = inProcess([&] {
        constexpr uid_t nobody = 65534;
        if (geteuid() == 0 && setresuid(nobody, nobody, nobody) != 0) {
            return notPossible;
        }
        for (const char* const output : {"", "/book.tif", "/new"}) {
            EXPECT_EQ(clean(output, false), ExitCode::output) << output;
            EXPECT_EQ(clean(output, true), ExitCode::output) << output;
        }
        setenv("TMPDIR", out.c_str(), 1);
        const ListRef list = newList(1);
        const ImageRef page = colourPage(20, 15);
        EXPECT_TRUE(list->AddImage(page.get()));
        EXPECT_FALSE(list->AddImage(page.get()));
        EXPECT_TRUE(hasPage(*list, 0, page) && hasPage(*list, 1, page));
        return HasFailure() ? 1 : 0;
    });
    EXPECT_TRUE(fs::is_empty(out));
    fs::permissions(folder.path(), fs::perms::owner_all);
    fs::permissions(in, fs::perms::owner_all);
    fs::permissions(out, fs::perms::owner_all);
    if (code == notPossible) {
        GTEST_SKIP() << "this process has too many rights, and can't give them up";
    }
    EXPECT_EQ(code, 0);
}

} // namespace
