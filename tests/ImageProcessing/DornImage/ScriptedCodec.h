#ifndef DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_SCRIPTEDCODEC_H
#define DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_SCRIPTEDCODEC_H

#include "ImageProcessing/DornImage/Load.h"

#include <functional>
#include <string>
#include <vector>

// A codec that the test registers with FreeImage, as its number 37, and that decodes by running a function of
// the test.
namespace dorntest {

/// The callbacks that the codec is given, over a buffer large enough for the streams of the tests.
class Callbacks {
public:
    Callbacks(FreeImageIO& io, fi_handle handle) : buffer(8192), io_(io), handle_(handle) {}

    unsigned read(unsigned itemSize, unsigned itemCount) {
        return io_.read_proc(buffer.data(), itemSize, itemCount, handle_);
    }
    int seek(long offset, int origin) { return io_.seek_proc(handle_, offset, origin); }
    long tell() { return io_.tell_proc(handle_); }
    bool hasWrite() const { return io_.write_proc != nullptr; }

    std::vector<unsigned char> buffer;

private:
    FreeImageIO& io_;
    fi_handle handle_;
};

using Decode = std::function<FIBITMAP*(Callbacks&)>;

inline thread_local const Decode* currentDecode = nullptr;

inline FREE_IMAGE_FORMAT scriptedFormat() {
    static const FREE_IMAGE_FORMAT format = FreeImage_RegisterLocalPlugin([](Plugin* plugin, int) {
        plugin->format_proc = [] { return "SCRIPTED"; };
        plugin->description_proc = [] { return "A scripted codec"; };
        plugin->extension_proc = [] { return ",a-b,,cc"; };
        plugin->mime_proc = [] { return "image/heif"; };
        plugin->supports_export_bpp_proc = [](int bitsPerPixel) -> BOOL { return bitsPerPixel == 16; };
        plugin->load_proc = [](FreeImageIO* io, fi_handle handle, int, int, void*) {
            Callbacks callbacks(*io, handle);
            return (*currentDecode)(callbacks);
        };
    });
    return format;
}

/// A stream load on this thread, with `decode` as the codec.
inline FIBITMAP* loadScripted(IStream* stream, VelmoraException& record, const Decode& decode) {
    const FREE_IMAGE_FORMAT format = scriptedFormat();
    currentDecode = &decode;
    FIBITMAP* const bitmap = DornImage::FreeImage_LoadFile(format, stream, record);
    currentDecode = nullptr;
    return bitmap;
}

inline std::vector<std::string> messages(const VelmoraException& record) {
    std::vector<std::string> texts;
    for (const VelmoraException::Error& error : record.getErrors()) {
        texts.push_back(error.message);
    }
    return texts;
}

} // namespace dorntest

#endif
