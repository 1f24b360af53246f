// Discovery: the Hello exchange on one adapter and the parsing of its answers into
// controller objects.

#include "LSWConfig4/LSWDiscovery4.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "LSWConfig4/ByteCursor.h"
#include "LSWConfig4/LSWConfigModel.h"
#include "LSWConfig4/LSWExchange.h"
#include "LSWConfig4/SetupTLV.h"
#include "LSWConfig4/setupMessageHandler.h"
#include "LSWConfig4/unix/Adapter.h"
#include "zelutil/ZelClock.h"
#include "zelutil/ZelStringUtil.h"
#include "zelutil/ZelTrace.h"

namespace {

// A flood of answers must not exhaust memory: a version 5 answer holds a buffer of 373248
// bytes. No segment has anywhere near this many controllers.
const size_t kMaxHelloAnswers = 256;
// At most ten failed reads a second while Hello answers are collected.
const long long kFailedReadGapMs = 100;

// Every read below goes through the entry's bounded cursor, so an entry shorter than its
// code implies reads as nothing and leaves its field as it was.
void ReadU8(const SETUPTlvIterator& iIt, uint8_t& ioField) {
    ByteCursor cursor = iIt.valueCursor();
    uint8_t value = cursor.readU8();
    if (cursor.ok())
        ioField = value;
}

void ReadBool(const SETUPTlvIterator& iIt, bool& ioField) {
    ByteCursor cursor = iIt.valueCursor();
    uint8_t value = cursor.readU8();
    if (cursor.ok())
        ioField = value != 0;
}

// Four bytes, last octet first.
void ReadIP4(const SETUPTlvIterator& iIt, CZelIpAddress& ioAddress) {
    ByteCursor cursor = iIt.valueCursor();
    char bytes[4];
    if (cursor.readBytes(bytes, sizeof(bytes))) {
        SetIP4(ioAddress, bytes);
        PrintIPAddress(iIt.getType(), ioAddress);
    }
}

void ReadIP6(const SETUPTlvIterator& iIt, CZelIpAddress& ioAddress) {
    ByteCursor cursor = iIt.valueCursor();
    unsigned char bytes[16];
    if (cursor.readBytes(bytes, sizeof(bytes)))
        ioAddress.set_IPv6(bytes);
}

void TraceValue(const SETUPTlvIterator& iIt, long iValue) {
    ZelOutputDebugPrint(HERE, "Enum:%d, Value:%d", iIt.getType(), static_cast<int>(iValue));
}

void TraceText(const SETUPTlvIterator& iIt, const std::string& iText) {
    ZelOutputDebugPrint(HERE, "Enum:%d, Value:%s", iIt.getType(), iText.c_str());
}

}  // namespace

// ---- Parsing ----------------------------------------------------------------------------

CLSWControllerDiscovery4::CLSWControllerDiscovery4() = default;

void PrintIPAddress(unsigned char type, const CZelIpAddress& address) {
    char text[ZEL_IP_ADDRESS_STRING_SIZE];
    ipAddrToString(&address, text, sizeof(text));
    ZelOutputDebugPrint(HERE, "Enum:%d, Value:%s", type, text);
}

