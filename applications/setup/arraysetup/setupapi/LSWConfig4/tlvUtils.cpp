#include "LSWConfig4/tlvUtils.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <cstring>

#include "LSWConfig4/setupMessage.h"
#include "zelutil/ZelTrace.h"

// ---- RAWConverter -----------------------------------------------------------------------

void RAWConverter::PackData(RAWStream&) {}

bool RAWConverter::UnpackData(RAWStream&) {
    return true;
}

bool RAWConverter::UnpackData(const char* iValue, size_t iLength) {
    RAWStream stream = RAWStream::ForUnpack(iValue, iLength);
    bool whole = UnpackData(stream);
    if (!whole)
        ZelOutputDebugError(HERE,
                            "Packed record cut short: %u bytes hold fewer records than counted",
                            static_cast<unsigned>(iLength));
    return whole;
}

size_t RAWConverter::PackIntoRawData() {
    size_t size = GetPackedSizeBytes();
    // calloc(0) may answer null; one byte keeps the reservation real.
    mRawData.reset(static_cast<char*>(calloc(1, size ? size : 1)));
    if (!mRawData)
        return 0;
    RAWStream stream = RAWStream::ForPack(mRawData.get(), size);
    PackData(stream);
    return size;
}

void RAWConverter::AddToTLV(SETUPTlv& ioTlv, unsigned int iId) {
    size_t size = PackIntoRawData();
    if (!mRawData) {
        ZelOutputDebugError(HERE, "Unable to reserve %u bytes for TLV %u",
                            static_cast<unsigned>(GetPackedSizeBytes()), iId);
        return;
    }
    if (size > 0xFFFF) {
        ZelOutputDebugError(HERE, "Packed record of %u bytes does not fit a TLV entry",
                            static_cast<unsigned>(size));
        return;
    }
    ioTlv.pushBackEntry(static_cast<uint8_t>(iId), static_cast<uint16_t>(size), mRawData.get());
}

std::vector<char> RAWConverter::Pack() {
    size_t size = PackIntoRawData();
    if (!mRawData)
        return {};
    return std::vector<char>(mRawData.get(), mRawData.get() + size);
}

// ---- Shared helpers ---------------------------------------------------------------------

namespace {

std::string AddressText(const unsigned char (&iAddress)[4]) {
    uint32_t value;
    memcpy(&value, iAddress, 4);  // both in network order
    return TLVObject::BytesToIpString(value);
}

void SetAddress(unsigned char (&oAddress)[4], const std::string& iText) {
    uint32_t value = TLVObject::IpStringToBytes(iText);
    memcpy(oAddress, &value, 4);
}

int8_t CountByte(size_t iCount) {
    // The count field is one byte wide: larger lists keep only the low bits.
    return static_cast<int8_t>(static_cast<uint8_t>(iCount));
}

// Reads the children a nesting record counts, once the record itself has been read. The count is a
// signed byte, so 128 and more reads none. A child is kept only when it was read whole; the first
// that was not ends the list, and the count is lowered to the children kept.
template <class ChildReader, class ChildBase>
bool UnpackChildren(RAWStream& ioStream, int8_t& ioCount,
                    std::vector<std::unique_ptr<ChildBase>>& ioChildren) {
    if (!ioStream.ok()) {
        // The record itself was cut short: its count promises nothing.
        ioCount = 0;
        return false;
    }
    int kept = 0;
    for (int i = 0; i < ioCount; ++i) {
        auto child = std::make_unique<ChildReader>();
        if (!child->UnpackData(ioStream)) {
            ioCount = static_cast<int8_t>(kept);
            return false;
        }
        ioChildren.push_back(std::move(child));
        ++kept;
    }
    return true;
}

template <class Child>
size_t ChildrenPackedSize(const std::vector<std::unique_ptr<Child>>& iChildren) {
    size_t size = 0;
    for (const auto& child : iChildren)
        size += child->GetPackedSizeBytes();
    return size;
}

template <class Child>
void PackChildren(RAWStream& ioStream, std::vector<std::unique_ptr<Child>>& ioChildren) {
    for (auto& child : ioChildren)
        child->PackData(ioStream);
}

template <class Reader, class Child>
Reader* ChildAt(const std::vector<std::unique_ptr<Child>>& iChildren, size_t iIndex) {
    // A reader's children are only ever readers of the next level.
    if (iIndex >= iChildren.size())
        return nullptr;
    return static_cast<Reader*>(iChildren[iIndex].get());
}

template <class Record>
const Record& RecordAt(const std::vector<Record>& iRecords, signed char iIndex) {
    static const Record blank{};
    if (iIndex < 0 || static_cast<size_t>(iIndex) >= iRecords.size())
        return blank;
    return iRecords[static_cast<size_t>(iIndex)];
}

}  // namespace

