// Decoding in a process apart: what comes from it is what decoding here gives, and whatever becomes of it is
// a page that can't be read.

#include "CodecMessages.h"
#include "DecodeProtocol.h"
#include "IsolatedReader.h"
#include "LocalReader.h"
#include "Sandbox.h"
#include "ToolRun.h"

#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

constexpr std::uint64_t plenty = std::uint64_t{2} << 30;

std::string bytesOf(const void* start, std::size_t size) {
    return size == 0 ? "" : std::string(static_cast<const char*>(start), size);
}

std::string tagsOf(FIBITMAP* bitmap) {
    std::string all;
    for (int model = FIMD_COMMENTS; model <= FIMD_EXIF_RAW; ++model) {
        FITAG* tag = nullptr;
        const auto kind = static_cast<FREE_IMAGE_MDMODEL>(model);
        if (FreeImage_GetMetadataCount(kind, bitmap) == 0) {
            continue;
        }
        FIMETADATA* const search = FreeImage_FindFirstMetadata(kind, bitmap, &tag);
        do {
            const char* const description = FreeImage_GetTagDescription(tag);
            all += std::to_string(model) + " " + FreeImage_GetTagKey(tag) + " " +
                   (description ? description : "-") + " " + std::to_string(FreeImage_GetTagID(tag)) + " " +
                   std::to_string(FreeImage_GetTagType(tag)) + " " +
                   std::to_string(FreeImage_GetTagCount(tag)) + " " +
                   bytesOf(FreeImage_GetTagValue(tag), FreeImage_GetTagLength(tag)) + "\n";
        } while (FreeImage_FindNextMetadata(search, &tag));
        FreeImage_FindCloseMetadata(search);
    }
    return all;
}

void expectSame(FIBITMAP* a, FIBITMAP* b) {
    ASSERT_EQ(a == nullptr, b == nullptr);
    if (!a) {
        return;
    }
    EXPECT_EQ(FreeImage_GetImageType(a), FreeImage_GetImageType(b));
    // Size, depth, number of colours, resolution.
    ASSERT_EQ(std::memcmp(FreeImage_GetInfoHeader(a), FreeImage_GetInfoHeader(b), sizeof(BITMAPINFOHEADER)),
              0);
    EXPECT_EQ(FreeImage_GetRedMask(a), FreeImage_GetRedMask(b));
    EXPECT_EQ(FreeImage_GetGreenMask(a), FreeImage_GetGreenMask(b));
    EXPECT_EQ(FreeImage_GetColorType(a), FreeImage_GetColorType(b));
    const std::size_t paletteSize = FreeImage_GetColorsUsed(a) * sizeof(RGBQUAD);
    EXPECT_EQ(bytesOf(FreeImage_GetPalette(a), paletteSize), bytesOf(FreeImage_GetPalette(b), paletteSize));
    EXPECT_EQ(FreeImage_IsTransparent(a), FreeImage_IsTransparent(b));
    EXPECT_EQ(bytesOf(FreeImage_GetTransparencyTable(a), FreeImage_GetTransparencyCount(a)),
              bytesOf(FreeImage_GetTransparencyTable(b), FreeImage_GetTransparencyCount(b)));
    RGBQUAD backA{}, backB{};
    EXPECT_EQ(FreeImage_GetBackgroundColor(a, &backA), FreeImage_GetBackgroundColor(b, &backB));
    EXPECT_EQ(bytesOf(&backA, sizeof(backA)), bytesOf(&backB, sizeof(backB)));
    const FIICCPROFILE* const profileA = FreeImage_GetICCProfile(a);
    const FIICCPROFILE* const profileB = FreeImage_GetICCProfile(b);
    EXPECT_EQ(profileA->flags, profileB->flags);
    EXPECT_EQ(bytesOf(profileA->data, profileA->size), bytesOf(profileB->data, profileB->size));
    EXPECT_EQ(tagsOf(a), tagsOf(b));
    const std::size_t size = std::size_t{FreeImage_GetPitch(a)} * FreeImage_GetHeight(a);
    EXPECT_EQ(std::memcmp(FreeImage_GetBits(a), FreeImage_GetBits(b), size), 0);
    expectSame(FreeImage_GetThumbnail(a), FreeImage_GetThumbnail(b));
}

/// The one child process that this one has now, or -1.
pid_t child() {
    std::ifstream list("/proc/self/task/" + std::to_string(getpid()) + "/children");
    pid_t pid = -1;
    list >> pid;
    return pid;
}

