// Holds many pages in at most about 32 MB of memory: what is over that waits in temporary files.

#include "ImageProcessing/DornImage/DornImage.h"

#include <iostream>

using dornbase::Reference;

// ImageList counts no references by itself; this is the whole concrete list. Where threads share references
// to one list it is ReferencedImplMT instead.
using PageList = dornbase::ReferencedImpl<DornImage::ImageList>;

// Several owners share one list by Reference. Copies of the list itself would share its temporary directory,
// and the first to go would take the files of the other along.
class Document {
public:
    explicit Document(const Reference<PageList>& pages) : pages_(pages) {}

    Reference<DornImage::Image> page(unsigned index) const {
        Reference<DornImage::Image> result;
        DornImage::Image* image = nullptr;
        if (pages_->GetImage(index, &image)) {
            result = image;
            image->releaseRef(); // the one that came with GetImage; `result` holds its own
        }
        return result;
    }

private:
    Reference<PageList> pages_;
};

int main(int argc, char** argv) {
    const Reference<PageList> pages(new PageList);
    pages->SetMaxSize(32u << 20);
    for (int file = 1; file < argc; ++file) {
        Reference<DornImage::Image> page;
        if (!DornImage::loadImage(argv[file], page)) {
            std::cerr << argv[file] << ": not a picture\n";
            return 3;
        }
        // False tells that pages could not be written to files; they are all in memory then, and none is
        // lost.
        if (!pages->AddImage(page.get())) {
            std::cerr << "no room for temporary files\n";
        }
    }
    const Document document(pages);
    for (unsigned index = 0; index < pages->GetCount(); ++index) {
        const Reference<DornImage::Image> page = document.page(index);
        if (!page) {
            return 3;
        }
        std::cout << "page " << index + 1 << ": " << page->GetWidth() << " x " << page->GetHeight()
                  << (pages->GetImagePath(index).empty() ? ", in memory\n" : ", in a temporary file\n");
    }
    return 0;
}
