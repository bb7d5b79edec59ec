// A page in a JPEG file to a third of its size in another one, beside other libraries: with a full decode,
// and with a decoder that delivers a reduced picture. Times are per pixel of the source.
//
//   jpeg_reduce_bench PAGE.jpg [--benchmark_...]

#include "bench/OtherLibraries.h" // before FreeImage, whose macro IFF_DEFAULT is a constant of Leptonica's

#include "ImageProcessing/DornImage/DornImage.h"

#include <cstdlib>
#include <filesystem>

namespace {

using DornImage::Image;
using DornImage::Reference;

constexpr unsigned reduction = 3;
constexpr int quality = 75; // of all that write

struct Job {
    std::string from;
    std::string to;
    unsigned width; // of the result
    unsigned height;
};

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "jpeg_reduce_bench: %s\n", what.c_str());
    std::exit(1);
}

Reference<Image> load(const std::string& file, int flags) {
    Reference<Image> page(new dornbase::ReferencedImpl<Image>());
    page->Attach(FreeImage_Load(FIF_JPEG, file.c_str(), flags));
    return page;
}

void reduce(const Job& job, int flags) {
    Reference<Image> small;
    if (!load(job.from, flags)->GetScaled(job.width, job.height, Image::ScaleTypeLinear, small) ||
        !small->Save(FIF_JPEG, job.to, quality)) {
        fail(job.from + " cannot be reduced");
    }
}

#if defined(DORN_BENCH_LEPTONICA)
void reduceWithLeptonica(const Job& job, int decoderReduction) {
    PIX* page = pixReadJpeg(job.from.c_str(), 0, decoderReduction, nullptr, 0);
    PIX* small = page
                     ? pixScaleToSize(page, static_cast<l_int32>(job.width), static_cast<l_int32>(job.height))
                     : nullptr;
    if (!small || pixWriteJpeg(job.to.c_str(), small, quality, 0) != 0) {
        fail("Leptonica fails");
    }
    pixDestroy(&page);
    pixDestroy(&small);
}
#endif

#if defined(DORN_BENCH_VIPS)
void reduceWithVips(const Job& job, bool decoderReduces) {
    VipsImage* small = nullptr;
    VipsImage* page = nullptr;
    int failed = 0;
    if (decoderReduces) {
        failed = vips_thumbnail(job.from.c_str(), &small, static_cast<int>(job.width), nullptr);
    } else {
        failed = vips_jpegload(job.from.c_str(), &page, nullptr) ||
                 vips_resize(page, &small, static_cast<double>(job.width) / page->Xsize, nullptr);
    }
    if (failed || vips_jpegsave(small, job.to.c_str(), "Q", quality, nullptr)) {
        fail("libvips fails");
    }
    g_object_unref(small);
    if (page) {
        g_object_unref(page);
    }
}
#endif

void addContests(const Job& job, std::int64_t pixels) {
    const int helped = JPEG_DEFAULT | static_cast<int>(std::max(job.width, job.height)) << 16;
    const std::string full = "full decode";
    const std::string scaled = "decoder helps";
    bench::add(full, "DornImage", pixels, [job] { reduce(job, JPEG_DEFAULT); });
    bench::add(full, "DornImage, accurate decoder", pixels, [job] { reduce(job, JPEG_ACCURATE); });
#if defined(DORN_BENCH_LEPTONICA)
    bench::add(full, "Leptonica", pixels, [job] { reduceWithLeptonica(job, 1); });
#endif
#if defined(DORN_BENCH_VIPS)
    bench::add(full, "libvips", pixels, [job] { reduceWithVips(job, false); });
#endif
    bench::add(scaled, "DornImage", pixels, [job, helped] { reduce(job, helped); });
#if defined(DORN_BENCH_LEPTONICA)
    bench::add(scaled, "Leptonica", pixels, [job] { reduceWithLeptonica(job, 2); });
#endif
#if defined(DORN_BENCH_VIPS)
    bench::add(scaled, "libvips thumbnail", pixels, [job] { reduceWithVips(job, true); });
#endif
    // Where the time goes.
    const std::string parts = "parts";
    bench::add(parts, "load", pixels, [job] { load(job.from, JPEG_DEFAULT); });
    bench::add(parts, "load, accurate decoder", pixels, [job] { load(job.from, JPEG_ACCURATE); });
    bench::add(parts, "load, decoder helps", pixels, [job, helped] { load(job.from, helped); });
    const Reference<Image> page = load(job.from, JPEG_DEFAULT);
    const auto scale = [job, page] {
        Reference<Image> small;
        page->GetScaled(job.width, job.height, Image::ScaleTypeLinear, small);
        return small;
    };
    bench::add(parts, "scale", pixels, [scale] { scale(); });
    bench::add(parts, "save", pixels, [job, small = scale()] { small->Save(FIF_JPEG, job.to, quality); });
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || bench::startOtherLibraries(argv[0]) != 0) {
        fail("give a page in a JPEG file");
    }
    const Reference<Image> page = load(argv[1], JPEG_DEFAULT);
    if (page->GetWidth() < 10 * reduction || page->GetHeight() < 10 * reduction) {
        fail(std::string(argv[1]) + " is no page in a JPEG file");
    }
    std::string folder = (std::filesystem::temp_directory_path() / "jpeg-reduce-XXXXXX").string();
    if (!mkdtemp(folder.data())) {
        fail("there is no temporary folder");
    }
    const Job job{argv[1], folder + "/small.jpg", page->GetWidth() / reduction,
                  page->GetHeight() / reduction};
    addContests(job, std::int64_t{page->GetWidth()} * page->GetHeight());
    argv[1] = argv[0];
    const int result = bench::run(argc - 1, argv + 1);
    std::filesystem::remove_all(folder);
    return result;
}
