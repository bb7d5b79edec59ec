#include "ImageProcessing/DornImage/UnicodeFileIo.h"

#include "ImageProcessing/DornImage/FileCallbacks.h"
#include "base/Disk.h"

namespace DornImage {

FreeImageUnicodeFileIo::~FreeImageUnicodeFileIo() {
    if (handle) {
        std::fclose(handle);
    }
}

bool FreeImageUnicodeFileIo::init(const Velmora::pstring& name, bool forWrite) {
    handle = dorndisk::File(name).open(forWrite ? "w+b" : "rb");
    if (!handle) {
        return false;
    }
    fileName = name;
    io = fileCallbacks(forWrite);
    return true;
}

} // namespace DornImage
