// What happens when the library is loaded: the TIFF codec's messages are led to the log, and the pixel
// primitives are started.

#include "ImageProcessing/DornImage/DornImage.h"

#include "ImageProcessing/DornImage/SourceNames.h"
#include "ImageProcessing/DornImage/TiffFields.h"
#include "base/Log.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <tiffio.h>

namespace DornImage {

namespace {

constexpr unsigned errorLevel = 0;
constexpr unsigned tiffCodecLevel = 2;

// Room for what the conversions of a message add to its format text.
constexpr std::size_t tiffMessageSlack = 256;

// Errors and warnings share one level: the codec calls pages that it reads well enough errors, too.
void tiffLogMessage(unsigned /*level*/, const char* module, const char* format, va_list arguments) try {
    Velmora::U8StringBuilder text;
    text.append(module ? module : "LIBTIFF").append(": ");
    const std::size_t size = std::strlen(format) + tiffMessageSlack;
    // Zeroed, so that the text ends whatever the formatting does.
    if (const std::unique_ptr<char[]> buffer{new (std::nothrow) char[size]()}) {
        std::vsnprintf(buffer.get(), size, format, arguments);
        text.append(buffer.get());
    }
    dornutils::getSystemLogFormater()->writeMessage(tiffCodecLevel, text, dornImageSource, lineOf());
} catch (...) {
    // The caller is written in C: a line may be lost, the page may not.
}

void tiffErrorHandler(const char* module, const char* format, va_list arguments) {
    tiffLogMessage(errorLevel, module, format, arguments);
}

void tiffWarningHandler(const char* module, const char* format, va_list arguments) {
    tiffLogMessage(tiffCodecLevel, module, format, arguments);
}

// The handlers stay for the life of the process.
void installTiffHandlers() {
    TIFFSetErrorHandler(tiffErrorHandler);
    TIFFSetWarningHandler(tiffWarningHandler);
}

} // namespace

} // namespace DornImage

// The load notification. C linkage gives it a name by which a link against the static library asks for this
// file; the priority puts it before a program's own static objects, which may load pictures.
extern "C" [[gnu::constructor(101)]] void dornimage_load_time_setup() {
    DornImage::installTiffHandlers();
    DornImage::installTiffFields();
    // Whatever it answers, the primitives run: the status tells whether they know the processor's vendor.
    ippInit();
}
