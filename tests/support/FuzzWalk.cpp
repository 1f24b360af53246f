#include "support/FuzzWalk.h"

#include <cstdlib>

void FuzzCheck(bool iCondition) {
    if (!iCondition)
        abort();
}

void WalkTlv(const SETUPTlv& iTlv) {
    const char* start = iTlv.getTlvBuffer();
    const char* end = start + iTlv.getTlvAllocatedSize();
    size_t steps = 0;
    for (SETUPTlvIterator it(iTlv); it.getType() != 0; it.next()) {
        FuzzCheck(it.getValue() >= start && it.getValue() + it.getLen() <= end);
        FuzzCheck(++steps <= iTlv.getTlvBufferSize());
        volatile char sink = 0;
        for (uint16_t i = 0; i < it.getLen(); ++i)
            sink = static_cast<char>(sink ^ it.getValue()[i]);
    }
    unsigned char sum[4];
    iTlv.calculateChecksum(sum);
}

void WalkPort(const PORTDataReader* iPort) {
    if (!iPort)
        return;
    FuzzCheck(iPort->GetIpV4().size() <= 15 && iPort->GetIpV4Netmask().size() <= 15 &&
              iPort->GetIpV4Gateway().size() <= 15);
    (void)iPort->GetSlotNumber();
    (void)iPort->GetControllerIndex();
    (void)iPort->GetCardModel();
}

void WalkFaultDomain(const FAULTDomainDataReader* iDomain) {
    if (!iDomain)
        return;
    (void)iDomain->GetIpV4();
    int present = 0;
    for (int i = 0; i < 256; ++i) {
        PORTDataReader* port = iDomain->GetPort(static_cast<unsigned char>(i));
        present += port ? 1 : 0;
        WalkPort(port);
    }
    FuzzCheck(iDomain->GetNumberOfPorts() <= 0 || present >= iDomain->GetNumberOfPorts());
}

void WalkController(const CONTROLLERPortDataReader* iController) {
    if (!iController)
        return;
    for (int i = 0; i < 256; ++i)
        WalkFaultDomain(iController->GetFaultDomain(static_cast<unsigned char>(i)));
}

void WalkPortTree(const SCPortConfigDataReader* iTree) {
    for (int i = 0; i < 256; ++i)
        WalkController(iTree->GetController(static_cast<unsigned char>(i)));
}
