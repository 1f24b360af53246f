#ifndef TOOLS_APIMGRSIM_APISIMCONFIG_H
#define TOOLS_APIMGRSIM_APISIMCONFIG_H

// What apimgrsim plays, as its INI file says it: the socket, the access key file, the local
// controllers, the storage cell and the faults. Everything is checked as the file is read; a
// refusal names the file, the section and the key.

#include <map>
#include <string>
#include <vector>

#include "apiMgmt/common/error/errorStateEnum.h"

struct ApiSimFaults {
    bool noSocket = false;           // never listen: calls find nobody
    bool closeWithoutReply = false;  // read the request, close the connection
    unsigned delayMs = 0;            // wait before each reply
    bool wrongMessageType = false;   // the reply is not an APIResp
    bool unparsableXml = false;      // the reply's document is cut short
    int returnElements = 1;          // how many ApiMethodReturn elements the reply holds
    bool fail = false;               // every call fails with the code and texts below
    ErrorStateEnum failCode = ErrorStateEnum_StorageCellError;
    std::string failError = "Simulated failure";
    std::string failLocalizedError = "Simulated failure";
    std::string failDetail;
    bool oversize = false;  // the reply is larger than the client takes
};

struct ApiSimObject {
    std::string section;
    std::map<std::string, std::string> attributes;  // by the attribute's name in the API
};

struct ApiSimConfig {
    std::string file;
    std::string socketPath;
    std::string accessKeyFile;
    std::string accessKey;  // empty: a random key is made at start
    std::vector<ApiSimObject> controllers;
    bool hasStorageCell = false;
    ApiSimObject storageCell;
    ApiSimFaults faults;
};

// Reads and checks a file; the command line's paths, when not empty, replace the file's.
// False with one line in oError ("FILE: [SECTION] KEY: why").
bool LoadApiSimConfig(const std::string& iPath, const std::string& iSocket,
                      const std::string& iKeyFile, ApiSimConfig& oConfig, std::string& oError);

#endif
