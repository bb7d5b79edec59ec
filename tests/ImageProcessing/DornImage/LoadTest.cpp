#include "ImageProcessing/DornImage/DornImage.h"
#include "LogLines.h"
#include "ScriptedCodec.h"
#include "platform/MemoryStream.h"
#include "tests/KnownLeak.h"
#include "tests/ScratchDirectory.h"

#include <atomic>
#include <gmock/gmock.h>
#include <mutex>
#include <thread>
#include <tiffio.h>

namespace {

using DornImage::FIBitmapPtr;
using DornImage::FreeImage_LoadFile;
using DornImage::Image;
using DornImage::Reference;
using dorntest::Callbacks;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> messages(const VelmoraException& record) {
    for (const auto& error : record.getErrors()) {
        EXPECT_EQ(error.fileName, "ImageProcessing/DornImage/FreeImageUtils");
        EXPECT_GT(error.line, 0u);
    }
    return dorntest::messages(record);
}

Velmora::u8string testData(const std::string& file) {
    return DORN_TEST_DATA "/" + file;
}

void say(const std::string& message) {
    FreeImage_OutputMessageProc(dorntest::scriptedFormat(), "%s", message.c_str());
}

std::string fileContent(Callbacks& callbacks) {
    const unsigned size = callbacks.read(1, static_cast<unsigned>(callbacks.buffer.size()));
    return std::string(callbacks.buffer.begin(), callbacks.buffer.begin() + size);
}

// A format that FreeImage knows by its first word and can't read.
void registerUnreadable() {
    const auto init = [](Plugin* plugin, int) {
        plugin->validate_proc = [](FreeImageIO* io, fi_handle handle) -> BOOL {
            char word[10] = {};
            return io->read_proc(word, 1, 10, handle) == 10 && std::string(word, 10) == "UNREADABLE";
        };
    };
    FreeImage_RegisterLocalPlugin(init, "UNREADABLE", "Known only", "unreadable");
}

struct LoadTest : testing::Test {
    ~LoadTest() override { dorntest::currentDecode = nullptr; }

    // From now on the codec decodes so on this thread.
    void script(dorntest::Decode newDecode) {
        decode = std::move(newDecode);
        dorntest::currentDecode = &decode;
    }

    // The name of a new file with that content.
    Velmora::u8string write(const std::string& file, const std::string& content) const {
        dorntest::writeFile(folder / file, content);
        return (folder / file).string();
    }

