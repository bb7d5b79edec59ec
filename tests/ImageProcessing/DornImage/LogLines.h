#ifndef DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_LOGLINES_H
#define DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_LOGLINES_H

#include "base/Log.h"

#include <string>
#include <vector>

namespace dorntest {

// Keeps what is logged as "level file message".
struct LogLines : dornutils::LogFormaterInterface {
    using LogFormaterInterface::writeMessage;
    void writeMessage(unsigned level, const Velmora::u8string& message, const char* fileName,
                      unsigned line) override {
        lines.push_back(std::to_string(level) + " " + fileName + " " + message +
                        (line > 0 ? "" : " no line"));
    }
    std::vector<std::string> lines;
};

} // namespace dorntest

#endif