// ---- Ports ------------------------------------------------------------------------------

void PORTDataRawConverter::Convert(RAWStream& ioStream) {
    m_RAW_CONVERTER(ioStream, mPortData.slotNumber);
    m_RAW_CONVERTER_ARRAY(ioStream, mPortData.portIpV4);
    m_RAW_CONVERTER_ARRAY(ioStream, mPortData.portNetmaskIpV4);
    m_RAW_CONVERTER_ARRAY(ioStream, mPortData.portGatewayIpV4);
    m_RAW_CONVERTER(ioStream, mPortData.transportType);
    m_RAW_CONVERTER(ioStream, mPortData.portLocation);
    m_RAW_CONVERTER(ioStream, mPortData.slotPortNumber);
    m_RAW_CONVERTER(ioStream, mPortData.isConfigured);
    m_RAW_CONVERTER(ioStream, mPortData.isEmbedded);
    m_RAW_CONVERTER(ioStream, mPortData.network);
    m_RAW_CONVERTER(ioStream, mPortData.status);
    m_RAW_CONVERTER(ioStream, mPortData.controllerIndex);
    m_RAW_CONVERTER(ioStream, mPortData.cardModel);
}

bool PORTDataReader::UnpackData(RAWStream& ioStream) {
    Convert(ioStream);
    return ioStream.ok();
}

std::string PORTDataReader::GetIpV4() const {
    return AddressText(mPortData.portIpV4);
}
std::string PORTDataReader::GetIpV4Netmask() const {
    return AddressText(mPortData.portNetmaskIpV4);
}
std::string PORTDataReader::GetIpV4Gateway() const {
    return AddressText(mPortData.portGatewayIpV4);
}

void PORTDataWriter::PackData(RAWStream& ioStream) {
    Convert(ioStream);
}

void PORTDataWriter::SetIpV4(const std::string& iAddress) {
    SetAddress(mPortData.portIpV4, iAddress);
}
void PORTDataWriter::SetIpV4Netmask(const std::string& iAddress) {
    SetAddress(mPortData.portNetmaskIpV4, iAddress);
}
void PORTDataWriter::SetIpV4Gateway(const std::string& iAddress) {
    SetAddress(mPortData.portGatewayIpV4, iAddress);
}

// ---- Fault domains ----------------------------------------------------------------------

size_t FAULTDomainDataRawConverter::GetPackedSizeBytes() const {
    return kRecordBytes + ChildrenPackedSize(mPorts);
}

void FAULTDomainDataRawConverter::Convert(RAWStream& ioStream) {
    m_RAW_CONVERTER(ioStream, mFaultDomainData.id);
    m_RAW_CONVERTER_ARRAY(ioStream, mFaultDomainData.faultDomainIpV4);
    m_RAW_CONVERTER_ARRAY(ioStream, mFaultDomainData.faultDomainNetmaskIpV4);
    m_RAW_CONVERTER_ARRAY(ioStream, mFaultDomainData.faultDomainGatewayIpV4);
    m_RAW_CONVERTER(ioStream, mFaultDomainData.numberOfPorts);
    m_RAW_CONVERTER(ioStream, mFaultDomainData.transportType);
    m_RAW_CONVERTER(ioStream, mFaultDomainData.embedded);
}

