#include "zelutil/ZelTrace.h"

// Plain narrow text: no UTF conversion layer is needed for the trace settings.
#define SI_NO_CONVERSION
// Debian's header keeps the template bodies behind this switch; instantiate them here.
#define SI_IMPLEMENTATION
#include <SimpleIni.h>
#include <dirent.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "zelutil/ZelClock.h"

// Made before main, so the first trace line already follows the configuration file.
ZelTrace g_Tracer("LSWConfig4", false);

namespace {
const char* const kSection = "HIT Params";
const long kDefaultMaxLogSizeMB = 50;
const long kDefaultLevel = ZEL_OUTPUT_DEBUG_PRINT;
const char* const kDefaultLogDir = "/var/log/zelogic";
const time_t kSettingsCheckSeconds = 30;

// Appends to a fixed buffer and never writes past it: snprintf's return value counts what
// would have been written, so the position is clamped to the last byte before the NUL.
class LineBuilder {
public:
    LineBuilder(char* buf, size_t size) : m_buf(buf), m_size(size) { m_buf[0] = '\0'; }
    void Append(const char* format, ...) __attribute__((format(printf, 2, 3))) {
        va_list args;
        va_start(args, format);
        AppendV(format, args);
        va_end(args);
    }
    void AppendV(const char* format, va_list args) {
        if (m_pos + 1 >= m_size)
            return;
        int n = vsnprintf(m_buf + m_pos, m_size - m_pos, format, args);
        if (n > 0)
            m_pos = std::min(m_size - 1, m_pos + static_cast<size_t>(n));
    }
    void AppendTime(const char* format) {
        if (m_pos + 1 >= m_size)
            return;
        time_t now = time(nullptr);
        struct tm local {};
        localtime_r(&now, &local);
        m_pos += strftime(m_buf + m_pos, m_size - m_pos, format, &local);
    }
    // Keeps room for the closing newline even when the text filled the buffer.
    void EndLine() {
        if (m_pos + 1 >= m_size)
            m_pos = m_size - 2;
        m_buf[m_pos++] = '\n';
        m_buf[m_pos] = '\0';
    }
    size_t Length() const { return m_pos; }

private:
    char* m_buf;
    size_t m_size;
    size_t m_pos = 0;
};
}  // namespace

// ---------------------------------------------------------------------------------------
// ZelTraceT<char>

template <typename T>
ZelTraceT<T>::ZelTraceT(const char* subsystem, bool dbgPrintOnly, const char* configPath)
    : m_forceDbgPrintOnly(dbgPrintOnly),
      m_subsystem(subsystem ? subsystem : ""),
      m_configPath(configPath ? configPath : "") {
    m_subsystem_lc = m_subsystem;
    for (char& c : m_subsystem_lc)
        c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
}

template <typename T>
ZelTraceT<T>::~ZelTraceT() {
    free(m_logFileName);
    m_logFileName = nullptr;
}

template <typename T>
void ZelTraceT<T>::SetDbgPrintOnly(bool dbgPrintOnly) {
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    m_forceDbgPrintOnly = dbgPrintOnly;
    ReadConfigSettings();
}

template <typename T>
void ZelTraceT<T>::SetConfigPath(const char* configPath) {
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    m_configPath = configPath ? configPath : "";
    ReadConfigSettings();
}

template <typename T>
bool ZelTraceT<T>::SettingsChanged() {
    timespec ts{};
    GetSettingsTimestamp(&ts);
    return memcmp(&ts, &m_settingsTimeStamp, sizeof(ts)) != 0;
}

template <typename T>
void ZelTraceT<T>::Setup() {
    m_SetupSuccess = true;
    if (m_NewTraceType & TraceDaemon) {
        if (!SetupTraceDaemon()) {
            OutputStringToDebug("Failed to set up tracing daemon, trying file");
            m_NewTraceType = (m_NewTraceType & ~TraceDaemon) | TraceFile;
            m_SetupSuccess = false;
        }
    }
    if (m_NewTraceType & TraceFile) {
        if (!SetupTraceFile()) {
            OutputStringToDebug("Failed to set up trace file, trying debug print");
            m_NewTraceType = (m_NewTraceType & ~TraceFile) | TraceDbgPrint;
            m_SetupSuccess = false;
        }
    }
    if (m_NewTraceType & TraceDbgPrint) {
        if (!SetupTraceDbgPrint()) {
            m_NewTraceType &= ~TraceDbgPrint;
            m_SetupSuccess = false;
        }
    }
    SwitchTraceType();
}

template <typename T>
void ZelTraceT<T>::SwitchTraceType() {
    m_TraceType = m_NewTraceType;
    if (!(m_TraceType & TraceDaemon))
        CleanupTraceDaemon();
    if (!(m_TraceType & TraceFile))
        CleanupTraceFile();
    // Debug print needs no clean-up.
}

