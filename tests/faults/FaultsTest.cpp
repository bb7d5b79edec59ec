// What becomes of an operation when memory, a file, room on the disk or the codec fails it at any one point:
// it answers with its own failure value or an exception, or does its work in full; nothing is lost or left
// behind, and it works again right after.

#include "FaultTest.h"
#include "ImageProcessing/DornImage/DornImage.h"
#include "tests/ImageProcessing/DornImage/ListModel.h"

#include <csignal>

#include <sys/resource.h>

using namespace DornImage;

namespace {

// Makes no use of memory, so that looking at a picture can't fail.
std::uint64_t pixelsOf(FIBITMAP* bitmap) {
    std::uint64_t hash = FreeImage_GetWidth(bitmap) * 31 + FreeImage_GetBPP(bitmap);
    const unsigned rows = FreeImage_GetBits(bitmap) ? FreeImage_GetHeight(bitmap) : 0;
    for (unsigned y = 0; y < rows; ++y) {
        const BYTE* const line = FreeImage_GetScanLine(bitmap, static_cast<int>(y));
        for (unsigned x = 0; x < FreeImage_GetWidth(bitmap) * FreeImage_GetBPP(bitmap) / 8; ++x) {
            hash = (hash ^ line[x]) * 0x100000001B3U;
        }
    }
    return hash;
}

struct ReleaseStream {
    void operator()(IStream* stream) const { stream->Release(); }
};
using StreamHolder = std::unique_ptr<IStream, ReleaseStream>;

std::optional<std::uint64_t> outcomeOf(FIBITMAP* bitmap) {
    const FIBitmapPtr holder(bitmap);
    return bitmap ? std::optional(pixelsOf(bitmap)) : std::nullopt;
}

class Faults : public faults::FaultTest {
protected:
    Faults() {
        std::signal(SIGXFSZ, SIG_IGN);
        dornutils::getSystemLogFormater(); // makes its object once, to stay
        std::size_t at = 0;
        for (const auto format : {FIF_PNG, FIF_JPEG, FIF_TIFF, FIF_BMP, FIF_GIF}) {
            const ImageRef& picture = format == FIF_GIF ? grey : colour;
            files[at].name = (folder / FreeImage_GetFormatFromFIF(format)).string();
            EXPECT_TRUE(picture->Save(format, files[at].name, 0));
            files[at].bytes = dorntest::readFile(asPath(files[at].name));
            files[at++].format = format;
        }
    }
    static Outcome pictureOf(bool made, const ImageRef& result) {
        return made ? Outcome(pixelsOf(result->getFIBTMAP())) : std::nullopt;
    }

    static HGLOBAL dibOf(Image& image) {
        const std::unique_ptr<std::remove_pointer_t<HBITMAP>, decltype(&DeleteObject)> handle(
            image.GetHBITMAP(nullptr), DeleteObject);
        return handle ? BitmapToDIB(handle.get(), nullptr) : nullptr;
    }

    // Two pages go to files and come back. Whatever happens in between, no page is lost.
    Outcome spillAndReload() const {
        const ListRef list = newList(1);
        Outcome outcome;
        try {
            ImageRef page;
            if (list->AddImage(colour.get()) && list->AddImage(grey.get()) && (page = firstPage(*list))) {
                outcome = pixelsOf(page->getFIBTMAP());
            }
        } catch (const std::bad_alloc&) {
            outcome.reset();
        }
        const faults::Pause pause;
        const ImageRef pages[] = {colour, grey};
        for (unsigned index = 0; index < list->GetCount(); ++index) {
            EXPECT_TRUE(hasPage(*list, index, pages[index])) << index;
        }
        return outcome;
    }

    static ImageRef firstPage(ImageList& list) {
        Image* image = nullptr;
        ImageRef result;
        if (list.GetImage(0, &image)) {
            result = image;
            image->releaseRef();
        }
        return result;
    }

    // The bytes of the saved file.
    Outcome save(Image& image, FREE_IMAGE_FORMAT format) const {
        if (!image.Save(format, saved)) {
            return std::nullopt;
        }
        const faults::Pause pause;
        return std::hash<std::string>()(dorntest::readFile(asPath(saved)));
    }

    struct File {
        Velmora::u8string name;
        FREE_IMAGE_FORMAT format = FIF_UNKNOWN;
        std::string bytes;
    };

