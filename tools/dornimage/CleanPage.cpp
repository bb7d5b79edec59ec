#include "CleanPage.h"

#include "BlankMeasure.h"
#include "ExitCode.h"
#include "Levelling.h"
#include "Normalise.h"
#include "OutputFile.h"
#include "PageFacts.h"
#include "PageScale.h"
#include "PictureWriter.h"
#include "QuarterTurn.h"
#include "SkewMeasure.h"
#include "Text.h"

#include <algorithm>
#include <cmath>

using DornImage::Image;

namespace {

constexpr double metresPerInch = 0.0254;

double rounded(double value) {
    return std::round(value * 1e4) / 1e4;
}

bool isNear(unsigned dotsPerMetre, long wanted) {
    // FreeImage's codecs both round and cut to whole dots per metre.
    return std::labs(static_cast<long>(dotsPerMetre) - wanted) <= 1;
}

} // namespace

template <class Work>
void CleanPage::timed(CleanStep step, Work work) {
    const auto before = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - before;
    record_.seconds.emplace_back(step, taken.count());
}

std::uint64_t CleanPage::readHeader(Source& source, std::uint64_t maxPixels) {
    format_ = source.format();
    header_ = headerOf(source, record_.page, messages_);
    if (!header_.size) {
        return 0;
    }
    const auto [width, height, depth] = *header_.size;
    refuseBeyond(maxPixels, width, height);
    // The page itself and up to three more at a time: before and after a step, and a grey copy to look at.
    constexpr std::uint64_t copies = 4;
    return std::uint64_t{width} * height * std::max(depth, 8U) / 8 * copies;
}

void CleanPage::load(Source& source, std::uint64_t maxPixels) {
    timed(CleanStep::load, [&] {
        Page page = source.load(record_.page);
        image_ = page.image;
        loaded_ = page.image;
        damaged_ = !page.messages.empty();
        for (const std::string& message : page.messages) {
            say(message);
        }
    });
    refuseBeyond(maxPixels, image_->GetWidth(), image_->GetHeight());
    FIBITMAP* const bitmap = image_->getFIBTMAP();
    record_.pageCount = source.pageCount();
    record_.format = formatName(format_);
    record_.width = image_->GetWidth();
    record_.height = image_->GetHeight();
    record_.depth = image_->GetBpp();
    record_.dpiX = dotsPerInch(FreeImage_GetDotsPerMeterX(bitmap));
    record_.dpiY = dotsPerInch(FreeImage_GetDotsPerMeterY(bitmap));
}

void CleanPage::refuseBeyond(std::uint64_t maxPixels, std::uint64_t width, std::uint64_t height) const {
    if (maxPixels > 0 && width > 0 && height > maxPixels / width) {
        throw ToolError(ExitCode::limits, record_.file,
                        std::to_string(width) + " x " + std::to_string(height) +
                            " pixels are more than --max-pixels allows, " + std::to_string(maxPixels));
    }
}

void CleanPage::readOrientation() {
    const int stored = exifOrientation(image_->getFIBTMAP()).value_or(1);
    record_.orientation = settings_.upright && stored >= 2 && stored <= 8 ? stored : 1;
}

void CleanPage::normalise() {
    if (settings_.upright || record_.orientation != 1) {
        timed(CleanStep::upright, [this] { turnUpright(); });
    }
    upright_ = image_;
    if (settings_.square) {
        timed(CleanStep::square, [this] { image_ = withSquarePixels(image_, record_.file); });
    }
    if (settings_.colour) {
        timed(CleanStep::colour, [this] {
            DornImage::ColourLoadAdapter adapter;
            const bool isTransparent = FreeImage_IsTransparent(image_->getFIBTMAP()) != FALSE;
            if (!DornImage::applyAdapter(&adapter, image_)) {
                throw ToolError(ExitCode::limits, record_.file,
                                "its palette cannot be made true colour in the memory at hand");
            }
            if (isTransparent && !FreeImage_IsTransparent(image_->getFIBTMAP())) {
                say("its transparency went with its palette; --no-colour keeps them");
            }
        });
    }
}