bool FAULTDomainDataReader::UnpackData(RAWStream& ioStream) {
    Convert(ioStream);
    return UnpackChildren<PORTDataReader>(ioStream, mFaultDomainData.numberOfPorts, mPorts);
}

PORTDataReader* FAULTDomainDataReader::GetPort(unsigned char iIndex) const {
    return ChildAt<PORTDataReader>(mPorts, iIndex);
}

std::string FAULTDomainDataReader::GetIpV4() const {
    return AddressText(mFaultDomainData.faultDomainIpV4);
}
std::string FAULTDomainDataReader::GetIpV4Netmask() const {
    return AddressText(mFaultDomainData.faultDomainNetmaskIpV4);
}
std::string FAULTDomainDataReader::GetIpV4Gateway() const {
    return AddressText(mFaultDomainData.faultDomainGatewayIpV4);
}

void FAULTDomainDataWriter::PackData(RAWStream& ioStream) {
    mFaultDomainData.numberOfPorts = CountByte(mPorts.size());
    Convert(ioStream);
    PackChildren(ioStream, mPorts);
}

void FAULTDomainDataWriter::AddPort(PORTDataWriter* iPort) {
    AddPort(std::unique_ptr<PORTDataWriter>(iPort));
}

void FAULTDomainDataWriter::AddPort(std::unique_ptr<PORTDataWriter> iPort) {
    if (iPort)
        mPorts.push_back(std::move(iPort));
}

void FAULTDomainDataWriter::SetIpV4(const std::string& iAddress) {
    SetAddress(mFaultDomainData.faultDomainIpV4, iAddress);
}
void FAULTDomainDataWriter::SetIpV4Netmask(const std::string& iAddress) {
    SetAddress(mFaultDomainData.faultDomainNetmaskIpV4, iAddress);
}
void FAULTDomainDataWriter::SetIpV4Gateway(const std::string& iAddress) {
    SetAddress(mFaultDomainData.faultDomainGatewayIpV4, iAddress);
}

// ---- Controllers ------------------------------------------------------------------------

size_t CONTROLLERPortDataRawConverter::GetPackedSizeBytes() const {
    return kRecordBytes + ChildrenPackedSize(mFaultDomainData);
}

void CONTROLLERPortDataRawConverter::Convert(RAWStream& ioStream) {
    m_RAW_CONVERTER(ioStream, mControllerPortData.numberOfFaultDomains);
}

bool CONTROLLERPortDataReader::UnpackData(RAWStream& ioStream) {
    Convert(ioStream);
    return UnpackChildren<FAULTDomainDataReader>(ioStream, mControllerPortData.numberOfFaultDomains,
                                                 mFaultDomainData);
}

FAULTDomainDataReader* CONTROLLERPortDataReader::GetFaultDomain(unsigned char iIndex) const {
    return ChildAt<FAULTDomainDataReader>(mFaultDomainData, iIndex);
}

void CONTROLLERPortDataWriter::PackData(RAWStream& ioStream) {
    mControllerPortData.numberOfFaultDomains = CountByte(mFaultDomainData.size());
    Convert(ioStream);
    PackChildren(ioStream, mFaultDomainData);
}

void CONTROLLERPortDataWriter::AddFaultDomain(FAULTDomainDataWriter* iFaultDomain) {
    AddFaultDomain(std::unique_ptr<FAULTDomainDataWriter>(iFaultDomain));
}

void CONTROLLERPortDataWriter::AddFaultDomain(std::unique_ptr<FAULTDomainDataWriter> iFaultDomain) {
    if (iFaultDomain)
        mFaultDomainData.push_back(std::move(iFaultDomain));
}