template <typename T>
void ZelTraceT<T>::OutputDebug(unsigned int level, const char* /*file*/, int line,
                               const char* function, const char* format, ...) {
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    time_t now = ZelClock::Now();
    if (now - m_TimeCheck > kSettingsCheckSeconds) {
        if (SettingsChanged() || !m_SetupSuccess)
            ReadConfigSettings();
        if (TraceFileSizeExceeded())
            RollTraceFile();
        m_TimeCheck = now;
    }
    if (level > m_level)
        return;
    va_list args;
    va_start(args, format);
    DebugPrint(level, function, line, format, args);
    va_end(args);
}

template <typename T>
void ZelTraceT<T>::OutputDebug(unsigned int level, const char* file, int line, const char* function,
                               const std::string& text) {
    OutputDebug(level, file, line, function, "%s", text.c_str());
}

template <typename T>
void ZelTraceT<T>::OutputDebug(unsigned int level, const char* file, int line, const char* function,
                               const std::wstring& text) {
    OutputDebug(level, file, line, function, "%ls", text.c_str());
}

template <typename T>
void ZelTraceT<T>::DebugPrint(unsigned int level, const char* function, int line,
                              const char* format, va_list args) {
    char buf[ZEL_TRACE_LINE_SIZE];
    LineBuilder out(buf, sizeof(buf));
    if (m_flags & ZEL_DBG_FLAG_TRACE_TIMESTAMP)
        out.AppendTime("%d-%b-%y %H:%M:%S|");
    if (m_flags & ZEL_DBG_FLAG_TRACE_COMP_PREFIX)
        out.Append("%s|%4d|%4d||", m_subsystem.c_str(), GetCurrentProcessId(),
                   GetCurrentThreadId());
    out.Append("%s%s|%d|", level == ZEL_OUTPUT_DEBUG_ERROR ? "ERROR|" : "INFO|",
               function ? function : "", line);
    out.AppendV(format, args);
    out.EndLine();
    DebugPrintString(level, buf, static_cast<unsigned int>(out.Length()));
}

template <typename T>
void ZelTraceT<T>::DebugPrintString(unsigned int level, const T* text, unsigned int length) {
    if (m_TraceType & TraceDbgPrint)
        OutputStringToDebug(text);
    if (m_TraceType & TraceFile)
        OutputStringToFile(text, length);
    if (m_TraceType & TraceDaemon)
        OutputStringToTraceDaemon(static_cast<int>(level), text, length);
}

template class ZelTraceT<char>;

// ---------------------------------------------------------------------------------------
// ZelTrace

ZelTrace::ZelTrace(const char* subsystem, bool dbgPrintOnly, const char* configPath)
    : ZelTraceT<char>(subsystem, dbgPrintOnly, configPath) {
    ReadConfigSettings();
}

ZelTrace::~ZelTrace() {
    if (m_FileHandle) {
        fclose(m_FileHandle);
        m_FileHandle = nullptr;
    }
}

int ZelTrace::GetCurrentProcessId() {
    return static_cast<int>(getpid());
}

bool ZelTrace::GetSettingsTimestamp(timespec* ts) {
    struct stat st {};
    if (stat(m_configPath.c_str(), &st) != 0)
        return false;
    *ts = st.st_mtim;
    return true;
}

void ZelTrace::ReadConfigSettings() {
    m_NewTraceType = m_forceDbgPrintOnly ? TraceDbgPrint : TraceFile;

    bool rotate = false;
    long maxSize = kDefaultMaxLogSizeMB;
    long level = kDefaultLevel;
    std::string logDir = kDefaultLogDir;

    CSimpleIniA ini(false, false, false);  // case-insensitive keys, no multi-key, no multi-line
    if (ini.LoadFile(m_configPath.c_str()) >= 0) {
        rotate = ini.GetBoolValue(kSection, "RotateLogFiles", rotate);
        maxSize = ini.GetLongValue(kSection, "MaxLogSizeMB", maxSize);
        level = ini.GetLongValue(kSection, "DebugLevel", level);
        logDir = ini.GetValue(kSection, "LogDir", kDefaultLogDir);
    }
    // Signed on purpose: a negative level wraps to a huge unsigned one and enables every line.
    if (level > ZEL_OUTPUT_DEBUG_VERBOSE)
        level = ZEL_OUTPUT_DEBUG_VERBOSE;

    m_level = static_cast<uint32_t>(level);
    m_rotateEnabled = rotate;
    m_maxLogSizeMB = static_cast<uint32_t>(maxSize);

    // The trace follows the home directory; "LogDir" is read but does not steer it.
    std::string dir = "./";
    if (const char* home = getenv("HOME")) {
        dir = std::string(home) + LOG_DIRECTORY_PATH_LINUX;
        if (DIR* d = opendir(dir.c_str())) {
            closedir(d);
        } else {
            dir = "./";
        }
    }
    std::string path = dir + "/" + LOG_FILE_NAME_LINUX + ".log";

    if (m_logFileName == nullptr || path != m_logFileName) {
        char* copy = static_cast<char*>(malloc(path.size() + 1));
        if (copy) {
            memcpy(copy, path.c_str(), path.size() + 1);
            char* old = m_logFileName;
            m_logFileName = copy;
            if (old) {
                free(old);
                ReopenTraceFile();
            }
        }
    }

    GetSettingsTimestamp(&m_settingsTimeStamp);
    Setup();
}

