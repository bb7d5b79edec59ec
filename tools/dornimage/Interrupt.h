#ifndef DORNIMAGE_TOOLS_DORNIMAGE_INTERRUPT_H
#define DORNIMAGE_TOOLS_DORNIMAGE_INTERRUPT_H

/// While it lives, SIGINT and SIGTERM are noted instead of ending the process; a second one ends it as ever.
/// One object at a time.
class Interrupt {
public:
    Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;
    ~Interrupt();

    /// Whether one has come. Any thread may ask.
    static bool hasCome();

    /// Throws Interrupted if one has come.
    static void check();
};

/// What ends the work then.
struct Interrupted {};

#endif