/// To that child alone: without one nothing is sent, since -1 stands for all processes there are.
void sendToChild(int signal) {
    const pid_t pid = child();
    ASSERT_GT(pid, 1);
    ASSERT_EQ(kill(pid, signal), 0);
}

std::size_t openDescriptors() {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
}

IsolatedReader apart(const std::string& name, unsigned seconds = 60, std::uint64_t memory = plenty) {
    return {dataFile(name), Frames::stored, memory, seconds, DORN_TOOL};
}

class Bytes : public ByteSource {
public:
    explicit Bytes(std::string bytes) : bytes_(std::move(bytes)) {}

    void read(void* to, std::size_t size) override {
        if (size > bytes_.size() - used_) {
            throw std::length_error("no more bytes");
        }
        used_ += bytes_.copy(static_cast<char*>(to), size, used_);
    }

private:
    std::string bytes_;
    std::size_t used_ = 0;
};

const std::string fivePages = "multipage/report_5pages_1bit_g4.tif";

} // namespace

TEST(Isolate, GivesAllThatDecodingHereGives) {
    CodecMessages messages;
    unsigned pages = 0;
    for (const char* folder : {"damaged", "depths", "exif", "multipage", "photos"}) {
        for (const auto& entry : fs::directory_iterator(dataFile(folder))) {
            const std::string name = entry.path().string();
            SCOPED_TRACE(name);
            LocalReader here(name, Frames::played, messages);
            IsolatedReader there(name, Frames::played, plenty, 60, DORN_TOOL);
            const FileContents contents = here.open();
            const FileContents contentsThere = there.open();
            ASSERT_EQ(contentsThere.format, contents.format);
            ASSERT_EQ(contentsThere.pageCount, contents.pageCount);
            ASSERT_EQ(contentsThere.trouble, contents.trouble);
            for (int page = 1; page <= contents.pageCount; ++page, ++pages) {
                const DecodedPage a = here.read(page);
                const DecodedPage b = there.read(page);
                EXPECT_EQ(a.messages, b.messages);
                EXPECT_EQ(b.trouble, "");
                expectSame(a.bitmap.get(), b.bitmap.get());
                const auto size = there.size(page);
                if (size && a.bitmap) {
                    EXPECT_EQ(size->width, FreeImage_GetWidth(a.bitmap.get()));
                    EXPECT_EQ(size->height, FreeImage_GetHeight(a.bitmap.get()));
                }
            }
        }
    }
    EXPECT_GT(pages, 40U);
}

TEST(Isolate, TheToolAnswersTheSame) {
    const ScratchFolder scratch;
    std::vector<std::string> files;
    for (const char* name :
         {"damaged/cut_in_scan.jpg", "damaged/empty.jpg", "damaged/bad_directory_offset.tif",
          "multipage/palette.gif", "depths/grey16.png", "multipage/report_5pages_1bit_g4.tif"}) {
        files.push_back(dataFile(name));
    }
    const auto expectSameRun = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), files.begin(), files.end());
        const ToolRun here = runTool(arguments);
        const std::string written = fs::exists(scratch / "out.tif") ? contentOf(scratch / "out.tif") : "";
        arguments.insert(arguments.begin() + 1, "--isolate");
        const ToolRun there = runTool(arguments);
        EXPECT_EQ(there.exitCode, here.exitCode);
        EXPECT_EQ(there.out, here.out);
        EXPECT_EQ(there.err, here.err);
        EXPECT_TRUE(written.empty() || contentOf(scratch / "out.tif") == written);
    };
    expectSameRun({"info", "--json", "--all-pages"});
    expectSameRun({"join", scratch / "out.tif"});
    EXPECT_TRUE(fs::exists(scratch / "out.tif"));
    EXPECT_EQ(runTool({"info", "--decode-seconds", "5", files[0]}).exitCode, 1); // not without --isolate
}

// What has shown a fault of a codec, without the bytes that tell the fuzz target what to do with it.
TEST(Isolate, FindingsInCodecsAreFilesThatCannotBeRead) {
    const ScratchFolder scratch;
    unsigned count = 0;
    for (const fs::directory_entry& finding : fs::directory_iterator(DORN_FINDINGS "/load")) {
        SCOPED_TRACE(finding.path());
        const std::string file = scratch / finding.path().filename().string();
        std::ofstream(file, std::ios::binary) << contentOf(finding.path()).substr(25);
        const ToolRun run = runTool({"info", "--isolate", file});
        EXPECT_EQ(run.exitCode, 3);
        EXPECT_THAT(run.err, testing::MatchesRegex("dornimage: .*(cannot be read|not a picture).*\n"));
        ++count;
    }
    EXPECT_GE(count, 7U);
}

