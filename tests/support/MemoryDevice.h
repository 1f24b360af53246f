#ifndef TESTS_SUPPORT_MEMORYDEVICE_H
#define TESTS_SUPPORT_MEMORYDEVICE_H

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <deque>
#include <vector>

#include "LSWConfig4/unix/Adapter.h"

// A packet device in memory. Frames queued in are handed out by Read in order of arrival;
// frames written are kept (or, in loopback, queued to be read back).
//
// Time: a frame may arrive at a given ZelClock time. Read waits for it by stepping the
// ManualClock forward when the frame comes within the timeout; otherwise it steps the clock
// by the whole timeout and returns -1, as a device whose wait ran out. So deadlines and ages
// can be tested without sleeping. Without a ManualClock installed nothing is stepped.
class MEMORYDevice : public DEVICEIoHandler {
public:
    explicit MEMORYDevice(const unsigned char* iMac = nullptr);

    // Queues a frame that is there now (QueueFrame) or from iArrivesAt, a ZelClock time, on.
    void QueueFrame(const void* iData, size_t iLength);
    void QueueFrame(const std::vector<unsigned char>& iFrame) {
        QueueFrame(iFrame.data(), iFrame.size());
    }
    void QueueFrameAt(time_t iArrivesAt, const std::vector<unsigned char>& iFrame);

    // Frames written so far, unless loopback or SetCapture(false).
    const std::vector<std::vector<unsigned char>>& Sent() const { return m_sent; }
    void SetCapture(bool iCapture) { m_capture = iCapture; }
    // Written frames are queued to be read back, there at once.
    void SetLoopback(bool iLoopback) { m_loopback = iLoopback; }
    // From the iNth Write on (counted from 0), Write returns iResult and sends nothing.
    void FailWritesFrom(size_t iNth, int iResult = -1) {
        m_failFrom = iNth;
        m_failResult = iResult;
    }

    size_t Pending() const { return m_queue.size(); }
    size_t ReadCalls() const { return m_readCalls; }
    size_t WriteCalls() const { return m_writeCalls; }

    int Read(void* oBuf, uint32_t iCount, int iTimeout) override;
    int Write(const void* iBuf, uint32_t iCount) override;
    int Poll(int iTimeout) override;
    void getMacAddr(unsigned char* oMac) override;

private:
    struct Frame {
        time_t arrivesAt;
        std::vector<unsigned char> bytes;
    };
    // True when the next frame is there within iTimeout seconds; steps the clock to it, or
    // by the whole timeout when nothing comes.
    bool WaitForFrame(int iTimeout);
    void InsertInOrder(Frame&& iFrame);

    unsigned char m_mac[6];
    std::deque<Frame> m_queue;
    std::vector<std::vector<unsigned char>> m_sent;
    bool m_capture = true;
    bool m_loopback = false;
    size_t m_failFrom = SIZE_MAX;
    int m_failResult = -1;
    size_t m_readCalls = 0;
    size_t m_writeCalls = 0;
};

#endif
