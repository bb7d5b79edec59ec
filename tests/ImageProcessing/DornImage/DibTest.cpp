#include "DibBlocks.h"
#include "ImageProcessing/DornImage/DibHeader.h"

#include <gtest/gtest.h>
#include <limits>

using namespace DornImage;
using namespace dorntest;

namespace {

constexpr int depths[] = {1, 4, 8, 16, 24, 32};

/// A stream over `bytes` that tells another size and gives out at most `chunk` bytes at once.
class OddStream {
public:
    OddStream(Bytes bytes, std::uint64_t told, ULONG chunk = 7) : bytes_(std::move(bytes)), shim_(*this) {
        told_ = told;
        chunk_ = chunk;
    }

    FIBITMAP* convert() { return FreeImage_ConvertFromMemoryBMP(&shim_); }

    unsigned reads = 0;

private:
    struct Shim final : IStream {
        explicit Shim(OddStream& owner) : stream(owner) {}
        ~Shim() override = default;
        ULONG AddRef() override { return 1; }
        ULONG Release() override { return 1; }
        HRESULT Read(void* buffer, ULONG size, ULONG* read) override {
            ++stream.reads;
            const std::size_t left = stream.bytes_.size() - stream.at_;
            *read = std::min({size, stream.chunk_, static_cast<ULONG>(left)});
            std::memcpy(buffer, stream.bytes_.data() + stream.at_, *read);
            stream.at_ += *read;
            return S_OK;
        }
        HRESULT Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) override { return E_NOTIMPL; }
        HRESULT Stat(STATSTG* stat, DWORD flags) override {
            EXPECT_EQ(flags, STATFLAG_NONAME);
            stat->cbSize.QuadPart = stream.told_;
            return stream.told_ == 0 ? E_FAIL : S_OK;
        }
        OddStream& stream;
    };

    Bytes bytes_;
    std::uint64_t told_;
    ULONG chunk_;
    std::size_t at_ = 0;
    Shim shim_;
};

TEST(Dib, BlocksAndHandlesKeepEveryDepth) {
    for (const int depth : depths) {
        for (const int width : {1, 7, 33}) {
            SCOPED_TRACE(testing::Message() << depth << " bits, width " << width);
            const FIBitmapPtr source(makeNoise(width, 5, depth, static_cast<unsigned>(depth)));
            for (const bool topDown : {false, true}) {
                Bytes block = toBlock(source.get(), topDown);
                const FIBitmapPtr back(convertBlock(block));
                EXPECT_TRUE(sameBitmap(source.get(), back.get()));
                EXPECT_EQ(FreeImage_GetDotsPerMeterX(back.get()), 1000u + static_cast<unsigned>(depth));
                EXPECT_EQ(FreeImage_GetDotsPerMeterY(back.get()), 2000u + static_cast<unsigned>(depth));
                EXPECT_TRUE(
                    sameBitmap(back.get(), FIBitmapPtr(OddStream(block, block.size()).convert()).get()));
                block.pop_back();
                EXPECT_EQ(convertBlock(block), nullptr);
            }

            const HDC dc = GetDC(nullptr);
            const HBITMAP handle = FreeImage_ConvertToHBITMAP(source.get(), dc);
            const FIBitmapPtr back(FreeImage_ConvertFromHBITMAP(handle, dc));
            EXPECT_TRUE(sameBitmap(source.get(), back.get()));
            EXPECT_EQ(FreeImage_GetDotsPerMeterX(back.get()), 2835u);
            ReleaseDC(nullptr, dc);

            const HGLOBAL dib = BitmapToDIB(handle, nullptr);
            const FIBitmapPtr fromDib(FreeImage_ConvertFromDIB(dib));
            GlobalFree(dib);
            DeleteObject(handle);
            const FIBitmapPtr expected(depth > 8 ? FreeImage_ConvertTo24Bits(source.get())
                                                 : FreeImage_Clone(source.get()));
            EXPECT_EQ(FreeImage_GetBPP(fromDib.get()), FreeImage_GetBPP(expected.get()));
            // At 16 bits FreeImage rounds the five bits up to eight in its own way.
            EXPECT_TRUE(depth == 16 || sameBitmap(expected.get(), fromDib.get()));
        }
    }
}