// ---- Storage cell -----------------------------------------------------------------------

size_t SCPortConfigDataRawConverter::GetPackedSizeBytes() const {
    return kRecordBytes + ChildrenPackedSize(mControllerPortData);
}

void SCPortConfigDataRawConverter::Convert(RAWStream& ioStream) {
    m_RAW_CONVERTER(ioStream, mScPortData.numberOfControllers);
}

bool SCPortConfigDataReader::UnpackData(RAWStream& ioStream) {
    Convert(ioStream);
    return UnpackChildren<CONTROLLERPortDataReader>(ioStream, mScPortData.numberOfControllers,
                                                    mControllerPortData);
}

CONTROLLERPortDataReader* SCPortConfigDataReader::GetController(unsigned char iIndex) const {
    return ChildAt<CONTROLLERPortDataReader>(mControllerPortData, iIndex);
}

void SCPortConfigDataWriter::PackData(RAWStream& ioStream) {
    mScPortData.numberOfControllers = CountByte(mControllerPortData.size());
    Convert(ioStream);
    PackChildren(ioStream, mControllerPortData);
}

void SCPortConfigDataWriter::AddController(CONTROLLERPortDataWriter* iController) {
    AddController(std::unique_ptr<CONTROLLERPortDataWriter>(iController));
}

void SCPortConfigDataWriter::AddController(std::unique_ptr<CONTROLLERPortDataWriter> iController) {
    if (iController)
        mControllerPortData.push_back(std::move(iController));
}

// ---- Configuration steps ----------------------------------------------------------------

size_t CONFIGURATIONStepRawConverter::GetPackedSizeBytes() const {
    return kCountBytes + kStepBytes * mConfigSteps.size();
}

void CONFIGURATIONStepRawConverter::Convert(RAWStream& ioStream) {
    m_RAW_CONVERTER(ioStream, mNumberOfSteps);
    if (ioStream.Packing()) {
        for (auto& step : mConfigSteps) {
            m_RAW_CONVERTER(ioStream, step.configurationStepId);
            m_RAW_CONVERTER(ioStream, step.configurationStepStatus);
        }
        return;
    }
    uint32_t kept = 0;
    for (uint32_t i = 0; i < mNumberOfSteps && ioStream.ok(); ++i) {
        RAWConfigurationStep step;
        m_RAW_CONVERTER(ioStream, step.configurationStepId);
        m_RAW_CONVERTER(ioStream, step.configurationStepStatus);
        if (!ioStream.ok())
            break;
        mConfigSteps.push_back(step);
        ++kept;
    }
    mNumberOfSteps = kept;
}

bool CONFIGURATIONStepReader::UnpackData(RAWStream& ioStream) {
    Convert(ioStream);
    return ioStream.ok();
}

const RAWConfigurationStep& CONFIGURATIONStepReader::GetStep(signed char iIndex) const {
    return RecordAt(mConfigSteps, iIndex);
}

void CONFIGURATIONStepWriter::PackData(RAWStream& ioStream) {
    mNumberOfSteps = static_cast<uint32_t>(mConfigSteps.size());
    Convert(ioStream);
}

void CONFIGURATIONStepWriter::AddStep(int8_t iStepId, int8_t iStepStatus) {
    RAWConfigurationStep step;
    step.configurationStepId = iStepId;
    step.configurationStepStatus = iStepStatus;
    mConfigSteps.push_back(step);
}

// ---- Disks ------------------------------------------------------------------------------

size_t DISKConfigRawConverter::GetPackedSizeBytes() const {
    return kCountBytes + kDiskBytes * mDisks.size();
}

