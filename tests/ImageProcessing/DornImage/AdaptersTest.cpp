#include "ImageProcessing/DornImage/DornImage.h"
#include "tests/ImageProcessing/DornImage/LogLines.h"
#include "tests/ImageProcessing/DornImage/Pixels.h"

#include <algorithm>
#include <functional>
#include <gmock/gmock.h>
#include <tuple>

namespace {

using namespace DornImage;
using testing::ElementsAre;
using testing::IsEmpty;

using Counted = dornbase::ReferencedImplMT<Image>;

Reference<Image> imageOf(FIBITMAP* bitmap) {
    Reference<Image> image(new Counted);
    image->Attach(bitmap);
    return image;
}

struct ScriptedStep final : ImageLoadAdapter {
    explicit ScriptedStep(int answer, const Reference<Image>& makes) : status(answer), made(makes) {}
    AdapterStatus apply(Image*, Reference<Image>& result) override {
        result = made;
        return static_cast<AdapterStatus>(status);
    }
    int status;
    Reference<Image> made;
};

struct SaveStep final : ImageSaveAdapter {
    explicit SaveStep(std::function<bool(Image*, Reference<Image>&)> todo) : work(std::move(todo)) {}
    bool apply(Image* image, Reference<Image>& result) override { return work(image, result); }
    std::function<bool(Image*, Reference<Image>&)> work;
};

std::shared_ptr<ImageSaveAdapter> step(std::function<bool(Image*, Reference<Image>&)> work) {
    return std::make_shared<SaveStep>(std::move(work));
}

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

std::vector<BYTE> samples(FIBITMAP* bitmap) {
    std::vector<BYTE> result;
    for (int y = 0; y < static_cast<int>(FreeImage_GetHeight(bitmap)); ++y) {
        const BYTE* const line = FreeImage_GetScanLine(bitmap, y);
        result.insert(result.end(), line, line + FreeImage_GetLine(bitmap));
    }
    return result;
}

Reference<Image> stored(int orientation, int flags = 0) {
    const std::string name = DORN_TEST_DATA "/exif/orientation_" + std::to_string(orientation) + ".jpg";
    return imageOf(FreeImage_Load(FIF_JPEG, name.c_str(), flags));
}

// The tag as no camera writes it too. Without bytes it has no value.
void setOrientation(FIBITMAP* bitmap, FREE_IMAGE_MDTYPE type, const std::vector<BYTE>& bytes) {
    const unsigned width = type == FIDT_SHORT ? 2 : type == FIDT_LONG ? 4 : 1;
    FITagPtr tag;
    tag.Create();
    tag.SetTagKey("Orientation");
    tag.SetTagID(0x0112);
    tag.SetTagType(type);
    tag.SetTagCount(bytes.size() / width);
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
    const struct {
        int status;
        bool answer;
        Image* after;
    } cases[] = {
        {0, true, made.get()}, {1, true, before.get()}, {2, false, before.get()}, {7, false, before.get()}};
    for (const auto& c : cases) {
        ScriptedStep adapter(c.status, made);
        Reference<Image> image = before;
        EXPECT_EQ(applyAdapter(&adapter, image), c.answer) << c.status;
        EXPECT_EQ(image.get(), c.after) << c.status;
    }
}

TEST(Adapters, BringPalettesToTrueColour) {
    FIBITMAP* const inverted = FreeImage_Allocate(5, 5, 8);
    for (int i = 0; i < 256; ++i) {
        const auto level = static_cast<BYTE>(255 - i);
        FreeImage_GetPalette(inverted)[i] = {level, level, level, 0};
    }
    const struct {
        FIBITMAP* bitmap;
        unsigned depth;
    } cases[] = {{FreeImage_Allocate(5, 5, 1), 1},
                 {FreeImage_Allocate(5, 5, 4), 24},
                 {FreeImage_Allocate(5, 5, 8), 8},
                 {inverted, 24},
                 {FreeImage_Allocate(5, 5, 16, 0xF800, 0x7E0, 0x1F), 16},
                 {FreeImage_Allocate(5, 5, 24), 24},
                 {FreeImage_Allocate(5, 5, 32), 32},
                 {FreeImage_AllocateT(FIT_UINT16, 5, 5), 16},
                 {FreeImage_AllocateT(FIT_RGBF, 5, 5), 96},
                 {nullptr, 0}};
    for (const auto& c : cases) {
        const unsigned before = FreeImage_GetBPP(c.bitmap);
        const Reference<Image> source = imageOf(c.bitmap);
        Reference<Image> image = source;
        ColourLoadAdapter adapter;
        EXPECT_TRUE(applyAdapter(&adapter, image)) << before;
        EXPECT_EQ(image->GetBpp(), c.depth) << before;
        EXPECT_EQ(image.get() == source.get(), before == c.depth) << before;
    }
}

TEST(Adapters, ValidResolutionsAreFrom30To4800DotsPerInch) {
    for (const auto& [density, valid] : std::vector<std::pair<unsigned, bool>>{
             {0, false}, {1181, false}, {1182, true}, {188976, true}, {188977, false}, {0xFFFFFFFF, false}}) {
        EXPECT_EQ(FreeImage_IsValidDotsPerMeter(density), valid) << density;
    }
}

TEST(Adapters, SquarePixelsGetTheSizeByTheRule) {
    const struct {
        int width, height, x, y;
        unsigned newWidth, newHeight; // 0: not applied
    } cases[] = {
        {1000, 1000, 11811, 5906, 1000, 1999},
        {1000, 1000, 5906, 11811, 1999, 1000},
        {1728, 1078, 8031, 3858, 1728, 2244}, // a fax
        {100, 100, 1181, 5906, 0, 0},
        {100, 100, 5906, 188977, 0, 0},
        {100, 100, 5906, -5906, 0, 0},
        {100, 100, 5906, 5906, 0, 0},
        {100, 100, 0, 0, 0, 0},
        {20000, 1, 1182, 188976, 0, 0},     // the product wraps to a negative number
        {23000, 1, 1182, 188976, 43553, 1}, // and further, to a positive one
        {1, 23000, 188976, 1182, 1, 43553},
        {1024, 1 << 20, 1182, 2364, 0, 0}, // 2^31 pixels
        {1023, 1 << 20, 1182, 2364, 2046, 1 << 20},
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
        const auto status = adapter.apply(image.get(), result);
        if (c.newWidth == 0) {
            EXPECT_EQ(status, ImageLoadAdapter::AdapterNotApplied);
            EXPECT_FALSE(result);
            continue;
        }
        ASSERT_EQ(status, ImageLoadAdapter::AdapterApplied);
        EXPECT_EQ(recorder->asked, std::make_tuple(c.newWidth, c.newHeight, 0));
        const auto density = static_cast<unsigned>(std::max(c.x, c.y));
        EXPECT_EQ(FreeImage_GetDotsPerMeterX(result->getFIBTMAP()), density);
        EXPECT_EQ(FreeImage_GetDotsPerMeterY(result->getFIBTMAP()), density);
        recorder->scales = false;
        EXPECT_EQ(adapter.apply(image.get(), result), ImageLoadAdapter::AdapterFailed);
    }
    Reference<Image> none;
    EXPECT_EQ(DPIUnifAdapter().apply(imageOf(nullptr).get(), none), ImageLoadAdapter::AdapterNotApplied);
}

TEST(Adapters, SaveStepsRunInOrderOnWhatTheOneBeforeMade) {
    const Reference<Image> first = imageOf(FreeImage_Allocate(2, 2, 8));
    std::vector<unsigned> seen;
    const auto widen = [&](Image* image, Reference<Image>& result) {
        seen.push_back(image->GetWidth());
        result = imageOf(FreeImage_Allocate(static_cast<int>(image->GetWidth()) + 1, 1, 8));
        EXPECT_EQ(image->GetWidth(), seen.back()); // still alive
        return true;
    };
    SaveAdapterList list;
    Reference<Image> result;
    ASSERT_TRUE(list.Apply(first.get(), result));
    EXPECT_EQ(result.get(), first.get());

    list.add(step(widen));
    list.add(step([](Image*, Reference<Image>&) { return true; }));
    list.add(step(widen));
    SaveAdapterList copy(list);
    const SaveAdapterList& same = list;
    list = same;
    ASSERT_TRUE(list.Apply(first.get(), result));
    EXPECT_THAT(seen, ElementsAre(2, 3));
    EXPECT_EQ(result->GetWidth(), 4U);

    copy.add(step([](Image*, Reference<Image>& made) {
        made = imageOf(nullptr);
        return false;
    }));
    copy.add(step(widen));
    Image* const before = result.get();
    EXPECT_FALSE(copy.Apply(first.get(), result));
    EXPECT_EQ(result.get(), before);
    EXPECT_THAT(seen, ElementsAre(2, 3, 2, 3));
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
        FITAG* tag = nullptr;
        ASSERT_TRUE(FreeImage_GetMetadata(FIMD_EXIF_MAIN, image->getFIBTMAP(), "Orientation", &tag));
        EXPECT_EQ(*static_cast<const WORD*>(FreeImage_GetTagValue(tag)), orientation);

        std::shared_ptr<ImageSaveAdapter> back;
        ASSERT_TRUE(ExifOrientationAdapter(adapter).createSaveAdapter(back));
        SaveAdapterList list;
        list.add(back);
        Reference<Image> result;
        ASSERT_EQ(list.Apply(image.get(), result), orientation != 1);
        if (orientation != 1) {
            EXPECT_EQ(result->GetWidth(), source->GetWidth());
            EXPECT_EQ(samples(result->getFIBTMAP()), samples(source->getFIBTMAP()));
        }
        // Without EXIF data nothing is turned back, and the step ends the list.
        result = upright.get();
        EXPECT_FALSE(back->apply(imageOf(FreeImage_Allocate(2, 2, 8)).get(), result));
        EXPECT_EQ(result.get(), upright.get());
    }
}

