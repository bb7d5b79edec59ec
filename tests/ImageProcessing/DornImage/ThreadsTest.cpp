// What threads may share: plans and records of the primitives, images that nobody changes, and the loads' one
// handler of messages. Meant for the thread sanitizer, and right without it.

#include "ImageProcessing/DornImage/DornImage.h"
#include "tests/ImageProcessing/DornImage/ListModel.h"
#include "tests/ScratchDirectory.h"

#include <gtest/gtest.h>
#include <thread>

using namespace DornImage;

namespace {

constexpr unsigned threadCount = 4;

// Runs `work` with the numbers 0 to 3 at once.
template <class Work>
void atOnce(Work work) {
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < threadCount; ++number) {
        threads.emplace_back([&work, number] { work(number); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

using Bytes = std::vector<Ipp8u>;

Bytes noise(IppiSize size, int channels) {
    std::mt19937 random(3);
    Bytes bytes(static_cast<std::size_t>(size.width * size.height * channels));
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<Ipp8u>(random()); });
    return bytes;
}

TEST(Threads, ShareAResizePlanForTiles) {
    const IppiSize src{90, 70}, dst{131, 120};
    const Bytes source = noise(src, 3);
    int specSize = 0, initSize = 0;
    ASSERT_EQ(ippiResizeGetSize_8u(src, dst, ippCubic, 0, &specSize, &initSize), ippStsNoErr);
    Bytes block(static_cast<std::size_t>(specSize)), init(static_cast<std::size_t>(initSize));
    auto* const plan = reinterpret_cast<IppiResizeSpec*>(block.data());
    ASSERT_EQ(ippiResizeCubicInit_8u(src, dst, 0, 0.5F, plan, init.data()), ippStsNoErr);
    const auto make = [&](Bytes& target, IppiPoint place, IppiSize size) {
        int bufferSize = 0;
        EXPECT_EQ(ippiResizeGetBufferSize_8u(plan, size, 3, &bufferSize), ippStsNoErr);
        Bytes buffer(static_cast<std::size_t>(bufferSize));
        const Ipp8u* const first = source.data() + place.y * src.height / dst.height * src.width * 3;
        EXPECT_EQ(ippiResizeCubic_8u_C3R(first, src.width * 3, target.data() + place.y * dst.width * 3,
                                         dst.width * 3, place, size, ippBorderRepl, nullptr, plan,
                                         buffer.data()),
                  ippStsNoErr);
    };
    Bytes whole = noise(dst, 3), tiles = whole;
    make(whole, {0, 0}, dst);
    const int rows = dst.height / static_cast<int>(threadCount);
    atOnce([&](unsigned number) { make(tiles, {0, static_cast<int>(number) * rows}, {dst.width, rows}); });
    EXPECT_EQ(tiles, whole);
}

TEST(Threads, ShareAGaussianRecord) {
    const IppiSize size{120, 50};
    const Bytes source = noise(size, 1);
    int specSize = 0, bufferSize = 0;
    ASSERT_EQ(ippiFilterGaussianGetBufferSize(size, 7, ipp8u, 1, &specSize, &bufferSize), ippStsNoErr);
    Bytes block(static_cast<std::size_t>(specSize)), scratch(static_cast<std::size_t>(bufferSize));
    auto* const record = reinterpret_cast<IppFilterGaussianSpec*>(block.data());
    ASSERT_EQ(ippiFilterGaussianInit(size, 7, 1.5F, ippBorderRepl, ipp8u, 1, record, scratch.data()),
              ippStsNoErr);
    std::vector<Bytes> results(threadCount, source);
    atOnce([&](unsigned number) {
        Bytes buffer(static_cast<std::size_t>(bufferSize));
        EXPECT_EQ(ippiFilterGaussianBorder_8u_C1R(source.data(), size.width, results[number].data(),
                                                  size.width, size, 0, record, buffer.data()),
                  ippStsNoErr);
    });
    EXPECT_NE(results[0], source);
    EXPECT_EQ(results, std::vector<Bytes>(threadCount, results[0]));
}

TEST(Threads, ReadOneImage) {
    const ImageRef grey = newPage(pageKinds[2], 140, 120);
    const dorntest::ScratchDirectory folder;
    SkewDetector detector(5, 30);
    ImageRef scaled[threadCount], turned[threadCount];
    double angles[threadCount] = {};
    atOnce([&](unsigned number) {
        const ImageRef own = grey; // a count of its own
        ImageRef result;
        EXPECT_TRUE(own->GetScaled(70, 50, Image::ScaleTypeLanczos, scaled[number]));
        EXPECT_TRUE(own->RotateEx(3.5, 70, 60, turned[number]));
        EXPECT_TRUE(own->GetSmoothed(result, 3, 1.0F));
        EXPECT_TRUE(own->convertTo24Bits(result));
        EXPECT_TRUE(own->IsGrayScale());
        angles[number] = detectSkew(own->getFIBTMAP(), detector);
        EmptyPage3Params params{10, 0.1, 5, 0, {}};
        EXPECT_FALSE(detectEmptyPage(own->getFIBTMAP(), params));
        const HBITMAP handle = own->GetHBITMAP(nullptr);
        EXPECT_NE(handle, nullptr);
        DeleteObject(handle);
        const std::string name = (folder / std::to_string(number)).string();
        EXPECT_TRUE(own->Save(FIF_PNG, name));
        ImageRef loaded;
        EXPECT_TRUE(loadImage(name, loaded) && samePicture(loaded->getFIBTMAP(), own->getFIBTMAP()));
    });
    for (unsigned number = 1; number < threadCount; ++number) {
        EXPECT_TRUE(samePicture(scaled[number]->getFIBTMAP(), scaled[0]->getFIBTMAP()));
        EXPECT_TRUE(samePicture(turned[number]->getFIBTMAP(), turned[0]->getFIBTMAP()));
        EXPECT_EQ(angles[number], angles[0]);
    }
}

TEST(Threads, LoadFilesAndStreamsWithMessages) {
    const Velmora::u8string name = DORN_TEST_DATA "/damaged/bad_directory_offset.tif";
    const std::string bytes = dorntest::readFile(std::filesystem::path(name.c_str()));
    atOnce([&](unsigned number) {
        for (int count = 0; count < 20; ++count) {
            VelmoraException exception;
            EXPECT_EQ(DornImage::FreeImage_GetFIFFromFilename(name), FIF_TIFF);
            if (number % 2 == 0) {
                EXPECT_EQ(FreeImage_LoadFile(FIF_TIFF, name, exception), nullptr);
                EXPECT_EQ(exception.getErrors().size(), 1U);
            } else {
                IStream* const stream = dornplatform::borrowMemoryStream(bytes.data(), bytes.size());
                EXPECT_EQ(FreeImage_LoadFile(FIF_TIFF, stream, exception), nullptr);
                // Another load that ends may take the message away.
                EXPECT_LE(exception.getErrors().size(), 1U);
                EXPECT_EQ(stream->Release(), 0U);
            }
        }
    });
}

} // namespace
