#include "CleanOutput.h"

#include "CleanJournal.h"
#include "CleanProgress.h"
#include "ExitCode.h"
#include "Interrupt.h"
#include "OutputFile.h"
#include "PdfWriter.h"
#include "PictureWriter.h"
#include "Source.h"
#include "Text.h"
#include "TiffJoiner.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

std::string extensionOf(FREE_IMAGE_FORMAT format) {
    Velmora::u8string extension;
    DornImage::FreeImage_GetDefaultExt(format, extension);
    return extension;
}

// A name that two paths of one file have in common.
std::string realName(const std::string& path) {
    std::error_code error;
    const fs::path real = fs::weakly_canonical(path, error);
    return error ? path : real.string();
}

bool isPdfName(const fs::path& path) {
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return extension == ".pdf";
}

bool holdsPage(FREE_IMAGE_FORMAT format, DornImage::Image& image) {
    return format != FIF_UNKNOWN && FreeImage_FIFSupportsWriting(format) &&
           DornImage::FreeImage_CanSave(format, FreeImage_GetImageType(image.getFIBTMAP()), image.GetBpp());
}

} // namespace

CleanOutput::CleanOutput(std::string name, const CleanSettings& settings)
    : name_(std::move(name)), settings_(settings) {
    std::error_code error;
    const fs::path path(name_);
    const FREE_IMAGE_FORMAT named = path.has_extension()
                                        ? DornImage::FreeImage_GetFIFFromFilename(path.extension().string())
                                        : FIF_UNKNOWN;
    if (!fs::is_directory(path, error)) {
        kind_ = named == FIF_TIFF ? Kind::tiff : isPdfName(path) ? Kind::pdf : Kind::folder;
        if (kind_ == Kind::folder && named != FIF_UNKNOWN) {
            throw ToolError(
                ExitCode::usage, name_,
                "pages go to a folder, or to one TIFF or PDF; a folder of this name has to be there "
                "before");
        }
    }
    if (isBook()) {
        folder_ = (path.parent_path() / ("." + path.filename().string() + ".dornimage-clean")).string();
        sideFolder_ = (path.parent_path() / (path.stem().string() + "-empty")).string();
    } else {
        folder_ = name_;
        sideFolder_ = (path / "empty").string();
    }
}

std::vector<std::string> CleanOutput::placesFor(const PageRecord& record, const std::string& stem) const {
    std::set<FREE_IMAGE_FORMAT> formats = {FIF_TIFF};
    if (!settings_.format.empty()) {
        formats.insert(formatForWriting(name_, settings_.format));
    } else {
        formats.insert(FIF_PNG);
        formats.insert(FreeImage_GetFIFFromFormat(record.format.c_str()));
    }
    formats.erase(FIF_UNKNOWN);
    std::vector<std::string> places;
    for (const FREE_IMAGE_FORMAT format : formats) {
        if (!isBook()) {
            places.push_back((fs::path(folder_) / (stem + extensionOf(format))).string());
        }
        if (settings_.empty == EmptyPages::aside) {
            places.push_back((fs::path(sideFolder_) / (stem + extensionOf(format))).string());
        }
    }
    return places;
}

void CleanOutput::check(const std::vector<PageRecord>& pages, const std::vector<std::string>& stems,
                        bool force, const IsOurs& isOurs) {
    force_ = force;
    isOurs_ = isOurs;
    for (const PageRecord& record : pages) {
        inputs_.insert(realName(record.file));
    }
    if (isBook()) {
        const std::string waiting = realName(folder_) + '/';
        for (const std::string& input : inputs_) {
            if (input.compare(0, waiting.size(), waiting) == 0) {
                throw ToolError(ExitCode::output, name_,
                                "one of the inputs lies in " + folder_ + ", where its pages would wait");
            }
        }
        refuse(name_, nullptr);
    }
    for (std::size_t index = 0; index < pages.size(); ++index) {
        for (const std::string& place : placesFor(pages[index], stems[index])) {
            refuse(place, &pages[index]);
        }
    }
}

void CleanOutput::checkPlace(const std::string& path, const PageRecord& record) const {
    // The folder of waiting pages is the tool's own.
    if (!isBook() || isAside(record)) {
        refuse(path, &record);
    }
}

void CleanOutput::refuse(const std::string& place, const PageRecord* record) const {
    std::error_code error;
    if (!fs::exists(fs::symlink_status(place, error))) {
        return;
    }
    if (inputs_.count(realName(place)) != 0) {
        throw ToolError(ExitCode::output, place, "is one of the inputs, which are never replaced");
    }
    if (!force_ && !(record && isOurs_(place, *record))) {
        throw ToolError(ExitCode::output, place,
                        "exists already; --force replaces it, and --resume goes on after an interrupted run");
    }
}