std::shared_ptr<CLSWControllerDiscovery4> ParseHello4Data(SETUPTlvIterator* tlvIt,
                                                          unsigned short version) {
    auto rec = std::make_shared<CLSWControllerDiscovery4>();
    rec->ProtocolVersion = version;
    rec->Eth0Ip6AddrPrefix = 0;
    if (!tlvIt)
        return rec;

    for (SETUPTlvIterator& it = *tlvIt; it.getType() != 0;) {
        ZelOutputDebugPrint(HERE, "Found TLV entry Type:%d, Len:%d", it.getType(), it.getLen());
        switch (it.getType()) {
            case HELLOResponse::KELT_SERVICE_TAG:
                rec->ServiceTag = it.valueString();
                TraceText(it, rec->ServiceTag);
                break;
            case HELLOResponse::PRODUCT_FAMILY:
                // The names are crossed on the wire: this code carries the model.
                ReadLE16(it, rec->ProductVersion);
                TraceValue(it, rec->ProductVersion);
                break;
            case HELLOResponse::VLAN_ID: {
                ByteCursor cursor = it.valueCursor();
                uint16_t vlan = cursor.readBE16();
                if (cursor.ok()) {
                    rec->VlanID = vlan;
                    rec->HasVlanID = true;
                }
                TraceValue(it, rec->HasVlanID);
                break;
            }
            case HELLOResponse::DCB_ON: {
                ByteCursor cursor = it.valueCursor();
                uint8_t on = cursor.readU8();
                if (cursor.ok()) {
                    rec->DCBOn = on != 0;
                    rec->HasDCBOn = true;
                }
                TraceValue(it, rec->HasDCBOn);
                break;
            }
            case HELLOResponse::IPV4_MANAGEMENT_IP_ADDRESS:
                ReadIP4(it, rec->MgmtIp4Address);
                break;
            case HELLOResponse::HARDWARE_SN:
                rec->HWSerialNumber = it.valueString();
                rec->SerialNumber = rec->HWSerialNumber;
                TraceText(it, rec->HWSerialNumber);
                break;
            case HELLOResponse::ETH0_IPV4_ADDRESS:
                ReadIP4(it, rec->Eth0Ip4Address);
                break;
            case HELLOResponse::ETH0_IPV4_NETMASK:
                ReadIP4(it, rec->Eth0Ip4Netmask);
                break;
            case HELLOResponse::ETH0_IPV4_DEFAULT_GATEWAY:
                ReadIP4(it, rec->Eth0Ip4Gateway);
                break;
            case HELLOResponse::IPV6_MANAGEMENT_IP_ADDRESS:
                ReadIP6(it, rec->MgmtIp6Address);
                break;
            case HELLOResponse::ETH0_IPV6_ADDRESS:
                ReadIP6(it, rec->Eth0Ip6Address);
                break;
            case HELLOResponse::ETH0_IPV6_PREFIX_LENGTH: {
                // Big-endian on the wire into a one-byte field, which keeps the low byte.
                ByteCursor cursor = it.valueCursor();
                uint16_t prefix = cursor.readBE16();
                if (cursor.ok())
                    rec->Eth0Ip6AddrPrefix = static_cast<uint8_t>(prefix & 0xFF);
                TraceValue(it, rec->Eth0Ip6AddrPrefix);
                break;
            }
            case HELLOResponse::STORAGECELL_NAME:
                rec->SystemName = it.valueString();
                TraceText(it, rec->SystemName);
                break;
            case HELLOResponse::DOMAIN_NAME:
                rec->DomainName = it.valueString();
                TraceText(it, rec->DomainName);
                break;
            case HELLOResponse::PRIMARY_DNS_SERVER:
                ReadIP4(it, rec->PrimaryDNS);
                break;
            case HELLOResponse::SECONDARY_DNS_SERVER:
                ReadIP4(it, rec->SecondaryDNS);
                break;
            case HELLOResponse::RSA_PUBLIC_KEY_LENGTH:
                ReadLE16(it, rec->PublicKeyLength);
                TraceValue(it, rec->PublicKeyLength);
                break;
            case HELLOResponse::RSA_PUBLIC_KEY:
                // Kept as text; whether it is a key is found out when it is used.
                rec->PublicKey = it.valueString();
                TraceText(it, rec->PublicKey);
                break;
            case HELLOResponse::NUM_LICENSED_CONTROLLERS:
                ReadLE16(it, rec->LicensedControllers);
                TraceValue(it, rec->LicensedControllers);
                break;
            case HELLOResponse::NUM_ISCSI_PORTS:
                ReadLE16(it, rec->IscsiPorts);
                TraceValue(it, rec->IscsiPorts);
                break;
            case HELLOResponse::PRODUCT_LINE:
                // ... and this one the family.
                ReadLE16(it, rec->ProductFamily);
                TraceValue(it, rec->ProductFamily);
                break;
            case HELLOResponse::IP_INITIALIZATION_STATE:
                ReadBool(it, rec->IsIPConfigured);
                TraceValue(it, rec->IsIPConfigured);
                break;
            case HELLOResponse::ETHERNET_DEVICE_NAME:
                rec->Ethernet = it.valueString();
                TraceText(it, rec->Ethernet);
                break;
            case HELLOResponse::RAID_LEVEL:
                rec->RaidLevel = it.valueString();
                TraceText(it, rec->RaidLevel);
                break;
            case HELLOResponse::MAJOR_VERSION:
                ReadU8(it, rec->MajorVersion);
                TraceValue(it, rec->MajorVersion);
                break;
            case HELLOResponse::MINOR_VERSION:
                ReadU8(it, rec->MinorVersion);
                TraceValue(it, rec->MinorVersion);
                break;
            case HELLOResponse::MAINTENANCE_VERSION:
                ReadU8(it, rec->MaintenanceVersion);
                TraceValue(it, rec->MaintenanceVersion);
                break;
            case HELLOResponse::BMC_IPV4_ADDRESS:
                ReadIP4(it, rec->BMCIPv4Address);
                break;
            case HELLOResponse::BMC_IPV4_DEFAULT_ROUTE:
                ReadIP4(it, rec->BMCIPv4DefaultRoute);
                break;
            case HELLOResponse::NODE_NUMBER:
                ReadLE16(it, rec->CanisterId);
                TraceValue(it, rec->CanisterId);
                break;
            case HELLOResponse::PORT_CONFIG_DATA:
                rec->mReader.UnpackData(it.getValue(), it.getLen());
                break;
            case HELLOResponse::ARRAY_INITIALIZATION_STATE:
                ReadBool(it, rec->IsInitialized);
                TraceValue(it, rec->IsInitialized);
                break;
            case HELLOResponse::BLINK_STATE:
                ReadLE16(it, rec->BlinkValue);
                TraceValue(it, rec->BlinkValue);
                break;
            case HELLOResponse::STATUS_ERROR_INFO:
                ReadLE16(it, rec->DiscoveryErrorStatus);
                TraceValue(it, rec->DiscoveryErrorStatus);
                break;
            case HELLOResponse::CONTROLLER_MODEL_NUMBER:
                ReadLE16(it, rec->ControllerModelNum);
                TraceValue(it, rec->ControllerModelNum);
                break;
            case HELLOResponse::CONTROLLER_IS_PRIMARY:
                ReadBool(it, rec->IsControllerPrimary);
                TraceValue(it, rec->IsControllerPrimary);
                break;
            case HELLOResponse::BMC_IPV4_NETMASK:
                ReadIP4(it, rec->BMCIPv4Netmask);
                break;
            case HELLOResponse::UNIFIED_BLOCK_FILE_ENABLED:
                ReadBool(it, rec->IsUnifiedBlockFileEnabled);
                TraceValue(it, rec->IsUnifiedBlockFileEnabled);
                break;
            case HELLOResponse::LOCALIZATION_PARAMETER:
                rec->LocalizationParameter = it.valueString();
                TraceText(it, rec->LocalizationParameter);
                break;
            case HELLOResponse::DISK_INFO:
            case HELLOResponse::BMC_IP_SOURCE:
            case HELLOResponse::BMC_IPV6_ADDRESS:
            case HELLOResponse::BMC_IPV6_DEFAULT_ROUTE:
            case HELLOResponse::CONTROLLER_INFO:
            case HELLOResponse::IS_BACKEND_SAS_CONNECTED:
                break;
            default:
                ZelOutputDebugPrint(HERE, "Unknown ZelSetupMsg_hello_rsp TlvTypeCode %d",
                                    it.getType());
                break;
        }
        if (!it.next())
            break;
    }
    return rec;
}

