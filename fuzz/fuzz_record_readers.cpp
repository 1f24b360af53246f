// Feeds one received TLV value to a packed-record reader. The first byte picks the reader,
// the rest is the value. Every index an accessor takes is then tried, and what was read is
// packed again and must read back the same.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "LSWConfig4/tlvUtils.h"
#include "support/FuzzWalk.h"

namespace {

void Steps(const FuzzValue& iValue) {
    CONFIGURATIONStepReader reader;
    reader.UnpackData(iValue.data(), iValue.size());
    FuzzCheck(reader.GetNumberOfSteps() == reader.GetSteps().size());
    for (int i = -128; i < 128; ++i)
        (void)reader.GetStep(static_cast<signed char>(i));
    CONFIGURATIONStepWriter writer;
    for (const auto& step : reader.GetSteps())
        writer.AddStep(step.configurationStepId, step.configurationStepStatus);
    std::vector<char> packed = writer.Pack();
    CONFIGURATIONStepReader back;
    FuzzCheck(back.UnpackData(packed.data(), packed.size()));
    FuzzCheck(back.GetSteps().size() == reader.GetSteps().size());
    if (!packed.empty() && packed.size() > 4 && iValue.size() >= packed.size())
        FuzzCheck(memcmp(packed.data() + 4, iValue.data() + 4, packed.size() - 4) == 0);
}

// Both disk lists: each index tried, and the records packed again read the same bytes.
template <class Reader, class Writer>
void Disks(const FuzzValue& iValue) {
    Reader reader;
    reader.UnpackData(iValue.data(), iValue.size());
    FuzzCheck(reader.GetNumberOfDisks() == reader.GetDisks().size());
    for (int i = -128; i < 128; ++i)
        (void)reader.GetDisk(static_cast<signed char>(i));
    Writer writer;
    for (const auto& disk : reader.GetDisks())
        writer.AddDisk(disk);
    std::vector<char> packed = writer.Pack();
    FuzzCheck(packed.size() <= iValue.size() || reader.GetDisks().empty());
    if (packed.size() > 8)
        FuzzCheck(memcmp(packed.data() + 8, iValue.data() + 8, packed.size() - 8) == 0);
}

// A reader of the port tree, walked whole.
template <class Reader, void (*Walk)(const Reader*)>
void Tree(const FuzzValue& iValue) {
    Reader reader;
    reader.UnpackData(iValue.data(), iValue.size());
    Walk(&reader);
}

void ControllerInfos(const FuzzValue& iValue) {
    ControllerInfoDataReader reader;
    reader.UnpackData(iValue.data(), iValue.size());
    ControllerInfoDataWriter writer;
    uint32_t held = 0;
    for (int i = -128; i < 128; ++i) {
        ControllerInfo* info = reader.GetController(static_cast<signed char>(i));
        if (!info)
            continue;
        ++held;
        for (SETUPTlvIterator it(info->mControllerTlv); it.getType() != 0; it.next())
            (void)it.getLen();
        writer.AddController(info->mControllerTlv);
    }
    if (reader.GetNumberOfControllers() <= 128)
        FuzzCheck(held == reader.GetNumberOfControllers());
    std::vector<char> packed = writer.Pack();
    if (packed.size() > 4)
        FuzzCheck(memcmp(packed.data() + 4, iValue.data() + 4, packed.size() - 4) == 0);
}

}  // namespace

FUZZ_QUIET_START

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    static void (*const kReaders[8])(const FuzzValue&) = {
        Tree<SCPortConfigDataReader, WalkPortTree>,
        Tree<CONTROLLERPortDataReader, WalkController>,
        Tree<FAULTDomainDataReader, WalkFaultDomain>,
        Tree<PORTDataReader, WalkPort>,
        Steps,
        Disks<DISKConfigDataReader, DISKConfigDataWriter>,
        Disks<DISKConfigExtra1DataReader, DISKConfigExtra1DataWriter>,
        ControllerInfos};
    kReaders[data[0] % 8](FuzzValue(data + 1, size - 1));
    return 0;
}