void DISKConfigRawConverter::Convert(RAWStream& ioStream) {
    m_RAW_CONVERTER(ioStream, mNumberOfDisks);
    if (ioStream.Packing()) {
        for (auto& disk : mDisks) {
            m_RAW_CONVERTER(ioStream, disk.enclosureIndex);
            m_RAW_CONVERTER(ioStream, disk.enclosurePosition);
            m_RAW_CONVERTER(ioStream, disk.diskStatus);
        }
        return;
    }
    uint64_t kept = 0;
    for (uint64_t i = 0; i < mNumberOfDisks && ioStream.ok(); ++i) {
        RAWDiskData disk;
        m_RAW_CONVERTER(ioStream, disk.enclosureIndex);
        m_RAW_CONVERTER(ioStream, disk.enclosurePosition);
        m_RAW_CONVERTER(ioStream, disk.diskStatus);
        if (!ioStream.ok())
            break;
        mDisks.push_back(disk);
        ++kept;
    }
    mNumberOfDisks = kept;
}

bool DISKConfigDataReader::UnpackData(RAWStream& ioStream) {
    Convert(ioStream);
    return ioStream.ok();
}

const RAWDiskData& DISKConfigDataReader::GetDisk(signed char iIndex) const {
    return RecordAt(mDisks, iIndex);
}

void DISKConfigDataWriter::PackData(RAWStream& ioStream) {
    mNumberOfDisks = mDisks.size();
    Convert(ioStream);
}

void DISKConfigDataWriter::AddDisk(const RAWDiskData& iDisk) {
    mDisks.push_back(iDisk);
}

size_t DISKConfigExtra1RawConverter::GetPackedSizeBytes() const {
    size_t size = kCountBytes;
    for (const auto& disk : mDisks)
        size += rawStringLength(disk.diskclass) + rawStringLength(disk.product) +
                rawStringLength(disk.revision) + kFixedDiskBytes;
    return size;
}

void DISKConfigExtra1RawConverter::Convert(RAWStream& ioStream) {
    m_RAW_CONVERTER(ioStream, mNumberOfDisks);
    if (ioStream.Packing()) {
        for (auto& disk : mDisks) {
            rawConverterString(ioStream, disk.diskclass);
            rawConverterString(ioStream, disk.product);
            rawConverterString(ioStream, disk.revision);
            m_RAW_CONVERTER(ioStream, disk.disksize);
            m_RAW_CONVERTER(ioStream, disk.healthy);
        }
        return;
    }
    uint64_t kept = 0;
    for (uint64_t i = 0; i < mNumberOfDisks && ioStream.ok(); ++i) {
        RAWDiskDataExtra1 disk;
        rawConverterString(ioStream, disk.diskclass);
        rawConverterString(ioStream, disk.product);
        rawConverterString(ioStream, disk.revision);
        m_RAW_CONVERTER(ioStream, disk.disksize);
        m_RAW_CONVERTER(ioStream, disk.healthy);
        if (!ioStream.ok())
            break;
        mDisks.push_back(std::move(disk));
        ++kept;
    }
    mNumberOfDisks = kept;
}

bool DISKConfigExtra1DataReader::UnpackData(RAWStream& ioStream) {
    Convert(ioStream);
    return ioStream.ok();
}

const RAWDiskDataExtra1& DISKConfigExtra1DataReader::GetDisk(signed char iIndex) const {
    return RecordAt(mDisks, iIndex);
}

void DISKConfigExtra1DataWriter::PackData(RAWStream& ioStream) {
    mNumberOfDisks = mDisks.size();
    Convert(ioStream);
}

void DISKConfigExtra1DataWriter::AddDisk(const RAWDiskDataExtra1& iDisk) {
    mDisks.push_back(iDisk);
}

// ---- Controller-info blocks -------------------------------------------------------------

ControllerInfo::ControllerInfo(uint16_t iLength) : mControllerTlv(iLength) {}

namespace {

// Bytes of a block that are really there: a received total length may promise more.
size_t BlockBytes(const SETUPTlv& iBlock) {
    if (!iBlock.getTlvBuffer())
        return 0;
    return std::min<size_t>(iBlock.getTlvBytesUsed(), iBlock.getTlvAllocatedSize());
}

}  // namespace

