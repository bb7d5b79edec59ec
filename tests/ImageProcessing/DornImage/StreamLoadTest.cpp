#include "ImageProcessing/DornImage/DornImage.h"
#include "tests/ImageProcessing/DornImage/Pixels.h"
#include "tests/ImageProcessing/DornImage/ScriptedCodec.h"
#include "tests/ScratchDirectory.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <barrier>
#include <limits>
#include <numeric>
#include <thread>

namespace {

using DornImage::FIBitmapPtr;
using DornImage::FreeImage_LoadFile;
using dorntest::Callbacks;
using dorntest::scriptedFormat;
using testing::ElementsAre;
using testing::StartsWith;

constexpr std::uint32_t maximum = std::numeric_limits<std::uint32_t>::max();

/// A stream of the bytes 0, 1, 2 ... that fails as it is told to and keeps what was asked of it.
class FaultyStream : public IStream {
public:
    explicit FaultyStream(std::size_t size) : bytes(size), claimedSize(size) {
        std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
    }
    virtual ~FaultyStream() = default;

    ULONG AddRef() override { return ++references; }
    ULONG Release() override { return --references; }
    HRESULT Read(void* buffer, ULONG size, ULONG* read) override {
        reads.push_back(size);
        if (readFails) {
            return E_FAIL;
        }
        const std::size_t left = cursor < bytes.size() ? bytes.size() - cursor : 0;
        const std::size_t got = std::min<std::size_t>({size, left, longestRead});
        std::copy_n(bytes.data() + std::min(cursor, bytes.size()), got, static_cast<unsigned char*>(buffer));
        cursor += got;
        *read = static_cast<ULONG>(got) + overReport;
        return got == size ? S_OK : S_FALSE;
    }
    HRESULT Seek(LARGE_INTEGER offset, DWORD origin, ULARGE_INTEGER*) override {
        EXPECT_EQ(origin, STREAM_SEEK_SET);
        if (seekFails) {
            return E_FAIL;
        }
        cursor = static_cast<std::size_t>(offset.QuadPart);
        return S_OK;
    }
    HRESULT Stat(STATSTG* stat, DWORD flags) override {
        EXPECT_EQ(flags, STATFLAG_NONAME);
        stat->cbSize.QuadPart = claimedSize;
        return statFails ? E_FAIL : S_OK;
    }

    std::vector<unsigned char> bytes;
    std::uint64_t claimedSize;
    std::size_t cursor = 0;
    bool readFails = false;
    bool seekFails = false;
    bool statFails = false;
    std::size_t longestRead = maximum;
    ULONG overReport = 0;
    ULONG references = 1;
    std::vector<ULONG> reads;
};

/// What `script` does with the callbacks that a stream load passes to its codec.
void withCallbacks(IStream& stream, const std::function<void(Callbacks&)>& script) {
    VelmoraException record;
    bool ran = false;
    const auto decode = [&](Callbacks& io) -> FIBITMAP* {
        ran = true;
        script(io);
        return nullptr;
    };
    EXPECT_EQ(dorntest::loadScripted(&stream, record, decode), nullptr);
    EXPECT_TRUE(ran);
    EXPECT_FALSE(record.hasError()) << record.getMessage();
}

TEST(StreamRead, AsksForWholeItemsWithinTheSize) {
    struct Row {
        std::uint32_t start, itemSize, itemCount;
        unsigned items;
        std::vector<ULONG> asked;
        long end;
    };
    const Row rows[] = {
        {0, 4, 10, 4, {16}, 16}, // only whole items
        {0, 100, 1, 0, {}, 0},   // not one of them fits
        {18, 1, 1, 0, {}, 18},   // at the end
        {0, 0, 7, 0, {}, 0},      {0, 7, 0, 0, {}, 0},           {0, 18, 1, 1, {18}, 18},
        {5, 1, 13, 13, {13}, 18}, {0, 1, maximum, 18, {18}, 18}, // four billion bytes
        {100, 4, 1, 0, {4}, 100}, // past the end nothing is held back, and the read comes up short
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.start << ": " << row.itemCount << " of " << row.itemSize);
        FaultyStream stream(18);
        withCallbacks(stream, [&](Callbacks& io) {
            EXPECT_EQ(io.seek(static_cast<long>(row.start), SEEK_SET), 0);
            EXPECT_EQ(io.read(row.itemSize, row.itemCount), row.items);
            EXPECT_EQ(io.tell(), row.end);
            EXPECT_EQ(stream.cursor, static_cast<std::size_t>(row.end));
            EXPECT_EQ(stream.reads, row.asked);
            for (std::size_t i = 0; i < std::size_t{row.items} * row.itemSize; ++i) {
                ASSERT_EQ(io.buffer[i], row.start + i);
            }
        });
    }
}