bool ZelTrace::TraceFileSizeExceeded() {
    if (!m_rotateEnabled || m_maxLogSizeMB == 0 || !(m_TraceType & TraceFile) || !m_logFileName)
        return false;
    struct stat st {};
    if (stat(m_logFileName, &st) != 0)
        return errno == ENOENT;
    return static_cast<unsigned long long>(st.st_size) >
           static_cast<unsigned long long>(m_maxLogSizeMB) * 1048576ULL;
}

void ZelTrace::RollTraceFile() {
    if (!m_rotateEnabled || !m_logFileName || m_rolling)
        return;
    m_rolling = true;
    std::string previous = std::string(m_logFileName) + ".1";
    unlink(previous.c_str());
    if (rename(m_logFileName, previous.c_str()) == -1)
        unlink(m_logFileName);
    ReopenTraceFile();
    m_rolling = false;
}

bool ZelTrace::ReopenTraceFile() {
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    if (!(m_TraceType & TraceFile)) {
        OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, HERE, "Not tracing to a file, nothing to reopen");
        return true;
    }
    OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, HERE, "Reopening log file");
    CleanupTraceFile();
    if (!SetupTraceFile())
        return false;
    OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, HERE, "Log file reopened");
    return true;
}

bool ZelTrace::SetupTraceDaemon() {
    openlog(m_subsystem.c_str(), 0, LOG_USER);
    // The system log stamps its own time and name.
    m_flags &= ~(ZEL_DBG_FLAG_TRACE_COMP_PREFIX | ZEL_DBG_FLAG_TRACE_TIMESTAMP);
    return true;
}

void ZelTrace::CleanupTraceDaemon() {
    m_flags |= ZEL_DBG_FLAG_TRACE_COMP_PREFIX | ZEL_DBG_FLAG_TRACE_TIMESTAMP;
    closelog();
}

bool ZelTrace::SetupTraceFile() {
    if (!m_logFileName)
        return false;

    std::string dir = m_logFileName;
    size_t slash = dir.rfind('/');
    if (slash != std::string::npos && slash != 0)
        dir.resize(slash);
    struct stat st {};
    if (stat(dir.c_str(), &st) != 0) {
        for (size_t i = 1; i <= dir.size(); ++i) {
            if (i != dir.size() && dir[i] != '/')
                continue;
            std::string part = dir.substr(0, i);
            // 755 in decimal, as the product has always passed it.
            if (mkdir(part.c_str(), 755) != 0 && errno != EEXIST) {
                int err = errno;
                printf("Error creating directory %s (%d) : %s\n", part.c_str(), err, strerror(err));
                return false;
            }
        }
    }
    if (m_FileHandle)
        return true;
    m_FileHandle = fopen(m_logFileName, "a");
    if (!m_FileHandle) {
        m_LastError = errno;
        return false;
    }
    return true;
}

void ZelTrace::CleanupTraceFile() {
    if (m_FileHandle) {
        fclose(m_FileHandle);
        m_FileHandle = nullptr;
    }
}

bool ZelTrace::SetupTraceDbgPrint() {
    // An unprivileged run that could not open its file shows only errors on the terminal.
    if (m_LastError == EACCES && geteuid() != 0)
        m_level = ZEL_OUTPUT_DEBUG_ERROR;
    return true;
}

void ZelTrace::OutputStringToDebug(const char* text) {
    fputs(text, stderr);
}

void ZelTrace::OutputStringToFile(const char* text, unsigned int /*length*/) {
    if (!m_FileHandle)
        return;
    if (m_TraceType & TraceDaemon) {
        char prefix[128];
        LineBuilder out(prefix, sizeof(prefix));
        if (!(m_flags & ZEL_DBG_FLAG_TRACE_TIMESTAMP))
            out.AppendTime("%d%b%y:%H:%M:%S:");
        if (!(m_flags & ZEL_DBG_FLAG_TRACE_COMP_PREFIX))
            out.Append("%s:", m_subsystem.c_str());
        fputs(prefix, m_FileHandle);
    }
    fputs(text, m_FileHandle);
    fflush(m_FileHandle);
}

void ZelTrace::OutputStringToTraceDaemon(int level, const char* text, unsigned int /*length*/) {
    int priority = LOG_INFO;
    if (level == ZEL_OUTPUT_DEBUG_ERROR)
        priority = LOG_ERR;
    if (level == ZEL_OUTPUT_DEBUG_VERBOSE)
        priority = LOG_DEBUG;
    syslog(priority, "%s", text);
}
