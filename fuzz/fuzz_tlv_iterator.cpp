// An arbitrary block, received in one or two pieces, walked, copied, assigned and extended.
//
// Input: a mode byte (block size: version 4, version 5, or exactly the rest of the input),
// a byte that says where the rest is split into two received bodies, then the body bytes.
// The bodies are then read again as pairs of (type, length) to push as new entries.
#include <cstddef>
#include <cstdint>

#include "LSWConfig4/ByteCursor.h"
#include "LSWConfig4/SetupTLV.h"
#include "LSWConfig4/setupMessage.h"
#include "support/FuzzWalk.h"

FUZZ_QUIET_START

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2)
        return 0;
    const char* body = reinterpret_cast<const char*>(data + 2);
    const size_t bodyLen = size - 2;
    const uint32_t blockSizes[3] = {CHOOSE_TLV_SIZE_BY_VERSION(MESSAGE_VERSION_4),
                                    CHOOSE_TLV_SIZE_BY_VERSION(MESSAGE_VERSION_5),
                                    static_cast<uint32_t>(bodyLen < 2       ? 2
                                                          : bodyLen > 65535 ? 65535
                                                                            : bodyLen)};
    const uint32_t blockSize = blockSizes[data[0] % 3];
    const size_t split = bodyLen ? data[1] % (bodyLen + 1) : 0;
    const uint16_t first = static_cast<uint16_t>(split > 65535 ? 65535 : split);
    const uint16_t second =
        static_cast<uint16_t>(bodyLen - split > 65535 ? 65535 : bodyLen - split);

    SETUPTlv tlv(blockSize);
    tlv.appendTlvDataFromMessage(body, first);
    tlv.appendTlvDataFromMessage(body + split, second);
    WalkTlv(tlv);

    SETUPTlv copy(tlv);
    WalkTlv(copy);
    SETUPTlv assigned(16);
    assigned = tlv;
    WalkTlv(assigned);

    // Push entries named by the input; values come from a buffer as long as any length.
    static const char kValues[65535] = {};
    ByteCursor cursor(body, bodyLen);
    for (int n = 0; n < 64 && cursor.remaining() >= 3; ++n) {
        uint8_t type = cursor.readU8();
        uint16_t len = cursor.readBE16();
        tlv.pushBackEntry(type, len, kValues);
        copy.pushBackEntry(type, len, kValues);
    }
    WalkTlv(tlv);
    WalkTlv(copy);
    return 0;
}