bool CLSWControllerDiscovery4::IsControllerRequired(unsigned int iMask) const {
    if (ProductFamily != 2)
        return false;
    if ((iMask & 1u) && ProductVersion == ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_QB2000)
        return true;
    if ((iMask & 2u) && (ProductVersion == ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_EHV ||
                         ProductVersion == ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_QB7000 ||
                         ProductVersion == ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_QB5000))
        return true;
    return false;
}

std::shared_ptr<IlswController> CLSWControllerDiscovery4::GetInfo(CZelAdapter* iAdapter,
                                                                  unsigned int iMask) {
    if (!IsControllerRequired(iMask)) {
        ZelOutputDebugError(HERE,
                            "Skipping controller with ProductFamily: %d and ProductVersion: %d",
                            ProductFamily, static_cast<int>(ProductVersion));
        return nullptr;
    }
    return GetVesperInfo(iAdapter);
}

std::shared_ptr<CLSWVesperController> CLSWControllerDiscovery4::GetVesperInfo(
    CZelAdapter* iAdapter) {
    auto c = std::make_shared<CLSWVesperController>();
    c->SetMACAddressFromController(CtrlMACAddress);
    c->SetProtocolVersion(ProtocolVersion);
    c->SetIsInitializedFromController(IsInitialized);
    c->SetIsIpConfigured(IsIPConfigured);
    c->SetSerialNumberFromController(SerialNumber);
    c->SetRaidLevelFromController(RaidLevel);
    c->SetEthernetDevFromController(Ethernet);

    char version[32];
    snprintf(version, sizeof(version), "%d.%d.%d", MajorVersion, MinorVersion, MaintenanceVersion);
    c->SetVersionFromController(version);

    c->SetBMCIPv4AddressFromController(BMCIPv4Address);
    c->SetBMCIPv4DefaultRouteFromController(BMCIPv4DefaultRoute);
    c->SetBMCIPv4NetmaskFromController(BMCIPv4Netmask);

    c->SetDiskInfoFromController(DiskInfo);
    c->SetServiceTagFromController(ServiceTag);
    c->SetHardwareSNFromController(HWSerialNumber);
    c->SetProductVersionFromController(ProductVersion);
    c->SetSystemNameFromController(SystemName);

    c->SetMgmtIp4AddressFromController(MgmtIp4Address);
    c->SetEth0Ip4AddressFromController(Eth0Ip4Address);
    c->SetEth0Ip4NetmaskFromController(Eth0Ip4Netmask);
    c->SetEth0Ip4GatewayFromController(Eth0Ip4Gateway);
    c->SetMgmtIp6AddressFromController(MgmtIp6Address);
    c->SetEth0Ip6AddrPrefixFromController(Eth0Ip6AddrPrefix);
    c->SetEth0Ip6AddressFromController(Eth0Ip6Address);

    c->SetDomainNameFromController(DomainName);
    c->SetPrimaryDNSFromController(PrimaryDNS);
    c->SetSecondaryDNSFromController(SecondaryDNS);

    c->SetAdapterInfoFromController(iAdapter);
    c->SetPublicKeyLength(static_cast<int>(PublicKeyLength));
    c->SetPublicKey(PublicKey);
    c->SetLicensedControllers(static_cast<int>(LicensedControllers));
    c->SetiSCSIPorts(static_cast<int>(IscsiPorts));
    c->SetProductFamily(ProductFamily);
    c->SetCanisterId(static_cast<int>(CanisterId));
    c->SetBlinkValue(BlinkValue);

    // Only the port data of a single controller is taken.
    if (mReader.GetNumberOfControllers() == 1)
        c->SetControllerPortConfigData(mReader.GetController(0));
    else
        ZelOutputDebugPrint(HERE, "ControllerCount for portConfig is: %d.",
                            mReader.GetNumberOfControllers());

    c->SetDiscoveryErrorStatus(DiscoveryErrorStatus);
    c->SetControllerModelNum(ControllerModelNum);
    c->SetIsControllerPrimary(IsControllerPrimary);
    c->SetIsUnifiedBlockFileEnabled(IsUnifiedBlockFileEnabled);
    c->SetLocaleFromController(LocalizationParameter);
    return c;
}

