#include "ImageProcessing/DornImage/DornImage.h"
#include "tests/ImageProcessing/DornImage/LogLines.h"
#include "tests/ImageProcessing/DornImage/Pixels.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <tuple>

namespace {

using namespace DornImage;
using Counted = dornbase::ReferencedImplMT<Image>;
using Status = ImageLoadAdapter::AdapterStatus;

Reference<Image> imageOf(FIBITMAP* bitmap) {
    Reference<Image> image(new Counted);
    image->Attach(bitmap);
    return image;
}

struct LoadStep final : ImageLoadAdapter {
    LoadStep(int answer, const Reference<Image>& makes) : status(answer), made(makes) {}
    AdapterStatus apply(Image*, Reference<Image>& result) override {
        result = made;
        return static_cast<AdapterStatus>(status);
    }
    int status;
    Reference<Image> made;
};

struct SaveStep final : ImageSaveAdapter {
    using Work = std::function<bool(Image*, Reference<Image>&)>;
    explicit SaveStep(Work todo) : work(std::move(todo)) {}
    bool apply(Image* image, Reference<Image>& result) override { return work(image, result); }
    Work work;
};

// Notes what scaling is asked for.
struct Recorder final : Counted {
    bool GetScaled(unsigned width, unsigned height, ScaleType type, Reference<Image>& result) override {
        asked = {width, height, type};
        if (scales) {
            result = imageOf(FreeImage_Allocate(1, 1, 8));
        }
        return scales;
    }
    std::tuple<unsigned, unsigned, int> asked;
    bool scales = true;
};

Reference<Image> stored(int orientation, int flags = 0) {
    const std::string name = DORN_TEST_DATA "/exif/orientation_" + std::to_string(orientation) + ".jpg";
    return imageOf(FreeImage_Load(FIF_JPEG, name.c_str(), flags));
}

// The tag as no camera writes it too. Without bytes it has no value.
void setOrientation(FIBITMAP* bitmap, FREE_IMAGE_MDTYPE type, const std::vector<BYTE>& bytes) {
    FITagPtr tag;
    tag.Create();
    tag.SetTagKey("Orientation");
    tag.SetTagType(type);
    tag.SetTagCount(bytes.size() / (type == FIDT_SHORT ? 2 : type == FIDT_LONG ? 4 : 1));
    tag.SetTagLength(bytes.size());
    if (!bytes.empty()) {
        tag.SetTagValue(bytes.data());
    }
    FreeImage_SetMetadata(FIMD_EXIF_MAIN, bitmap, "Orientation", tag.Get());
}

} // namespace

TEST(Adapters, RunOnAReference) {
    const Reference<Image> before = imageOf(nullptr);
    const Reference<Image> made = imageOf(nullptr);
    for (const int status : {0, 1, 2, 7}) {
        LoadStep adapter(status, made);
        Reference<Image> image = before;
        EXPECT_EQ(applyAdapter(&adapter, image), status < 2) << status;
        EXPECT_EQ(image.get(), (status == 0 ? made : before).get()) << status;
    }
}

TEST(Adapters, BringPalettesToTrueColour) {
    FIBITMAP* const inverted = FreeImage_Allocate(5, 5, 8);
    std::reverse(FreeImage_GetPalette(inverted), FreeImage_GetPalette(inverted) + 256);
    for (FIBITMAP* bitmap : {FreeImage_Allocate(5, 5, 1), FreeImage_Allocate(5, 5, 4),
                             FreeImage_Allocate(5, 5, 8), inverted, FreeImage_Allocate(5, 5, 16),
                             FreeImage_Allocate(5, 5, 32), FreeImage_AllocateT(FIT_UINT16, 5, 5)}) {
        const Reference<Image> source = imageOf(bitmap);
        const bool changes = source->GetBpp() == 4 || bitmap == inverted;
        Reference<Image> image = source;
        ColourLoadAdapter adapter;
        EXPECT_TRUE(applyAdapter(&adapter, image));
        EXPECT_EQ(image.get() == source.get(), !changes);
        EXPECT_EQ(image->GetBpp(), changes ? 24 : source->GetBpp());
    }
}

