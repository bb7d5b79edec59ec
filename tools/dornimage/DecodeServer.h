#ifndef DORNIMAGE_TOOLS_DORNIMAGE_DECODESERVER_H
#define DORNIMAGE_TOOLS_DORNIMAGE_DECODESERVER_H

/// What the tool does when it is started as a decoder: decodes pages of the file that is open at
/// pictureDescriptor for whoever is at talkDescriptor, until nobody is there. Ends the process.
[[noreturn]] void serveAsDecoder();

#endif
