#include "MemoryDevice.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "ManualClock.h"
#include "zelutil/ZelClock.h"

MEMORYDevice::MEMORYDevice(const unsigned char* iMac) {
    static const unsigned char kDefaultMac[6] = {0x02, 0x00, 0x00, 0x00, 0x00, 0x01};
    memcpy(m_mac, iMac ? iMac : kDefaultMac, sizeof(m_mac));
}

void MEMORYDevice::QueueFrame(const void* iData, size_t iLength) {
    const auto* p = static_cast<const unsigned char*>(iData);
    InsertInOrder(Frame{ZelClock::Now(), std::vector<unsigned char>(p, p + iLength)});
}

void MEMORYDevice::QueueFrameAt(time_t iArrivesAt, const std::vector<unsigned char>& iFrame) {
    InsertInOrder(Frame{iArrivesAt, iFrame});
}

void MEMORYDevice::InsertInOrder(Frame&& iFrame) {
    // Behind every frame that arrives no later, so frames of one time keep their order.
    auto pos = m_queue.end();
    while (pos != m_queue.begin() && std::prev(pos)->arrivesAt > iFrame.arrivesAt)
        --pos;
    m_queue.insert(pos, std::move(iFrame));
}

bool MEMORYDevice::WaitForFrame(int iTimeout) {
    const time_t now = ZelClock::Now();
    if (!m_queue.empty()) {
        time_t due = m_queue.front().arrivesAt;
        if (due <= now)
            return true;
        if (iTimeout < 0 || due - now <= iTimeout) {
            ManualClock::Advance(due - now);
            return true;
        }
    }
    if (iTimeout > 0)
        ManualClock::Advance(iTimeout);
    return false;
}

int MEMORYDevice::Read(void* oBuf, uint32_t iCount, int iTimeout) {
    ++m_readCalls;
    if (!WaitForFrame(iTimeout))
        return -1;
    Frame frame = std::move(m_queue.front());
    m_queue.pop_front();
    size_t n = std::min<size_t>(iCount, frame.bytes.size());
    if (n && oBuf)
        memcpy(oBuf, frame.bytes.data(), n);
    return static_cast<int>(frame.bytes.size());
}

int MEMORYDevice::Write(const void* iBuf, uint32_t iCount) {
    size_t nth = m_writeCalls++;
    if (nth >= m_failFrom)
        return m_failResult;
    const auto* p = static_cast<const unsigned char*>(iBuf);
    if (m_loopback)
        QueueFrame(p, iCount);
    else if (m_capture)
        m_sent.emplace_back(p, p + iCount);
    return static_cast<int>(iCount);
}

int MEMORYDevice::Poll(int iTimeout) {
    return WaitForFrame(iTimeout) ? 1 : 0;
}

void MEMORYDevice::getMacAddr(unsigned char* oMac) {
    memcpy(oMac, m_mac, sizeof(m_mac));
}
