#include "PdfWriter.h"

#include "ExitCode.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <qpdf/Pipeline.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFSystemError.hh>
#include <qpdf/QPDFWriter.hh>
#include <stdexcept>

namespace {

// A thousandth of a point is finer than any printer.
std::string points(double length) {
    return decimal(length, 3);
}

// Throws QPDFSystemError.
void copyRange(std::FILE* file, std::uint64_t offset, std::uint64_t size, Pipeline& to) {
    std::array<unsigned char, 65536> block{};
    if (std::fseek(file, static_cast<long>(offset), SEEK_SET) != 0) {
        throw QPDFSystemError("codings", errno);
    }
    while (size > 0) {
        const std::size_t part = std::min<std::uint64_t>(size, block.size());
        if (std::fread(block.data(), 1, part, file) != part) {
            throw QPDFSystemError("codings", errno);
        }
        to.write(block.data(), part);
        size -= part;
    }
    to.finish();
}

} // namespace

PdfWriter::PdfWriter(std::string name, std::optional<int> jpegQuality)
    : name_(std::move(name)), jpegQuality_(jpegQuality), output_(name_),
      codings_(std::fopen(output_.scratchPath().c_str(), "w+be")), pdf_(std::make_unique<QPDF>()) {
    if (!codings_) {
        fail(errno);
    }
    pdf_->emptyPDF();
    pdf_->getTrailer().replaceKey("/Info", QPDFObjectHandle::parse("<< /Producer (dornimage) >>"));
}

PdfWriter::~PdfWriter() = default;

void PdfWriter::append(DornImage::Image& image, const std::string& jpegFile) {
    append(pdfPageOf(image, jpegQuality_, jpegFile, name_));
}

void PdfWriter::append(const PdfPage& page) {
    const std::string width = points(page.width);
    const std::string height = points(page.height);
    QPDFObjectHandle object =
        QPDFObjectHandle::parse("<< /Type /Page /MediaBox [0 0 " + width + " " + height + "] >>");
    QPDFObjectHandle pictures = QPDFObjectHandle::newDictionary();
    pictures.replaceKey("/Page", pictureOf(page));
    QPDFObjectHandle resources = QPDFObjectHandle::newDictionary();
    resources.replaceKey("/XObject", pictures);
    object.replaceKey("/Resources", resources);
    object.replaceKey("/Contents", QPDFObjectHandle::newStream(pdf_.get(), "q " + width + " 0 0 " + height +
                                                                               " 0 0 cm /Page Do Q"));
    QPDFPageDocumentHelper(*pdf_).addPage(QPDFPageObjectHelper(pdf_->makeIndirectObject(object)), false);
    ++pageCount_;
}

QPDFObjectHandle PdfWriter::pictureOf(const PdfPage& page) {
    if (std::fwrite(page.data.data(), 1, page.data.size(), codings_.get()) != page.data.size()) {
        fail(errno);
    }
    const std::uint64_t offset = codedBytes_;
    codedBytes_ += page.data.size();
    QPDFObjectHandle dictionary =
        QPDFObjectHandle::parse("<< /Type /XObject /Subtype /Image " + page.description + " >>");
    QPDFObjectHandle picture = pdf_->newStream();
    picture.replaceDict(dictionary);
    picture.replaceStreamData([file = codings_.get(), offset,
                               size = page.data.size()](Pipeline* to) { copyRange(file, offset, size, *to); },
                              dictionary.getKey("/Filter"), dictionary.getKey("/DecodeParms"));
    return picture;
}

void PdfWriter::finish() {
    if (std::fflush(codings_.get()) != 0) {
        fail(errno);
    }
    writeTo(output_.path());
    output_.commit();
}

void PdfWriter::writeTo(const std::string& path) {
    File file(std::fopen(path.c_str(), "wbe"));
    if (!file) {
        fail(errno);
    }
    std::setvbuf(file.get(), nullptr, _IONBF, 0); // qpdf takes no notice when its last flush fails
    try {
        QPDFWriter writer(*pdf_);
        writer.setOutputFile(name_.c_str(), file.get(), false);
        writer.setStreamDataMode(qpdf_s_preserve);
        writer.setMinimumPDFVersion("1.5");
        writer.setDeterministicID(true);
        writer.write();
    } catch (const QPDFSystemError& error) {
        fail(error.getErrno());
    } catch (const std::runtime_error& error) {
        throw ToolError(ExitCode::output, name_, std::string("cannot be written: ") + error.what());
    }
    if (std::fclose(file.release()) != 0) {
        fail(errno);
    }
}

void PdfWriter::fail(int error) const {
    throw ToolError(ExitCode::output, name_, std::string("cannot be written: ") + std::strerror(error));
}
