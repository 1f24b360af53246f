#ifndef LSWCONFIG4_TLVUTILS_H
#define LSWCONFIG4_TLVUTILS_H

// Packed records inside TLV values: the port configuration tree, the configuration steps,
// the disk lists and the controller-info blocks. Each record has one converter that moves
// its fields in either direction, with a reader and a writer on top.
//
// Integers inside a record are little-endian and addresses are four bytes in network
// order. Records are moved field by field with explicit byte helpers; no structure is ever
// laid over a buffer.
//
// Received values are hostile. Every reader is given the entry's value and its length and
// never reads past it:
//  - a record is kept only when it, and everything it counts, lies whole inside the entry;
//    the first record that does not fit ends the list, and what came before it stays;
//  - the count the reader then reports is the number of records it kept from that value,
//    so a caller that loops up to the count never meets a missing record;
//  - a reader's own fields that lie beyond the end of the value read as zero, and a count
//    in a record that was cut short is zero.
// Accessors that take an index answer a null pointer (nested readers, controller-info
// blocks) or a blank record (steps, disks) when the index is out of range.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "LSWConfig4/RAWStream.h"
#include "LSWConfig4/SetupTLV.h"

class RAWConverter {
public:
    explicit RAWConverter(conversionType iType) : mConversionType(iType) {}
    virtual ~RAWConverter() = default;
    // Owns its packed bytes and its children: moved, never copied.
    RAWConverter(const RAWConverter&) = delete;
    RAWConverter& operator=(const RAWConverter&) = delete;
    RAWConverter(RAWConverter&&) = default;
    RAWConverter& operator=(RAWConverter&&) = default;

    // Bytes that AddToTLV reserves for the entry.
    virtual size_t GetPackedSizeBytes() const = 0;
    // The record's own fields, in the stream's direction.
    virtual void Convert(RAWStream& ioStream) = 0;
    // Writers override it; a reader packs nothing.
    virtual void PackData(RAWStream& ioStream);
    // Readers override it; a writer reads nothing. True when the record and everything it
    // counts were read whole.
    virtual bool UnpackData(RAWStream& ioStream);

    // Reads one received value of iLength bytes. True when every counted record fitted.
    bool UnpackData(const char* iValue, size_t iLength);

    // Reserves GetPackedSizeBytes() zeroed bytes in mRawData, packs into them and pushes
    // them as entry iId. The entry is as long as the reservation, also where the record
    // moves fewer bytes. A record longer than an entry can hold is not pushed.
    void AddToTLV(SETUPTlv& ioTlv, unsigned int iId);
    // The bytes that AddToTLV would push.
    std::vector<char> Pack();

    const char* GetRawData() const { return mRawData.get(); }
    conversionType GetConversionType() const { return mConversionType; }

protected:
    struct FreeDeleter {
        void operator()(char* iPtr) const { free(iPtr); }
    };
    std::unique_ptr<char, FreeDeleter> mRawData;
    conversionType mConversionType;

private:
    size_t PackIntoRawData();
};

// ---- Port configuration tree ------------------------------------------------------------

// One front-end port: 29 bytes on the wire.
struct RAWPortData {
    int8_t slotNumber = 0;
    unsigned char portIpV4[4] = {};
    unsigned char portNetmaskIpV4[4] = {};
    unsigned char portGatewayIpV4[4] = {};
    int8_t transportType = 0;
    int8_t portLocation = 0;
    int8_t slotPortNumber = 0;
    int8_t isConfigured = 0;
    int8_t isEmbedded = 0;
    int8_t network = 0;
    int8_t status = 0;
    int64_t controllerIndex = 0;
    int8_t cardModel = 0;
};

// One fault domain: 16 bytes on the wire, followed by its ports.
struct RAWFaultDomainData {
    int8_t id = 0;
    unsigned char faultDomainIpV4[4] = {};
    unsigned char faultDomainNetmaskIpV4[4] = {};
    unsigned char faultDomainGatewayIpV4[4] = {};
    int8_t numberOfPorts = 0;
    int8_t transportType = 0;
    int8_t embedded = 0;
};

// One controller: its count of fault domains, which follow it.
struct RAWControllerPortData {
    int8_t numberOfFaultDomains = 0;
};