TEST(StreamRead, TakesItemsOffInWrappingArithmetic) {
    for (const std::uint32_t itemSize : {3U, 1000U, 0x10001U, 0x40000001U, 0x80000001U, maximum}) {
        for (const std::uint32_t itemCount : {2U, 4U, 0x10000U, 0x55557U, 5000000U}) {
            FaultyStream stream(4099);
            std::uint32_t wanted = itemSize * itemCount;
            while (wanted > stream.bytes.size()) {
                wanted -= itemSize;
            }
            withCallbacks(stream, [&](Callbacks& io) {
                EXPECT_EQ(io.read(itemSize, itemCount), wanted / itemSize);
                EXPECT_EQ(stream.reads, std::vector<ULONG>(wanted > 0 ? 1 : 0, wanted))
                    << itemCount << " of " << itemSize;
            });
        }
    }
}

TEST(StreamRead, KeepsItsPlaceWhenTheStreamFails) {
    void (*const faults[])(FaultyStream&) = {[](FaultyStream& stream) { stream.longestRead = 7; },
                                             [](FaultyStream& stream) { stream.readFails = true; },
                                             [](FaultyStream& stream) { stream.overReport = 1; }};
    for (const auto fault : faults) {
        FaultyStream stream(18);
        fault(stream);
        withCallbacks(stream, [&](Callbacks& io) {
            EXPECT_EQ(io.seek(3, SEEK_SET), 0);
            EXPECT_EQ(io.read(1, 10), 0U);
            EXPECT_EQ(io.tell(), 3);
            EXPECT_EQ(stream.cursor, 3U);
            EXPECT_EQ(stream.reads, std::vector<ULONG>{10});
        });
    }
}

TEST(StreamRead, TakesTheSizeFromStat) {
    FaultyStream stream(18);
    stream.claimedSize = 0x100000005;
    withCallbacks(stream, [](Callbacks& io) { EXPECT_EQ(io.read(1, 18), 5U); });
    stream.statFails = true;
    withCallbacks(stream, [](Callbacks& io) { EXPECT_EQ(io.read(1, 18), 0U); });
}

TEST(StreamSeek, FollowsItsTable) {
    struct Row {
        long start, offset;
        int origin;
        std::uint32_t end;
    };
    const Row rows[] = {
        {5, 7, SEEK_SET, 7},           {5, 100, SEEK_SET, 100},
        {5, -1, SEEK_SET, maximum},    {5, 7, SEEK_CUR, 12},
        {5, 14, SEEK_CUR, 18},         {5, -5, SEEK_CUR, 0},
        {5, -6, SEEK_CUR, 18},         {100, 0, SEEK_CUR, 18},
        {5, 0, SEEK_END, 18},          {5, 4, SEEK_END, 14},
        {5, 18, SEEK_END, 0},          {5, 19, SEEK_END, 18},
        {5, -4, SEEK_END, 18},         {5, 4, 3, 5},
        {5, 0x100000004, SEEK_SET, 4},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.start << ", " << row.offset << " from " << row.origin);
        for (const bool fails : {false, true}) {
            FaultyStream stream(18);
            withCallbacks(stream, [&](Callbacks& io) {
                EXPECT_EQ(io.seek(row.start, SEEK_SET), 0);
                stream.seekFails = fails;
                EXPECT_EQ(io.seek(row.offset, row.origin), fails ? 1 : 0);
                EXPECT_EQ(io.tell(), static_cast<long>(row.end));
                EXPECT_EQ(stream.cursor, fails ? static_cast<std::size_t>(row.start) : row.end);
            });
        }
    }
}