TEST(Dib, HandlesOfWhatTheSystemHasNoFormatForAreNull) {
    const Reference<Image> empty(new dornbase::ReferencedImpl<Image>());
    EXPECT_EQ(empty->GetHBITMAP(nullptr), nullptr);
    EXPECT_EQ(FreeImage_ConvertToHBITMAP(nullptr, nullptr), nullptr);
    const FIBitmapPtr wide(FreeImage_AllocateT(FIT_RGB16, 4, 4));
    EXPECT_EQ(FreeImage_ConvertToHBITMAP(wide.get(), nullptr), nullptr);
    EXPECT_EQ(FreeImage_ConvertFromHBITMAP(nullptr, nullptr), nullptr);
    EXPECT_EQ(BitmapToDIB(nullptr, nullptr), nullptr);

    // Rows of somebody else's memory may be longer than those of the handle.
    Bytes pixels(3 * 64, 0x5A);
    const FIBitmapPtr lent(
        FreeImage_ConvertFromRawBitsEx(FALSE, pixels.data(), FIT_BITMAP, 5, 3, 64, 8, 0, 0, 0));
    const HBITMAP handle = FreeImage_ConvertToHBITMAP(lent.get(), nullptr);
    EXPECT_TRUE(sameBitmap(lent.get(), FIBitmapPtr(FreeImage_ConvertFromHBITMAP(handle, nullptr)).get()));
    DeleteObject(handle);
}

TEST(Dib, FewUsedColoursKeepPixelsWhereFreeImageLooksForThem) {
    const FIBitmapPtr source(FreeImage_Allocate(9, 4, 8));
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 9; ++x) {
            FreeImage_GetScanLine(source.get(), y)[x] = static_cast<BYTE>((x + y) % 3);
        }
    }
    Bytes block = toBlock(source.get(), false);
    put<DWORD>(block, DibField::coloursUsed, 3);
    put<DWORD>(block, DibField::coloursImportant, 2);
    block.erase(block.begin() + 40 + 3 * 4, block.begin() + 40 + 256 * 4);
    const FIBitmapPtr bitmap(convertBlock(block));
    ASSERT_NE(bitmap.get(), nullptr);
    EXPECT_EQ(FreeImage_GetInfoHeader(bitmap.get())->biClrUsed, 3u);
    EXPECT_EQ(FreeImage_GetInfoHeader(bitmap.get())->biClrImportant, 2u);

    const FIBitmapPtr expected(FreeImage_ConvertTo24Bits(source.get()));
    const FIBitmapPtr clone(FreeImage_Clone(bitmap.get()));
    FIMEMORY* const file = FreeImage_OpenMemory();
    EXPECT_TRUE(FreeImage_SaveToMemory(FIF_PNG, bitmap.get(), file));
    FreeImage_SeekMemory(file, 0, SEEK_SET);
    const FIBitmapPtr saved(FreeImage_LoadFromMemory(FIF_PNG, file));
    FreeImage_CloseMemory(file);
    for (FIBITMAP* const shown : {bitmap.get(), clone.get(), saved.get()}) {
        EXPECT_TRUE(sameBitmap(FIBitmapPtr(FreeImage_ConvertTo24Bits(shown)).get(), expected.get()));
    }
}

// A block whose first word is 12 is read at the places of an info header all the same, except that its colour
// count is looked for at byte 10 and that its colours are triples: the number of lines tells the depth, too.
TEST(Dib, CoreHeadersAreReadAsInfoHeadersWithTriples) {
    constexpr LONG lines = 0x10003;
    Bytes block(12 + 6 + 4 * lines);
    put<DWORD>(block, DibField::headerSize, 12);
    put<LONG>(block, DibField::width, 30);
    put<LONG>(block, DibField::height, lines);
    const BYTE triples[] = {10, 20, 1, 0, 50, 60}; // bytes 14 and 15 are the bit count as well
    std::memcpy(block.data() + 12, triples, sizeof triples);
    block[18] = 0xA5;
    const FIBitmapPtr bitmap(convertBlock(block));
    ASSERT_NE(bitmap.get(), nullptr);
    EXPECT_EQ(FreeImage_GetBPP(bitmap.get()), 1u);
    EXPECT_EQ(FreeImage_GetHeight(bitmap.get()), static_cast<unsigned>(lines));
    EXPECT_EQ(FreeImage_GetDotsPerMeterX(bitmap.get()), 2835u);
    EXPECT_EQ(std::memcmp(FreeImage_GetPalette(bitmap.get()), "\x0A\x14\x01\0\0\x32\x3C\0", 8), 0);
    EXPECT_EQ(*FreeImage_GetBits(bitmap.get()), 0xA5);
    block.pop_back();
    EXPECT_EQ(convertBlock(block), nullptr);
}

