// Loads the page named on the command line and copies it to a PNG file, through installed headers only.
// Prints the size; the number of TIFF codec lines that reached the log is printed too, since it is 0 when
// the library's set-up at load time did not run.

#include "ImageProcessing/DornImage/DornImage.h"

#include <cstdio>
#include <memory>

namespace {

class CountingLog : public dornutils::LogFormaterInterface {
public:
    using LogFormaterInterface::writeMessage;
    void writeMessage(unsigned, const Velmora::u8string&, const char*, unsigned) override { ++lines; }
    int lines = 0;
};

// Loads before main: a program's static objects may come before those of a static library.
const bool loadedEarly = [] {
    VelmoraException messages;
    const FIBITMAP* page = DornImage::FreeImage_LoadFile(FIF_PNG, "no such file", messages);
    return !page && messages.hasError();
}();

} // namespace

int main(int argc, char** argv) {
    if (argc != 3 || !loadedEarly) {
        std::fprintf(stderr, "usage: consumer IN OUT.png\n");
        return 1;
    }
    const auto log = std::make_shared<CountingLog>();
    dornutils::setSystemLogFormater(log);
    dornbase::Reference<DornImage::Image> page;
    if (!DornImage::loadImage(argv[1], page)) {
        std::fprintf(stderr, "%s: can't be loaded\n", argv[1]);
        return 3;
    }
    std::printf("%u x %u, %u bits, %d codec lines\n", page->GetWidth(), page->GetHeight(), page->GetBpp(),
                log->lines);
    return page->Save(FIF_PNG, argv[2]) ? 0 : 4;
}
