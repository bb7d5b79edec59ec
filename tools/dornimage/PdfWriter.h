#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PDFWRITER_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PDFWRITER_H

#include "OutputFile.h"
#include "PdfPage.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Writes pictures as the pages of one PDF. Nothing stands under the name before `finish`, and nothing new
/// ever when a step throws ToolError (ExitCode::output). Pages go to the disk as they come, and the same
/// pages give the same bytes: no date, no name of the file or its maker's machine is in them.
class PdfWriter {
public:
    /// Throws ToolError when no file can be made there.
    /// @param jpegQuality see pdfPageOf.
    PdfWriter(std::string name, std::optional<int> jpegQuality);

    /// Codes a picture and adds it as the next page; see pdfPageOf.
    void append(DornImage::Image& image, const std::string& jpegFile = {});

    /// Adds a page that is coded already.
    void append(const PdfPage& page);

    int pageCount() const { return static_cast<int>(pages_.size()); }

    /// Ends the file and gives it its name.
    void finish();

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    void write(const void* data, std::size_t size);
    void write(const std::string& text) { write(text.data(), text.size()); }
    void beginObject(std::size_t number);
    void writeObject(std::size_t number, const std::string& dictionary);
    std::size_t addStream(const std::string& entries, const void* data, std::size_t size);
    void writeCrossReferences();
    [[noreturn]] void failOfSystem() const;

    std::string name_;
    std::optional<int> jpegQuality_;
    OutputFile output_;
    std::unique_ptr<std::FILE, CloseFile> file_;
    std::uint64_t written_ = 0;
    std::vector<std::uint64_t> offsets_; // of each object, the first one has the number 1
    std::vector<std::size_t> pages_;     // numbers of their objects
};

#endif
