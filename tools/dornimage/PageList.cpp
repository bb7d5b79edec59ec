#include "PageList.h"

#include "ExitCode.h"

#include <cstdint>
#include <malloc.h>

namespace {

// The list counts bytes in 32 bits: with this limit the sum and one page more can't wrap.
constexpr std::uint64_t largestLimit = std::uint64_t{2} << 30;

bool isUtf8(const std::string& name) {
    std::wstring wide;
    return Velmora::c_u8u16(wide, name);
}

} // namespace

PageList::PageList(unsigned limit, CodecMessages& messages, const Decoding& decoding)
    : list_(new List), messages_(messages), decoding_(decoding) {
    // The allocator keeps what is freed of blocks that it holds to be usual. Pages would become that, and one
    // or two of them stay resident for nothing.
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
    list_->SetMaxSize(limit);
}

void PageList::addFile(Source& source, PageLoop& loop) {
    if (source.pageCount() == 1 && decoding_.isolate) {
        // The list would decode it here.
        origins_.push_back({source.name(), 1, std::nullopt});
        return;
    }
    // The list knows files by names in UTF-8 only; any other file comes in as a picture.
    if (source.pageCount() == 1 && isUtf8(source.name())) {
        list_->AddExternalImage(source.format(), source.name(), DornImage::ImageList::ExternalImageRef);
        addOrigin(source.name(), 1);
        return;
    }
    for (int page = 1; page <= source.pageCount(); ++page) {
        try {
            addPage(source, page, loop);
        } catch (const ToolError& error) {
            if (error.code() != ExitCode::input) {
                throw;
            }
            loop.leaveOut(error);
        }
    }
}

void PageList::addPage(Source& source, int page, PageLoop& loop) {
    const Page loaded = source.load(page);
    for (const std::string& message : loaded.messages) {
        loop.note(source.name(), message);
    }
    if (!list_->AddImage(loaded.image.get())) {
        throw ToolError(ExitCode::output, source.name(),
                        "there is no room for temporary files; a larger --memory needs less, TMPDIR names "
                        "another place");
    }
    addOrigin(source.name(), page);
}

void PageList::addOrigin(const std::string& file, int page) {
    origins_.push_back({file, page, listed_++});
}

DornImage::Reference<DornImage::Image> PageList::page(std::size_t index, PageLoop& loop) {
    const Page page = origins_[index].index ? listedPage(index) : pageApart(index);
    for (const std::string& message : page.messages) {
        loop.note(file(index), message);
    }
    return page.image;
}

Page PageList::listedPage(std::size_t index) {
    DornImage::Image* image = nullptr;
    messages_.listen();
    if (!list_->GetImage(*origins_[index].index, &image)) {
        throw ToolError(ExitCode::input, file(index),
                        messages_.takeAsCause("cannot be read: ", "not a picture that can be read"));
    }
    Page result;
    result.image = image;
    image->releaseRef();
    result.messages = messages_.take();
    return result;
}

Page PageList::pageApart(std::size_t index) {
    Source source(file(index), messages_, Frames::played, decoding_);
    return source.load(pageNumber(index));
}

void addMemoryOption(CLI::App& command, unsigned& limit, const std::string& description) {
    command
        .add_option_function<std::uint64_t>(
            "--memory", [&limit](const std::uint64_t& bytes) { limit = static_cast<unsigned>(bytes); },
            description)
        ->option_text("LIMIT")
        ->transform(CLI::AsSizeValue(false))
        ->check(CLI::Range(std::uint64_t{0}, largestLimit));
}