TEST(Adapters, SquarePixelsGetTheSizeByTheRule) {
    const struct {
        int width, height, x, y;
        unsigned newWidth, newHeight; // 0: not applied
    } cases[] = {
        {1000, 1000, 11811, 5906, 1000, 1999},
        {1000, 1000, 5906, 11811, 1999, 1000},
        {100, 100, 1181, 5906, 0, 0},
        {100, 100, 5906, 188977, 0, 0},
        {100, 100, 5906, -5906, 0, 0},
        {100, 100, 5906, 5906, 0, 0},
        {20000, 1, 1182, 188976, 0, 0},     // the product wraps to a negative number
        {23000, 1, 1182, 188976, 43553, 1}, // and further, to a positive one
        {1, 23000, 188976, 1182, 1, 43553},
        {1024, 1 << 20, 1182, 2364, 0, 0}, // 2^31 pixels
        {1, 0x7FFFFFFF, 1182, 2000, 1, 0x7FFFFFFF},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << 'x' << c.height << ' ' << c.x << ' ' << c.y);
        auto* const recorder = new Recorder;
        const Reference<Image> image(recorder);
        // Only its header is looked at.
        image->Attach(FreeImage_Allocate(1, 1, 8));
        BITMAPINFOHEADER& header = *FreeImage_GetInfoHeader(image->getFIBTMAP());
        header.biWidth = c.width;
        header.biHeight = c.height;
        header.biXPelsPerMeter = c.x;
        header.biYPelsPerMeter = c.y;
        DPIUnifAdapter adapter;
        Reference<Image> result;
        const Status status = adapter.apply(image.get(), result);
        EXPECT_EQ(status, c.newWidth > 0 ? Status::AdapterApplied : Status::AdapterNotApplied);
        ASSERT_EQ(static_cast<bool>(result), c.newWidth > 0);
        if (result) {
            EXPECT_EQ(recorder->asked, std::make_tuple(c.newWidth, c.newHeight, 0));
            const auto density = static_cast<unsigned>(std::max(c.x, c.y));
            EXPECT_EQ(FreeImage_GetDotsPerMeterX(result->getFIBTMAP()), density);
            EXPECT_EQ(FreeImage_GetDotsPerMeterY(result->getFIBTMAP()), density);
            recorder->scales = false;
            EXPECT_EQ(adapter.apply(image.get(), result), Status::AdapterFailed);
        }
    }
}

TEST(Adapters, SaveStepsRunInOrderOnWhatTheOneBeforeMade) {
    const Reference<Image> first = imageOf(FreeImage_Allocate(2, 2, 8));
    std::vector<unsigned> seen;
    const auto widen = std::make_shared<SaveStep>([&](Image* image, Reference<Image>& result) {
        result = imageOf(FreeImage_Allocate(static_cast<int>(image->GetWidth()) + 1, 1, 8));
        seen.push_back(image->GetWidth()); // it is still there
        return true;
    });
    SaveAdapterList list;
    Reference<Image> result;
    ASSERT_TRUE(list.Apply(first.get(), result));
    EXPECT_EQ(result.get(), first.get());
    list.add(widen);
    list.add(std::make_shared<SaveStep>([](Image*, Reference<Image>&) { return true; }));
    list.add(widen);
    SaveAdapterList copy(list);
    ASSERT_TRUE(list.Apply(first.get(), result));
    EXPECT_EQ(result->GetWidth(), 4U);
    copy.add(std::make_shared<SaveStep>([](Image*, Reference<Image>& made) {
        made = imageOf(nullptr);
        return false;
    }));
    copy.add(widen);
    EXPECT_FALSE(copy.Apply(first.get(), result));
    EXPECT_EQ(result->GetWidth(), 4U);
    EXPECT_EQ(seen, (std::vector<unsigned>{2, 3, 2, 3}));
}

