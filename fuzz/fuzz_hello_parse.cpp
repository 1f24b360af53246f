// One received Hello answer: an arbitrary TLV block parsed into a discovery record, then
// turned into a controller object as discovery does.
//
// Input: the block as received, from its two-byte total length on. The block is held in an
// allocation of exactly the input's size, so that any read past it is caught.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "LSWConfig4/LSWConfigModel.h"
#include "LSWConfig4/LSWDiscovery4.h"
#include "LSWConfig4/SetupTLV.h"
#include "support/FuzzWalk.h"

FUZZ_QUIET_START

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2 || size > 0xFFFF)
        return 0;
    SETUPTlv tlv(static_cast<uint32_t>(size));
    tlv.appendTlvDataFromMessage(reinterpret_cast<const char*>(data), static_cast<uint16_t>(size));

    SETUPTlvIterator it(tlv);
    std::shared_ptr<CLSWControllerDiscovery4> rec = ParseHello4Data(&it, 5);
    FuzzCheck(rec != nullptr);
    // Text fields come from single entries, which lie inside the block.
    FuzzCheck(rec->SerialNumber.size() < size && rec->PublicKey.size() < size);
    FuzzCheck(rec->Eth0Ip6AddrPrefix <= 0xFF);
    WalkPortTree(&rec->mReader);

    for (unsigned int mask = 0; mask < 4; ++mask)
        (void)rec->IsControllerRequired(mask);
    std::shared_ptr<CLSWVesperController> controller = rec->GetVesperInfo(nullptr);
    FuzzCheck(controller != nullptr);
    FuzzCheck(controller->getSerialNumber() == rec->SerialNumber);
    // Fault domains come only from a lone controller's port data.
    if (rec->mReader.GetNumberOfControllers() != 1)
        FuzzCheck(controller->getFaultDomainConfigurationData().empty());
    for (auto& domain : controller->getFaultDomainConfigurationData())
        for (auto& port : domain->getPortConfigurationData())
            (void)port->getIpv4Address();
    (void)controller->getEth0Ip6Address();
    (void)controller->getTransportType();
    return 0;
}