// The whole PORT_CONFIG_DATA value: its count of controllers, which follow it.
struct RAWScPortData {
    int8_t numberOfControllers = 0;
};

class PORTDataRawConverter : public RAWConverter {
public:
    // A port moves 29 bytes but reserves 32, the size the record has always had in memory;
    // the slack of every port gathers as zeros at the end of the entry.
    static constexpr size_t kMovedBytes = 29;
    static constexpr size_t kReservedBytes = 32;

    using RAWConverter::RAWConverter;
    size_t GetPackedSizeBytes() const override { return kReservedBytes; }
    void Convert(RAWStream& ioStream) override;

protected:
    RAWPortData mPortData;
};

class PORTDataReader : public PORTDataRawConverter {
public:
    PORTDataReader() : PORTDataRawConverter(ConversionType_Unpack) {}
    using RAWConverter::UnpackData;
    bool UnpackData(RAWStream& ioStream) override;

    std::string GetIpV4() const;
    std::string GetIpV4Netmask() const;
    std::string GetIpV4Gateway() const;
    int8_t GetSlotNumber() const { return mPortData.slotNumber; }
    int8_t GetTransportType() const { return mPortData.transportType; }
    bool GetConfigured() const { return mPortData.isConfigured != 0; }
    bool GetEmbedded() const { return mPortData.isEmbedded != 0; }
    int8_t GetSlotPortNumber() const { return mPortData.slotPortNumber; }
    int8_t GetNetwork() const { return mPortData.network; }
    int8_t GetStatus() const { return mPortData.status; }
    int8_t GetPortLocation() const { return mPortData.portLocation; }
    int8_t GetCardModel() const { return mPortData.cardModel; }
    int64_t GetControllerIndex() const { return mPortData.controllerIndex; }
};

class PORTDataWriter : public PORTDataRawConverter {
public:
    PORTDataWriter() : PORTDataRawConverter(ConversionType_Pack) {}
    void PackData(RAWStream& ioStream) override;

    // Text that is not an address is packed as 0.0.0.0.
    void SetIpV4(const std::string& iAddress);
    void SetIpV4Netmask(const std::string& iAddress);
    void SetIpV4Gateway(const std::string& iAddress);
    void SetSlotNumber(int8_t iValue) { mPortData.slotNumber = iValue; }
    void SetSlotPortNumber(int8_t iValue) { mPortData.slotPortNumber = iValue; }
    void SetStatus(int8_t iValue) { mPortData.status = iValue; }
    void SetTransportType(int8_t iValue) { mPortData.transportType = iValue; }
    void SetNetwork(int8_t iValue) { mPortData.network = iValue; }
    void SetConfigured(bool iValue) { mPortData.isConfigured = iValue ? 1 : 0; }
    void SetEmbedded(bool iValue) { mPortData.isEmbedded = iValue ? 1 : 0; }
    void SetPortLocation(int8_t iValue) { mPortData.portLocation = iValue; }
    void SetControllerIndex(int64_t iValue) { mPortData.controllerIndex = iValue; }
    void SetCardModel(int8_t iValue) { mPortData.cardModel = iValue; }
};

class FAULTDomainDataRawConverter : public RAWConverter {
public:
    static constexpr size_t kRecordBytes = 16;

    using RAWConverter::RAWConverter;
    size_t GetPackedSizeBytes() const override;
    void Convert(RAWStream& ioStream) override;
    // Compared as a signed byte, as the reader counts: 128 and more means none.
    int8_t GetNumberOfPorts() const { return mFaultDomainData.numberOfPorts; }

protected:
    std::vector<std::unique_ptr<PORTDataRawConverter>> mPorts;
    RAWFaultDomainData mFaultDomainData;
};

class FAULTDomainDataReader : public FAULTDomainDataRawConverter {
public:
    FAULTDomainDataReader() : FAULTDomainDataRawConverter(ConversionType_Unpack) {}
    using RAWConverter::UnpackData;
    bool UnpackData(RAWStream& ioStream) override;

