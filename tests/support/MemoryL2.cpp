#include "MemoryL2.h"

#include <algorithm>
#include <cstring>

#include "zelutil/ZelClock.h"

MEMORYL2::MEMORYL2(const unsigned char* iMac, std::vector<std::vector<unsigned char>> iFrames)
    : m_frames(iFrames.begin(), iFrames.end()) {
    memcpy(m_mac, iMac, sizeof(m_mac));
}

int MEMORYL2::Read(void* oBuf, uint32_t iCount, int iTimeout) {
    std::unique_lock<std::mutex> lock(m_lock);
    if (m_frames.empty()) {
        lock.unlock();
        if (iTimeout > 0)
            ZelClock::Sleep(static_cast<unsigned int>(iTimeout));
        return -1;
    }
    std::vector<unsigned char> frame = std::move(m_frames.front());
    m_frames.pop_front();
    size_t n = std::min<size_t>(iCount, frame.size());
    if (n && oBuf)
        memcpy(oBuf, frame.data(), n);
    return static_cast<int>(frame.size());
}

int MEMORYL2::Write(const void*, uint32_t iCount) {
    std::lock_guard<std::mutex> lock(m_lock);
    ++m_writeCalls;
    return static_cast<int>(iCount);
}

int MEMORYL2::Poll(int) {
    std::lock_guard<std::mutex> lock(m_lock);
    return m_frames.empty() ? 0 : 1;
}

void MEMORYL2::getMacAddr(unsigned char* oMac) {
    memcpy(oMac, m_mac, sizeof(m_mac));
}

size_t MEMORYL2::WriteCalls() const {
    std::lock_guard<std::mutex> lock(m_lock);
    return m_writeCalls;
}