TEST(StreamLoad, ReadsOnFromWhereTheStreamStands) {
    FaultyStream stream(18);
    stream.cursor = 6;
    withCallbacks(stream, [](Callbacks& io) {
        EXPECT_EQ(io.tell(), 0);
        EXPECT_EQ(io.read(2, 3), 3U);
        EXPECT_EQ(io.buffer[0], 6);
        EXPECT_EQ(io.tell(), 6);
        EXPECT_EQ(io.seek(0, SEEK_SET), 0);
        EXPECT_EQ(io.read(1, 1), 1U);
        EXPECT_EQ(io.buffer[0], 0);
    });
}

TEST(StreamLoad, RecordsMessagesAndGivesTheStreamBack) {
    FaultyStream stream(18);
    VelmoraException record;
    FIBITMAP* const made = FreeImage_Allocate(1, 1, 8);
    const FIBitmapPtr bitmap(dorntest::loadScripted(&stream, record, [&](Callbacks& io) {
        EXPECT_EQ(io.hasWrite(), false);
        EXPECT_EQ(stream.references, 2U);
        FreeImage_OutputMessageProc(scriptedFormat(), "first %d", 1);
        FreeImage_OutputMessageProc(FIF_UNKNOWN, "second");
        return made;
    }));
    EXPECT_EQ(bitmap.get(), made);
    EXPECT_THAT(dorntest::messages(record), ElementsAre("SCRIPTED: first 1", "second"));
    EXPECT_EQ(stream.references, 1U);

    record.clear();
    const auto throwing = [](Callbacks&) -> FIBITMAP* {
        FreeImage_OutputMessageProc(scriptedFormat(), "last words");
        throw 1;
    };
    EXPECT_EQ(dorntest::loadScripted(&stream, record, throwing), nullptr);
    EXPECT_THAT(dorntest::messages(record), ElementsAre("SCRIPTED: last words", "Unhandled exception"));
    EXPECT_EQ(record.getErrors().back().fileName, "ImageProcessing/DornImage/FreeImageUtils");
    EXPECT_EQ(stream.references, 1U);

    FreeImage_OutputMessageProc(scriptedFormat(), "after the load");
    EXPECT_EQ(FreeImage_LoadFile(FIF_PNG, static_cast<IStream*>(nullptr), record), nullptr);
    EXPECT_EQ(record.getErrors().size(), 2U);
}

