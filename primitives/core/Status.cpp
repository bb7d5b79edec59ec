#include "primitives/core/Frame.h"

namespace {

struct StatusText {
    IppStatus code;
    const char* name;
    const char* message;
};

// In the order of the codes' declaration.
constexpr StatusText kStatusTexts[] = {
    {ippStsNoErr, "ippStsNoErr", "success"},
    {ippStsNoOperation, "ippStsNoOperation", "a width or height of zero: nothing to do"},
    {ippStsNonNativeCpu, "ippStsNonNativeCpu", "processor of another vendor"},
    {ippStsNoPixelsWrn, "ippStsNoPixelsWrn", "the destination receives no pixels"},
    {ippStsCpuNotSupported, "ippStsCpuNotSupported", "the processor lacks SSE2"},
    {ippStsUnknownCacheSize, "ippStsUnknownCacheSize", "the cache parameters could not be read"},
    {ippStsNoAntialiasing, "ippStsNoAntialiasing", "antialiasing has no effect on this method"},
    {ippStsSizeWrn, "ippStsSizeWrn", "the tile reaches beyond the destination and was clipped"},
    {ippStsFeatureNotSupported, "ippStsFeatureNotSupported", "a requested processor feature is absent"},
    {ippStsUnknownFeature, "ippStsUnknownFeature", "a requested feature bit has no meaning"},
    {ippStsIncompleteFeatures, "ippStsIncompleteFeatures",
     "the feature mask lacks a bit that its highest feature implies"},
    {ippStsBadArgErr, "ippStsBadArgErr", "an argument is out of its domain"},
    {ippStsSizeErr, "ippStsSizeErr", "a width or height is below the limit of the method"},
    {ippStsNullPtrErr, "ippStsNullPtrErr", "a required pointer is null"},
    {ippStsOutOfRangeErr, "ippStsOutOfRangeErr", "a position lies outside its range"},
    {ippStsDataTypeErr, "ippStsDataTypeErr", "the data type is not accepted"},
    {ippStsStepErr, "ippStsStepErr", "a row step is too small"},
    {ippStsContextMatchErr, "ippStsContextMatchErr", "the plan was made for another method"},
    {ippStsInterpolationErr, "ippStsInterpolationErr", "the interpolation is not accepted"},
    {ippStsMaskSizeErr, "ippStsMaskSizeErr", "a filter window with a side below 1"},
    {ippStsChannelErr, "ippStsChannelErr", "the channel count is not 1 or 3"},
    {ippStsNumChannelsErr, "ippStsNumChannelsErr", "the channel count is not 1, 3 or 4"},
    {ippStsCoeffErr, "ippStsCoeffErr", "the transform is singular"},
    {ippStsBorderErr, "ippStsBorderErr", "the border kind is not accepted"},
    {ippStsWrongDirectionErr, "ippStsWrongDirectionErr", "the direction is not 0 or 1"},
    {ippStsExceededSizeErr, "ippStsExceededSizeErr", "a plan or buffer would take 0x7FFFFFFF bytes or more"},
    {ippStsNotSupportedModeErr, "ippStsNotSupportedModeErr", "the mode is not provided"},
};

const StatusText* findStatus(IppStatus status) {
    for (const StatusText& text : kStatusTexts) {
        if (text.code == status) {
            return &text;
        }
    }
    return nullptr;
}

} // namespace

const char* ippGetStatusName(IppStatus status) {
    const StatusText* text = findStatus(status);
    return text ? text->name : "unknown";
}

const char* ippGetStatusString(IppStatus status) {
    const StatusText* text = findStatus(status);
    return text ? text->message : "unknown status";
}
