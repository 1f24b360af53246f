#include "SimDecode.h"

#include <arpa/inet.h>

#include <cstring>

#include "LSWConfig4/ByteCursor.h"
#include "LSWConfig4/setupMessage.h"
#include "LSWConfig4/tlvUtils.h"
#include "SimConfig.h"
#include "SimJson.h"

namespace {

enum class VT {
    Text,
    U8,
    LE16,
    BE16,
    LE32,
    Bool,
    IP4Net,
    IP4Rev,
    IP6,
    PortConfig,
    Steps,
    Disks,
    ExtDisks,
    Cipher,
    Hex,
};

struct Code {
    const char* name;
    VT type;
};

// Tables by code; index 0 is unused.
const Code kLocaleRequest[] = {{nullptr, VT::Hex}, {"LOCALIZATION_PARAMETER", VT::Text}};

const Code kBlinkRequest[] = {
    {nullptr, VT::Hex}, {"BLINK_REQUEST_STATUS", VT::U8}, {"LOCALIZATION_PARAMETER", VT::Text}};

const Code kSetupRequest[] = {{nullptr, VT::Hex},
                              {"DCB_VLAN_ID", VT::Hex},
                              {"IPV4_MANAGEMENT_IP_ADDRESS", VT::IP4Net},
                              {"HARDWARE_SN", VT::Text},
                              {"TOP_CTRL_ETH0_IPV4_ADDRESS", VT::IP4Net},
                              {"TOP_CTRL_ETH0_IPV4_NETMASK", VT::IP4Net},
                              {"TOP_CTRL_ETH0_IPV4_DEFAULT_GATEWAY", VT::IP4Net},
                              {"TOP_CTRL_IPV6_MANAGEMENT_IP_ADDRESS", VT::IP6},
                              {"TOP_CTRL_ETH0_IPV6_ADDRESS", VT::IP6},
                              {"TOP_CTRL_ETH0_IPV6_PREFIX_LENGTH", VT::U8},
                              {"DOMAIN_NAME", VT::Text},
                              {"PRIMARY_DNS_SERVER", VT::IP4Net},
                              {"SECONDARY_DNS_SERVER", VT::IP4Net},
                              {"DEFAULT_USER_PASSWORD", VT::Cipher},
                              {"STORAGECELL_NAME", VT::Text},
                              {"DEFAULT_USER_EMAIL", VT::Text},
                              {"NEW_GROUP", VT::Hex},
                              {"ETHERNET_DEVICE_NAME", VT::Hex},
                              {"ETHERNET_INDEX", VT::Hex},
                              {"RAID_LEVEL", VT::Hex},
                              {"GROUP_NAME", VT::Hex},
                              {"MANAGEMENT_PASSWORD", VT::Hex},
                              {"ADD_TO_GROUP_PASSWORD", VT::Hex},
                              {"VSS_CONTROL_NAME", VT::Hex},
                              {"VSS_CONTROL_PASSWORD", VT::Hex},
                              {"TOP_CTRL_BMC_IP_SOURCE", VT::Hex},
                              {"TOP_CTRL_BMC_IPV4_ADDRESS", VT::IP4Net},
                              {"TOP_CTRL_BMC_IPV6_ADDRESS", VT::Hex},
                              {"TOP_CTRL_BMC_IPV4_DEFAULT_ROUTE", VT::IP4Net},
                              {"TOP_CTRL_BMC_IPV6_DEFAULT_ROUTE", VT::Hex},
                              {"NODE_NUMBER", VT::Hex},
                              {"PORT_CONFIG_DATA", VT::PortConfig},
                              {"EULA_CUSTOMER_NAME", VT::Hex},
                              {"EULA_CUSTOMER_TITLE", VT::Hex},
                              {"BOTTOM_CTRL_ETH0_IPV4_ADDRESS", VT::IP4Net},
                              {"BOTTOM_CTRL_ETH0_IPV4_NETMASK", VT::IP4Net},
                              {"BOTTOM_CTRL_ETH0_IPV4_DEFAULT_GATEWAY", VT::IP4Net},
                              {"BOTTOM_CTRL_ETH0_IPV6_ADDRESS", VT::Hex},
                              {"BOTTOM_CTRL_ETH0_IPV6_PREFIX_LENGTH", VT::Hex},
                              {"TOP_CTRL_BMC_NETMASK", VT::IP4Net},
                              {"BOTTOM_CTRL_BMC_IP_SOURCE", VT::Hex},
                              {"BOTTOM_CTRL_BMC_IPV4_ADDRESS", VT::IP4Net},
                              {"BOTTOM_CTRL_BMC_IPV6_ADDRESS", VT::Hex},
                              {"BOTTOM_CTRL_BMC_IPV4_DEFAULT_ROUTE", VT::IP4Net},
                              {"BOTTOM_CTRL_BMC_IPV6_DEFAULT_ROUTE", VT::Hex},
                              {"BOTTOM_CTRL_BMC_NETMASK", VT::IP4Net},
                              {"LOCALIZATION_PARAMETER", VT::Text}};

const Code kHelloResponse[] = {{nullptr, VT::Hex},
                               {"KELT_SERVICE_TAG", VT::Text},
                               {"DISK_INFO", VT::Hex},
                               {"PRODUCT_FAMILY", VT::LE16},
                               {"VLAN_ID", VT::BE16},
                               {"DCB_ON", VT::Bool},
                               {"IPV4_MANAGEMENT_IP_ADDRESS", VT::IP4Rev},
                               {"HARDWARE_SN", VT::Text},
                               {"ETH0_IPV4_ADDRESS", VT::IP4Rev},
                               {"ETH0_IPV4_NETMASK", VT::IP4Rev},
                               {"ETH0_IPV4_DEFAULT_GATEWAY", VT::IP4Rev},
                               {"IPV6_MANAGEMENT_IP_ADDRESS", VT::IP6},
                               {"ETH0_IPV6_ADDRESS", VT::IP6},
                               {"ETH0_IPV6_PREFIX_LENGTH", VT::BE16},
                               {"STORAGECELL_NAME", VT::Text},
                               {"DOMAIN_NAME", VT::Text},
                               {"PRIMARY_DNS_SERVER", VT::IP4Rev},
                               {"SECONDARY_DNS_SERVER", VT::IP4Rev},
                               {"RSA_PUBLIC_KEY_LENGTH", VT::LE16},
                               {"RSA_PUBLIC_KEY", VT::Text},
                               {"NUM_LICENSED_CONTROLLERS", VT::LE16},
                               {"NUM_ISCSI_PORTS", VT::LE16},
                               {"PRODUCT_LINE", VT::LE16},
                               {"IP_INITIALIZATION_STATE", VT::Bool},
                               {"ETHERNET_DEVICE_NAME", VT::Text},
                               {"RAID_LEVEL", VT::Text},
                               {"MAJOR_VERSION", VT::U8},
                               {"MINOR_VERSION", VT::U8},
                               {"MAINTENANCE_VERSION", VT::U8},
                               {"BMC_IP_SOURCE", VT::Hex},
                               {"BMC_IPV4_ADDRESS", VT::IP4Rev},
                               {"BMC_IPV6_ADDRESS", VT::Hex},
                               {"BMC_IPV4_DEFAULT_ROUTE", VT::IP4Rev},
                               {"BMC_IPV6_DEFAULT_ROUTE", VT::Hex},
                               {"NODE_NUMBER", VT::LE16},
                               {"PORT_CONFIG_DATA", VT::PortConfig},
                               {"ARRAY_INITIALIZATION_STATE", VT::Bool},
                               {"BLINK_STATE", VT::LE16},
                               {"STATUS_ERROR_INFO", VT::LE16},
                               {"CONTROLLER_MODEL_NUMBER", VT::LE16},
                               {"CONTROLLER_IS_PRIMARY", VT::Bool},
                               {"CONTROLLER_INFO", VT::Hex},
                               {"BMC_IPV4_NETMASK", VT::IP4Rev},
                               {"IS_BACKEND_SAS_CONNECTED", VT::Hex},
                               {"UNIFIED_BLOCK_FILE_ENABLED", VT::Bool},
                               {"LOCALIZATION_PARAMETER", VT::Text}};

const Code kStatusResponse[] = {{nullptr, VT::Hex},
                                {"CONFIG_STATUS_RESPONSE_CODE", VT::LE16},
                                {"ERROR_MESSAGE_TEXT", VT::Text},
                                {"CONFIGURATION_STEPS", VT::Steps},
                                {"ORCHESTRATOR_STATE", VT::LE16}};

const Code kDiskResponse[] = {{nullptr, VT::Hex},
                              {"DISK_ERROR_STATE", VT::LE16},
                              {"DISK_CONFIG_DATA", VT::Disks},
                              {"DISK_CONFIG_EXTRA1_DATA", VT::ExtDisks}};

const Code kBlinkResponse[] = {
    {nullptr, VT::Hex}, {"BLINK_STATUS", VT::LE32}, {"BLINK_VALUE", VT::LE16}};

template <size_t N>
const Code* Lookup(const Code (&iTable)[N], uint8_t iType) {
    return iType < N && iTable[iType].name ? &iTable[iType] : nullptr;
}

const Code* CodeOf(u_short iOpcode, uint8_t iType) {
    switch (iOpcode) {
        case PAYLOADHeader::HELLO_REQ:
        case PAYLOADHeader::CONFIG_STATUS_REQ:
        case PAYLOADHeader::DISK_CONFIG_REQ:
            return Lookup(kLocaleRequest, iType);
        case PAYLOADHeader::BLINK_REQ:
            return Lookup(kBlinkRequest, iType);
        case PAYLOADHeader::SETUP_REQ:
            return Lookup(kSetupRequest, iType);
        case PAYLOADHeader::HELLO_RSP:
            return Lookup(kHelloResponse, iType);
        case PAYLOADHeader::CONFIG_STATUS_RSP:
            return Lookup(kStatusResponse, iType);
        case PAYLOADHeader::DISK_CONFIG_RSP:
            return Lookup(kDiskResponse, iType);
        case PAYLOADHeader::BLINK_RSP:
            return Lookup(kBlinkResponse, iType);
        default:
            return nullptr;
    }
}

std::string IPv4Text(const unsigned char* iBytes) {
    char t[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, iBytes, t, sizeof(t));
    return t;
}

std::string IPv6Text(const unsigned char* iBytes) {
    char t[INET6_ADDRSTRLEN] = {};
    inet_ntop(AF_INET6, iBytes, t, sizeof(t));
    return t;
}

// The JSON value of one entry, or an empty string when the value is too short for its type.
std::string ValueJson(VT iType, const char* iValue, size_t iLength) {
    ByteCursor c(iValue, iLength);
    switch (iType) {
        case VT::Text:
            return SimJsonString(std::string(iValue ? iValue : "", iValue ? iLength : 0));
        case VT::U8: {
            uint8_t v = c.readU8();
            return c.ok() ? std::to_string(v) : std::string();
        }
        case VT::LE16: {
            uint16_t v = c.readLE16();
            return c.ok() ? std::to_string(v) : std::string();
        }
        case VT::BE16: {
            uint16_t v = c.readBE16();
            return c.ok() ? std::to_string(v) : std::string();
        }
        case VT::LE32: {
            uint32_t v = c.readLE32();
            return c.ok() ? std::to_string(v) : std::string();
        }
        case VT::Bool: {
            uint8_t v = c.readU8();
            return c.ok() ? (v ? "true" : "false") : std::string();
        }
        case VT::IP4Net:
        case VT::IP4Rev: {
            unsigned char b[4];
            if (!c.readBytes(b, 4))
                return std::string();
            if (iType == VT::IP4Rev) {
                std::swap(b[0], b[3]);
                std::swap(b[1], b[2]);
            }
            return SimJsonString(IPv4Text(b));
        }
        case VT::IP6: {
            unsigned char b[16];
            if (!c.readBytes(b, 16))
                return std::string();
            return SimJsonString(IPv6Text(b));
        }
        case VT::PortConfig: {
            std::string j = SimDecodePortConfig(iValue, iLength);
            return j == "null" ? std::string() : j;
        }
        case VT::Steps: {
            std::string j = SimDecodeSteps(iValue, iLength);
            return j == "null" ? std::string() : j;
        }
        case VT::Disks: {
            std::string j = SimDecodeDisks(iValue, iLength);
            return j == "null" ? std::string() : j;
        }
        case VT::ExtDisks: {
            std::string j = SimDecodeExtendedDisks(iValue, iLength);
            return j == "null" ? std::string() : j;
        }
        case VT::Cipher:
        case VT::Hex:
            return SimJsonHex(iValue, iValue ? iLength : 0);
    }
    return std::string();
}

}  // namespace

