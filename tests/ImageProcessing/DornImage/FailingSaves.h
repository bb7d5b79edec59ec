#ifndef DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_FAILINGSAVES_H
#define DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_FAILINGSAVES_H

// While it lives, the codec library's save call fails once, after `before` calls that work.
class FailingSave {
public:
    explicit FailingSave(int before);
    FailingSave(const FailingSave&) = delete;
    FailingSave& operator=(const FailingSave&) = delete;
    ~FailingSave();
};

// The flags of the last save call.
int lastSaveFlags();

#endif
