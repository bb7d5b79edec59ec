#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PDFWRITER_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PDFWRITER_H

#include "OutputFile.h"
#include "PdfPage.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

class QPDF;
class QPDFObjectHandle;

/// Writes pictures as the pages of one PDF. Nothing stands under the name before `finish`, and nothing new
/// ever when a step throws ToolError (ExitCode::output). Pages go to the disk as they come, and the same
/// pages give the same bytes: no date, no name of the file or its maker's machine is in them.
class PdfWriter {
public:
    /// Throws ToolError when no file can be made there.
    /// @param jpegQuality see pdfPageOf.
    PdfWriter(std::string name, std::optional<int> jpegQuality);
    PdfWriter(const PdfWriter&) = delete;
    PdfWriter& operator=(const PdfWriter&) = delete;
    ~PdfWriter();

    /// Codes a picture and adds it as the next page; see pdfPageOf.
    void append(DornImage::Image& image, const std::string& jpegFile = {});

    /// Adds a page that is coded already.
    void append(const PdfPage& page);

    int pageCount() const { return pageCount_; }

    /// Ends the file and gives it its name.
    void finish();

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    using File = std::unique_ptr<std::FILE, CloseFile>;

    QPDFObjectHandle pictureOf(const PdfPage& page);
    void writeTo(const std::string& path);
    [[noreturn]] void fail(int error) const;

    std::string name_;
    std::optional<int> jpegQuality_;
    OutputFile output_;
    File codings_; // of all pictures, one after the other, until the PDF is written
    std::uint64_t codedBytes_ = 0;
    std::unique_ptr<QPDF> pdf_;
    int pageCount_ = 0;
};

#endif
