#ifndef ZELUTIL_ZELTRACE_H
#define ZELUTIL_ZELTRACE_H

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>

// Trace levels given to OutputDebug and held in m_level.
enum {
    ZEL_OUTPUT_DEBUG_OFF = 0,
    ZEL_OUTPUT_DEBUG_ERROR = 1,
    ZEL_OUTPUT_DEBUG_PRINT = 2,
    ZEL_OUTPUT_DEBUG_VERBOSE = 3,
};

// Flag bits of m_flags.
#define ZEL_DBG_FLAG_NO_VSS_CLEANUP_ON_ERROR 0x00000001u
#define ZEL_DBG_FLAG_CHAP_SECRET_TRACING 0x00000002u
#define ZEL_DBG_FLAG_TRACE_TIMESTAMP 0x00000004u
#define ZEL_DBG_FLAG_TRACE_COMP_PREFIX 0x00000008u
#define ZEL_DBG_FLAG_TRACE_DEFAULT (ZEL_DBG_FLAG_TRACE_TIMESTAMP | ZEL_DBG_FLAG_TRACE_COMP_PREFIX)

#define ZEL_TRACE_CONFIG_FILE "/etc/zelogic/zel.conf"
#define LOG_DIRECTORY_PATH_LINUX "/.config/kelt/SkylarkClient"
#define LOG_FILE_NAME_LINUX "RSTraceLog"
#define ZEL_TRACE_LINE_SIZE 1024

template <typename T>
class ZelTraceT {
public:
    static constexpr int TraceNone = 0;
    static constexpr int TraceDbgPrint = 1;
    static constexpr int TraceFile = 2;
    static constexpr int TraceDaemon = 4;

    ZelTraceT(const char* subsystem, bool dbgPrintOnly, const char* configPath);
    virtual ~ZelTraceT();
    ZelTraceT(const ZelTraceT&) = delete;
    ZelTraceT& operator=(const ZelTraceT&) = delete;

    bool CheckLevel(unsigned int level) const {
        return level <= m_level.load(std::memory_order_relaxed);
    }
    void OutputDebug(unsigned int level, const char* file, int line, const char* function,
                     const char* format, ...) __attribute__((format(printf, 6, 7)));
    void OutputDebug(unsigned int level, const char* file, int line, const char* function,
                     const std::string& text);
    void OutputDebug(unsigned int level, const char* file, int line, const char* function,
                     const std::wstring& text);

    unsigned int GetFlags() const { return m_flags.load(std::memory_order_relaxed); }
    unsigned int GetLevel() const { return m_level.load(std::memory_order_relaxed); }
    const std::string& SubSystem() const { return m_subsystem; }
    const char* LogFileName() const { return m_logFileName; }
    int TraceType() const { return m_TraceType; }
    bool SetupSucceeded() const { return m_SetupSuccess; }
    void SetDbgPrintOnly(bool dbgPrintOnly);
    // Reads its settings from another file from now on; for tests and tools that must not
    // depend on the product's configuration file.
    void SetConfigPath(const char* configPath);

protected:
    virtual bool GetSettingsTimestamp(timespec* ts) = 0;
    virtual void ReadConfigSettings() = 0;
    virtual bool TraceFileSizeExceeded() = 0;
    virtual void RollTraceFile() = 0;
    virtual bool SetupTraceDaemon() = 0;
    virtual bool SetupTraceFile() = 0;
    virtual bool SetupTraceDbgPrint() = 0;
    virtual void CleanupTraceDaemon() = 0;
    virtual void CleanupTraceFile() = 0;
    virtual void OutputStringToDebug(const T* text) = 0;
    virtual void OutputStringToFile(const T* text, unsigned int length) = 0;
    virtual void OutputStringToTraceDaemon(int level, const T* text, unsigned int length) = 0;
    virtual int GetCurrentProcessId() = 0;
    virtual int GetCurrentThreadId() { return 0; }

    bool SettingsChanged();
    void Setup();
    void SwitchTraceType();
    void DebugPrint(unsigned int level, const char* function, int line, const char* format,
                    va_list args);
    void DebugPrintString(unsigned int level, const T* text, unsigned int length);

    int m_TraceType = TraceNone;
    int m_NewTraceType = TraceNone;
    bool m_forceDbgPrintOnly = false;
    timespec m_settingsTimeStamp{};
    std::string m_subsystem;
    std::string m_subsystem_lc;
    char* m_logFileName = nullptr;
    uint32_t m_maxLogSizeMB = 0;
    // Read without the lock by the level test and the flag accessor on every call site.
    std::atomic<uint32_t> m_flags{ZEL_DBG_FLAG_TRACE_DEFAULT};
    std::atomic<uint32_t> m_level{ZEL_OUTPUT_DEBUG_PRINT};
    time_t m_TimeCheck = 0;
    bool m_SetupSuccess = false;
    std::string m_configPath;
    // Discovery and the simulator trace from many threads at once: the settings check, the
    // roll and the write of a line happen under this one lock, so a roll never closes the
    // file under a writer. Recursive, since reopening the file traces through OutputDebug.
    std::recursive_mutex m_lock;
};

class ZelTrace : public ZelTraceT<char> {
public:
    // The product's tracer reads ZEL_TRACE_CONFIG_FILE; tests pass a file of their own.
    ZelTrace(const char* subsystem, bool dbgPrintOnly,
             const char* configPath = ZEL_TRACE_CONFIG_FILE);
    ~ZelTrace() override;

    bool ReopenTraceFile();

protected:
    bool GetSettingsTimestamp(timespec* ts) override;
    void ReadConfigSettings() override;
    bool TraceFileSizeExceeded() override;
    void RollTraceFile() override;
    bool SetupTraceDaemon() override;
    bool SetupTraceFile() override;
    bool SetupTraceDbgPrint() override;
    void CleanupTraceDaemon() override;
    void CleanupTraceFile() override;
    void OutputStringToDebug(const char* text) override;
    void OutputStringToFile(const char* text, unsigned int length) override;
    void OutputStringToTraceDaemon(int level, const char* text, unsigned int length) override;
    int GetCurrentProcessId() override;
    int GetCurrentThreadId() override { return 0; }

    FILE* m_FileHandle = nullptr;
    int m_LastError = 0;
    bool m_rolling = false;
    bool m_rotateEnabled = false;
};

extern ZelTrace g_Tracer;

#define HERE __FILE__, __LINE__, __FUNCTION__

// The level is tested before the arguments are evaluated, so a disabled line costs one
// comparison and no formatting.
#define m_ZEL_TRACE_AT(tracer, level, ...)              \
    do {                                                \
        if ((tracer).CheckLevel(level))                 \
            (tracer).OutputDebug((level), __VA_ARGS__); \
    } while (0)

#define ZelOutputDebugError(...) m_ZEL_TRACE_AT(g_Tracer, ZEL_OUTPUT_DEBUG_ERROR, __VA_ARGS__)
#define ZelOutputDebugPrint(...) m_ZEL_TRACE_AT(g_Tracer, ZEL_OUTPUT_DEBUG_PRINT, __VA_ARGS__)
#define ZelOutputDebugVerbose(...) m_ZEL_TRACE_AT(g_Tracer, ZEL_OUTPUT_DEBUG_VERBOSE, __VA_ARGS__)

#define ZEL_CHAP_SECRET_TRACING (g_Tracer.GetFlags() & ZEL_DBG_FLAG_CHAP_SECRET_TRACING)
#define ZEL_NO_VSS_CLEANUP_ON_ERROR 0

#endif