TEST(Isolate, WhateverBecomesOfTheDecoderIsAFileThatCannotBeRead) {
    const std::size_t descriptors = openDescriptors();
    const ScratchFolder scratch;
    static const std::array<std::array<std::string, 2>, 8> table = {{
        {"kill -SEGV $$", "the decoder crashed (signal 11, Segmentation fault)"},
        {"kill -XCPU $$", "took longer than 1 second"},
        {"exit 3", "the decoder ended with exit code 3"},
        {"exec sleep 60", "took longer than 1 second"},
        {"while printf x; do sleep 0.1; done >&4", "took longer than 1 second"},
        {"exec 4>&-; exec sleep 60", "the decoder fell silent"},
        {"head -c 100000 /dev/zero >&4; exec sleep 60", "the decoder answered nonsense"},
        {"tr '\\0' '\\377' </dev/zero >&4", "the decoder answered nonsense"},
    }};
    std::array<std::string, table.size() + 1> troubles;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < table.size(); ++i) {
        std::ofstream(scratch / std::to_string(i)) << "#!/bin/sh\n" << table[i][0] << "\n";
        fs::permissions(scratch / std::to_string(i), fs::perms::owner_all);
    }
    for (std::size_t i = 0; i < troubles.size(); ++i) {
        threads.emplace_back([&trouble = troubles[i], program = scratch / std::to_string(i)] {
            trouble = IsolatedReader(dataFile(fivePages), Frames::stored, plenty, 1, program).open().trouble;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < table.size(); ++i) {
        EXPECT_EQ(troubles[i], "cannot be read: " + table[i][1]) << table[i][0];
    }
    EXPECT_THAT(troubles.back(), HasSubstr("the decoder cannot be started: No such file"));
    EXPECT_EQ(child(), -1);
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST(Isolate, AnswersThatContradictThemselvesAreRefused) {
    struct Case {
        const char* seed;
        std::size_t at; // of the number that is changed
        std::uint32_t value;
    };
    constexpr std::size_t hasBitmap = 8, type = 12, width = 16, height = 20, depth = 24, paletteSize = 48;
    constexpr std::uint64_t limit = 1 << 20;
    const auto seed = [](const std::string& name) {
        return contentOf(DORN_FUZZ_CORPUS "/decode_reply/" + name);
    };
    for (const Case& c :
         {Case{"grey16", hasBitmap, 2}, Case{"grey16", type, FIT_UNKNOWN}, Case{"grey16", type, 13},
          Case{"grey16", type, FIT_RGB16}, Case{"grey16", width, 0}, Case{"grey16", width, 0xffffffff},
          Case{"grey16", width, 0x7fffffff}, Case{"grey16", height, 0x10000000}, Case{"palette4", depth, 7},
          Case{"palette4", depth, 8}, Case{"palette4", paletteSize, 60},
          Case{"palette4", paletteSize, 0xfffffff0}, Case{"failed", 0, 65}, Case{"failed", 4, 1 << 30}}) {
        std::string bytes = seed(c.seed);
        EXPECT_NO_THROW(readPage(*std::make_unique<Bytes>(bytes), limit));
        bytes.replace(c.at, sizeof(c.value), reinterpret_cast<const char*>(&c.value), sizeof(c.value));
        EXPECT_THROW(readPage(*std::make_unique<Bytes>(bytes), limit), BadReply)
            << c.seed << c.at << " " << c.value;
    }
    EXPECT_THROW(readPage(*std::make_unique<Bytes>(seed("photo")), 1000),
                 BadReply); // tags cost more than they send
    for (const auto& entry : fs::directory_iterator(DORN_FUZZ_CORPUS "/decode_reply")) {
        const std::string bytes = contentOf(entry.path());
        for (std::size_t size = 0; size <= bytes.size(); ++size) {
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), size);
        }
    }
}

TEST(Isolate, ARefusedSandboxIsTold) {
    const ScratchFolder scratch;
    std::ofstream(scratch / "decoder")
        << "#!/bin/sh\nhead -c 16 <&4 >&2\nprintf '\\022\\0\\0\\0\\1\\0\\0\\0\\0\\0\\0\\0' >&4\n";
    fs::permissions(scratch / "decoder", fs::perms::owner_all);
    IsolatedReader reader(dataFile(fivePages), Frames::stored, plenty, 60, scratch / "decoder");
    testing::internal::CaptureStderr();
    EXPECT_EQ(reader.open().trouble, "");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("the kernel refuses a sandbox"));
}