std::string SimOpcodeName(u_short iOpcode) {
    switch (iOpcode) {
        case PAYLOADHeader::HELLO_REQ:
            return "HELLO_REQ";
        case PAYLOADHeader::HELLO_RSP:
            return "HELLO_RSP";
        case PAYLOADHeader::BLINK_REQ:
            return "BLINK_REQ";
        case PAYLOADHeader::BLINK_RSP:
            return "BLINK_RSP";
        case PAYLOADHeader::SETUP_REQ:
            return "SETUP_REQ";
        case PAYLOADHeader::SETUP_RSP:
            return "SETUP_RSP";
        case PAYLOADHeader::CONFIG_STATUS_REQ:
            return "CONFIG_STATUS_REQ";
        case PAYLOADHeader::CONFIG_STATUS_RSP:
            return "CONFIG_STATUS_RSP";
        case PAYLOADHeader::DISK_CONFIG_REQ:
            return "DISK_CONFIG_REQ";
        case PAYLOADHeader::DISK_CONFIG_RSP:
            return "DISK_CONFIG_RSP";
        case PAYLOADHeader::PREJOIN_REQ:
            return "PREJOIN_REQ";
        default:
            return "OPCODE_" + std::to_string(iOpcode);
    }
}

std::string SimDecodeEntries(u_short iOpcode, const SETUPTlv& iTlv) {
    CSimJsonArray entries;
    for (SETUPTlvIterator it(iTlv); it.getType() != 0; it.next()) {
        CSimJsonObject e;
        e.Int("type", it.getType());
        const Code* code = CodeOf(iOpcode, it.getType());
        if (code)
            e.Str("name", code->name);
        e.Int("len", it.getLen());
        std::string value = ValueJson(code ? code->type : VT::Hex, it.getValue(), it.getLen());
        if (value.empty()) {
            e.Raw("hex", SimJsonHex(it.getValue(), it.getValue() ? it.getLen() : 0));
            e.Bool("malformed", true);
        } else if (!code || code->type == VT::Hex || code->type == VT::Cipher) {
            e.Raw("hex", value);
        } else {
            e.Raw("value", value);
        }
        entries.Add(e.Text());
    }
    return entries.Text();
}

