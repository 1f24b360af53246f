#ifndef TOOLS_CELLSIM_SIMEVENTLOG_H
#define TOOLS_CELLSIM_SIMEVENTLOG_H

// Where cellsim tells what happened: one JSON object per line in the event log, for tests
// and tools, and one plain line per exchange on standard output, for a person.

#include <cstdio>
#include <mutex>
#include <string>

#include "SimJson.h"

class CSimEventLog {
public:
    CSimEventLog() = default;
    ~CSimEventLog();
    CSimEventLog(const CSimEventLog&) = delete;
    CSimEventLog& operator=(const CSimEventLog&) = delete;

    // Opens (and empties) the log file; false with the reason. Without a file events are
    // only counted.
    bool Open(const std::string& iPath, std::string& oError);
    void SetQuiet(bool iQuiet) { m_quiet = iQuiet; }

    // Writes one event: "seq" and "time" come first, then the fields of iEvent. Each line is
    // flushed at once, so a reader sees an event as soon as it happened.
    void Event(const char* iKind, const CSimJsonObject& iEvent);
    // One line on standard output, unless quiet.
    void Say(const std::string& iLine);
    // One line on standard error, always.
    void Warn(const std::string& iLine);

    unsigned long long Count() const;

    // "2025-01-31T12:00:00.123456Z"
    static std::string Now();

private:
    mutable std::mutex m_lock;
    FILE* m_file = nullptr;
    bool m_quiet = false;
    unsigned long long m_seq = 0;
};

#endif
