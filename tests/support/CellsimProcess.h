#ifndef TESTS_SUPPORT_CELLSIMPROCESS_H
#define TESTS_SUPPORT_CELLSIMPROCESS_H

// The simulators as test children and their event logs; the helpers of child processes.

#include <signal.h>
#include <sys/types.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

using Json = nlohmann::json;

// A test's child process: started with its output in files, signalled, reaped.
// StartChild runs iArgs (found on PATH) from iDir, with standard output and error in iOut and
// iErr (one file when they are equal); the child goes with the test that started it. -1 when
// no child could be made.
pid_t StartChild(std::vector<std::string> iArgs, const std::string& iDir, const std::string& iOut,
                 const std::string& iErr);
// True once iLog says the program is ready; false if it ended (ioPid then -1) or after iMs.
bool WaitChildReady(pid_t& ioPid, const std::string& iLog, int iMs);
// The exit status once the child ends within iMs (ioPid then -1); -1 if it died otherwise
// or is still running.
int WaitChild(pid_t& ioPid, int iMs);
// Kills and reaps a child still running.
void KillChild(pid_t& ioPid);

// The events of a log file, one parsed object per line; a line that is not valid JSON comes
// back as an object with "unparsed" holding the line.
std::vector<Json> ReadEvents(const std::string& iPath);

// A simulator program run as a test's child, in a private directory (iPattern for mkdtemp)
// that goes with the object, the program killed then if still running; the event log it
// writes there is "events.jsonl".
class SimProcess {
public:
    ~SimProcess();
    SimProcess(const SimProcess&) = delete;
    SimProcess& operator=(const SimProcess&) = delete;

    // True once the log says the program is ready; false if it ended or took longer than iMs.
    bool WaitReady(int iMs = 15000) { return WaitChildReady(m_pid, m_log, iMs); }
    // Sends the signal and returns the exit status, or -1 if it died otherwise or hung.
    int Stop(int iSignal = SIGTERM);
    std::vector<Json> Events() const { return ReadEvents(m_log); }
    const std::string& Dir() const { return m_dir; }

protected:
    explicit SimProcess(const char* iPattern);
    pid_t m_pid = -1;
    std::string m_dir, m_log;
};

// The real cellsim program, run in another network namespace on one interface: what the
// network tests hold the wizard's side against. Ready once every session is open.
class CellsimProcess : public SimProcess {
public:
    // Starts iBinary in iNamespace on iInterface. iConfig is the INI text, or with iFromFile
    // the path of a file; iOptions go on the command line after the others.
    CellsimProcess(const std::string& iBinary, const std::string& iNamespace,
                   const std::string& iInterface, const std::string& iConfig,
                   bool iFromFile = false, const std::vector<std::string>& iOptions = {});
    std::string Stdout() const;
    std::string Stderr() const;

private:
    std::string m_out, m_err;
};

// One [controller NAME] section of cellsim's INI text: its MAC, serial and service tag, then
// the further lines iMore holds.
std::string CellsimSection(const std::string& iName, const std::string& iMac,
                           const std::string& iSerial, const std::string& iTag,
                           const std::string& iMore = "");

// Runs iCommand through the shell; its standard output in oOutput. The exit status, or -1
// when it did not exit by itself.
int RunCommand(const std::string& iCommand, std::string& oOutput);

// Removes a private directory and all it holds; nothing when iDir is empty.
void RemoveDir(const std::string& iDir);

// The whole of a file, empty when it cannot be read.
std::string FileText(const std::string& iPath);

// The events of one kind (and, if given, one op), in order.
std::vector<const Json*> EventsOf(const std::vector<Json>& iEvents, const std::string& iKind,
                                  const std::string& iOp = "");

// The value of the entry named iName in an event's "entries"; null when there is none.
const Json& EntryValue(const Json& iEvent, const std::string& iName);

// A value as text: a string as it is, anything else as JSON writes it. Row and Column join
// fields of one event, or one field of each event, by '|', so a test compares them in one line.
std::string JsonText(const Json& iValue);
std::string Row(const Json& iEvent, const std::vector<std::string>& iFields);
std::string Column(const std::vector<const Json*>& iEvents, const std::string& iField);

#endif