TEST(ExifOrientation, TurnsUprightAndBack) {
    const Reference<Image> upright = stored(1);
    for (int orientation = 1; orientation <= 8; ++orientation) {
        SCOPED_TRACE(orientation);
        const Reference<Image> source = stored(orientation);
        Reference<Image> image = source;
        ExifOrientationAdapter adapter;
        ASSERT_TRUE(applyAdapter(&adapter, image));
        EXPECT_EQ(adapter.getOrigOrient(), orientation);
        EXPECT_EQ(image.get() == source.get(), orientation == 1);
        EXPECT_LT(dorntest::meanDistance(image->getFIBTMAP(), upright->getFIBTMAP()), 0.4);
        // The tag has travelled along.
        EXPECT_EQ(ExifOrientationAdapter(adapter).apply(image.get(), image) == Status::AdapterApplied,
                  orientation != 1);
        image = source;
        applyAdapter(&adapter, image);

        std::shared_ptr<ImageSaveAdapter> back;
        ASSERT_TRUE(adapter.createSaveAdapter(back));
        SaveAdapterList list;
        list.add(back);
        Reference<Image> result;
        ASSERT_EQ(list.Apply(image.get(), result), orientation != 1);
        if (result) {
            EXPECT_EQ(dorntest::meanDistance(result->getFIBTMAP(), source->getFIBTMAP()), 0);
        }
        // Without EXIF data nothing is turned back.
        EXPECT_FALSE(back->apply(imageOf(FreeImage_Allocate(2, 2, 8)).get(), image));
    }
}

TEST(ExifOrientation, ReadsAnyTagAndReportsBadValues) {
    const struct {
        FREE_IMAGE_MDTYPE type;
        std::vector<BYTE> bytes;
        unsigned value;
    } cases[] = {{FIDT_SHORT, {9, 0}, 9},      {FIDT_SHORT, {3, 0x80}, 0x8003},
                 {FIDT_LONG, {6, 0, 0, 0}, 6}, {FIDT_BYTE, {6}, 6},
                 {FIDT_BYTE, {}, 0},           {FIDT_SHORT, {1, 0, 9, 9}, 1}};
    const auto log = std::make_shared<dorntest::LogLines>();
    dornutils::setSystemLogFormater(log);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.type << ' ' << c.value);
        const Reference<Image> source = imageOf(FreeImage_Allocate(3, 2, 24));
        setOrientation(source->getFIBTMAP(), c.type, c.bytes);
        ExifOrientationAdapter adapter;
        Reference<Image> result;
        EXPECT_EQ(adapter.apply(source.get(), result),
                  c.value == 6 ? Status::AdapterApplied : Status::AdapterNotApplied);
        const bool bad = c.value < 1 || c.value > 8;
        EXPECT_EQ(
            log->lines,
            std::vector<std::string>(
                bad ? 1 : 0, "0 ImageProcessing/DornImage/ExifOrientationAdapter Incorrect orientation"));
        log->lines.clear();
        // An image without the tag leaves the value that was read before.
        EXPECT_EQ(adapter.apply(imageOf(FreeImage_Allocate(3, 2, 24)).get(), result),
                  Status::AdapterNotApplied);
        EXPECT_EQ(adapter.getOrigOrient(), c.value);
        std::shared_ptr<ImageSaveAdapter> back;
        adapter.createSaveAdapter(back);
        EXPECT_EQ(back->apply(source.get(), result), c.value == 6);
    }
    dornutils::setSystemLogFormater(nullptr);
}

TEST(ExifOrientation, AFailedStepLeavesTheResult) {
    for (BYTE orientation = 2; orientation <= 8; ++orientation) {
        // Without pixels nothing can be turned or flipped.
        const Reference<Image> source = stored(1, FIF_LOAD_NOPIXELS);
        setOrientation(source->getFIBTMAP(), FIDT_SHORT, {orientation, 0});
        Reference<Image> result = source;
        ExifOrientationAdapter adapter;
        EXPECT_EQ(adapter.apply(source.get(), result), Status::AdapterFailed);
        std::shared_ptr<ImageSaveAdapter> back;
        adapter.createSaveAdapter(back);
        EXPECT_FALSE(back->apply(source.get(), result));
        EXPECT_EQ(result.get(), source.get());
    }
}