TEST(Dib, MissingBitCountsAreWorkedOut) {
    const FIBitmapPtr source(makeNoise(4, 3, 32, 1));
    Bytes block = toBlock(source.get(), false);
    put<WORD>(block, DibField::bitCount, 0);
    put<DWORD>(block, DibField::imageBytes, 48);
    EXPECT_TRUE(sameBitmap(FIBitmapPtr(convertBlock(block)).get(), source.get()));
    put<DWORD>(block, DibField::imageBytes, 0);
    // FreeImage makes 8 bits of 0.
    EXPECT_EQ(FreeImage_GetBPP(FIBitmapPtr(convertBlock(block)).get()), 8u);
    put<DWORD>(block, DibField::dotsPerMetreX, 0);
    EXPECT_EQ(FreeImage_GetDotsPerMeterX(FIBitmapPtr(convertBlock(block)).get()), 2835u);
}

TEST(Dib, RefusesHostileHeaders) {
    constexpr LONG least = std::numeric_limits<LONG>::min();
    constexpr LONG most = std::numeric_limits<LONG>::max();
    struct Field {
        std::size_t place;
        DWORD value;
    };
    const std::vector<Field> cases[] = {
        {{DibField::width, 0}},
        {{DibField::height, 0}},
        {{DibField::width, static_cast<DWORD>(least)}},
        {{DibField::height, static_cast<DWORD>(least)}},
        {{DibField::width, most}, {DibField::height, most}},
        {{DibField::width, 0x20000000}},                           // times 8 bits wraps 32 bits
        {{DibField::width, 0x10000}, {DibField::height, 0x10000}}, // the pixels wrap 32 bits
        {{DibField::headerSize, 0xFFFFFFFF}},
        {{DibField::headerSize, 0xFFFFFFF0}, {DibField::coloursUsed, 0xFFFFFFFF}},
        {{DibField::coloursUsed, 257}}, // no room for the colour more
        {{DibField::coloursUsed, 0x3FFF}},
        {{DibField::coloursUsed, 0x40000040}, {DibField::height, 1000}}, // the table wraps 16 bits
        {{DibField::bitCount - 2, 0x00180001}},                          // 24 bits
    };
    const FIBitmapPtr source(makeNoise(8, 4, 8, 3));
    const Bytes good = toBlock(source.get(), false);
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        Bytes block = good;
        for (const Field& field : cases[i]) {
            put(block, field.place, field.value);
        }
        EXPECT_EQ(FIBitmapPtr(convertBlock(block)).get(), nullptr) << "case " << i;
        OddStream stream(block, block.size(), 1000);
        // A height of 0 is worked out there.
        EXPECT_EQ(FIBitmapPtr(stream.convert()).get() != nullptr, i == 1) << "case " << i;
    }
    for (const std::size_t size : {0u, 1u, 15u, 16u, 39u, 40u, 1000u}) {
        EXPECT_EQ(convertBlock(Bytes(good.begin(), good.begin() + static_cast<int>(size))), nullptr) << size;
    }
    EXPECT_EQ(FreeImage_ConvertFromDIB(nullptr), nullptr);

    // Bit counts worked out from the size are what they are, and FreeImage makes 8 bits of odd ones.
    for (const DWORD height : {4u, 0xFFFFFFFCu}) {
        Bytes odd = good;
        put<DWORD>(odd, DibField::bitCount - 2, 1);
        put<DWORD>(odd, DibField::imageBytes, 40 * 4);
        put<DWORD>(odd, DibField::height, height);
        const FIBitmapPtr made(convertBlock(odd));
        ASSERT_NE(made.get(), nullptr);
        EXPECT_EQ(FreeImage_GetBPP(made.get()), 8u);
    }

    // More colours than the palette has, all of them there: the palette takes what it can.
    Bytes many = good;
    many.insert(many.begin() + 40, 44 * 4, 0);
    put<DWORD>(many, DibField::coloursUsed, 300);
    const FIBitmapPtr bitmap(convertBlock(many));
    ASSERT_NE(bitmap.get(), nullptr);
    EXPECT_EQ(FreeImage_GetColorsUsed(bitmap.get()), 256u);
    EXPECT_EQ(FreeImage_GetScanLine(bitmap.get(), 2)[3], FreeImage_GetScanLine(source.get(), 2)[3]);
}

