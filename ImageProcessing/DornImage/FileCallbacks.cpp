#include "ImageProcessing/DornImage/FileCallbacks.h"

#include <cstdio>

namespace DornImage {
namespace {

std::FILE* fileOf(fi_handle handle) {
    return static_cast<std::FILE*>(handle);
}

unsigned DLL_CALLCONV readFile(void* buffer, unsigned itemSize, unsigned itemCount, fi_handle handle) {
    return static_cast<unsigned>(std::fread(buffer, itemSize, itemCount, fileOf(handle)));
}

unsigned DLL_CALLCONV writeFile(void* buffer, unsigned itemSize, unsigned itemCount, fi_handle handle) {
    return static_cast<unsigned>(std::fwrite(buffer, itemSize, itemCount, fileOf(handle)));
}

int DLL_CALLCONV seekFile(fi_handle handle, long offset, int origin) {
    return std::fseek(fileOf(handle), offset, origin);
}

long DLL_CALLCONV tellFile(fi_handle handle) {
    return std::ftell(fileOf(handle));
}

} // namespace

FreeImageIO fileCallbacks(bool forWrite) {
    FreeImageIO io{};
    io.read_proc = readFile;
    io.write_proc = forWrite ? writeFile : nullptr;
    io.seek_proc = seekFile;
    io.tell_proc = tellFile;
    return io;
}

} // namespace DornImage
