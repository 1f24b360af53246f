#ifndef TOOLS_CELLSIM_SIMRESPONDER_H
#define TOOLS_CELLSIM_SIMRESPONDER_H

// One thread per simulated controller, each with its own capture session on the shared
// interface: a real pair of controllers are two machines, so one controller's delay never
// holds up the other's answers.

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "LSWConfig4/unix/Adapter.h"
#include "SimController.h"

// The program's stop request, which a waiting thread hears at once.
class CSimStop {
public:
    void Request();
    bool Requested() const;
    // Waits iMs milliseconds: true if the time ran out, false if a stop came first.
    bool WaitFor(unsigned iMs);

private:
    mutable std::mutex m_lock;
    std::condition_variable m_wake;
    bool m_stop = false;
};

class CSimResponder {
public:
    // iDevice is the controller's session: promiscuous, filtered to its MAC and the
    // discovery multicast.
    CSimResponder(CSimController& iController, std::unique_ptr<CL2> iDevice, CSimStop& iStop);
    ~CSimResponder();
    CSimResponder(const CSimResponder&) = delete;
    CSimResponder& operator=(const CSimResponder&) = delete;

    void Start();
    // Returns once the thread has seen the stop request (within about a second).
    void Join();

private:
    void Run();

    CSimController& m_controller;
    std::unique_ptr<CL2> m_device;
    CSimStop& m_stop;
    std::thread m_thread;
};

#endif
