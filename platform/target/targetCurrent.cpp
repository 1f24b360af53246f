#include "target/targetCurrent.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <utility>

namespace platform {

namespace {
const char TARGET_TYPE_PATH[] = "/etc/zelogic/target_type";
}

TargetCurrent* TargetCurrent::Instance() {
    static TargetCurrent target(TARGET_TYPE_PATH);
    return &target;
}

TargetCurrent::TargetCurrent(std::string iPath) : mPath(std::move(iPath)) {}

int TargetCurrent::GetTargetType() {
    std::ifstream in(mPath);
    std::string line;
    if (!in || !std::getline(in, line))
        return 0;
    const char* text = line.c_str();
    char* end = nullptr;
    errno = 0;
    long value = strtol(text, &end, 10);
    // Digits must come first and nothing but line-end blanks may follow them: "9x" is not 9.
    if (end == text || errno == ERANGE || value < INT_MIN || value > INT_MAX)
        return 0;
    for (; *end; ++end)
        if (*end != ' ' && *end != '\t' && *end != '\r')
            return 0;
    return static_cast<int>(value);
}

}  // namespace platform