size_t ControllerInfoRawConverter::GetPackedSizeBytes() const {
    size_t size = kCountBytes;
    for (const auto& controller : mControllers)
        size += BlockBytes(controller->mControllerTlv);
    return size;
}

void ControllerInfoRawConverter::Convert(RAWStream& ioStream) {
    m_RAW_CONVERTER(ioStream, mNumberOfControllers);
    if (ioStream.Packing()) {
        for (auto& controller : mControllers) {
            const SETUPTlv& block = controller->mControllerTlv;
            ioStream.PutBytes(block.getTlvBuffer(), BlockBytes(block));
        }
        return;
    }
    uint32_t kept = 0;
    for (uint32_t i = 0; i < mNumberOfControllers && ioStream.ok(); ++i) {
        // The block's length counts its own two bytes; check it fits before allocating.
        if (ioStream.Remaining() < 2) {
            ioStream.Fail();
            break;
        }
        size_t length = GetBE16(ioStream.Position());
        if (length < 2 || length > ioStream.Remaining()) {
            ioStream.Fail();
            break;
        }
        auto controller = std::make_unique<ControllerInfo>(static_cast<uint16_t>(length));
        controller->mControllerTlv.appendTlvDataFromMessage(ioStream.Position(),
                                                            static_cast<uint16_t>(length));
        ioStream.Skip(length);
        mControllers.push_back(std::move(controller));
        ++kept;
    }
    mNumberOfControllers = kept;
}

bool ControllerInfoDataReader::UnpackData(RAWStream& ioStream) {
    Convert(ioStream);
    return ioStream.ok();
}

ControllerInfo* ControllerInfoDataReader::GetController(signed char iIndex) const {
    if (iIndex < 0 || static_cast<size_t>(iIndex) >= mControllers.size())
        return nullptr;
    return mControllers[static_cast<size_t>(iIndex)].get();
}

void ControllerInfoDataWriter::PackData(RAWStream& ioStream) {
    mNumberOfControllers = static_cast<uint32_t>(mControllers.size());
    Convert(ioStream);
}

void ControllerInfoDataWriter::AddController(const SETUPTlv& iBlock) {
    size_t bytes = BlockBytes(iBlock);
    auto controller =
        std::make_unique<ControllerInfo>(static_cast<uint16_t>(std::max<size_t>(bytes, 2)));
    if (bytes >= 2)
        controller->mControllerTlv.appendTlvDataFromMessage(iBlock.getTlvBuffer(),
                                                            static_cast<uint16_t>(bytes));
    mControllers.push_back(std::move(controller));
}

// ---- TLVObject --------------------------------------------------------------------------

TLVObject::TLVObject(SETUPTlvIterator& iIterator, tlvobjecttype iType)
    : mIsValid(iIterator.getType() != SETUPTlv::NO_MORE_ENTRIES),
      mId(iIterator.getType()),
      mType(iType) {}

TLVObject::TLVObject(uint8_t iId, tlvobjecttype iType) : mIsValid(true), mId(iId), mType(iType) {}

uint32_t TLVObject::IpStringToBytes(const std::string& iText) {
    in_addr address{};
    if (inet_pton(AF_INET, iText.c_str(), &address) != 1)
        return 0;
    return address.s_addr;
}

std::string TLVObject::BytesToIpString(uint32_t iAddress) {
    in_addr address{};
    address.s_addr = iAddress;
    char text[16] = {};
    if (!inet_ntop(AF_INET, &address, text, sizeof(text)))
        return std::string();
    return std::string(text);
}

void ToMap(std::map<uint8_t, TLVObject*>& ioMap, TLVObject* iObject) {
    if (iObject)
        ioMap[iObject->GetTlvId()] = iObject;
}
