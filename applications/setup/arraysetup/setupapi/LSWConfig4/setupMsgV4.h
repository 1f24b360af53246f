#ifndef LSWCONFIG4_SETUPMSGV4_H
#define LSWCONFIG4_SETUPMSGV4_H

#include <sys/types.h>

#include <string>

#include "LSWConfig4/SetupTLV.h"
#include "LSWConfig4/setupMessage.h"
#include "zelutil/ZelStringUtil.h"  // GetConvertedString, for the text values of requests

// A protocol message: link header, TLV body, opcode and version in native order, and the
// VLAN tag in wire order (0 for none). A received message is always one of these, with the
// opcode and version of its header.
class SetupAPIMessage {
public:
    SetupAPIMessage(u_short opcode, u_short version);
    virtual ~SetupAPIMessage();

    MESSAGEHeader msghdr;
    SETUPTlv m_tlv;
    u_short m_opcode;
    u_short m_version;
    u_short m_vlanid;
};

class HELLORequest : public SetupAPIMessage {
public:
    enum TlvTypeCodes {
        NO_MORE_ENTRIES = 0,
        LOCALIZATION_PARAMETER = 1,
    };
    explicit HELLORequest(u_short version);
};

class BLINKRequest : public SetupAPIMessage {
public:
    enum TlvTypeCodes {
        NO_MORE_ENTRIES = 0,
        BLINK_REQUEST_STATUS = 1,
        LOCALIZATION_PARAMETER = 2,
    };
    explicit BLINKRequest(u_short version);
};

class SETUPRequest : public SetupAPIMessage {
public:
    enum TlvTypeCodes {
        NO_MORE_ENTRIES = 0,
        DCB_VLAN_ID = 1,
        IPV4_MANAGEMENT_IP_ADDRESS = 2,
        HARDWARE_SN = 3,
        TOP_CTRL_ETH0_IPV4_ADDRESS = 4,
        TOP_CTRL_ETH0_IPV4_NETMASK = 5,
        TOP_CTRL_ETH0_IPV4_DEFAULT_GATEWAY = 6,
        TOP_CTRL_IPV6_MANAGEMENT_IP_ADDRESS = 7,
        TOP_CTRL_ETH0_IPV6_ADDRESS = 8,
        TOP_CTRL_ETH0_IPV6_PREFIX_LENGTH = 9,
        DOMAIN_NAME = 10,
        PRIMARY_DNS_SERVER = 11,
        SECONDARY_DNS_SERVER = 12,
        DEFAULT_USER_PASSWORD = 13,
        STORAGECELL_NAME = 14,
        DEFAULT_USER_EMAIL = 15,
        NEW_GROUP = 16,
        ETHERNET_DEVICE_NAME = 17,
        ETHERNET_INDEX = 18,
        RAID_LEVEL = 19,
        GROUP_NAME = 20,
        MANAGEMENT_PASSWORD = 21,
        ADD_TO_GROUP_PASSWORD = 22,
        VSS_CONTROL_NAME = 23,
        VSS_CONTROL_PASSWORD = 24,
        TOP_CTRL_BMC_IP_SOURCE = 25,
        TOP_CTRL_BMC_IPV4_ADDRESS = 26,
        TOP_CTRL_BMC_IPV6_ADDRESS = 27,
        TOP_CTRL_BMC_IPV4_DEFAULT_ROUTE = 28,
        TOP_CTRL_BMC_IPV6_DEFAULT_ROUTE = 29,
        NODE_NUMBER = 30,
        PORT_CONFIG_DATA = 31,
        EULA_CUSTOMER_NAME = 32,
        EULA_CUSTOMER_TITLE = 33,
        BOTTOM_CTRL_ETH0_IPV4_ADDRESS = 34,
        BOTTOM_CTRL_ETH0_IPV4_NETMASK = 35,
        BOTTOM_CTRL_ETH0_IPV4_DEFAULT_GATEWAY = 36,
        BOTTOM_CTRL_ETH0_IPV6_ADDRESS = 37,
        BOTTOM_CTRL_ETH0_IPV6_PREFIX_LENGTH = 38,
        TOP_CTRL_BMC_NETMASK = 39,
        BOTTOM_CTRL_BMC_IP_SOURCE = 40,
        BOTTOM_CTRL_BMC_IPV4_ADDRESS = 41,
        BOTTOM_CTRL_BMC_IPV6_ADDRESS = 42,
        BOTTOM_CTRL_BMC_IPV4_DEFAULT_ROUTE = 43,
        BOTTOM_CTRL_BMC_IPV6_DEFAULT_ROUTE = 44,
        BOTTOM_CTRL_BMC_NETMASK = 45,
        LOCALIZATION_PARAMETER = 46,
    };
    explicit SETUPRequest(u_short version);
};

