#ifndef DORNIMAGE_TOOLS_DORNIMAGE_LOCALREADER_H
#define DORNIMAGE_TOOLS_DORNIMAGE_LOCALREADER_H

#include "CodecMessages.h"
#include "PageReader.h"

#include "ImageProcessing/DornImage/GuardedFile.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

/// Decodes within this process.
class LocalReader : public PageReader {
public:
    /// @param messages is used for every call and has to live as long.
    LocalReader(const std::string& name, Frames frames, CodecMessages& messages);

    /// The same with an open file of the caller's, which has to live as long.
    /// @param formatByName what the file's name says, FIF_UNKNOWN when it says nothing.
    LocalReader(std::FILE* file, FREE_IMAGE_FORMAT formatByName, Frames frames, CodecMessages& messages);

    FileContents open() override;
    DecodedPage read(int page) override;
    std::optional<PageSize> size(int page) override;

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    struct ClosePages {
        void operator()(FIMULTIBITMAP* file) const { FreeImage_CloseMultiBitmap(file, 0); }
    };
    using Pages = std::unique_ptr<FIMULTIBITMAP, ClosePages>;

    Pages openPages(DornImage::GuardedFile& file, int flags);
    int countPages();
    BitmapHolder decode(int page);
    BitmapHolder loadSingle(int flags);

    std::unique_ptr<std::FILE, CloseFile> ownFile_;
    std::FILE* file_;
    FREE_IMAGE_FORMAT format_; // by the name until the file is opened
    Frames frames_;
    CodecMessages& messages_;
    // Null for a file of one page, and the same without pixels, from the first question for a size on.
    std::optional<DornImage::GuardedFile> pagesFile_;
    std::optional<DornImage::GuardedFile> headersFile_;
    Pages pages_;
    Pages headers_;
};

#endif
