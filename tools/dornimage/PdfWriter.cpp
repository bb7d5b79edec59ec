#include "PdfWriter.h"

#include "ExitCode.h"
#include "Text.h"

#include <cerrno>
#include <cstring>

namespace {

// The objects that a PDF has once; those of the pages follow.
constexpr std::size_t catalog = 1;
constexpr std::size_t pageTree = 2;
constexpr std::size_t information = 3;

constexpr std::uint64_t largestOffset = 9'999'999'999; // the table of objects has ten digits for each

// A thousandth of a point is finer than any printer.
std::string points(double length) {
    return decimal(length, 3);
}

std::string reference(std::size_t object) {
    return std::to_string(object) + " 0 R";
}

} // namespace

PdfWriter::PdfWriter(std::string name, std::optional<int> jpegQuality)
    : name_(std::move(name)), jpegQuality_(jpegQuality), output_(name_),
      file_(std::fopen(output_.path().c_str(), "wb")), offsets_(information) {
    if (!file_) {
        failOfSystem();
    }
    // The second line tells programs that move files that this one isn't text.
    write("%PDF-1.5\n%\xE2\xE3\xCF\xD3\n");
}

void PdfWriter::append(DornImage::Image& image, const std::string& jpegFile) {
    append(pdfPageOf(image, jpegQuality_, jpegFile, name_));
}

void PdfWriter::append(const PdfPage& page) {
    const std::size_t picture =
        addStream("/Type /XObject /Subtype /Image " + page.description, page.data.data(), page.data.size());
    const std::string width = points(page.width);
    const std::string height = points(page.height);
    const std::string drawing = "q " + width + " 0 0 " + height + " 0 0 cm /Page Do Q";
    const std::size_t contents = addStream("", drawing.data(), drawing.size());
    offsets_.emplace_back();
    writeObject(offsets_.size(), "/Type /Page /Parent " + reference(pageTree) + " /MediaBox [0 0 " + width +
                                     " " + height + "] /Resources << /XObject << /Page " +
                                     reference(picture) + " >> >> /Contents " + reference(contents));
    pages_.push_back(offsets_.size());
}

void PdfWriter::finish() {
    std::vector<std::string> kids;
    for (const std::size_t page : pages_) {
        kids.push_back(reference(page));
    }
    writeObject(pageTree,
                "/Type /Pages /Count " + std::to_string(kids.size()) + " /Kids [" + join(kids, "\n") + "]");
    writeObject(catalog, "/Type /Catalog /Pages " + reference(pageTree));
    writeObject(information, "/Producer (dornimage)");
    writeCrossReferences();
    if (std::fclose(file_.release()) != 0) {
        failOfSystem();
    }
    output_.commit();
}

void PdfWriter::writeCrossReferences() {
    const std::uint64_t start = written_;
    const std::string size = std::to_string(offsets_.size() + 1);
    std::string table = "xref\n0 " + size + "\n0000000000 65535 f \n";
    for (const std::uint64_t offset : offsets_) {
        const std::string digits = std::to_string(offset);
        table += std::string(10 - digits.size(), '0') + digits + " 00000 n \n";
    }
    write(table + "trailer\n<< /Size " + size + " /Root " + reference(catalog) + " /Info " +
          reference(information) + " >>\nstartxref\n" + std::to_string(start) + "\n%%EOF\n");
}

void PdfWriter::beginObject(std::size_t number) {
    if (written_ > largestOffset) {
        throw ToolError(ExitCode::output, name_, "the pages come to more than the 10 GB that a PDF can hold");
    }
    offsets_[number - 1] = written_;
    write(std::to_string(number) + " 0 obj\n");
}

void PdfWriter::writeObject(std::size_t number, const std::string& dictionary) {
    beginObject(number);
    write("<< " + dictionary + " >>\nendobj\n");
}

std::size_t PdfWriter::addStream(const std::string& entries, const void* data, std::size_t size) {
    offsets_.emplace_back();
    beginObject(offsets_.size());
    write("<< " + entries + " /Length " + std::to_string(size) + " >>\nstream\n");
    write(data, size);
    write("\nendstream\nendobj\n");
    return offsets_.size();
}

void PdfWriter::write(const void* data, std::size_t size) {
    if (std::fwrite(data, 1, size, file_.get()) != size) {
        failOfSystem();
    }
    written_ += size;
}

void PdfWriter::failOfSystem() const {
    throw ToolError(ExitCode::output, name_, std::string("cannot be written: ") + std::strerror(errno));
}