TEST(Dib, RandomHeadersStayInsideTheirBlocks) {
    std::mt19937 random(5);
    const FIBitmapPtr source(makeNoise(6, 4, 4, 4));
    const Bytes good = toBlock(source.get(), false);
    const DWORD odd[] = {0, 1, 12, 40, 108, 124, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFFFFFFFE, 0x4000, 8};
    int made = 0;
    for (int round = 0; round < 20000; ++round) {
        Bytes block(good.begin(), good.end() - static_cast<int>(random() % 4 * (random() % 30)));
        for (auto changes = random() % 3 + 1; changes > 0; --changes) {
            const std::size_t place = random() % 20 * 2;
            if (place + 4 <= block.size()) {
                put<DWORD>(block, place, odd[random() % std::size(odd)]);
            }
        }
        const FIBitmapPtr bitmap(random() % 2 ? convertBlock(block)
                                              : OddStream(block, block.size()).convert());
        if (bitmap.get()) {
            ++made;
            EXPECT_NE(FIBitmapPtr(FreeImage_ConvertTo32Bits(bitmap.get())).get(), nullptr);
        }
    }
    EXPECT_GT(made, 500);
}

TEST(Dib, StreamsGiveMissingHeightsTopDown) {
    const FIBitmapPtr source(makeNoise(20, 6, 24, 9));
    Bytes block = toBlock(source.get(), true);
    put<LONG>(block, DibField::height, 0);
    put<DWORD>(block, DibField::imageBytes, 0);
    EXPECT_TRUE(sameBitmap(FIBitmapPtr(OddStream(block, block.size()).convert()).get(), source.get()));

    // Rows of 4 bytes: the 14 bytes of a file header count as three rows more, which stay blank.
    const FIBitmapPtr narrow(makeNoise(1, 6, 24, 9));
    block = toBlock(narrow.get(), true);
    put<LONG>(block, DibField::height, 0);
    put<DWORD>(block, DibField::imageBytes, 0);
    const FIBitmapPtr tall(OddStream(block, block.size()).convert());
    ASSERT_EQ(FreeImage_GetHeight(tall.get()), 9u);
    EXPECT_TRUE(sameBitmap(FIBitmapPtr(FreeImage_Copy(tall.get(), 0, 0, 1, 6)).get(), narrow.get()));
    EXPECT_EQ(FreeImage_GetScanLine(tall.get(), 0)[0], 0);
}