    // Null when no port stands at that index.
    PORTDataReader* GetPort(unsigned char iIndex) const;
    std::string GetIpV4() const;
    std::string GetIpV4Netmask() const;
    std::string GetIpV4Gateway() const;
    int8_t GetTransportType() const { return mFaultDomainData.transportType; }
    bool GetEmbedded() const { return mFaultDomainData.embedded != 0; }
    int8_t GetId() const { return mFaultDomainData.id; }
};

class FAULTDomainDataWriter : public FAULTDomainDataRawConverter {
public:
    FAULTDomainDataWriter() : FAULTDomainDataRawConverter(ConversionType_Pack) {}
    void PackData(RAWStream& ioStream) override;

    // Takes ownership of the port; null is ignored.
    void AddPort(PORTDataWriter* iPort);
    void AddPort(std::unique_ptr<PORTDataWriter> iPort);
    void SetIpV4(const std::string& iAddress);
    void SetIpV4Netmask(const std::string& iAddress);
    void SetIpV4Gateway(const std::string& iAddress);
    void SetTransportType(int8_t iValue) { mFaultDomainData.transportType = iValue; }
    void SetEmbedded(bool iValue) { mFaultDomainData.embedded = iValue ? 1 : 0; }
    void SetId(int8_t iValue) { mFaultDomainData.id = iValue; }
    int8_t GetId() const { return mFaultDomainData.id; }
};

class CONTROLLERPortDataRawConverter : public RAWConverter {
public:
    static constexpr size_t kRecordBytes = 1;

    using RAWConverter::RAWConverter;
    size_t GetPackedSizeBytes() const override;
    void Convert(RAWStream& ioStream) override;
    int8_t GetNumberOfFaultDomains() const { return mControllerPortData.numberOfFaultDomains; }

protected:
    std::vector<std::unique_ptr<FAULTDomainDataRawConverter>> mFaultDomainData;
    RAWControllerPortData mControllerPortData;
};

class CONTROLLERPortDataReader : public CONTROLLERPortDataRawConverter {
public:
    CONTROLLERPortDataReader() : CONTROLLERPortDataRawConverter(ConversionType_Unpack) {}
    using RAWConverter::UnpackData;
    bool UnpackData(RAWStream& ioStream) override;

    // Null when no fault domain stands at that index.
    FAULTDomainDataReader* GetFaultDomain(unsigned char iIndex) const;
};

class CONTROLLERPortDataWriter : public CONTROLLERPortDataRawConverter {
public:
    CONTROLLERPortDataWriter() : CONTROLLERPortDataRawConverter(ConversionType_Pack) {}
    void PackData(RAWStream& ioStream) override;

    // Takes ownership of the fault domain; null is ignored.
    void AddFaultDomain(FAULTDomainDataWriter* iFaultDomain);
    void AddFaultDomain(std::unique_ptr<FAULTDomainDataWriter> iFaultDomain);
};

class SCPortConfigDataRawConverter : public RAWConverter {
public:
    static constexpr size_t kRecordBytes = 1;

    using RAWConverter::RAWConverter;
    size_t GetPackedSizeBytes() const override;
    void Convert(RAWStream& ioStream) override;
    int8_t GetNumberOfControllers() const { return mScPortData.numberOfControllers; }

protected:
    std::vector<std::unique_ptr<CONTROLLERPortDataRawConverter>> mControllerPortData;
    RAWScPortData mScPortData;
};

class SCPortConfigDataReader : public SCPortConfigDataRawConverter {
public:
    SCPortConfigDataReader() : SCPortConfigDataRawConverter(ConversionType_Unpack) {}
    using RAWConverter::UnpackData;
    bool UnpackData(RAWStream& ioStream) override;

    // Null when no controller stands at that index.
    CONTROLLERPortDataReader* GetController(unsigned char iIndex) const;
};

class SCPortConfigDataWriter : public SCPortConfigDataRawConverter {
public:
    SCPortConfigDataWriter() : SCPortConfigDataRawConverter(ConversionType_Pack) {}
    void PackData(RAWStream& ioStream) override;

    // Takes ownership of the controller; null is ignored.
    void AddController(CONTROLLERPortDataWriter* iController);
    void AddController(std::unique_ptr<CONTROLLERPortDataWriter> iController);
};

// ---- Configuration steps ----------------------------------------------------------------