std::string SimDecodePortConfig(const char* iValue, size_t iLength) {
    SCPortConfigDataReader reader;
    if (!reader.UnpackData(iValue, iLength))
        return "null";
    CSimJsonArray controllers;
    for (int c = 0; c < reader.GetNumberOfControllers(); ++c) {
        CONTROLLERPortDataReader* ctl = reader.GetController(static_cast<unsigned char>(c));
        if (!ctl)
            break;
        CSimJsonArray domains;
        for (int f = 0; f < ctl->GetNumberOfFaultDomains(); ++f) {
            FAULTDomainDataReader* fd = ctl->GetFaultDomain(static_cast<unsigned char>(f));
            if (!fd)
                break;
            CSimJsonArray ports;
            for (int p = 0; p < fd->GetNumberOfPorts(); ++p) {
                PORTDataReader* port = fd->GetPort(static_cast<unsigned char>(p));
                if (!port)
                    break;
                ports.Add(CSimJsonObject()
                              .Int("slot", port->GetSlotNumber())
                              .Int("slot_port", port->GetSlotPortNumber())
                              .Str("ip", port->GetIpV4())
                              .Str("netmask", port->GetIpV4Netmask())
                              .Str("gateway", port->GetIpV4Gateway())
                              .Int("transport", port->GetTransportType())
                              .Bool("configured", port->GetConfigured())
                              .Bool("embedded", port->GetEmbedded())
                              .Int("network", port->GetNetwork())
                              .Int("status", port->GetStatus())
                              .Int("location", port->GetPortLocation())
                              .Int("controller_index", port->GetControllerIndex())
                              .Int("card_model", port->GetCardModel())
                              .Text());
            }
            domains.Add(CSimJsonObject()
                            .Int("id", fd->GetId())
                            .Str("ip", fd->GetIpV4())
                            .Str("netmask", fd->GetIpV4Netmask())
                            .Str("gateway", fd->GetIpV4Gateway())
                            .Int("transport", fd->GetTransportType())
                            .Bool("embedded", fd->GetEmbedded())
                            .Raw("ports", ports.Text())
                            .Text());
        }
        controllers.Add(CSimJsonObject().Raw("fault_domains", domains.Text()).Text());
    }
    return CSimJsonObject().Raw("controllers", controllers.Text()).Text();
}

