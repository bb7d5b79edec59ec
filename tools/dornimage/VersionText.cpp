#include "VersionText.h"

#include "Text.h"

#include "ImageProcessing/DornImage/DornImage.h"
#include "primitives/primitives.h"

namespace {

// The variants for which `holds` is true, as "0 1 2".
std::string variants(int (*holds)(int)) {
    std::vector<std::string> list;
    for (int index = 0; index < IPP_VARIANT_COUNT; ++index) {
        if (holds(index) == 1) {
            list.push_back(std::to_string(index));
        }
    }
    return join(list, " ");
}

} // namespace

std::string versionText() {
    const int chosen = ippProbeVariant();
    return std::string("dornimage ") + DornImage::versionText + " (FreeImage " + FreeImage_GetVersion() +
           ")\nbuild: " + DORN_BUILD + "\nvariants of the pixel primitives: " + std::to_string(chosen) +
           " (" + ippGetVariantName(chosen) + ") chosen, " + variants(ippIsVariantRunnable) +
           " can run here, " + variants(ippIsVariantBuilt) + " built";
}
