#ifndef DORNIMAGE_TOOLS_DORNIMAGE_CLEANPAGE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_CLEANPAGE_H

#include "CleanRecord.h"
#include "CleanSettings.h"
#include "OutputFile.h"
#include "PageHeader.h"
#include "Source.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <chrono>
#include <cstdint>
#include <string>

/// One page on its way through the steps, which are to be called in their order. What they find out and do is
/// kept in its record, with the time that each took. They throw ToolError, for what can't be done with this
/// page (ExitCode::input), for memory (ExitCode::limits) and for the disk (ExitCode::output), and
/// std::bad_alloc.
class CleanPage {
public:
    CleanPage(PageRecord& record, const CleanSettings& settings, CodecMessages& messages)
        : record_(record), settings_(settings), messages_(messages) {}

    /// Refuses a page that has more pixels than `maxPixels`, 0 for no limit, where its header tells.
    /// @return bytes of memory that the page will need on its way; 0 when its header doesn't tell.
    std::uint64_t readHeader(Source& source, std::uint64_t maxPixels);

    /// Decodes the page, and refuses it now if the header didn't tell.
    void load(Source& source, std::uint64_t maxPixels);

    /// Decides how the page lies, by its EXIF orientation: the first part of an analysis.
    void readOrientation();

    /// Turns the page upright from the orientation in the record, and makes pixels square and colours plain.
    void normalise();

    /// Decides whether the page is empty, and by how much its lines are off: the rest of the analysis.
    void judge();

    /// Decides whether the skew in the record is to be undone: not where the page is level to a pixel.
    void decideTurn();

    /// Undoes the skew as decided, and brings the page to the wanted resolution and to a depth that
    /// `format` holds.
    void mend(FREE_IMAGE_FORMAT format);

    /// Writes the page. One that no step has changed is copied with its file where that has one page and the
    /// format stays.
    /// @param joinable the file is to be read by TiffJoiner.
    /// @param whole is told of the file before it stands at `path`, when the record is complete but for the
    /// time that this step takes.
    void save(const std::string& path, FREE_IMAGE_FORMAT format, bool joinable,
              const OutputFile::Whole& whole);

    DornImage::Image& image() const { return *image_; }

private:
    using Reference = DornImage::Reference<DornImage::Image>;

    template <class Work>
    void timed(CleanStep step, Work work);
    void refuseBeyond(std::uint64_t maxPixels, std::uint64_t width, std::uint64_t height) const;
    void turnUpright();
    void judgeEmptiness(DornImage::Image& grey);
    void measureSkewOf(const Reference& grey);
    void fit(FREE_IMAGE_FORMAT format);
    void scale(FREE_IMAGE_FORMAT format);
    bool copyUnchanged(const std::string& path, FREE_IMAGE_FORMAT format, bool joinable,
                       const OutputFile::Whole& whole) const;
    bool turnFile(const std::string& path, FREE_IMAGE_FORMAT format, const OutputFile::Whole& whole) const;
    int saveFlags(FREE_IMAGE_FORMAT format) const;
    void say(const std::string& message);

    PageRecord& record_;
    const CleanSettings& settings_;
    CodecMessages& messages_;
    FREE_IMAGE_FORMAT format_ = FIF_UNKNOWN; // of the source
    PageHeader header_;
    bool damaged_ = false; // the codec complained
    Reference image_;
    Reference loaded_;
    Reference upright_;   // the page before the steps that lose something
    bool marked_ = false; // its EXIF orientation was changed and nothing else
};

#endif
