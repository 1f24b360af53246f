// Arbitrary bytes from a peer, read as one delimited GPBIPCMsg through the transport's reader.
// The peer's end is closed after the bytes, so every input ends in a message or an error.
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "apiMgmt/proto/apiMgrMsg.pb.h"
#include "gpbcom/gpbcom.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* iData, size_t iSize) {
    static const GPBComEndpoint endpoint =
        GPBComEndpoint::CreateLocalEndpoint("/nonexistent/fuzz.sock", 5, 1 << 16);
    int pair[2];
    // Inputs stay below the socket's buffer, so one write takes them whole.
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0 ||
        (iSize > 0 && write(pair[1], iData, iSize) != static_cast<ssize_t>(iSize)))
        abort();
    close(pair[1]);
    GPBComSocket socket(endpoint, GPBComEndpoint::SERVER_CONNECTION, pair[0]);
    protoIPCMsg::GPBIPCMsg msg;
    try {
        socket.RecvGPBMsg(msg);
        if (!msg.IsInitialized() || msg.ByteSizeLong() > (1u << 16))
            abort();
    } catch (const GPBComError& e) {
        if (e.GetKind() == GPBComError::Timeout || e.GetKind() == GPBComError::Io)
            abort();  // the peer closed: no read may wait or fail
    }
    return 0;
}
