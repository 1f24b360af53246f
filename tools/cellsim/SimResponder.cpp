#include "SimResponder.h"

#include <pthread.h>

#include <chrono>

#include "LSWConfig4/setupMessageHandler.h"

namespace {

// Seconds one read waits before the thread looks at the stop request again.
const int kReadSeconds = 1;
// A read that fails sooner than this (an interface gone, a wake-up with nothing to read)
// is followed by a short pause, so a broken session does not spin.
const auto kQuickFailure = std::chrono::milliseconds(20);
const unsigned kPauseMs = 20;

}  // namespace

void CSimStop::Request() {
    {
        std::lock_guard<std::mutex> hold(m_lock);
        m_stop = true;
    }
    m_wake.notify_all();
}

bool CSimStop::Requested() const {
    std::lock_guard<std::mutex> hold(m_lock);
    return m_stop;
}

bool CSimStop::WaitFor(unsigned iMs) {
    std::unique_lock<std::mutex> hold(m_lock);
    return !m_wake.wait_for(hold, std::chrono::milliseconds(iMs), [this] { return m_stop; });
}

CSimResponder::CSimResponder(CSimController& iController, std::unique_ptr<CL2> iDevice,
                             CSimStop& iStop)
    : m_controller(iController), m_device(std::move(iDevice)), m_stop(iStop) {}

CSimResponder::~CSimResponder() {
    m_stop.Request();
    Join();
}

void CSimResponder::Start() {
    m_thread = std::thread([this] { Run(); });
    // At most 15 characters: "sim-" and the start of the controller's name.
    std::string name = "sim-" + m_controller.Config().name;
    pthread_setname_np(m_thread.native_handle(), name.substr(0, 15).c_str());
}

void CSimResponder::Join() {
    if (m_thread.joinable())
        m_thread.join();
}

void CSimResponder::Run() {
    // One handler for the whole run, so fragments of a request that span reads come
    // together; partial messages age out inside it.
    SetupAPIMessageHandler handler;
    while (!m_stop.Requested()) {
        auto began = std::chrono::steady_clock::now();
        // Waiting here first keeps an idle controller out of the link layer's trace, which
        // notes every read that times out.
        int ready = m_device->Poll(kReadSeconds);
        if (ready == 0)
            continue;
        std::shared_ptr<SetupAPIMessage> message;
        SetupAPIMessageHandler::ReadResult r =
            handler.ReadSetupAPIMessage(*m_device, message, kReadSeconds, false);
        if (r == SetupAPIMessageHandler::READ_SUCCESS && message) {
            m_controller.OnMessage(*message, *m_device);
            continue;
        }
        if (r == SetupAPIMessageHandler::ERROR_CHECKSUM_FAILED) {
            m_controller.OnChecksumFailure();
            continue;
        }
        if (std::chrono::steady_clock::now() - began < kQuickFailure)
            m_stop.WaitFor(kPauseMs);
    }
}