TEST(Isolate, ANewDecoderReadsThePageAfterOneThatFailed) {
    IsolatedReader reader = apart(fivePages, 1);
    ASSERT_EQ(reader.open().pageCount, 5);
    ASSERT_NO_FATAL_FAILURE(sendToChild(SIGKILL));
    EXPECT_EQ(reader.read(1).trouble, "the decoder crashed (signal 9, Killed)");
    ASSERT_TRUE(reader.read(2).bitmap);
    ASSERT_NO_FATAL_FAILURE(sendToChild(SIGSTOP));
    EXPECT_EQ(reader.read(3).trouble, "took longer than 1 second");
    EXPECT_EQ(child(), -1);
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        reader.size(3); // starts the decoder
        ASSERT_NO_FATAL_FAILURE(sendToChild(signal));
        EXPECT_TRUE(reader.read(4).bitmap) << signal; // it goes with the tool and not by itself
    }
}

TEST(Isolate, MemoryIsLimited) {
    if (isSanitized) {
        GTEST_SKIP() << "sanitizers reserve more than any limit";
    }
    IsolatedReader reader = apart("photos/mountains_canon_ixus40.jpg", 60, 1 << 20);
    ASSERT_EQ(reader.open().trouble, "");
    const DecodedPage page = reader.read(1);
    EXPECT_FALSE(page.bitmap);
    EXPECT_EQ(page.trouble, "needs more memory than 1 MiB");
}

TEST(Isolate, SeveralThreadsHaveAReaderEach) {
    std::array<int, 4> read{};
    std::vector<std::thread> threads;
    for (int& count : read) {
        threads.emplace_back([&count] {
            IsolatedReader reader = apart(fivePages);
            for (int page = reader.open().pageCount; page > 0; --page) {
                count += reader.read(page).bitmap ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(read, testing::Each(5));
    EXPECT_EQ(child(), -1);
}

TEST(Isolate, TheDecoderGoesWithTheTool) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    const pid_t tool = fork();
    if (tool == 0) {
        IsolatedReader reader = apart(fivePages);
        reader.open();
        const pid_t decoder = child();
        _exit(write(ends[1], &decoder, sizeof(decoder)) < 0 ? 1 : (pause(), 0));
    }
    ASSERT_GT(tool, 1);
    pid_t decoder = -1;
    ASSERT_EQ(read(ends[0], &decoder, sizeof(decoder)), static_cast<ssize_t>(sizeof(decoder)));
    kill(tool, SIGKILL);
    waitpid(tool, nullptr, 0);
    ASSERT_GT(decoder, 1);
    std::string state = "R";
    for (int i = 0; i < 500 && !state.empty() && state != "Z"; ++i) {
        usleep(10000);
        std::string skipped;
        state.clear();
        std::ifstream("/proc/" + std::to_string(decoder) + "/stat") >> skipped >> skipped >> state;
    }
    EXPECT_TRUE(state.empty() || state == "Z") << state;
    close(ends[0]);
    close(ends[1]);
}

TEST(Isolate, TheSandboxLeavesNothingButToReadAndToAnswer) {
    const ScratchFolder scratch;
    const std::string file = scratch / "file";
    std::ofstream(file) << "text";
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    const pid_t confined = fork();
    if (confined == 0) {
        const int opened = open(file.c_str(), O_RDWR);
        bool holds = confineToDecoding(plenty, ends[1]);
        char byte = 0;
        holds = holds && read(opened, &byte, 1) == 1 && (isSanitized || write(opened, &byte, 1) < 0);
        holds = holds && open(file.c_str(), O_RDONLY) < 0 && open((file + "2").c_str(), O_CREAT, 0600) < 0;
        holds = holds && unlink(file.c_str()) < 0 && mkdir((file + "3").c_str(), 0700) < 0;
        holds = holds && socket(AF_INET, SOCK_STREAM, 0) < 0 && kill(getppid(), 0) < 0;
        holds = holds &&
                mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) == MAP_FAILED;
        holds = holds && mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;
        const pid_t other = fork();
        holds = holds && other < 0;
        byte = holds ? 1 : 2;
        _exit(write(ends[1], &byte, 1) == 1 ? 0 : 1);
    }
    int status = 0;
    waitpid(confined, &status, 0);
    char answer = 0;
    EXPECT_EQ(recv(ends[0], &answer, 1, MSG_DONTWAIT), 1);
    EXPECT_EQ(answer, 1);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(scratch.names(), std::vector<std::string>{"file"});
    close(ends[0]);
    close(ends[1]);
}
