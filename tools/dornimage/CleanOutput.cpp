#include "CleanOutput.h"

#include "ExitCode.h"
#include "Interrupt.h"
#include "OutputFile.h"
#include "PictureWriter.h"
#include "Text.h"
#include "TiffJoiner.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>

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

bool holdsPage(FREE_IMAGE_FORMAT format, DornImage::Image& image) {
    return format != FIF_UNKNOWN && FreeImage_FIFSupportsWriting(format) &&
           DornImage::FreeImage_CanSave(format, FreeImage_GetImageType(image.getFIBTMAP()), image.GetBpp());
}

} // namespace

CleanOutput::CleanOutput(std::string name, const CleanSettings& settings)
    : name_(std::move(name)), settings_(settings) {
    std::error_code error;
    const fs::path path(name_);
    const FREE_IMAGE_FORMAT named =
        path.has_extension() ? FreeImage_GetFIFFromFilename(path.extension().c_str()) : FIF_UNKNOWN;
    if (named != FIF_UNKNOWN && !fs::is_directory(path, error)) {
        if (named != FIF_TIFF) {
            throw ToolError(
                ExitCode::usage, name_,
                "pages go to a folder, or to one TIFF; a folder of this name is to be made before");
        }
        isBook_ = true;
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
        if (!isBook_) {
            places.push_back((fs::path(folder_) / (stem + extensionOf(format))).string());
        }
        if (settings_.empty == EmptyPages::aside) {
            places.push_back((fs::path(sideFolder_) / (stem + extensionOf(format))).string());
        }
    }
    return places;
}

void CleanOutput::check(const std::vector<PageRecord>& pages, const std::vector<std::string>& stems,
                        bool force, const std::function<bool(const std::string&)>& isOurs) const {
    std::set<std::string> inputs;
    for (const PageRecord& record : pages) {
        inputs.insert(realName(record.file));
    }
    const auto refuse = [&](const std::string& place) {
        std::error_code error;
        if (!fs::exists(place, error)) {
            return;
        }
        if (inputs.count(realName(place)) != 0) {
            throw ToolError(ExitCode::output, place, "is one of the inputs, which are never replaced");
        }
        if (!force && !isOurs(place)) {
            throw ToolError(
                ExitCode::output, place,
                "exists already; --force replaces it, and --resume goes on after an interrupted run");
        }
    };
    if (isBook_) {
        refuse(name_);
    }
    for (std::size_t index = 0; index < pages.size(); ++index) {
        for (const std::string& place : placesFor(pages[index], stems[index])) {
            refuse(place);
        }
    }
}

FREE_IMAGE_FORMAT CleanOutput::formatFor(const PageRecord& record, DornImage::Image& image) const {
    if (isBook_ && !isAside(record)) {
        return FIF_TIFF;
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

void CleanOutput::finish(std::vector<PageRecord>& pages, CodecMessages& messages) const {
    const auto isBound = [this](const PageRecord& record) {
        return !record.output.empty() && record.fate != PageFate::failed && !isAside(record);
    };
    if (!isBook_ || std::none_of(pages.begin(), pages.end(), isBound)) {
        discardWaiting();
        return;
    }
    OutputFile file(name_);
    TiffJoiner tiff(file.path());
    const auto fail = [&] {
        throw ToolError(ExitCode::output, name_,
                        messages.takeAsCause("cannot be written: ", std::strerror(errno)));
    };
    if (!tiff.isOpen()) {
        fail();
    }
    int number = 0;
    for (PageRecord& record : pages) {
        Interrupt::check();
        if (isBound(record)) {
            if (!tiff.append(record.output)) {
                fail();
            }
            record.output = name_;
            record.outputPage = ++number;
        }
    }
    tiff.close();
    file.commit();
    messages.take();
    discardWaiting();
}

void CleanOutput::discardWaiting() const {
    std::error_code ignored;
    if (isBook_) {
        fs::remove_all(folder_, ignored);
    }
}
