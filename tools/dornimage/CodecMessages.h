#ifndef DORNIMAGE_TOOLS_DORNIMAGE_CODECMESSAGES_H
#define DORNIMAGE_TOOLS_DORNIMAGE_CODECMESSAGES_H

#include "ImageProcessing/DornImage/DornImage.h"

#include <cstddef>
#include <string>
#include <vector>

/// Gathers what the codecs say while it lives: pass it as the error record of a load, and call `listen`
/// before calling FreeImage directly. What the TIFF codec logs arrives by itself. It hears the thread that it
/// was made on, and stays there; of several objects on a thread the latest hears.
class CodecMessages : public VelmoraException {
public:
    CodecMessages();
    CodecMessages(const CodecMessages&) = delete;
    CodecMessages& operator=(const CodecMessages&) = delete;
    ~CodecMessages() override;

    /// Directs FreeImage's messages here. Each load of the library ends with taking them away again, from all
    /// threads.
    void listen();

    void setError(const Velmora::u8string& fileName, unsigned line,
                  const Velmora::u8string& message) override;

    /// What was said since the last call, each text once; after the first few only how many more there were.
    std::vector<std::string> take();

    /// The same as one text for people: `lead` and what was said, or `silence` when nothing was.
    std::string takeAsCause(const std::string& lead, const std::string& silence);

private:
    void add(const std::string& message);

    std::vector<std::string> messages_;
    std::size_t more_ = 0;
    CodecMessages* const earlier_;
};

#endif
