#ifndef DORNIMAGE_TOOLS_DORNIMAGE_ISOLATEDREADER_H
#define DORNIMAGE_TOOLS_DORNIMAGE_ISOLATEDREADER_H

#include "DecoderProcess.h"
#include "PageReader.h"

#include <cstdint>
#include <memory>
#include <string>

/// Decodes in a child process with limits on memory and time and, where the kernel allows, no rights but to
/// read this file and to answer. Whatever becomes of that process is a page that can't be read; the next page
/// gets a new one.
///
/// Nothing is shared with other readers: several threads may have one each. The child ends with the thread
/// that opened the file or read the last page that failed, so the reader is not to be handed to another
/// thread by one that ends.
class IsolatedReader : public PageReader {
public:
    /// @param memory bytes that decoding may use beyond what the process has at its start; also the most that
    /// a page
    ///        may come to.
    /// @param seconds for each page, and for opening the file.
    /// @param program what is run: this tool itself.
    IsolatedReader(std::string name, Frames frames, std::uint64_t memory, unsigned seconds,
                   std::string program = "/proc/self/exe");

    FileContents open() override;
    DecodedPage read(int page) override;
    std::optional<PageSize> size(int page) override;

private:
    void start();

    std::string name_;
    Frames frames_;
    std::uint64_t memory_;
    unsigned seconds_;
    std::string program_;
    Descriptor picture_;
    FileContents contents_;
    bool confined_ = true;
    std::unique_ptr<DecoderProcess> process_; // null before the first and after a failed one
};

#endif
