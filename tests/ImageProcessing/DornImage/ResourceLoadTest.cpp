#include "ImageProcessing/DornImage/DornImage.h"
#include "tests/ScratchDirectory.h"

#include <gtest/gtest.h>

namespace {

FIBITMAP* load(const wchar_t* type, const wchar_t* name, VelmoraException& record) {
    return DornImage::FreeImage_LoadFromResource(FIF_PNG, nullptr, type, name, record);
}

TEST(ResourceLoad, DecodesWhatIsRegistered) {
    const std::string bytes = dorntest::readFile(DORN_TEST_DATA "/depths/rgb_small.png");
    ASSERT_TRUE(dornplatform::registerResource(nullptr, L"PNG", L"weasel", bytes.data(), bytes.size()));
    VelmoraException record;
    const DornImage::FIBitmapPtr bitmap(load(L"PNG", L"weasel", record));
    ASSERT_NE(bitmap.get(), nullptr);
    EXPECT_EQ(FreeImage_GetWidth(bitmap.get()), 82U);
    EXPECT_FALSE(record.hasError());
    EXPECT_TRUE(dornplatform::unregisterResource(nullptr, L"PNG", L"weasel"));
}

TEST(ResourceLoad, TellsWhichStepFailed) {
    const char text[] = "no picture";
    ASSERT_TRUE(dornplatform::registerResource(nullptr, L"PNG", L"text", text, sizeof text));
    ASSERT_TRUE(dornplatform::registerResource(nullptr, L"PNG", L"nothing", nullptr, 0));
    const auto* const number = reinterpret_cast<const wchar_t*>(std::uintptr_t{7});
    const std::tuple<const wchar_t*, const wchar_t*, const char*> failures[] = {
        {L"PNG", L"wo\u00df", "Failed to find resource: PNG/wo\u00df"},
        {L"PNG", number, "Failed to find resource: PNG/"},
        {L"PNG", L"nothing", "Faild to lock resource"},
        {L"PNG", L"text", "Failed to load image from memory"},
    };
    for (const auto& [type, name, message] : failures) {
        VelmoraException record;
        EXPECT_EQ(load(type, name, record), nullptr);
        ASSERT_EQ(record.getErrors().size(), 1U) << message;
        EXPECT_EQ(record.getMessage(), message);
        EXPECT_EQ(record.getErrors().front().fileName, "ImageProcessing/DornImage/FreeImageUtils");
    }
    EXPECT_TRUE(dornplatform::unregisterResource(nullptr, L"PNG", L"text"));
    EXPECT_TRUE(dornplatform::unregisterResource(nullptr, L"PNG", L"nothing"));
}

} // namespace