    const Velmora::u8string saved = (folder / "saved").string();
    const ImageRef colour = colourPage(40, 36);
    const ImageRef grey = newPage(pageKinds[2], 40, 36);
    const ImageRef bilevel = newPage(pageKinds[0], 48, 48);
    File files[5];
};

TEST_F(Faults, LoadsWithoutMemoryOrFiles) {
    for (const File& file : files) {
        SCOPED_TRACE(FreeImage_GetFormatFromFIF(file.format));
        const auto byName = [&] {
            VelmoraException exception;
            return outcomeOf(FreeImage_LoadFile(file.format, file.name, exception));
        };
        failEach(byName);
        failEach(faults::Kind::open, byName);
        failEach([&] {
            VelmoraException exception;
            const StreamHolder stream(dornplatform::borrowMemoryStream(file.bytes.data(), file.bytes.size()));
            return outcomeOf(FreeImage_LoadFile(file.format, stream.get(), exception));
        });
    }
}

TEST_F(Faults, LoadsOfResourcesWithoutMemory) {
    const File& png = files[0];
    ASSERT_TRUE(dornplatform::registerResource(nullptr, L"PNG", L"page", png.bytes.data(), png.bytes.size()));
    failEach([] {
        VelmoraException exception;
        return outcomeOf(FreeImage_LoadFromResource(FIF_PNG, nullptr, L"PNG", L"page", exception));
    });
    EXPECT_TRUE(dornplatform::unregisterResource(nullptr, L"PNG", L"page"));
}

TEST_F(Faults, OperationsWithoutMemory) {
    const auto fail = [this](const char* name, const std::function<bool(ImageRef&)>& operation) {
        SCOPED_TRACE(name);
        failEach([&] {
            ImageRef result;
            const bool made = operation(result);
            return pictureOf(made, result);
        });
    };
    ColourLoadAdapter toColour;
    ExifOrientationAdapter upright;
    const auto applied = ImageLoadAdapter::AdapterApplied;
    const ImageRef palette = newPage(pageKinds[1], 30, 30);
    fail("reduce", [&](ImageRef& r) { return colour->GetScaled(17, 13, Image::ScaleTypeCubic, r); });
    fail("enlarge", [&](ImageRef& r) { return grey->GetScaled(70, 50, Image::ScaleTypeLanczos, r); });
    fail("bilevel", [&](ImageRef& r) { return bilevel->GetScaled(70, 50, Image::ScaleTypeLinear, r); });
    fail("zoom", [&](ImageRef& r) { return colour->GetZoomed(150, r); });
    fail("clone", [&](ImageRef& r) { return palette->GetClone(r); });
    fail("24 bits", [&](ImageRef& r) { return palette->convertTo24Bits(r); });
    fail("colour", [&](ImageRef& r) { return toColour.apply(palette.get(), r) == applied; });
    fail("quarter", [&](ImageRef& r) { return colour->Rotate(90, r); });
    fail("upright", [&](ImageRef& r) { return upright.rotateImage(5, colour.get(), r) == applied; });
    fail("turn", [&](ImageRef& r) {
        // An empty image, with true, is its failure value.
        return colour->RotateEx(7.5, 20, 18, r) && r->getFIBTMAP();
    });
    fail("tag", [&](ImageRef& r) {
        return colour->GetClone(r) &&
               FreeImage_SetTagValue(FIMD_EXIF_MAIN, r->getFIBTMAP(), "Orientation", 3);
    });
    fail("smooth", [&](ImageRef& r) { return colour->GetSmoothed(r, 5, 1.0F); });
    failEach([&]() -> Outcome {
        const std::unique_ptr<void, decltype(&GlobalFree)> dib(dibOf(*colour), GlobalFree);
        return outcomeOf(dib ? FreeImage_ConvertFromDIB(dib.get()) : nullptr);
    });
}

TEST_F(Faults, AnalysisWithoutMemory) {
    const ImageRef page = newPage(pageKinds[2], 120, 100);
    failEach([&]() -> Outcome {
        SkewDetector detector(5, 20);
        detector.setThreshold(100);
        const double angle = detectSkew(page->getFIBTMAP(), detector);
        return angle != 0 ? Outcome(static_cast<std::uint64_t>(angle * 1000 + 100000)) : std::nullopt;
    });
}

TEST_F(Faults, ListsWithoutMemoryOrFilesOrDisk) {
    const auto operation = [&] { return spillAndReload(); };
    failEach(operation);
    failEach(faults::Kind::open, operation);
    failEachWrite(operation);
}

// The codec of JPEG loses memory when a write fails.
TEST_F(Faults, SavesWithoutMemoryOrFilesOrDisk) {
    for (const File& file : files) {
        SCOPED_TRACE(FreeImage_GetFormatFromFIF(file.format));
        Image& picture = file.format == FIF_GIF ? *grey : *colour;
        const auto operation = [&] { return save(picture, file.format); };
        failEach(operation);
        failEach(faults::Kind::open, operation);
        failEachWrite(operation, file.format == FIF_JPEG ? Codec::losesMemory : Codec::keepsMemory);
    }
}

// A disk with room for `size` bytes in each file.
class SmallDisk {
public:
    explicit SmallDisk(std::size_t size) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{size, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SmallDisk() { setrlimit(RLIMIT_FSIZE, &before_); }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

private:
    rlimit before_{};
};

TEST_F(Faults, SavesAndListsOnAFullDisk) {
    for (const auto format : {FIF_PNG, FIF_JPEG, FIF_TIFF, FIF_BMP, FIF_GIF}) {
        SCOPED_TRACE(FreeImage_GetFormatFromFIF(format));
        Image& picture = format == FIF_GIF ? *grey : *colour;
        const std::uint64_t expected = undisturbed([&] { return save(picture, format); });
        const std::size_t size = std::filesystem::file_size(asPath(saved));
        for (std::size_t room = 0; room < size; room += 1 + size / 40) {
            const SmallDisk disk(room);
            EXPECT_FALSE(picture.Save(format, saved)) << room << " of " << size << " bytes";
        }
        EXPECT_EQ(undisturbed([&] { return save(picture, format); }), expected);
    }
    for (std::size_t room = 0; room < 4000; room += 100) {
        const SmallDisk disk(room);
        spillAndReload();
        EXPECT_TRUE(std::filesystem::is_empty(temporary));
    }
}

// A stream of which one call fails, or a read comes short.
class FaultyStream : public IStream {
public:
    FaultyStream(const std::string& bytes, unsigned n, bool isShort)
        : inner_(dornplatform::borrowMemoryStream(bytes.data(), bytes.size())), callsLeft_(n),
          isShort_(isShort) {}
    ~FaultyStream() override { inner_->Release(); }