// ---- CHello4 ----------------------------------------------------------------------------

CHello4::CHello4(CZelAdapter* iAdapter, unsigned short iMask)
    : m_adapter(iAdapter), m_mask(iMask) {}

CHello4::~CHello4() = default;

bool CHello4::chkPlatform(unsigned short platform) {
    return (platform == 1 || platform == 2) && (platform & m_mask) != 0;
}

int CHello4::run(std::list<std::shared_ptr<IlswController>>& controllers, int timeout,
                 STRING locale) {
    m_dev.reset(m_adapter ? CL2::GetInterface(m_adapter->m_addr, m_adapter->m_pcapname) : nullptr);
    if (!m_dev) {
        ZelOutputDebugError(HERE, "CL2::GetInterface failed");
        return 1004;
    }
    // The multicast group and our SNAP header.
    if (m_dev->setfilter(g_MessageHeaderTemplate, g_MessageHeaderTemplate + 14) != 0) {
        ZelOutputDebugError(HERE, "setfilter failed");
        return 1005;
    }
    return run(*m_dev, controllers, timeout, locale);
}

int CHello4::run(DEVICEIoHandler& iDev, std::list<std::shared_ptr<IlswController>>& controllers,
                 int timeout, STRING locale) {
    unsigned char source[ZEL_MAC_ADDR_LEN];
    iDev.getMacAddr(source);
    SetupAPIMessageHandler handler;

    ZelOutputDebugPrint(HERE, "Initialized interface and sending Hello.4req");
    HELLORequest req4(MESSAGE_VERSION_4);
    AttachLocale(req4, HELLORequest::LOCALIZATION_PARAMETER, locale);
    req4.msghdr.Reset(0, nullptr, source);
    if (handler.WriteSetupAPIMessage(iDev, req4) < 1) {
        ZelOutputDebugError(HERE, "Error sending the hello4 frame");
        return 1006;
    }

    // A second apart, so that a controller busy with the first still hears the second.
    ZelClock::Sleep(1);

    ZelOutputDebugPrint(HERE, "Initialized interface and sending Hello.5req");
    HELLORequest req5(MESSAGE_VERSION_5);
    AttachLocale(req5, HELLORequest::LOCALIZATION_PARAMETER, locale);
    req5.msghdr.Reset(0, nullptr, source);
    if (handler.WriteSetupAPIMessage(iDev, req5) < 1) {
        ZelOutputDebugError(HERE, "Error sending the hello5 frame");
        return 1006;
    }

    // Answers are only collected while the time runs; parsing waits until it is over.
    ZelOutputDebugPrint(HERE, "Reading Hello4&5 responses");
    const time_t start = ZelClock::Now();
    long count = 0;
    bool floodTraced = false;
    // A device that fails at once would have this loop spin for the whole discovery and
    // trace on every pass: failed reads start at least kFailedReadGapMs apart.
    long long lastFailedReadMs = -1;
    for (;;) {
        ++count;
        if (count % 100 == 0)
            ZelOutputDebugPrint(HERE, "Read count = %ld", count);
        if (lastFailedReadMs >= 0) {
            long long wait = lastFailedReadMs + kFailedReadGapMs - ZelClock::NowMs();
            if (wait > 0)
                ZelClock::Pause(static_cast<unsigned int>(wait));
        }
        const long long readMs = ZelClock::NowMs();
        std::shared_ptr<SetupAPIMessage> msg;
        SetupAPIMessageHandler::ReadResult result =
            handler.ReadSetupAPIMessage(iDev, msg, timeout, false);
        lastFailedReadMs =
            result == SetupAPIMessageHandler::ERROR_IOHANDLER_READ_PACKET ? readMs : -1;
        if (ZelClock::Now() - start > timeout) {
            ZelOutputDebugPrint(HERE, "Discovery timed out after %d seconds", timeout);
            break;
        }
        // Only Hello answers are kept, so frames of another kind cannot crowd them out of
        // the bounded store.
        if (!msg || !validatePkt(msg))
            continue;
        if (m_MsgVec.size() < kMaxHelloAnswers) {
            m_MsgVec.push_back(msg);
        } else if (!floodTraced) {
            ZelOutputDebugError(HERE, "Too many Hello answers; %d kept, the rest dropped",
                                static_cast<int>(kMaxHelloAnswers));
            floodTraced = true;
        }
    }

    for (const auto& msg : m_MsgVec)
        packet_handler(msg, controllers);

    ZelOutputDebugPrint(HERE, "Discovery completed with %d controllers responses handled",
                        static_cast<int>(controllers.size()));
    ZelOutputDebugPrint(HERE, "Getting pcap stats .. ");
    if (auto* l2 = dynamic_cast<CL2*>(&iDev))
        l2->GetPcapStats();
    return 0;
}