class CONFIGURATIONStatusRequest : public SetupAPIMessage {
public:
    enum TlvTypeCodes {
        NO_MORE_ENTRIES = 0,
        LOCALIZATION_PARAMETER = 1,
    };
    explicit CONFIGURATIONStatusRequest(u_short version);
};

class DISKConfigurationRequest : public SetupAPIMessage {
public:
    enum TlvTypeCodes {
        NO_MORE_ENTRIES = 0,
        LOCALIZATION_PARAMETER = 1,
    };
    explicit DISKConfigurationRequest(u_short version);
};

// Its body is only the empty block, 00 02.
class PREJOINRequest : public SetupAPIMessage {
public:
    explicit PREJOINRequest(u_short version);
};

// The code table of a HELLO_RSP. The names PRODUCT_FAMILY (a model number) and
// PRODUCT_LINE (a family) are crossed, and the parsers keep it that way.
class HELLOResponse : public SetupAPIMessage {
public:
    enum TlvTypeCodes {
        NO_MORE_ENTRIES = 0,
        KELT_SERVICE_TAG = 1,
        DISK_INFO = 2,
        PRODUCT_FAMILY = 3,
        VLAN_ID = 4,
        DCB_ON = 5,
        IPV4_MANAGEMENT_IP_ADDRESS = 6,
        HARDWARE_SN = 7,
        ETH0_IPV4_ADDRESS = 8,
        ETH0_IPV4_NETMASK = 9,
        ETH0_IPV4_DEFAULT_GATEWAY = 10,
        IPV6_MANAGEMENT_IP_ADDRESS = 11,
        ETH0_IPV6_ADDRESS = 12,
        ETH0_IPV6_PREFIX_LENGTH = 13,
        STORAGECELL_NAME = 14,
        DOMAIN_NAME = 15,
        PRIMARY_DNS_SERVER = 16,
        SECONDARY_DNS_SERVER = 17,
        RSA_PUBLIC_KEY_LENGTH = 18,
        RSA_PUBLIC_KEY = 19,
        NUM_LICENSED_CONTROLLERS = 20,
        NUM_ISCSI_PORTS = 21,
        PRODUCT_LINE = 22,
        IP_INITIALIZATION_STATE = 23,
        ETHERNET_DEVICE_NAME = 24,
        RAID_LEVEL = 25,
        MAJOR_VERSION = 26,
        MINOR_VERSION = 27,
        MAINTENANCE_VERSION = 28,
        BMC_IP_SOURCE = 29,
        BMC_IPV4_ADDRESS = 30,
        BMC_IPV6_ADDRESS = 31,
        BMC_IPV4_DEFAULT_ROUTE = 32,
        BMC_IPV6_DEFAULT_ROUTE = 33,
        NODE_NUMBER = 34,
        PORT_CONFIG_DATA = 35,
        ARRAY_INITIALIZATION_STATE = 36,
        BLINK_STATE = 37,
        STATUS_ERROR_INFO = 38,
        CONTROLLER_MODEL_NUMBER = 39,
        CONTROLLER_IS_PRIMARY = 40,
        CONTROLLER_INFO = 41,
        BMC_IPV4_NETMASK = 42,
        IS_BACKEND_SAS_CONNECTED = 43,
        UNIFIED_BLOCK_FILE_ENABLED = 44,
        LOCALIZATION_PARAMETER = 45,
    };
    explicit HELLOResponse(u_short version);
};

// The codes of the three other responses. They are never built here, only parsed, so
// each is a code table alone.
class CONFIGURATIONStatusResponse {
public:
    enum TlvTypeCodes {
        NO_MORE_ENTRIES = 0,
        CONFIG_STATUS_RESPONSE_CODE = 1,  // le16
        ERROR_MESSAGE_TEXT = 2,           // string
        CONFIGURATION_STEPS = 3,          // CONFIGURATIONStepReader record
        ORCHESTRATOR_STATE = 4,           // le16
    };
};

class DISKConfigurationResponse {
public:
    enum TlvTypeCodes {
        NO_MORE_ENTRIES = 0,
        DISK_ERROR_STATE = 1,         // le16
        DISK_CONFIG_DATA = 2,         // DISKConfigDataReader record
        DISK_CONFIG_EXTRA1_DATA = 3,  // DISKConfigExtra1DataReader record
    };
};

class BLINKResponse {
public:
    enum TlvTypeCodes {
        NO_MORE_ENTRIES = 0,
        BLINK_STATUS = 1,  // 4 bytes, little-endian
        BLINK_VALUE = 2,   // le16
    };
};

// A plain record: a SETUP_RSP body is one status byte, which stands where a TLV block keeps
// its total length, so it is never read as a block.
struct SETUPResponse {
    explicit SETUPResponse(u_short version);

    u_char m_status;
    MESSAGEHeader msghdr;
    u_short m_opcode;
    u_short m_version;
    u_short m_vlanid;
};

#endif
