#include "QuietTracer.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

#include "zelutil/ZelTrace.h"

namespace {
// The tracer looks at its file again every 30 seconds, so it stays until the process ends.
char g_QuietConfig[] = "/tmp/arraysetup-quiet-XXXXXX";
void RemoveQuietConfig() {
    unlink(g_QuietConfig);
}
}  // namespace

void QuietTracer() {
    int fd = mkstemp(g_QuietConfig);
    if (fd < 0)
        return;
    atexit(RemoveQuietConfig);
    const std::string text = "[HIT Params]\nDebugLevel = 0\n";
    bool written = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(fd);
    if (written)
        g_Tracer.SetConfigPath(g_QuietConfig);
}
