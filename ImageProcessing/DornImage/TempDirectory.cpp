#include "ImageProcessing/DornImage/TempDirectory.h"

#include "base/Disk.h"

namespace DornImage {

TempDirectory::~TempDirectory() {
    remove();
}

bool TempDirectory::create(const Velmora::u8string& prefix) {
    remove();
    return dorndisk::createTempDir(prefix, path_);
}

void TempDirectory::remove() {
    if (!path_.empty()) {
        dorndisk::deleteDirectory(path_);
        path_.clear();
    }
}

} // namespace DornImage
