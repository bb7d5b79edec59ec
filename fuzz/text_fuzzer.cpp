// Texts from outside: the converters between UTF-8 and wide text, numbers, MIME types, names and their
// extensions. What comes out of a converter is well formed, and goes there and back unchanged.

#include "ImageProcessing/DornImage/DornImage.h"
#include "fuzz/Bytes.h"

#include <algorithm>
#include <cstring>

using namespace DornImage;

namespace {

void convert(const std::string& text) {
    std::wstring wide, again;
    std::string narrow;
    const bool wellFormed = Velmora::c_u8u16(wide, text);
    require(Velmora::c_u16u8(narrow, wide));
    require(wellFormed == (narrow == text));
    require(wide.size() <= text.size());
    require(Velmora::c_u8u16(again, narrow) && again == wide);
    require(Velmora::c_acpu16(again, text) == wellFormed && again == wide);

    // The bytes as wide characters, of which most are none.
    std::wstring raw(text.size() / sizeof(wchar_t), L'\0');
    std::memcpy(raw.data(), text.data(), raw.size() * sizeof(wchar_t));
    const bool isText = Velmora::c_u16u8(narrow, raw);
    require(Velmora::c_u8u16(wide, narrow) && isText == (wide == raw));

    Velmora::U8StringBuilder builder;
    builder.append(text.c_str()).appendInAcp(text.c_str()).appendInAcp(raw.c_str());
    const Velmora::u8string& built = builder;
    require(built.compare(0, std::strlen(text.c_str()), text.c_str()) == 0);
}

// Numbers are the same in narrow and wide text.
void readNumbers(const std::string& text) {
    const std::wstring wide(text.begin(), text.end());
    const bool isPlain = std::all_of(text.begin(), text.end(), [](char c) { return c > 0; });
    unsigned narrowInt = 7, wideInt = 7;
    const bool isInt = Velmora::string2UInt(text, narrowInt);
    require(isInt || narrowInt == 7);
    require(!isPlain || (Velmora::string2UInt(wide, wideInt) == isInt && wideInt == narrowInt));
    unsigned long longer = 7;
    require(Velmora::string2ULong(text, longer) ? !isInt || longer == narrowInt : !isInt && longer == 7);
    double number = 7, wideNumber = 7;
    const bool isNumber = Velmora::string2double(text, number);
    require(isNumber || (number == 7 && !isInt));
    require(!isPlain || (Velmora::string2double(wide, wideNumber) == isNumber && wideNumber == number));
}

void findFormats(const Velmora::u8string& text) {
    const FREE_IMAGE_FORMAT format = FreeImage_GetFIFFromMime(text);
    require(format == FIF_UNKNOWN || (format >= 0 && format < FreeImage_GetFIFCount()));
    Velmora::u8string upper = text;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    require(FreeImage_GetFIFFromMime(upper) == format);
    if (format != FIF_UNKNOWN) {
        Velmora::u8string extension;
        std::list<Velmora::astring> extensions;
        require(FreeImage_GetDefaultExt(format, extension) && FreeImage_ParseExtensions(format, extensions));
        require(!extensions.empty() && extension.size() == extensions.front().size() + 1);
    }
    // In a folder that isn't there: the name alone decides, and nothing is opened.
    Velmora::u8string name("/nowhere/");
    name += text;
    Reference<Image> image;
    require(!loadImage(name, image) && !image);
    VelmoraException exception;
    FIBitmapPtr bitmap;
    require(!bitmap.load(name, text, exception) && !bitmap.get());
    FreeImageUnicodeFileIo file;
    require(!file.init(Velmora::astring(name), false) && !file.getHandle());
    require(!dorndisk::deleteFile(name) && !dorndisk::deleteDirectory(name));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes input(data, size);
    const std::string text = input.text();
    convert(text);
    readNumbers(text);
    // A name may lead out of the folder again.
    if (text.find("..") == std::string::npos) {
        findFormats(text);
    }
    return 0;
}