TEST(StreamLoad, EqualsLoadByName) {
    struct Row {
        FREE_IMAGE_FORMAT format;
        const char* name;
        bool decodes;
    };
    const Row rows[] = {
        {FIF_JPEG, "exif/orientation_1.jpg", true}, {FIF_TIFF, "pages/table_1bit_g4_150dpi.tif", true},
        {FIF_PNG, "depths/palette8.png", true},     {FIF_BMP, "depths/rgba32.bmp", true},
        {FIF_GIF, "multipage/palette.gif", true},   {FIF_JPEG, "damaged/cut_in_scan.jpg", true},
        {FIF_PNG, "damaged/cut.png", false},        {FIF_TIFF, "damaged/bad_directory_offset.tif", false},
        {FIF_JPEG, "damaged/empty.jpg", false},     {FIF_PNG, "damaged/text.png", false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = std::string(DORN_TEST_DATA "/") + row.name;
        VelmoraException named;
        const FIBitmapPtr expected(FreeImage_LoadFile(row.format, Velmora::u8string(path), named));
        EXPECT_EQ(expected.get() != nullptr, row.decodes);

        const std::string bytes = dorntest::readFile(path);
        for (IStream* stream : {dornplatform::createMemoryStream(bytes.data(), bytes.size()),
                                dornplatform::createFileStream(path)}) {
            ASSERT_NE(stream, nullptr);
            VelmoraException streamed;
            const FIBitmapPtr bitmap(FreeImage_LoadFile(row.format, stream, streamed));
            EXPECT_EQ(stream->Release(), 0U);
            EXPECT_EQ(dorntest::meanDistance(bitmap.get(), expected.get()), 0);
            EXPECT_EQ(dorntest::messages(streamed), dorntest::messages(named));
        }
    }
}

TEST(StreamLoad, GivesEachThreadItsOwnMessages) {
    constexpr int threadCount = 4;
    constexpr int rounds = 50;
    std::barrier together(threadCount);
    const auto work = [&](int number) {
        const std::string words = "thread " + std::to_string(number);
        for (int round = 0; round < rounds; ++round) {
            FaultyStream stream(18);
            VelmoraException record;
            dorntest::loadScripted(&stream, record, [&](Callbacks& io) -> FIBITMAP* {
                EXPECT_EQ(io.read(1, 18), 18U);
                together.arrive_and_wait(); // all have started, none may end before all have spoken
                FreeImage_OutputMessageProc(FIF_UNKNOWN, words.c_str());
                FreeImage_OutputMessageProc(FIF_UNKNOWN, words.c_str());
                together.arrive_and_wait();
                return nullptr;
            });
            EXPECT_THAT(dorntest::messages(record), ElementsAre(words, words));
        }
    };
    std::vector<std::thread> threads;
    for (int number = 0; number < threadCount; ++number) {
        threads.emplace_back(work, number);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(StreamLoad, KeepsDamagedFilesApartAcrossThreads) {
    const auto work = [](FREE_IMAGE_FORMAT format, const char* name, const char* prefix, bool byName) {
        for (int round = 0; round < 20; ++round) {
            const Velmora::u8string path = std::string(DORN_TEST_DATA "/damaged/") + name;
            VelmoraException record;
            IStream* stream = dornplatform::createFileStream(path);
            ASSERT_NE(stream, nullptr);
            const FIBitmapPtr bitmap(byName ? FreeImage_LoadFile(format, path, record)
                                            : FreeImage_LoadFile(format, stream, record));
            EXPECT_EQ(stream->Release(), 0U);
            EXPECT_THAT(dorntest::messages(record), testing::Each(StartsWith(prefix)));
        }
    };
    std::thread threads[] = {std::thread(work, FIF_JPEG, "cut_in_header.jpg", "JPEG: ", false),
                             std::thread(work, FIF_PNG, "cut.png", "PNG: ", false),
                             std::thread(work, FIF_TIFF, "bad_directory_offset.tif", "TIFF: ", false),
                             std::thread(work, FIF_PNG, "text.png", "PNG: ", true)};
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(FormatRegistry, OffersThePlugInOfNumber37) {
    EXPECT_EQ(scriptedFormat(), 37);
    EXPECT_EQ(DornImage::FreeImage_GetFIFFromMime("IMAGE/HEIC"), scriptedFormat());
    for (const BOOL enabled : {FALSE, TRUE}) {
        FreeImage_SetPluginEnabled(scriptedFormat(), enabled);
        std::set<std::string> types;
        DornImage::FreeImage_GetSupportedMimeTypes(types);
        EXPECT_EQ(types.count("image/heif"), enabled ? 1U : 0U);
    }
    Velmora::u8string extension;
    EXPECT_TRUE(DornImage::FreeImage_GetDefaultExt(scriptedFormat(), extension));
    EXPECT_EQ(extension, ".");

    const FIBitmapPtr bitmap(FreeImage_Allocate(2, 2, 16));
    std::list<FREE_IMAGE_FORMAT> formats;
    Velmora::astring first, filter;
    DornImage::FreeImage_GetExtensionsForSave(bitmap.get(), formats, first, filter);
    EXPECT_EQ(formats.back(), scriptedFormat());
    EXPECT_THAT(filter, testing::EndsWith(L"|A scripted codec (,a-b,,cc)|*.a-b; *.cc||"));
}

} // namespace
