#ifndef TOOLS_CELLSIM_SIMREPLIES_H
#define TOOLS_CELLSIM_SIMREPLIES_H

// The replies a controller sends, built from its configuration and state.

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "LSWConfig4/setupMsgV4.h"
#include "SimCell.h"

// Replies, built as the controller would send them. oNote, where given, says what was left
// out to make the reply fit.
std::unique_ptr<SetupAPIMessage> SimBuildHello(const CSimControllerConfig& iConfig,
                                               const CSimControllerState& iState,
                                               const std::string& iPublicPem, u_short iVersion);
std::unique_ptr<SetupAPIMessage> SimBuildStatus(const CSimControllerConfig& iConfig, size_t iList,
                                                u_short iVersion);
// Version 4 answers in one frame: the disk lists are cut to what fits, oSent says how many
// disks went.
std::unique_ptr<SetupAPIMessage> SimBuildDisks(const CSimControllerConfig& iConfig,
                                               u_short iVersion, size_t& oSent);
std::unique_ptr<SetupAPIMessage> SimBuildBlink(const CSimControllerConfig& iConfig, uint16_t iValue,
                                               u_short iVersion);

#endif
