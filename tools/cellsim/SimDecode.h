#ifndef TOOLS_CELLSIM_SIMDECODE_H
#define TOOLS_CELLSIM_SIMDECODE_H

// Reads the TLV block of any message of the setup protocol into JSON for the event log:
// every entry with its code, its name in that message's table, its length and its value
// as the code defines it. Values are read with bounds checks: a value shorter than its type
// shows as hex with "malformed": true.

#include <sys/types.h>

#include <string>

#include "LSWConfig4/SetupTLV.h"

// "HELLO_REQ", ... ; "OPCODE_7" for a number without a name.
std::string SimOpcodeName(u_short iOpcode);

// A JSON array of the entries of iTlv, read as a message of iOpcode.
std::string SimDecodeEntries(u_short iOpcode, const SETUPTlv& iTlv);

// A JSON rendering of one packed value (port configuration, steps, disk lists), or null
// when it could not be read whole.
std::string SimDecodePortConfig(const char* iValue, size_t iLength);
std::string SimDecodeSteps(const char* iValue, size_t iLength);
std::string SimDecodeDisks(const char* iValue, size_t iLength);
std::string SimDecodeExtendedDisks(const char* iValue, size_t iLength);

#endif