bool CHello4::validatePkt(const std::shared_ptr<SetupAPIMessage>& msg) {
    if (PAYLOADHeader::MessageVersionSupported(msg->m_version) &&
        msg->m_opcode == PAYLOADHeader::HELLO_RSP)
        return true;
    ZelOutputDebugPrint(HERE, "Hello4 packet handler ignored invalid packet ver(%d):opcode(%d)",
                        msg->m_version, msg->m_opcode);
    return false;
}

void CHello4::packet_handler(const std::shared_ptr<SetupAPIMessage>& msg,
                             std::list<std::shared_ptr<IlswController>>& controllers) {
    if (!msg) {
        ZelOutputDebugError(HERE, "Ignored empty data packet");
        return;
    }
    if (!validatePkt(msg))
        return;
    TraceSource(msg->msghdr);

    SETUPTlvIterator it(msg->m_tlv);
    std::shared_ptr<CLSWControllerDiscovery4> rec = ParseHello4Data(&it, msg->m_version);
    // The controller is known on the wire by the address it answered from.
    memcpy(rec->CtrlMACAddress, msg->msghdr.shost, sizeof(rec->CtrlMACAddress));

    std::shared_ptr<IlswController> controller = rec->GetInfo(m_adapter, m_mask);
    if (controller) {
        ZelOutputDebugPrint(HERE, "Vesper controller found. Adding controller %s to the list",
                            controller->getSerialNumber().c_str());
        controllers.push_back(controller);
    }
}