    ULONG AddRef() override { return ++count; }
    ULONG Release() override { return --count; }
    HRESULT Read(void* buffer, ULONG size, ULONG* read) override {
        if (fails() && !isShort_) {
            return E_FAIL;
        }
        return inner_->Read(buffer, hasFailed && callsLeft_ == 0 && isShort_ ? size / 2 : size, read);
    }
    HRESULT Seek(LARGE_INTEGER offset, DWORD origin, ULARGE_INTEGER* position) override {
        return fails() ? E_FAIL : inner_->Seek(offset, origin, position);
    }
    HRESULT Stat(STATSTG* stat, DWORD flags) override { return fails() ? E_FAIL : inner_->Stat(stat, flags); }

    ULONG count = 1;
    bool hasFailed = false;

private:
    bool fails() {
        hasFailed = hasFailed || --callsLeft_ == 0;
        return hasFailed && callsLeft_ == 0;
    }

    IStream* inner_;
    unsigned callsLeft_;
    bool isShort_;
};

TEST_F(Faults, StreamsThatFailAreGivenBack) {
    for (const File& file : files) {
        SCOPED_TRACE(FreeImage_GetFormatFromFIF(file.format));
        bool hasFailed = true;
        for (unsigned n = 1; hasFailed && n < 5000 && !HasFailure(); ++n) {
            for (const bool isShort : {false, true}) {
                FaultyStream stream(file.bytes, n, isShort);
                faults::arm(faults::Kind::none, 0);
                {
                    VelmoraException exception;
                    std::optional<dorntest::KnownLeak> stateOfTheCodec;
                    if (file.format == FIF_GIF) {
                        stateOfTheCodec.emplace();
                    }
                    const FIBitmapPtr bitmap(FreeImage_LoadFile(file.format, &stream, exception));
                }
                faults::disarm();
                // The GIF codec loses what it has when the guard on its reads ends it.
                EXPECT_TRUE(file.format == FIF_GIF || faults::leaks().empty());
                EXPECT_EQ(stream.count, 1U);
                hasFailed = stream.hasFailed;
            }
        }
    }
    // No codec takes what its buffer held before a read that failed for the size of a picture.
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    EXPECT_LT(usage.ru_maxrss, 1024 * 1024) << "KiB";
}

} // namespace
