#include "ApiSimConfig.h"

#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>
#include <strings.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include "apiMgmt/apiStub/apiSdk/enums/apiEnumsIdStrList.h"
#include "apiMgmt/apiStub/apiSdk/objects/APIScController.h"
#include "apiMgmt/apiStub/apiSdk/objects/APIStorageCell.h"
#include "apiMgmt/common/error/apiMethodError.h"

namespace {

const char kMain[] = "apimgrsim";
const char kFaults[] = "faults";
const char kCell[] = "storagecell";
const char kControllerPrefix[] = "controller ";

struct Refusal {
    std::string section, key, why;
};

// "hardware_serial_number" names the attribute "HardwareSerialNumber".
const BASEApiAttribute* AttributeFor(const BASEApiObject& iObject, const std::string& iKey) {
    std::string squashed;
    for (char c : iKey)
        if (c != '_')
            squashed += c;
    for (const BASEApiAttribute* a : iObject.GetAttributeList())
        if (a && strcasecmp(a->GetName().c_str(), squashed.c_str()) == 0)
            return a;
    return nullptr;
}

bool ReadBool(const std::string& iText, bool& oValue) {
    if (!strcasecmp(iText.c_str(), "true") || iText == "1" || !strcasecmp(iText.c_str(), "yes")) {
        oValue = true;
        return true;
    }
    if (!strcasecmp(iText.c_str(), "false") || iText == "0" || !strcasecmp(iText.c_str(), "no")) {
        oValue = false;
        return true;
    }
    return false;
}

bool ReadUnsigned(const std::string& iText, unsigned long iMax, unsigned long& oValue) {
    errno = 0;
    char* end = nullptr;
    unsigned long v = strtoul(iText.c_str(), &end, 10);
    if (iText.empty() || iText[0] == '-' || errno || !end || *end || v > iMax)
        return false;
    oValue = v;
    return true;
}

// Every key of the section must name an attribute of the object; values are checked by the
// attribute's own rules, and enumerations must name a row.
void ReadObject(CSimpleIniA& iIni, const char* iSection, BASEApiObject& ioObject,
                ApiSimObject& oObject) {
    oObject.section = iSection;
    CSimpleIniA::TNamesDepend keys;
    iIni.GetAllKeys(iSection, keys);
    keys.sort(CSimpleIniA::Entry::LoadOrder());
    for (const auto& k : keys) {
        const std::string key = k.pItem, value = iIni.GetValue(iSection, k.pItem, "");
        const BASEApiAttribute* a = AttributeFor(ioObject, key);
        if (!a)
            throw Refusal{iSection, key, "names no attribute of " + ioObject.GetObjectName()};
        std::string text = value;
        if (a == APIStorageCell::GetOperationModeAttr()) {
            StorageCellOperationModeEnum mode = m_GET_ENUMVAL(StorageCellOperationModeEnum, value);
            if (mode == StorageCellOperationModeEnum_UnKnownOrInvalid)
                throw Refusal{iSection, key,
                              "'" + value +
                                  "' is no operation mode (Normal, Maintenance, "
                                  "Install, PreProduction or their numbers)"};
            m_SET_ENUMVAL(StorageCellOperationModeEnum, mode, text);
        }
        try {
            a->Validate(text);
        } catch (const APIMethodError& e) {
            throw Refusal{iSection, key, e.what()};
        }
        oObject.attributes[a->GetName()] = text;
    }
}

void ReadFaults(CSimpleIniA& iIni, ApiSimFaults& oFaults) {
    CSimpleIniA::TNamesDepend keys;
    iIni.GetAllKeys(kFaults, keys);
    for (const auto& k : keys) {
        const std::string key = k.pItem, value = iIni.GetValue(kFaults, k.pItem, "");
        bool* flag = nullptr;
        if (key == "no_socket")
            flag = &oFaults.noSocket;
        else if (key == "close_without_reply")
            flag = &oFaults.closeWithoutReply;
        else if (key == "wrong_message_type")
            flag = &oFaults.wrongMessageType;
        else if (key == "unparsable_xml")
            flag = &oFaults.unparsableXml;
        else if (key == "oversize_reply")
            flag = &oFaults.oversize;
        else if (key == "fail")
            flag = &oFaults.fail;
        if (flag) {
            if (!ReadBool(value, *flag))
                throw Refusal{kFaults, key, "wants true or false, not '" + value + "'"};
            continue;
        }
        unsigned long n = 0;
        if (key == "delay_ms") {
            if (!ReadUnsigned(value, 3600000, n))
                throw Refusal{kFaults, key,
                              "wants milliseconds up to 3600000, not '" + value + "'"};
            oFaults.delayMs = static_cast<unsigned>(n);
        } else if (key == "return_elements") {
            if (!ReadUnsigned(value, 2, n))
                throw Refusal{kFaults, key, "wants 0, 1 or 2, not '" + value + "'"};
            oFaults.returnElements = static_cast<int>(n);
        } else if (key == "fail_code") {
            oFaults.failCode = m_GET_ENUMVAL(ErrorStateEnum, value);
            if (oFaults.failCode == ErrorStateEnum_UnKnownOrInvalid)
                throw Refusal{kFaults, key, "'" + value + "' is no error state"};
        } else if (key == "fail_error") {
            oFaults.failError = value;
        } else if (key == "fail_localized_error") {
            oFaults.failLocalizedError = value;
        } else if (key == "fail_detail") {
            oFaults.failDetail = value;
        } else {
            throw Refusal{kFaults, key, "is no fault apimgrsim knows"};
        }
    }
}

}  // namespace

