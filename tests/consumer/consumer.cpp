// Loads the page named on the command line and copies it to a PNG file, through installed headers only.
// Prints the size; the number of TIFF codec lines that reached the log is printed too, since it is 0 when
// the library's set-up at load time did not run.

#include "ImageProcessing/DornImage/DornImage.h"

#include <cstdio>

namespace {

class CountingLog : public dornutils::LogFormaterInterface {
public:
    void writeMessage(unsigned, const Velmora::u8string&, const char*, unsigned) override { ++lines; }
    void writeMessage(unsigned, const char*, const char*, unsigned) override { ++lines; }
    int lines = 0;
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: consumer IN OUT.png\n");
        return 1;
    }
    CountingLog log;
    dornutils::setSystemLogFormater(&log);
    dornbase::Reference<DornImage::Image> page;
    if (!DornImage::loadImage(argv[1], page)) {
        std::fprintf(stderr, "%s: can't be loaded\n", argv[1]);
        return 3;
    }
    std::printf("%u x %u, %u bits, %d codec lines\n", page->GetWidth(), page->GetHeight(), page->GetBpp(),
                log.lines);
    const bool saved = page->Save(FIF_PNG, argv[2]);
    dornutils::setSystemLogFormater(nullptr);
    return saved ? 0 : 4;
}