    dorntest::ScratchDirectory folder;
    const FREE_IMAGE_FORMAT format = dorntest::scriptedFormat();
    dorntest::Decode decode;
    VelmoraException record;
};

TEST_F(LoadTest, FormatComesFromTheContentThenFromTheName) {
    Reference<Image> image;
    const Velmora::u8string png = testData("depths/rgb_small.png");
    const std::string content = dorntest::readFile(png.c_str());
    for (const char* name : {"misnamed.jpg", "no-extension", "unknown.xyz"}) {
        image = nullptr;
        ASSERT_TRUE(DornImage::loadImage(write(name, content), image)) << name;
        EXPECT_EQ(image->GetWidth() * 100 + image->GetHeight(), 8273u);
    }
    script([](Callbacks&) { return FreeImage_Allocate(3, 2, 8); });
    ASSERT_TRUE(DornImage::loadImage(write("by-name.cc", "no signature"), image));
    EXPECT_EQ(image->GetWidth(), 3u);
    EXPECT_NE(dynamic_cast<dornbase::ReferencedImplMT<Image>*>(image.get()), nullptr);
}

TEST_F(LoadTest, ImageStaysWhereNothingIsLoaded) {
    Reference<Image> image;
    ASSERT_TRUE(DornImage::loadImage(testData("depths/rgb_small.png"), image));
    Image* const before = image.get();
    registerUnreadable();
    script([](Callbacks&) { return nullptr; });
    const Velmora::u8string names[] = {testData("damaged/empty.jpg"),
                                       testData("damaged/text.png"),
                                       testData("damaged/bad_directory_offset.tif"),
                                       testData("damaged/cut.png"),
                                       testData("missing.png"),
                                       testData("missing"),
                                       testData("damaged"),
                                       Velmora::u8string(),
                                       write("identified.unreadable", "UNREADABLE"),
                                       write("empty.xyz", ""),
                                       write("silent.cc", "x")};
    for (const auto& name : names) {
        EXPECT_FALSE(DornImage::loadImage(name, image)) << name;
        EXPECT_EQ(image.get(), before) << name;
    }
}

TEST_F(LoadTest, RecordGetsEachMessageInOrder) {
    const Velmora::u8string name = write("x.cc", "content");
    script([&](Callbacks& callbacks) {
        say(fileContent(callbacks));
        say("second");
        FreeImage_OutputMessageProc(FIF_UNKNOWN, "%s", "of no format");
        return FreeImage_Allocate(1, 1, 8);
    });
    const FIBitmapPtr bitmap(FreeImage_LoadFile(format, name, record));
    EXPECT_NE(bitmap.get(), nullptr);
    EXPECT_THAT(messages(record), ElementsAre("SCRIPTED: content", "SCRIPTED: second", "of no format"));
    say("too late");
    EXPECT_THAT(record.getErrors(), testing::SizeIs(3));
}

TEST_F(LoadTest, RecordGetsWhatWasThrown) {
    const Velmora::u8string name = write("x.cc", "");
    script([](Callbacks&) -> FIBITMAP* {
        say("before");
        throw 7;
    });
    EXPECT_EQ(FreeImage_LoadFile(format, name, record), nullptr);
    EXPECT_THAT(messages(record), ElementsAre("SCRIPTED: before", "Unhandled exception"));
    Reference<Image> image;
    EXPECT_FALSE(DornImage::loadImage(name, image));
    record.clear();
    say("too late");
    script([](Callbacks&) { return nullptr; });
    EXPECT_EQ(FreeImage_LoadFile(format, name, record), nullptr);
    EXPECT_EQ(FreeImage_LoadFile(FIF_UNKNOWN, name, record), nullptr);
    EXPECT_THAT(messages(record), IsEmpty()) << "a silent failure adds nothing";
}

TEST_F(LoadTest, RecordGetsWhatTheCodecSaysOfDamagedFiles) {
    EXPECT_EQ(FreeImage_LoadFile(FIF_TIFF, testData("damaged/bad_directory_offset.tif"), record), nullptr);
    EXPECT_THAT(messages(record), ElementsAre("TIFF: Error while opening TIFF: data is invalid"));
    record.clear();
    EXPECT_EQ(FreeImage_LoadFile(FIF_PNG, "missing", record), nullptr);
    EXPECT_THAT(messages(record), ElementsAre("PNG: FreeImage_Load: failed to open file missing"));
    EXPECT_EQ(FreeImage_LoadFile(FIF_PNG, Velmora::u8string(1000, 'x'), record), nullptr) << "must survive";
}

// Its codec would deliver a picture that is gone.
TEST_F(LoadTest, TargaPixelsBehindTheEndAreNone) {
    const Velmora::u8string name = testData("damaged/pixels_behind_the_end.tga");
    EXPECT_EQ(FreeImage_LoadFile(FIF_TARGA, name, record), nullptr);
    const std::string bytes = dorntest::readFile(std::string(name));
    IStream* const stream = dornplatform::borrowMemoryStream(bytes.data(), bytes.size());
    EXPECT_EQ(FreeImage_LoadFile(FIF_TARGA, stream, record), nullptr);
    EXPECT_EQ(stream->Release(), 0U);
    EXPECT_THAT(messages(record), testing::Each("TARGA: the pixels lie behind the end of the file"));
    EXPECT_EQ(messages(record).size(), 2U);
}

// Their codecs would look for the rest for ever.
TEST_F(LoadTest, CutFilesComeToAnEnd) {
    const std::pair<FREE_IMAGE_FORMAT, std::string> files[] = {
        {FIF_IFF, std::string("FORM\0\0\0\xa0ILBM", 12)},
        {FIF_XBM, "#define p_width 8\n#define p_height 1\nstatic char p_bits[] = {\n0x"}};
    for (const auto& [codec, content] : files) {
        const Velmora::u8string name = write("cut", content);
        {
            const dorntest::KnownLeak pictureOfTheCodec;
            EXPECT_EQ(FreeImage_LoadFile(codec, name, record), nullptr);
        }
        EXPECT_THAT(messages(record), ElementsAre("Unhandled exception"));
        record.clear();
    }
    const Velmora::u8string number = write("cut", std::string("\0\x80", 2));
    EXPECT_EQ(FreeImage_LoadFile(FIF_WBMP, number, record), nullptr);
    EXPECT_THAT(messages(record), testing::Each(testing::StartsWith("WBMP: DIB allocation failed")));
}

// Some codecs end by themselves, with words of their own.
TEST_F(LoadTest, FilesWithoutABeginningAreLeftToTheirCodecs) {
    const std::pair<FREE_IMAGE_FORMAT, const char*> files[] = {{FIF_XBM, "XBM: Unable to find a line"},
                                                               {FIF_PSD, "PSD: Error in header"}};
    for (const auto& [codec, words] : files) {
        const Velmora::u8string name = write("empty.xbm", "");
        EXPECT_EQ(FreeImage_LoadFile(codec, name, record), nullptr);
        EXPECT_THAT(messages(record), ElementsAre(testing::StartsWith(words)));
        record.clear();
        Reference<Image> image;
        EXPECT_FALSE(DornImage::loadImage(name, image));
    }
}

// Their codec would take what it didn't get for packed rows, and write behind its memory.
TEST_F(LoadTest, PsdFilesMayLackRows) {
    const FIBitmapPtr whole(FreeImage_Allocate(40, 30, 24));
    for (unsigned y = 0; y < 30; ++y) {
        for (unsigned x = 0; x < 120; ++x) {
            FreeImage_GetScanLine(whole.get(), static_cast<int>(y))[x] =
                static_cast<BYTE>(y % 3 == 0 ? x / 3 / 30 * 90 : 7 * x * x + y);
        }
    }
    const dorntest::KnownLeak rowsOfTheCodec;
    const Velmora::u8string name = write("whole.psd", "");
    ASSERT_TRUE(FreeImage_Save(FIF_PSD, whole.get(), name.c_str()));
    const std::string bytes = dorntest::readFile(std::string(name));
    constexpr std::size_t rows = 286; // where their lengths end
    for (std::size_t size = 0; size < bytes.size(); size += 13) {
        const FIBitmapPtr byName(
            FreeImage_LoadFile(FIF_PSD, write("cut.psd", bytes.substr(0, size)), record));
        IStream* const stream = dornplatform::borrowMemoryStream(bytes.data(), size);
        const FIBitmapPtr byStream(FreeImage_LoadFile(FIF_PSD, stream, record));
        stream->Release();
        EXPECT_EQ(byName.get() != nullptr, size >= rows) << size << " of " << bytes.size();
        EXPECT_EQ(byStream.get() != nullptr, size >= rows) << size;
    }
}

TEST_F(LoadTest, LoadsByNameRunOneAtATimeWithTheirOwnRecords) {
    std::atomic<int> running = 0;
    std::atomic<bool> overlapped = false;
    const dorntest::Decode sayWhatIsRead = [&](Callbacks& callbacks) -> FIBITMAP* {
        overlapped = overlapped || ++running > 1;
        std::this_thread::yield();
        say(fileContent(callbacks));
        --running;
        return nullptr;
    };
    const auto load = [&](int thread) {
        dorntest::currentDecode = &sayWhatIsRead;
        const std::string number = std::to_string(thread);
        const Velmora::u8string name = write(number + ".cc", number);
        for (int round = 0; round < 30; ++round) {
            VelmoraException own;
            EXPECT_EQ(FreeImage_LoadFile(format, name, own), nullptr);
            EXPECT_THAT(messages(own), ElementsAre("SCRIPTED: " + number));
            VelmoraException damaged;
            EXPECT_EQ(FreeImage_LoadFile(FIF_TIFF, testData("damaged/bad_directory_offset.tif"), damaged),
                      nullptr);
            EXPECT_THAT(messages(damaged), ElementsAre("TIFF: Error while opening TIFF: data is invalid"));
            Reference<Image> image;
            EXPECT_TRUE(DornImage::loadImage(testData("depths/rgb_small.png"), image));
            // Says its words without a record, while others have one.
            EXPECT_FALSE(DornImage::loadImage(testData("damaged/bad_directory_offset.tif"), image));
        }
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back(load, thread);
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(overlapped);
}

TEST_F(LoadTest, TiffCodecTalksToTheLog) {
    const auto log = std::make_shared<dorntest::LogLines>();
    dornutils::setSystemLogFormater(log);
    TIFFError("Module", "%d of %s", 3, "five");
    TIFFWarning(nullptr, "100%%");
    TIFFWarning("Long", "%s", std::string(1000, 'x').c_str());
    const std::string start = "2 ImageProcessing/DornImage/DornImage ";
    EXPECT_THAT(log->lines, ElementsAre(start + "Module: 3 of five", start + "LIBTIFF: 100%",
                                        start + "Long: " + std::string(257, 'x')));
    log->lines.clear();
    EXPECT_EQ(FreeImage_LoadFile(FIF_TIFF, testData("damaged/bad_directory_offset.tif"), record), nullptr);
    EXPECT_THAT(log->lines, testing::Not(IsEmpty())) << "the codec that FreeImage uses is the same";
    dornutils::setSystemLogFormater(nullptr);
}

} // namespace