TEST(ExifOrientation, ReadsAnyTagAndReportsBadValues) {
    const struct {
        FREE_IMAGE_MDTYPE type;
        std::vector<BYTE> bytes;
        unsigned value;
    } cases[] = {{FIDT_SHORT, {9, 0}, 9},       {FIDT_SHORT, {0, 0}, 0}, {FIDT_SHORT, {3, 0x80}, 0x8003},
                 {FIDT_LONG, {6, 0, 0, 0}, 6},  {FIDT_BYTE, {6}, 6},     {FIDT_BYTE, {}, 0},
                 {FIDT_SHORT, {1, 0, 9, 9}, 1}, {FIDT_ASCII, {8}, 8}};
    const auto log = std::make_shared<dorntest::LogLines>();
    dornutils::setSystemLogFormater(log);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.type << ' ' << c.value);
        const Reference<Image> source = imageOf(FreeImage_Allocate(3, 2, 24));
        setOrientation(source->getFIBTMAP(), c.type, c.bytes);
        ExifOrientationAdapter adapter;
        Reference<Image> result;
        const bool turned = c.value == 6 || c.value == 8;
        EXPECT_EQ(adapter.apply(source.get(), result),
                  turned ? ImageLoadAdapter::AdapterApplied : ImageLoadAdapter::AdapterNotApplied);
        EXPECT_EQ(adapter.getOrigOrient(), c.value);
        const bool bad = c.value < 1 || c.value > 8;
        EXPECT_THAT(log->lines,
                    bad ? testing::Matcher<std::vector<std::string>>(ElementsAre(
                              "0 ImageProcessing/DornImage/ExifOrientationAdapter Incorrect orientation"))
                        : IsEmpty());
        log->lines.clear();

        // An image without the tag leaves the value that was read before.
        Reference<Image> untold = imageOf(FreeImage_Allocate(3, 2, 24));
        EXPECT_EQ(adapter.apply(untold.get(), result), ImageLoadAdapter::AdapterNotApplied);
        EXPECT_EQ(adapter.getOrigOrient(), c.value);
        std::shared_ptr<ImageSaveAdapter> back;
        adapter.createSaveAdapter(back);
        EXPECT_EQ(back->apply(source.get(), result), turned);
    }
    dornutils::setSystemLogFormater(nullptr);
}

TEST(ExifOrientation, AFailedStepLeavesTheResult) {
    for (short orientation = 1; orientation <= 9; ++orientation) {
        SCOPED_TRACE(orientation);
        // Without pixels nothing can be turned or flipped.
        const Reference<Image> source = stored(1, FIF_LOAD_NOPIXELS);
        setOrientation(source->getFIBTMAP(), FIDT_SHORT, {static_cast<BYTE>(orientation), 0});
        Reference<Image> result = source;
        ExifOrientationAdapter adapter;
        EXPECT_EQ(adapter.apply(source.get(), result), orientation == 1 || orientation == 9
                                                           ? ImageLoadAdapter::AdapterNotApplied
                                                           : ImageLoadAdapter::AdapterFailed);
        std::shared_ptr<ImageSaveAdapter> back;
        adapter.createSaveAdapter(back);
        EXPECT_FALSE(back->apply(source.get(), result));
        EXPECT_EQ(result.get(), source.get());
    }
}
