#ifndef TOOLS_CELLSIM_SIMCONTROLLER_H
#define TOOLS_CELLSIM_SIMCONTROLLER_H

// The controllers cellsim plays: how one answers a received message (faults included). The
// cell's state is in SimCell, the replies in SimReplies and the faulty wire in SimWire; this
// header brings them all. Nothing here touches a network: the reply goes out on whatever
// packet device the caller hands in.

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "LSWConfig4/setupMessageHandler.h"
#include "LSWConfig4/setupMsgV4.h"
#include "LSWConfig4/unix/Adapter.h"
#include "SimCell.h"
#include "SimConfig.h"
#include "SimEventLog.h"
#include "SimKey.h"
#include "SimReplies.h"
#include "SimWire.h"

// One controller answering: logs what came, changes its state, and replies with its faults.
class CSimController {
public:
    // Waits iMs milliseconds; false when the program is stopping meanwhile.
    using Sleeper = std::function<bool(unsigned iMs)>;

    CSimController(CSimCell& iCell, size_t iIndex, CSimEventLog& iLog, Sleeper iSleeper);

    void OnMessage(const SetupAPIMessage& iMessage, DEVICEIoHandler& iDevice);
    // A message whose checksum did not match reached the message layer.
    void OnChecksumFailure();

    const CSimControllerConfig& Config() const { return m_cell.Controller(m_index); }

private:
    struct Reply;
    void Answer(const SetupAPIMessage& iRequest, Reply& ioReply, CSimJsonObject& ioRx,
                std::string& ioSummary);
    void Send(const SetupAPIMessage& iRequest, Reply& ioReply, DEVICEIoHandler& iDevice,
              std::string& ioSummary);

    CSimCell& m_cell;
    size_t m_index;
    CSimEventLog& m_log;
    Sleeper m_sleeper;
};

#endif
