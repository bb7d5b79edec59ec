#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_GUARDEDFILE_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_GUARDEDFILE_H

#include "ImageProcessing/DornImage/ReadGuard.h"

#include <cstdint>
#include <cstdio>

namespace DornImage {

/// An open file that a codec reads under a guard. Its address is the opaque handle for the callbacks.
class GuardedFile {
public:
    /// @param openFile stays the caller's.
    GuardedFile(std::FILE* openFile, FREE_IMAGE_FORMAT format) : file(openFile), guard(format) {}

    /// For reading only. The reads throw as ReadGuard does.
    static FreeImageIO callbacks() { return {readProc, nullptr, seekProc, tellProc}; }

private:
    static GuardedFile& of(fi_handle handle) { return *static_cast<GuardedFile*>(handle); }

    static unsigned DLL_CALLCONV readProc(void* buffer, unsigned itemSize, unsigned itemCount,
                                          fi_handle handle) {
        GuardedFile& self = of(handle);
        const auto items = static_cast<unsigned>(std::fread(buffer, itemSize, itemCount, self.file));
        self.guard.note(buffer, itemSize, itemCount, items);
        return items;
    }

    static int DLL_CALLCONV seekProc(fi_handle handle, long offset, int origin) {
        return std::fseek(of(handle).file, offset, origin);
    }

    static long DLL_CALLCONV tellProc(fi_handle handle) {
        const GuardedFile& self = of(handle);
        const long position = std::ftell(self.file);
        // A decoder apart may seek and read, and ask nothing else of the system.
        if (self.guard.wantsPosition() && position >= 0 && std::fseek(self.file, 0, SEEK_END) == 0) {
            const long size = std::ftell(self.file);
            std::fseek(self.file, position, SEEK_SET);
            self.guard.notePosition(static_cast<std::uint64_t>(position), static_cast<std::uint64_t>(size));
        }
        return position;
    }

    std::FILE* file;
    ReadGuard guard;
};

} // namespace DornImage

#endif
