#ifndef PLATFORM_TARGET_TARGETCURRENT_H
#define PLATFORM_TARGET_TARGETCURRENT_H

#include <string>

namespace platform {

// The platform this program runs on. The controller's image writes its target type, a decimal
// number, on the first line of a file when the image is built; any other machine lacks it.
class TargetCurrent {
public:
    // The one object of the process, reading the product's file.
    static TargetCurrent* Instance();

    // Tests read another file.
    explicit TargetCurrent(std::string iPath);
    virtual ~TargetCurrent() = default;

    // The number on the file's first line; 0 when the file is missing, unreadable or does not
    // start with a number.
    virtual int GetTargetType();

private:
    std::string mPath;
};

}  // namespace platform

#endif
