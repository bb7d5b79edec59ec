#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ANALYSIS_VOTINGRUNS_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ANALYSIS_VOTINGRUNS_H

#include <cstddef>
#include <cstdint>
#include <vector>

/// The pixels of an 8-bit picture that are lighter than a limit while the pixel in the scan line before is
/// not: as runs of neighbours in a line, a batch at a time.
class VotingRuns {
public:
    /// @param image has to outlive the object.
    /// @param stride bytes from one scan line to the next.
    /// @param width,height in pixels, together below 2^31.
    VotingRuns(const std::uint8_t* image, int stride, unsigned width, unsigned height, std::uint8_t limit);

    /// Gathers the next batch in place of the last one; false when there are no more runs.
    bool gather();

    /// Of the present batch: number of runs, and for each its first column, its last and its line.
    std::size_t size() const { return first_.size(); }
    const int* first() const { return first_.data(); }
    const int* last() const { return last_.data(); }
    const int* line() const { return line_.data(); }

private:
    void gatherLine();

    const std::uint8_t* image_;
    std::ptrdiff_t stride_;
    std::size_t width_;
    unsigned height_;
    std::uint8_t limit_;
    unsigned next_ = 1;              // line to look at
    std::vector<std::uint8_t> step_; // of one line: 1 where the picture steps to light
    std::vector<int> first_;
    std::vector<int> last_;
    std::vector<int> line_;
};

#endif
