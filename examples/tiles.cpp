// Scales one picture on several threads: one plan, a strip of rows and a work buffer for each thread.

#include "ImageProcessing/DornImage/DornImage.h"
#include "primitives/primitives.h"

#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <thread>
#include <vector>

// Memory of the primitives, given back at the end of the scope.
struct Free {
    void operator()(Ipp8u* memory) const { ippsFree(memory); }
};
using Memory = std::unique_ptr<Ipp8u[], Free>;

struct Picture {
    const Ipp8u* pixels;
    int step; // bytes from one row to the next
    IppiSize size;
};

class Scaling {
public:
    // Builds the plan; a status below 0 means that there is none.
    IppStatus prepare(IppiSize from, IppiSize to) {
        int specSize = 0;
        int scratchSize = 0;
        IppStatus status = ippiResizeGetSize_8u(from, to, ippLanczos, 0, &specSize, &scratchSize);
        if (status != ippStsNoErr) {
            return status;
        }
        plan_.reset(ippsMalloc_8u(specSize));
        const Memory scratch(ippsMalloc_8u(scratchSize));
        return ippiResizeLanczosInit_8u(from, to, 3, plan(), scratch.get());
    }

    // Makes `rows` rows of the result from `first` on. Any number of threads may be in here at a time.
    IppStatus makeStrip(const Picture& source, Ipp8u* result, int resultStep, int width, int height,
                        int first, int rows) const {
        const IppiPoint offset = {0, first};
        const IppiSize strip = {width, rows};
        int bufferSize = 0;
        IppStatus status = ippiResizeGetBufferSize_8u(plan(), strip, 3, &bufferSize);
        if (status != ippStsNoErr) {
            return status;
        }
        const Memory buffer(ippsMalloc_8u(bufferSize)); // never shared
        // The source row that the strip's first row begins at.
        const double ratio = static_cast<double>(source.size.height) / height;
        const auto row = static_cast<std::ptrdiff_t>(first * ratio);
        return ippiResizeLanczos_8u_C3R(source.pixels + row * source.step, source.step,
                                        result + std::ptrdiff_t{first} * resultStep, resultStep, offset,
                                        strip, ippBorderRepl, nullptr, plan(), buffer.get());
    }

private:
    IppiResizeSpec* plan() const { return reinterpret_cast<IppiResizeSpec*>(plan_.get()); }

    Memory plan_;
};

// The status of the strip that failed, or 0.
IppStatus scale(const Picture& source, Ipp8u* result, int resultStep, IppiSize size, int threads) {
    Scaling scaling;
    const IppStatus status = scaling.prepare(source.size, size);
    if (status != ippStsNoErr) {
        return status;
    }
    std::vector<IppStatus> statuses(static_cast<std::size_t>(threads), ippStsNoErr);
    std::vector<std::thread> workers;
    const int rows = (size.height + threads - 1) / threads;
    for (int i = 0; i < threads && i * rows < size.height; ++i) {
        workers.emplace_back([&, i] {
            const int first = i * rows;
            const int last = first + rows < size.height ? first + rows : size.height;
            statuses[static_cast<std::size_t>(i)] =
                scaling.makeStrip(source, result, resultStep, size.width, size.height, first, last - first);
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    for (const IppStatus strip : statuses) {
        if (strip != ippStsNoErr) {
            return strip;
        }
    }
    return ippStsNoErr;
}

int main(int argc, char** argv) {
    if (argc != 6) {
        std::cerr << "usage: tiles IN OUT.png WIDTH HEIGHT THREADS\n";
        return 1;
    }
    const IppiSize size = {std::atoi(argv[3]), std::atoi(argv[4])};
    const int threads = std::atoi(argv[5]);
    dornbase::Reference<DornImage::Image> page, colour;
    if (threads < 1 || !DornImage::loadImage(argv[1], page) || !page->convertTo24Bits(colour)) {
        return 3;
    }
    // Rows count from the bottom in both bitmaps, so nothing has to be turned over.
    FIBITMAP* const from = colour->getFIBTMAP();
    const Picture source = {FreeImage_GetBits(from),
                            static_cast<int>(FreeImage_GetPitch(from)),
                            {static_cast<int>(colour->GetWidth()), static_cast<int>(colour->GetHeight())}};
    const DornImage::FIBitmapPtr to(FreeImage_Allocate(size.width, size.height, 24));
    if (!to.get()) {
        return 5;
    }
    const IppStatus status = scale(source, FreeImage_GetBits(to.get()),
                                   static_cast<int>(FreeImage_GetPitch(to.get())), size, threads);
    if (status != ippStsNoErr) {
        std::cerr << ippGetStatusName(status) << ": " << ippGetStatusString(status) << '\n';
        return 4;
    }
    return FreeImage_Save(FIF_PNG, to.get(), argv[2], 0) ? 0 : 4;
}
