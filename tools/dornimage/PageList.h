#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PAGELIST_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PAGELIST_H

#include "CodecMessages.h"
#include "PageLoop.h"
#include "Source.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

/// Pages of several files in order, in memory up to a limit and in temporary files beyond it. What a codec
/// says about a page that it reads all the same is noted in the loop that asks for it.
class PageList {
public:
    /// @param limit bytes, 0 for none.
    /// @param decoding where the files are decoded that wait for their page to be asked for.
    PageList(unsigned limit, CodecMessages& messages, const Decoding& decoding);

    /// Adds the pages of the file, and leaves out in `loop` those that can't be read. A file of one page is
    /// read when its page is asked for. Throws ToolError when there is no room for temporary files
    /// (ExitCode::output).
    void addFile(Source& source, PageLoop& loop);

    /// Adds one page of the file; they count from 1. Throws as addFile does.
    void addPage(Source& source, int page, PageLoop& loop);

    std::size_t size() const { return origins_.size(); }

    /// The page at `index`, counted from 0. Throws ToolError (ExitCode::input).
    DornImage::Reference<DornImage::Image> page(std::size_t index, PageLoop& loop);

    /// The file that the page came from, and its number there.
    const std::string& file(std::size_t index) const { return origins_[index].file; }
    int pageNumber(std::size_t index) const { return origins_[index].page; }

private:
    using List = dornbase::ReferencedImpl<DornImage::ImageList>;

    struct Origin {
        std::string file;
        int page;
        std::optional<unsigned> index; // in the list; none for a file to be decoded apart
    };

    void addOrigin(const std::string& file, int page);
    Page listedPage(std::size_t index);
    Page pageApart(std::size_t index);

    dornbase::Reference<List> list_;
    unsigned listed_ = 0; // pages in the list
    std::vector<Origin> origins_;
    CodecMessages& messages_;
    const Decoding& decoding_;
};

/// Bytes that --memory stands at.
constexpr unsigned defaultMemoryLimit = 512u << 20;

/// Adds the option --memory to a command. `limit` gets its value in bytes.
void addMemoryOption(CLI::App& command, unsigned& limit,
                     const std::string& description =
                         "Bytes of pages to hold in memory, such as 64M (default 512M, at most 2G, 0 for no "
                         "limit); the others "
                         "wait in temporary files");

#endif