std::string SimDecodeSteps(const char* iValue, size_t iLength) {
    CONFIGURATIONStepReader reader;
    if (!reader.UnpackData(iValue, iLength))
        return "null";
    CSimJsonArray steps;
    for (const RAWConfigurationStep& s : reader.GetSteps()) {
        CSimJsonObject o;
        uint8_t id = static_cast<uint8_t>(s.configurationStepId);
        uint8_t status = static_cast<uint8_t>(s.configurationStepStatus);
        o.Int("id", id);
        if (const char* n = SimStepName(id))
            o.Str("step", n);
        o.Int("status", status);
        if (const char* n = SimStepStatusName(status))
            o.Str("state", n);
        steps.Add(o.Text());
    }
    return steps.Text();
}

std::string SimDecodeDisks(const char* iValue, size_t iLength) {
    DISKConfigDataReader reader;
    if (!reader.UnpackData(iValue, iLength))
        return "null";
    CSimJsonArray disks;
    for (const RAWDiskData& d : reader.GetDisks())
        disks.Add(CSimJsonObject()
                      .Int("enclosure", d.enclosureIndex)
                      .Int("position", d.enclosurePosition)
                      .Int("status", d.diskStatus)
                      .Text());
    return disks.Text();
}

std::string SimDecodeExtendedDisks(const char* iValue, size_t iLength) {
    DISKConfigExtra1DataReader reader;
    if (!reader.UnpackData(iValue, iLength))
        return "null";
    CSimJsonArray disks;
    for (const RAWDiskDataExtra1& d : reader.GetDisks())
        disks.Add(CSimJsonObject()
                      .Str("class", d.diskclass)
                      .Str("product", d.product)
                      .Str("revision", d.revision)
                      .Int("size", d.disksize)
                      .Bool("healthy", d.healthy != 0)
                      .Text());
    return disks.Text();
}
