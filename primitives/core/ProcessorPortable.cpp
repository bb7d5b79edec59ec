#include "primitives/core/Processor.h"

namespace primitives {

std::optional<ProcessorQueries> processorQueries() {
    return std::nullopt;
}

} // namespace primitives