void CleanPage::turnUpright() {
    if (record_.orientation != 1) {
        image_ = uprightFrom(record_.orientation, image_, record_.file);
    } else if (exifOrientation(image_->getFIBTMAP()).value_or(1) != 1) {
        // Whoever edited the plan knows better.
        markUpright(image_->getFIBTMAP());
        marked_ = true;
    }
}

void CleanPage::judge() {
    const bool looksForEmpty = settings_.empty != EmptyPages::keep;
    if (!looksForEmpty && !settings_.skew) {
        return;
    }
    DornImage::Reference<Image> grey;
    try {
        grey = normalised(*image_, record_.file).image;
    } catch (const ToolError& error) {
        record_.fate = looksForEmpty ? PageFate::unsure : PageFate::kept;
        record_.reason = error.what();
        record_.skewReason = error.what();
        return;
    }
    if (looksForEmpty) {
        timed(CleanStep::blank, [&] { judgeEmptiness(*grey); });
    }
    if (settings_.skew && record_.fate == PageFate::empty) {
        record_.skewReason = "the page is empty";
    } else if (settings_.skew) {
        timed(CleanStep::skew, [&] { measureSkewOf(grey); });
    }
}

void CleanPage::judgeEmptiness(Image& grey) {
    BlankMeasure measure = measureBlank(BlankPage(grey.getFIBTMAP()));
    if (damaged_) {
        doubtDamaged(measure);
    }
    record_.fate = measure.verdict == BlankVerdict::empty     ? PageFate::empty
                   : measure.verdict == BlankVerdict::content ? PageFate::kept
                                                              : PageFate::unsure;
    record_.reason = measure.reason;
    record_.filling = rounded(measure.filling);
}

void CleanPage::measureSkewOf(const Reference& grey) {
    const Reference square = withSquarePixels(grey, record_.file);
    const SkewMeasure measure = measureSkew(square->getFIBTMAP(), settings_.reach);
    if (measure.angle) {
        record_.skew = rounded(*measure.angle);
    }
    record_.skewReason = measure.reason;
    record_.confidence = rounded(measure.confidence);
}

void CleanPage::decideTurn() {
    const double skew = record_.skew.value_or(0);
    record_.turnedBy = isLevelToAPixel(skew, *image_) ? 0 : skew;
}

void CleanPage::mend(FREE_IMAGE_FORMAT format) {
    fit(format);
    if (record_.turnedBy != 0) {
        timed(CleanStep::turn, [this] {
            PlainColours colours(record_.file, "turned", [this](const std::string& text) { say(text); });
            image_ = turnedBack(image_, record_.turnedBy, colours, record_.file);
        });
    }
    if (settings_.dpi != 0) {
        timed(CleanStep::scale, [&] { scale(format); });
        fit(format); // scaling may have changed the depth
    }
    FIBITMAP* const bitmap = image_->getFIBTMAP();
    const FIICCPROFILE* const profile = FreeImage_GetICCProfile(bitmap);
    const bool sameColours = image_->IsGrayScale() == loaded_->IsGrayScale();
    if (image_.get() != loaded_.get() && sameColours && (!profile || !profile->data)) {
        copyProfile(loaded_->getFIBTMAP(), bitmap);
    }
}

// Brings the page to a depth that the format holds.
void CleanPage::fit(FREE_IMAGE_FORMAT format) {
    const auto holds = [&] {
        return DornImage::FreeImage_CanSave(format, FreeImage_GetImageType(image_->getFIBTMAP()),
                                            image_->GetBpp());
    };
    if (holds()) {
        return;
    }
    PlainColours colours(record_.file, "saved", [this](const std::string& text) { say(text); });
    image_ = colours.of(image_);
    if (!holds()) {
        throw ToolError(ExitCode::input, record_.file,
                        formatName(format) + " cannot hold " + countOf(image_->GetBpp(), "bit") + " a pixel");
    }
}