FREE_IMAGE_FORMAT CleanOutput::formatFor(const PageRecord& record, DornImage::Image& image) const {
    if (isBook() && !isAside(record)) {
        // A PDF takes JPEG files as they are. What has lost something already may lose a little more.
        const bool lossy = record.format == formatName(FIF_JPEG) || wantsJpeg(settings_);
        const bool asJpeg = kind_ == Kind::pdf && lossy && !settings_.lossless;
        return asJpeg && holdsPage(FIF_JPEG, image) ? FIF_JPEG : FIF_TIFF;
    }
    if (!settings_.format.empty()) {
        return formatForWriting(name_, settings_.format);
    }
    for (const FREE_IMAGE_FORMAT format : {FreeImage_GetFIFFromFormat(record.format.c_str()), FIF_PNG}) {
        if (holdsPage(format, image)) {
            return format;
        }
    }
    return FIF_TIFF;
}

void CleanOutput::checkHolds(const PageRecord& record, DornImage::Image& image) const {
    if (kind_ != Kind::pdf || isAside(record)) {
        return;
    }
    FIBITMAP* const bitmap = image.getFIBTMAP();
    constexpr double longest = 14400.0 / 72 * 0.0254; // metres
    const auto isTooLong = [](unsigned pixels, unsigned dotsPerMetre) {
        return dotsPerMetre > 0 && pixels > longest * dotsPerMetre;
    };
    if (isTooLong(image.GetWidth(), FreeImage_GetDotsPerMeterX(bitmap)) ||
        isTooLong(image.GetHeight(), FreeImage_GetDotsPerMeterY(bitmap))) {
        throw ToolError(ExitCode::input, record.file, "is longer than the 5.08 m that PDF allows; see --dpi");
    }
    const FREE_IMAGE_TYPE type = FreeImage_GetImageType(bitmap);
    if (type != FIT_BITMAP && type != FIT_UINT16 && type != FIT_RGB16 && type != FIT_RGBA16) {
        throw ToolError(ExitCode::input, record.file,
                        "a picture of the kind " + pixelTypeName(type) + " has no place in a PDF");
    }
}

std::string CleanOutput::pathFor(const PageRecord& record, const std::string& stem,
                                 FREE_IMAGE_FORMAT format) const {
    return (fs::path(isAside(record) ? sideFolder_ : folder_) / (stem + extensionOf(format))).string();
}

void CleanOutput::makeFolderOf(const std::string& path) {
    const fs::path folder = fs::path(path).parent_path();
    std::error_code error;
    if (!folder.empty()) {
        fs::create_directories(folder, error);
    }
    if (error) {
        throw ToolError(ExitCode::output, folder.string(), "the folder cannot be made: " + error.message());
    }
}

void CleanOutput::enter(PageRecord& record) {
    if (isBook() && !record.output.empty() && record.fate != PageFate::failed && !isAside(record)) {
        waiting_.push_back({record.output, pageName(record)});
        record.output = name_;
        record.outputPage = static_cast<int>(waiting_.size());
    }
}

void CleanOutput::finish(CodecMessages& messages) const {
    if (!waiting_.empty()) {
        kind_ == Kind::tiff ? bindTiff(messages) : bindPdf(messages);
    }
    discardWaiting();
}

void CleanOutput::bindTiff(CodecMessages& messages) const {
    OutputFile file(name_);
    TiffJoiner tiff(file.path());
    const auto check = [&](bool done) {
        if (!done) {
            throw ToolError(ExitCode::output, name_,
                            messages.takeAsCause("cannot be written: ", std::strerror(errno)));
        }
    };
    check(tiff.isOpen());
    for (const Waiting& page : waiting_) {
        Interrupt::check();
        check(tiff.append(page.path));
    }
    tiff.close();
    file.commit();
    messages.take(); // what the codec says about its own files is no news
}

void CleanOutput::bindPdf(CodecMessages& messages) const {
    PdfWriter pdf(name_, std::nullopt);
    for (const Waiting& page : waiting_) {
        Interrupt::check();
        Source source(page.path, messages);
        const Page loaded = source.load(1);
        const PdfPage coded = pdfPageOf(*loaded.image, std::nullopt,
                                        source.format() == FIF_JPEG ? page.path : std::string(), name_);
        if (!coded.change.empty()) {
            report(page.page, coded.change);
        }
        pdf.append(coded);
    }
    pdf.finish();
}

void CleanOutput::discardEarlier() const {
    checkWaiting();
    discardWaiting();
}

void CleanOutput::discardAbandoned() const {
    OutputFile::discardAbandoned(folder_);
    OutputFile::discardAbandoned(sideFolder_);
    if (isBook()) {
        const fs::path parent = fs::path(name_).parent_path();
        OutputFile::discardAbandoned(parent.empty() ? fs::path(".") : parent);
    }
    checkWaiting();
}

// Pages that wait replace what is in their folder, so that it may be nobody else's, and no link to such a
// one.
void CleanOutput::checkWaiting() const {
    std::error_code error;
    const fs::file_status status = fs::symlink_status(folder_, error);
    if (!isBook() || !fs::exists(status)) {
        return;
    }
    const bool ours = fs::is_directory(status) && (fs::is_empty(folder_, error) ||
                                                   fs::exists(fs::path(folder_) / CleanJournal::name, error));
    if (!ours) {
        throw ToolError(ExitCode::output, folder_, "is in the way, and not the tool's own");
    }
}

void CleanOutput::discardWaiting() const {
    std::error_code ignored;
    if (isBook()) {
        fs::remove_all(folder_, ignored);
    }
}