bool LoadApiSimConfig(const std::string& iPath, const std::string& iSocket,
                      const std::string& iKeyFile, ApiSimConfig& oConfig, std::string& oError) {
    oConfig = ApiSimConfig();
    oConfig.file = iPath;
    CSimpleIniA ini(false, false, false);
    if (ini.LoadFile(iPath.c_str()) < 0) {
        oError = iPath + ": cannot be read as an INI file";
        return false;
    }
    try {
        CSimpleIniA::TNamesDepend sections;
        ini.GetAllSections(sections);
        sections.sort(CSimpleIniA::Entry::LoadOrder());
        for (const auto& s : sections) {
            const std::string name = s.pItem;
            if (name == kMain) {
                CSimpleIniA::TNamesDepend keys;
                ini.GetAllKeys(kMain, keys);
                for (const auto& k : keys) {
                    const std::string key = k.pItem, value = ini.GetValue(kMain, k.pItem, "");
                    if (key == "socket")
                        oConfig.socketPath = value;
                    else if (key == "access_key_file")
                        oConfig.accessKeyFile = value;
                    else if (key == "access_key")
                        oConfig.accessKey = value;
                    else
                        throw Refusal{kMain, key, "is no key of this section"};
                }
            } else if (name == kFaults) {
                ReadFaults(ini, oConfig.faults);
            } else if (name == kCell) {
                APIStorageCell cell;
                ReadObject(ini, s.pItem, cell, oConfig.storageCell);
                oConfig.hasStorageCell = true;
            } else if (name.compare(0, sizeof(kControllerPrefix) - 1, kControllerPrefix) == 0) {
                APIScController controller;
                oConfig.controllers.emplace_back();
                ReadObject(ini, s.pItem, controller, oConfig.controllers.back());
            } else {
                throw Refusal{name, "", "is no section apimgrsim knows"};
            }
        }
        if (!iSocket.empty())
            oConfig.socketPath = iSocket;
        if (!iKeyFile.empty())
            oConfig.accessKeyFile = iKeyFile;
        if (oConfig.socketPath.empty())
            throw Refusal{kMain, "socket", "no socket path: give it here or with --socket"};
        if (oConfig.accessKeyFile.empty())
            throw Refusal{kMain, "access_key_file",
                          "no access key file: give it here or with --access-key-file"};
        if (oConfig.accessKey.find_first_of(" \t\r\n<>&") != std::string::npos)
            throw Refusal{kMain, "access_key", "may hold no blank, newline, '<', '>' or '&'"};
        if (oConfig.hasStorageCell && !oConfig.storageCell.attributes.count("InstanceId")) {
            auto serial = oConfig.storageCell.attributes.find("SerialNumber");
            if (serial == oConfig.storageCell.attributes.end())
                throw Refusal{kCell, "instance_id", "give instance_id or serial_number"};
            oConfig.storageCell.attributes["InstanceId"] = serial->second;
        }
    } catch (const Refusal& r) {
        oError =
            iPath + ": [" + r.section + "]" + (r.key.empty() ? "" : " " + r.key) + ": " + r.why;
        return false;
    }
    return true;
}