TEST(Dib, StreamsThatTellTooMuchEndWithNull) {
    const Bytes block = toBlock(FIBitmapPtr(makeNoise(20, 6, 24, 9)).get(), false);
    EXPECT_EQ(OddStream(block, block.size() + 1).convert(), nullptr);
    EXPECT_EQ(OddStream(block, 0).convert(), nullptr); // Stat fails
    OddStream large(block, 5'000'000'000);
    EXPECT_EQ(large.convert(), nullptr);
    EXPECT_EQ(large.reads, 0u);
    EXPECT_EQ(FreeImage_ConvertFromMemoryBMP(nullptr), nullptr);
}

/// Header of `size` bytes in a block of 200.
Bytes header(DWORD size, LONG width, LONG height, WORD bits, DWORD compression = 0, DWORD used = 0) {
    Bytes block(200);
    put<DWORD>(block, DibField::headerSize, size);
    if (size == 12) {
        put<WORD>(block, DibField::coreWidth, static_cast<WORD>(width));
        put<WORD>(block, DibField::coreHeight, static_cast<WORD>(height));
        put<WORD>(block, DibField::coreBitCount, bits);
        return block;
    }
    put<LONG>(block, DibField::width, width);
    put<LONG>(block, DibField::height, height);
    put<WORD>(block, DibField::bitCount, bits);
    put<DWORD>(block, DibField::compression, compression);
    put<DWORD>(block, DibField::coloursUsed, used);
    return block;
}

TEST(DibHeader, SizesOfFiles) {
    struct {
        Bytes block;
        DWORD offset, total, tableSize;
    } cases[] = {
        {header(12, 3, 5, 8), 12 + 768, 12 + 768 + 20, 768},
        {header(12, 3, 5, 24), 12, 12 + 60, 0},
        {header(40, 3, -5, 4), 40 + 64, 40 + 64 + 20, 64},
        {header(40, 3, 5, 8, 0, 3), 40 + 12, 40 + 12 + 20, 12},
        {header(40, 3, 5, 32, 3), 40 + 12, 40 + 60 + 12, 0},
        {header(40, 3, 5, 8, 1), 40 + 1024, 0, 1024}, // compressed, without a size
        {header(40, 3, 5, 24, 0, 0x4001), 40 + 0x10004, 40 + 0x10004 + 60, 4},
        {header(40, 0x7FFFFFFF, 0x7FFFFFFF, 32), 40, 0, 0},
        {header(108, 3, 5, 8), 108 + 1024, 108 + 1024 + 20, 0},
        {header(124, 3, 5, 24), 124 + 7, 1000 + 7, 0},
        {header(64, 3, 5, 24), 0, 0, 0},
    };
    put<DWORD>(cases[9].block, DibField::profileOffset, 100);
    put<DWORD>(cases[9].block, DibField::profileSize, 7);
    for (auto& test : cases) {
        const DibBlock dib{test.block.data(), test.block.size()};
        SCOPED_TRACE(testing::Message() << "case " << &test - cases);
        EXPECT_EQ(getDibPixelOffset(dib), test.offset);
        EXPECT_EQ(getDibColourTableSize(dib), test.tableSize);
        if (&test - cases == 9) { // behind the pixels, the profile adds its place to the total
            put<DWORD>(test.block, DibField::profileOffset, 1000);
            EXPECT_EQ(getDibPixelOffset(dib), 124u);
        }
        EXPECT_EQ(getDibTotalSize(dib), test.total);
        BITMAPFILEHEADER file{};
        EXPECT_EQ(makeBmpFileHeader(dib, file), test.total != 0);
        if (test.total != 0) {
            EXPECT_EQ(std::memcmp(&file, "BM", 2), 0);
            EXPECT_EQ(DWORD{file.bfSize}, test.total + 14);
            EXPECT_EQ(DWORD{file.bfOffBits}, getDibPixelOffset(dib) + 14);
        }
    }
    EXPECT_EQ(getDibRowBytes(1, 1), 4u);
    EXPECT_EQ(getDibRowBytes(3, 24), 12u);
    EXPECT_EQ(getDibRowBytes(0xFFFFFFFF, 0xFFFF), 0u);
    LONG width = 0, height = 0;
    EXPECT_TRUE(getDibDimensions({cases[2].block.data(), 200}, &width, &height));
    EXPECT_TRUE(getDibDimensions({cases[2].block.data(), 200}, nullptr, nullptr));
    EXPECT_EQ(width, 3);
    EXPECT_EQ(height, 5);
    EXPECT_FALSE(getDibDimensions({cases[10].block.data(), 200}, &width, &height));
}

TEST(DibHeader, MissingHeights) {
    struct {
        Bytes block;
        DWORD size;
        bool found;
        LONG height;
    } cases[] = {
        {header(12, 3, 0, 8), 12 + 768 + 4 * 9 + 3, true, 9},
        {header(12, 0, 0, 8), 2000, false, 0},
        {header(40, 3, 0, 8, 0, 3), 40 + 12 + 4 * 9, true, -9},
        {header(40, 3, 0, 32, 3), 40 + 12 + 12 * 9, true, -9},
        {header(40, 3, 77, 32), 40, true, 77},
        {header(40, 3, 0, 8), 100, false, 0}, // smaller than the colours
        {header(40, 0, 0, 8), 5000, false, 0},
        {header(124, 3, 0, 24), 124 + 50 + 12 * 9, true, -9},
        {header(13, 3, 0, 24), 5000, false, 0},
    };
    put<DWORD>(cases[7].block, DibField::profileSize, 50);
    for (auto& test : cases) {
        const DibBlock dib{test.block.data(), test.block.size()};
        SCOPED_TRACE(testing::Message() << "case " << &test - cases);
        EXPECT_EQ(fixDibHeight(dib, test.size, true), test.found);
        EXPECT_EQ(getDibHeaderSize(dib) == 12 ? dibWord(dib, DibField::coreHeight)
                                              : dibLong(dib, DibField::height),
                  test.height);
    }
    EXPECT_EQ(dibDword({cases[3].block.data(), 200}, DibField::imageBytes), 108u);
    Bytes cut = header(40, 3, 0, 24);
    EXPECT_FALSE(fixDibHeight({cut.data(), 20}, 5000, true)); // no room for the size
}

} // namespace