struct RAWConfigurationStep {
    int8_t configurationStepId = 0;
    int8_t configurationStepStatus = 0;
};

// Four bytes of count, then two bytes a step.
class CONFIGURATIONStepRawConverter : public RAWConverter {
public:
    static constexpr size_t kCountBytes = 4;
    static constexpr size_t kStepBytes = 2;

    using RAWConverter::RAWConverter;
    size_t GetPackedSizeBytes() const override;
    void Convert(RAWStream& ioStream) override;

protected:
    std::vector<RAWConfigurationStep> mConfigSteps;
    uint32_t mNumberOfSteps = 0;
};

// Appends: a second value adds its steps behind the first ones, and the count is that of
// the last value. Use a fresh reader for each response.
class CONFIGURATIONStepReader : public CONFIGURATIONStepRawConverter {
public:
    CONFIGURATIONStepReader() : CONFIGURATIONStepRawConverter(ConversionType_Unpack) {}
    using RAWConverter::UnpackData;
    bool UnpackData(RAWStream& ioStream) override;

    uint32_t GetNumberOfSteps() const { return mNumberOfSteps; }
    // A blank step when no step stands at that index.
    const RAWConfigurationStep& GetStep(signed char iIndex) const;
    const std::vector<RAWConfigurationStep>& GetSteps() const { return mConfigSteps; }
};

class CONFIGURATIONStepWriter : public CONFIGURATIONStepRawConverter {
public:
    CONFIGURATIONStepWriter() : CONFIGURATIONStepRawConverter(ConversionType_Pack) {}
    void PackData(RAWStream& ioStream) override;

    void AddStep(int8_t iStepId, int8_t iStepStatus);
};

// ---- Disk lists -------------------------------------------------------------------------

struct RAWDiskData {
    int64_t enclosureIndex = 0;
    int64_t enclosurePosition = 0;
    int64_t diskStatus = 0;
};

// Eight bytes of count, then 24 bytes a disk.
class DISKConfigRawConverter : public RAWConverter {
public:
    static constexpr size_t kCountBytes = 8;
    static constexpr size_t kDiskBytes = 24;

    using RAWConverter::RAWConverter;
    size_t GetPackedSizeBytes() const override;
    void Convert(RAWStream& ioStream) override;

protected:
    std::vector<RAWDiskData> mDisks;
    uint64_t mNumberOfDisks = 0;
};

class DISKConfigDataReader : public DISKConfigRawConverter {
public:
    DISKConfigDataReader() : DISKConfigRawConverter(ConversionType_Unpack) {}
    using RAWConverter::UnpackData;
    bool UnpackData(RAWStream& ioStream) override;

    uint64_t GetNumberOfDisks() const { return mNumberOfDisks; }
    // A blank disk when no disk stands at that index.
    const RAWDiskData& GetDisk(signed char iIndex) const;
    const std::vector<RAWDiskData>& GetDisks() const { return mDisks; }
};

class DISKConfigDataWriter : public DISKConfigRawConverter {
public:
    DISKConfigDataWriter() : DISKConfigRawConverter(ConversionType_Pack) {}
    void PackData(RAWStream& ioStream) override;

    void AddDisk(const RAWDiskData& iDisk);
};

struct RAWDiskDataExtra1 {
    std::string diskclass;
    std::string product;
    std::string revision;
    int64_t disksize = 0;
    int8_t healthy = 0;
};

// Eight bytes of count, then for each disk three strings, eight bytes of size and one of
// health.
class DISKConfigExtra1RawConverter : public RAWConverter {
public:
    static constexpr size_t kCountBytes = 8;
    static constexpr size_t kFixedDiskBytes = 9;

    using RAWConverter::RAWConverter;
    size_t GetPackedSizeBytes() const override;
    void Convert(RAWStream& ioStream) override;

protected:
    std::vector<RAWDiskDataExtra1> mDisks;
    uint64_t mNumberOfDisks = 0;
};

class DISKConfigExtra1DataReader : public DISKConfigExtra1RawConverter {
public:
    DISKConfigExtra1DataReader() : DISKConfigExtra1RawConverter(ConversionType_Unpack) {}
    using RAWConverter::UnpackData;
    bool UnpackData(RAWStream& ioStream) override;