void CleanPage::scale(FREE_IMAGE_FORMAT format) {
    const unsigned x = FreeImage_GetDotsPerMeterX(image_->getFIBTMAP());
    const unsigned y = FreeImage_GetDotsPerMeterY(image_->getFIBTMAP());
    const long wanted = std::lround(settings_.dpi / metresPerInch);
    if (x == 0 || y == 0) {
        say("not scaled: it has no resolution");
        return;
    }
    const bool isThere = isNear(x, wanted) && isNear(y, wanted);
    if (isThere || (!settings_.enlarge && std::max(x, y) <= static_cast<unsigned>(wanted))) {
        return;
    }
    const PageScale scaling(record_.file, format, scaleMethod("lanczos"),
                            [this](const std::string& text) { say(text); });
    image_ = scaling.toDpi(image_, settings_.dpi);
}

void CleanPage::save(const std::string& path, FREE_IMAGE_FORMAT format, bool joinable,
                     const OutputFile::Whole& whole) {
    const OutputFile::Whole written = [&](const std::string& file) {
        record_.output = path;
        record_.outputWidth = image_->GetWidth();
        record_.outputHeight = image_->GetHeight();
        record_.outputDepth = image_->GetBpp();
        record_.outputDpi = dotsPerInch(FreeImage_GetDotsPerMeterX(image_->getFIBTMAP()));
        whole(file);
    };
    timed(CleanStep::save, [&] {
        if (copyUnchanged(path, format, joinable, written) || turnFile(path, format, written)) {
            return;
        }
        const int orientation = exifOrientation(image_->getFIBTMAP()).value_or(1);
        if (orientation != 1 && !keepsExif(format)) {
            say(orientationLost(orientation));
        }
        PictureWriter(path, format, saveFlags(format), messages_).writeSingle(*image_, written);
        messages_.take(); // what a codec says about its own file is no news
    });
}

bool CleanPage::copyUnchanged(const std::string& path, FREE_IMAGE_FORMAT format, bool joinable,
                              const OutputFile::Whole& whole) const {
    const bool changed = image_.get() != loaded_.get() || marked_;
    if (changed || record_.pageCount != 1 || format != format_ || (joinable && !header_.joinable)) {
        return false;
    }
    copyFile(record_.file, path, whole);
    return true;
}

// A JPEG file that only has to be turned upright loses nothing.
bool CleanPage::turnFile(const std::string& path, FREE_IMAGE_FORMAT format,
                         const OutputFile::Whole& whole) const {
    const bool onlyTurned = image_.get() == upright_.get() && record_.orientation != 1;
    return onlyTurned && format_ == FIF_JPEG && format == FIF_JPEG &&
           turnJpegFile(record_.file, path, jpegOperationFor(record_.orientation), true, whole);
}

int CleanPage::saveFlags(FREE_IMAGE_FORMAT format) const {
    if (format == FIF_JPEG) {
        return settings_.quality;
    }
    if (format != FIF_TIFF) {
        return 0;
    }
    const int coding = header_.tiffCoding.value_or(0);
    const bool fax = coding == TIFF_CCITTFAX3 || coding == TIFF_CCITTFAX4;
    if (image_->GetBpp() == 1) {
        return coding == 0 || coding == TIFF_JPEG ? TIFF_CCITTFAX4 : coding;
    }
    const bool lossy =
        (format_ == FIF_JPEG || coding == TIFF_JPEG || wantsJpeg(settings_)) && !settings_.lossless;
    const bool plain = image_->GetBpp() == 24 || (image_->GetBpp() == 8 && image_->IsGrayScale());
    if (lossy && plain) {
        return TIFF_JPEG;
    }
    return coding == 0 || coding == TIFF_JPEG || fax ? TIFF_LZW : coding;
}

void CleanPage::say(const std::string& message) {
    if (std::find(record_.messages.begin(), record_.messages.end(), message) == record_.messages.end()) {
        record_.messages.push_back(message);
    }
}
