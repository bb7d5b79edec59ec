// Loads a picture from memory, here the bytes of a file, in the format that its content tells.

#include "ImageProcessing/DornImage/DornImage.h"
#include "platform/MemoryStream.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: streams FILE\n");
        return 1;
    }
    std::ifstream file(argv[1], std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};

    // The stream borrows the bytes; its count starts at 1 and is given back below.
    IStream* stream = dornplatform::borrowMemoryStream(bytes.data(), bytes.size());
    if (!stream) {
        return 3;
    }
    VelmoraException messages;
    DornImage::FIBitmapPtr page(
        DornImage::FreeImage_LoadFile(FreeImage_GetFileType(argv[1]), stream, messages));
    stream->Release();
    if (!page.get()) {
        std::fprintf(stderr, "%s: %s\n", argv[1], messages.getMessage().c_str());
        return 3;
    }

    // The picture changes hands: from the scoped handle to an Image, whose references are counted.
    dornbase::Reference<DornImage::Image> image(new dornbase::ReferencedImplMT<DornImage::Image>);
    image->Attach(page.detach());
    std::printf("%u x %u, %u bits\n", image->GetWidth(), image->GetHeight(), image->GetBpp());
    return 0;
}
