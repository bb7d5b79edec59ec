#include "ImageProcessing/DornImage/NamedFile.h"

#include "ImageProcessing/DornImage/FileCallbacks.h"
#include "ImageProcessing/DornImage/Formats.h"
#include "ImageProcessing/DornImage/GuardedFile.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace DornImage {

#ifdef _WIN32

namespace {

std::wstring wideName(const Velmora::u8string& fileName) {
    std::wstring wide;
    Velmora::c_u8u16(wide, fileName);
    return wide;
}

} // namespace

FREE_IMAGE_FORMAT namedFileContentFormat(const Velmora::u8string& fileName) {
    return ::FreeImage_GetFileTypeU(wideName(fileName).c_str(), 0);
}

FREE_IMAGE_FORMAT namedFileExtensionFormat(const Velmora::u8string& fileName) {
    return ::FreeImage_GetFIFFromFilenameU(wideName(fileName).c_str());
}

FIBITMAP* loadNamedFile(FREE_IMAGE_FORMAT format, const Velmora::u8string& fileName, int flags) {
    return ::FreeImage_LoadU(format, wideName(fileName).c_str(), flags);
}

bool saveNamedFile(FREE_IMAGE_FORMAT format, FIBITMAP* bitmap, const Velmora::u8string& fileName, int flags) {
    return ::FreeImage_SaveU(format, bitmap, wideName(fileName).c_str(), flags);
}

#else

namespace {

// When it can't open a file, FreeImage composes a message with the whole name in 512 bytes without looking at
// the room left, which ends the process for a longer name. Longer names therefore never reach FreeImage. What
// can be opened it gets as an open file in any case, with a guard on its reads.
constexpr std::size_t longestPlainName = 400;

bool isPlainName(const Velmora::u8string& fileName) {
    return std::strlen(fileName.c_str()) <= longestPlainName;
}

// A name with a zero inside would be cut there, and name another file.
bool isWholeName(const Velmora::u8string& fileName) {
    return fileName.find('\0') == Velmora::u8string::npos;
}

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File openFile(const Velmora::u8string& fileName, const char* mode) {
    return File(std::fopen(fileName.c_str(), mode), std::fclose);
}

} // namespace

FREE_IMAGE_FORMAT namedFileContentFormat(const Velmora::u8string& fileName) {
    return isWholeName(fileName) ? ::FreeImage_GetFileType(fileName.c_str(), 0) : FIF_UNKNOWN;
}

FREE_IMAGE_FORMAT namedFileExtensionFormat(const Velmora::u8string& fileName) {
    return isWholeName(fileName) ? FreeImage_GetFIFFromFilename(fileName) : FIF_UNKNOWN;
}

FIBITMAP* loadNamedFile(FREE_IMAGE_FORMAT format, const Velmora::u8string& fileName, int flags) {
    if (!isWholeName(fileName)) {
        return nullptr;
    }
    const File file = openFile(fileName, "rbe");
    if (!file) {
        // For its message.
        return isPlainName(fileName) ? ::FreeImage_Load(format, fileName.c_str(), flags) : nullptr;
    }
    GuardedFile guarded(file.get(), format);
    FreeImageIO io = GuardedFile::callbacks();
    return ::FreeImage_LoadFromHandle(format, &io, &guarded, flags);
}

bool saveNamedFile(FREE_IMAGE_FORMAT format, FIBITMAP* bitmap, const Velmora::u8string& fileName, int flags) {
    if (!isWholeName(fileName)) {
        return false;
    }
    // Most encoders don't look at what becomes of their writes and report success on a full disk; the file
    // knows better.
    File file = openFile(fileName, "w+be");
    FreeImageIO io = fileCallbacks(true);
    return file && ::FreeImage_SaveToHandle(format, bitmap, &io, file.get(), flags) &&
           !std::ferror(file.get()) && std::fclose(file.release()) == 0;
}

#endif

} // namespace DornImage
