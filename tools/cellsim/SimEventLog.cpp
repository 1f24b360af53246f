#include "SimEventLog.h"

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

CSimEventLog::~CSimEventLog() {
    if (m_file)
        fclose(m_file);
}

bool CSimEventLog::Open(const std::string& iPath, std::string& oError) {
    std::lock_guard<std::mutex> hold(m_lock);
    // The log holds the passwords the controllers decrypted: readable by its owner only.
    int fd = open(iPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    FILE* f = fd >= 0 ? fdopen(fd, "w") : nullptr;
    if (!f) {
        if (fd >= 0)
            close(fd);
        oError = iPath + ": cannot be written: " + strerror(errno);
        return false;
    }
    if (m_file)
        fclose(m_file);
    m_file = f;
    return true;
}

std::string CSimEventLog::Now() {
    struct timeval tv;
    gettimeofday(&tv, nullptr);
    struct tm utc;
    gmtime_r(&tv.tv_sec, &utc);
    char text[40];
    size_t n = strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &utc);
    snprintf(text + n, sizeof(text) - n, ".%06ldZ", static_cast<long>(tv.tv_usec));
    return text;
}

void CSimEventLog::Event(const char* iKind, const CSimJsonObject& iEvent) {
    std::lock_guard<std::mutex> hold(m_lock);
    ++m_seq;
    if (!m_file)
        return;
    std::string body = iEvent.Text();
    std::string line = "{\"seq\":" + std::to_string(m_seq) + ",\"time\":\"" + Now() +
                       "\",\"event\":" + SimJsonString(iKind);
    if (body.size() > 2)
        line += "," + body.substr(1, body.size() - 2);
    line += "}\n";
    fwrite(line.data(), 1, line.size(), m_file);
    fflush(m_file);
}

void CSimEventLog::Say(const std::string& iLine) {
    std::lock_guard<std::mutex> hold(m_lock);
    if (m_quiet)
        return;
    std::string t = Now();
    // The time of day is enough on a console: 12:00:00.123
    fprintf(stdout, "%s %s\n", t.substr(11, 12).c_str(), iLine.c_str());
    fflush(stdout);
}

void CSimEventLog::Warn(const std::string& iLine) {
    std::lock_guard<std::mutex> hold(m_lock);
    fprintf(stderr, "cellsim: %s\n", iLine.c_str());
    fflush(stderr);
}

unsigned long long CSimEventLog::Count() const {
    std::lock_guard<std::mutex> hold(m_lock);
    return m_seq;
}
