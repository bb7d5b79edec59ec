// Loads a file by its MIME type and tells what the codec said, also about a file that loads all the same.

#include "ImageProcessing/DornImage/DornImage.h"

#include <cstdio>
#include <memory>

namespace {

// Lines of the TIFF codec go to the process's log, which drops them until an application installs a
// formatter.
class StandardErrorLog : public dornutils::LogFormaterInterface {
public:
    using LogFormaterInterface::writeMessage;
    void writeMessage(unsigned level, const Velmora::u8string& message, const char*, unsigned) override {
        std::fprintf(stderr, "log level %u: %s\n", level, message.c_str());
    }
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: messages FILE MIME-TYPE\n");
        return 1;
    }
    dornutils::setSystemLogFormater(std::make_shared<StandardErrorLog>());

    VelmoraException messages;
    DornImage::FIBitmapPtr page;
    const bool loaded = page.load(argv[1], argv[2], messages);
    for (const VelmoraException::Error& error : messages.getErrors()) {
        std::printf("%s\n", error.message.c_str());
    }
    if (!loaded) {
        return 3;
    }
    std::printf("%u x %u\n", FreeImage_GetWidth(page.get()), FreeImage_GetHeight(page.get()));
    return 0;
}