    uint64_t GetNumberOfDisks() const { return mNumberOfDisks; }
    // A blank disk when no disk stands at that index.
    const RAWDiskDataExtra1& GetDisk(signed char iIndex) const;
    const std::vector<RAWDiskDataExtra1>& GetDisks() const { return mDisks; }
};

class DISKConfigExtra1DataWriter : public DISKConfigExtra1RawConverter {
public:
    DISKConfigExtra1DataWriter() : DISKConfigExtra1RawConverter(ConversionType_Pack) {}
    void PackData(RAWStream& ioStream) override;

    void AddDisk(const RAWDiskDataExtra1& iDisk);
};

// ---- Controller-info blocks -------------------------------------------------------------

// One controller's TLV block, sized to the block's own length: a list of thousands of
// two-byte blocks must cost thousands of small buffers, not of whole message buffers. Not
// copyable: a copy keeps only the enforced capacity.
struct ControllerInfo {
    explicit ControllerInfo(uint16_t iLength);
    ControllerInfo(const ControllerInfo&) = delete;
    ControllerInfo& operator=(const ControllerInfo&) = delete;

    SETUPTlv mControllerTlv;
};

// Four bytes of count, then that many TLV blocks, each opening with its own big-endian
// total length.
class ControllerInfoRawConverter : public RAWConverter {
public:
    static constexpr size_t kCountBytes = 4;

    using RAWConverter::RAWConverter;
    size_t GetPackedSizeBytes() const override;
    void Convert(RAWStream& ioStream) override;

protected:
    std::vector<std::unique_ptr<ControllerInfo>> mControllers;
    uint32_t mNumberOfControllers = 0;
};

// A block shorter than its own two-byte length, or longer than what is left of the value,
// ends the list.
class ControllerInfoDataReader : public ControllerInfoRawConverter {
public:
    ControllerInfoDataReader() : ControllerInfoRawConverter(ConversionType_Unpack) {}
    using RAWConverter::UnpackData;
    bool UnpackData(RAWStream& ioStream) override;

    uint32_t GetNumberOfControllers() const { return mNumberOfControllers; }
    // Null when no block stands at that index.
    ControllerInfo* GetController(signed char iIndex) const;
};

class ControllerInfoDataWriter : public ControllerInfoRawConverter {
public:
    ControllerInfoDataWriter() : ControllerInfoRawConverter(ConversionType_Pack) {}
    void PackData(RAWStream& ioStream) override;

    // Copies the bytes in use of the block.
    void AddController(const SETUPTlv& iBlock);
};

// ---- Typed TLV values -------------------------------------------------------------------

enum tlvobjecttype {
    Type_Int = 0,
    Type_String = 1,
    Type_PackedIPv4 = 2,
    Type_Raw = 3,
    Type_DiskConfig = 4,
    Type_PortConfig = 5,
    Type_TLVConfigurationSteps = 6,
    Type_Int64 = 7,
    Type_Password = 8,
    Type_DiskConfigExtra1 = 9,
    Type_ControllerInfo = 10,
    Type_Int16 = 11,
};

class TLVObject {
public:
    // Valid when the iterator stands on an entry.
    TLVObject(SETUPTlvIterator& iIterator, tlvobjecttype iType);
    // A value to be written under iId.
    TLVObject(uint8_t iId, tlvobjecttype iType);
    virtual ~TLVObject() = default;

    virtual std::string GetPrintableValue() = 0;
    virtual size_t GetLength() = 0;
    virtual void AddToTLV(SETUPTlv& ioTlv) = 0;

    uint8_t GetTlvId() const { return mId; }
    tlvobjecttype GetType() const { return mType; }
    bool IsValid() const { return mIsValid; }

    // Dotted text to the address in network order; 0 when the text is not an address.
    static uint32_t IpStringToBytes(const std::string& iText);
    // Address in network order to dotted text; empty if it cannot be written.
    static std::string BytesToIpString(uint32_t iAddress);

protected:
    bool mIsValid;
    uint8_t mId;
    tlvobjecttype mType;
};

// Enters the value under its TLV id; a later value with the same id replaces the earlier.
void ToMap(std::map<uint8_t, TLVObject*>& ioMap, TLVObject* iObject);

#endif
