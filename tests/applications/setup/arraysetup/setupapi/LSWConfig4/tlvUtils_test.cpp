// Packed records inside TLV values: byte layouts, the port tree's reserved slack, signed
// counts, and readers that never leave the entry they are given.
#include "LSWConfig4/tlvUtils.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "ExchangeFrames.h"
#include "LSWConfig4/setupMessage.h"
#include "support/Fields.h"

namespace {

using xchg::Bytes;
using xchg::ToBytes;

// Exchanges hold readers as members and hand them on.
static_assert(std::is_move_constructible<SCPortConfigDataReader>::value, "movable reader");
static_assert(!std::is_copy_constructible<SCPortConfigDataReader>::value, "owning reader");

// The single entry of a block, header included.
Bytes EntryOf(const SETUPTlv& iTlv) {
    const unsigned char* start = reinterpret_cast<const unsigned char*>(iTlv.getTlvBuffer());
    return Bytes(start + 2, start + iTlv.getTlvBytesUsed());
}

// Reads from a heap copy of exactly iLength bytes, so that a read past it is a fault the
// sanitizer build reports.
template <class Reader>
bool UnpackExact(Reader& ioReader, const Bytes& iValue, size_t iLength) {
    std::vector<char> copy(iValue.begin(), iValue.begin() + iLength);
    return ioReader.UnpackData(copy.empty() ? nullptr : copy.data(), copy.size());
}

std::string PortFields(const PORTDataReader& p) {
    return Fields(p.GetSlotNumber(), p.GetIpV4(), p.GetIpV4Netmask(), p.GetIpV4Gateway(),
                  p.GetTransportType(), p.GetPortLocation(), p.GetSlotPortNumber(),
                  p.GetConfigured(), p.GetEmbedded(), p.GetNetwork(), p.GetStatus(),
                  p.GetControllerIndex(), p.GetCardModel());
}

PORTDataWriter* MakePort(int8_t iSlot, const char* iIp, const char* iGateway, int8_t iLocation,
                         int8_t iSlotPort, bool iConfigured, bool iEmbedded, int8_t iNetwork,
                         int8_t iStatus, int64_t iControllerIndex, int8_t iCardModel) {
    auto* port = new PORTDataWriter;
    port->SetSlotNumber(iSlot), port->SetIpV4(iIp), port->SetIpV4Netmask("255.255.255.0");
    port->SetIpV4Gateway(iGateway), port->SetTransportType(3), port->SetPortLocation(iLocation);
    port->SetSlotPortNumber(iSlotPort), port->SetConfigured(iConfigured);
    port->SetEmbedded(iEmbedded), port->SetNetwork(iNetwork), port->SetStatus(iStatus);
    port->SetControllerIndex(iControllerIndex), port->SetCardModel(iCardModel);
    return port;
}

// One controller, one fault domain, two ports.
std::unique_ptr<SCPortConfigDataWriter> MakeTree() {
    auto* domain = new FAULTDomainDataWriter;
    domain->SetId(2), domain->SetIpV4("192.168.10.1"), domain->SetIpV4Netmask("255.255.255.0");
    domain->SetIpV4Gateway("192.168.10.254"), domain->SetTransportType(3);
    domain->SetEmbedded(true);
    domain->AddPort(MakePort(4, "192.168.10.11", "192.168.10.254", 5, 6, true, false, 7, 8,
                             0x0102030405060708LL, 9));
    // A gateway that is no address travels as 0.0.0.0.
    domain->AddPort(
        MakePort(10, "192.168.10.12", "not-an-address", 11, 12, false, true, 13, -1, -2, 14));
    auto* controller = new CONTROLLERPortDataWriter;
    controller->AddFaultDomain(domain);
    auto tree = std::make_unique<SCPortConfigDataWriter>();
    tree->AddController(controller);
    return tree;
}

const Bytes kTreeValue = xchg::Hex(
    "01 01"                                             // controllers, fault domains
    " 02 C0 A8 0A 01 FF FF FF 00 C0 A8 0A FE 02 03 01"  // domain: id .. ports, transport, embedded
    " 04 C0 A8 0A 0B FF FF FF 00 C0 A8 0A FE 03 05 06 01 00 07 08"  // port 1: slot .. status
    " 08 07 06 05 04 03 02 01 09"  // controller index, little-endian; card model
    " 0A C0 A8 0A 0C FF FF FF 00 00 00 00 00 03 0B 0C 00 01 0D FF"  // port 2: no gateway, status -1
    " FE FF FF FF FF FF FF FF 0E"                                   // controller index -2
    " 00 00 00 00 00 00");                                          // 3 bytes of slack a port

TEST(PortConfigRecord, OneControllerOneDomainTwoPortsIsTheTableLayout) {
    ASSERT_EQ(kTreeValue.size(), 82u);
    auto tree = MakeTree();
    EXPECT_EQ(tree->GetPackedSizeBytes(), 82u);

    SETUPTlv tlv(CHOOSE_TLV_SIZE_BY_VERSION(MESSAGE_VERSION_4));
    tree->AddToTLV(tlv, 31);
    Bytes entry = {0x1F, 0x00, 0x52};
    entry.insert(entry.end(), kTreeValue.begin(), kTreeValue.end());
    EXPECT_EQ(EntryOf(tlv), entry);
    EXPECT_EQ(tlv.getTlvBytesUsed(), 2 + 3 + 82);

    // Read back through the iterator, as a Hello response is parsed.
    SETUPTlvIterator it(tlv);
    ASSERT_EQ(it.getType(), 31);
    SCPortConfigDataReader reader;
    EXPECT_TRUE(reader.UnpackData(it.getValue(), it.getLen()));
    ASSERT_EQ(reader.GetNumberOfControllers(), 1);
    CONTROLLERPortDataReader* controller = reader.GetController(0);
    ASSERT_NE(controller, nullptr);
    ASSERT_EQ(controller->GetNumberOfFaultDomains(), 1);
    FAULTDomainDataReader* domain = controller->GetFaultDomain(0);
    ASSERT_NE(domain, nullptr);
    EXPECT_EQ(Fields(domain->GetId(), domain->GetIpV4(), domain->GetIpV4Netmask(),
                     domain->GetIpV4Gateway(), domain->GetTransportType(), domain->GetEmbedded(),
                     domain->GetNumberOfPorts()),
              "2|192.168.10.1|255.255.255.0|192.168.10.254|3|1|2");
    ASSERT_NE(domain->GetPort(1), nullptr);
    // Bytes are signed; a gateway that is no address reads 0.0.0.0.
    EXPECT_EQ(PortFields(*domain->GetPort(0)),
              "4|192.168.10.11|255.255.255.0|192.168.10.254|3|5|6|1|0|7|8|72623859790382856|9");
    EXPECT_EQ(PortFields(*domain->GetPort(1)),
              "10|192.168.10.12|255.255.255.0|0.0.0.0|3|11|12|0|1|13|-1|-2|14");

    // Indexes past the lists answer null.
    EXPECT_EQ(Fields(domain->GetPort(2) == nullptr, domain->GetPort(255) == nullptr,
                     controller->GetFaultDomain(1) == nullptr, reader.GetController(1) == nullptr),
              "1|1|1|1");

    // A repeated entry adds to the reader; the count is that of the last value.
    EXPECT_TRUE(reader.UnpackData(it.getValue(), it.getLen()));
    EXPECT_EQ(Fields(reader.GetNumberOfControllers(), reader.GetController(1) != nullptr), "1|1");
}

TEST(PortConfigRecord, CountsOf128AndMoreReadNoChildren) {
    // A domain whose port count is 0x80, followed by a whole port it must not read.
    Bytes value = {0x01, 0x01, 0x07, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0x80, 0x01, 0x00};
    value.insert(value.end(), kTreeValue.begin() + 18, kTreeValue.begin() + 47);
    SCPortConfigDataReader reader;
    EXPECT_TRUE(UnpackExact(reader, value, value.size()));
    FAULTDomainDataReader* domain = reader.GetController(0)->GetFaultDomain(0);
    ASSERT_NE(domain, nullptr);
    EXPECT_EQ(Fields(domain->GetId(), domain->GetNumberOfPorts(), domain->GetPort(0) == nullptr),
              "7|-128|1");

    for (unsigned char count : {0x80, 0xC8, 0xFF}) {
        SCPortConfigDataReader top;
        Bytes topValue = {count, 0x01, 0x00};
        EXPECT_TRUE(UnpackExact(top, topValue, topValue.size()));
        EXPECT_EQ(top.GetController(0), nullptr) << int(count);
    }

    // A writer's count keeps only the low byte while every port is still packed: 130 ports
    // announce -126 and the reader takes none; 257 announce 1 and it takes one.
    for (int ports : {130, 257}) {
        FAULTDomainDataWriter writer;
        for (int i = 0; i < ports; ++i) {
            auto port = std::make_unique<PORTDataWriter>();
            port->SetSlotNumber(static_cast<int8_t>(i));
            writer.AddPort(std::move(port));
        }
        std::vector<char> packed = writer.Pack();
        ASSERT_EQ(packed.size(), 16u + 32u * ports);
        EXPECT_EQ(static_cast<unsigned char>(packed[13]), ports & 0xFF);
        FAULTDomainDataReader back;
        EXPECT_TRUE(back.UnpackData(packed.data(), packed.size()));
        EXPECT_EQ(Fields(back.GetPort(0) != nullptr, back.GetPort(1) != nullptr),
                  Fields(ports == 257, false));
    }
}

TEST(PortConfigRecord, ShortEntriesReadNothingPastTheEntry) {
    // Every cut of the 76 bytes of data drops the controller whose tree no longer fits.
    for (size_t length = 0; length < 76; ++length) {
        SCPortConfigDataReader reader;
        EXPECT_FALSE(UnpackExact(reader, kTreeValue, length)) << length;
        EXPECT_EQ(Fields(reader.GetNumberOfControllers(), reader.GetController(0) == nullptr),
                  "0|1")
            << length;
    }
    // A count that promises more than the entry holds keeps the whole records before it.
    Bytes value = kTreeValue;
    value[1] = 0x03;  // three fault domains, one present
    SCPortConfigDataReader reader;
    EXPECT_FALSE(UnpackExact(reader, value, 76));
    EXPECT_EQ(Fields(reader.GetNumberOfControllers(), reader.GetController(0) == nullptr), "0|1");
    CONTROLLERPortDataReader direct;
    EXPECT_FALSE(UnpackExact(direct, Bytes(value.begin() + 1, value.end()), 75));
    EXPECT_EQ(Fields(direct.GetNumberOfFaultDomains(), direct.GetFaultDomain(1) == nullptr), "1|1");
    FAULTDomainDataReader* kept = direct.GetFaultDomain(0);
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(kept->GetNumberOfPorts(), 2);

    // A domain cut inside its own record: the port count it did read promises nothing.
    FAULTDomainDataReader cutDomain;
    EXPECT_FALSE(UnpackExact(cutDomain, Bytes(kTreeValue.begin() + 2, kTreeValue.end()), 15));
    EXPECT_EQ(Fields(cutDomain.GetNumberOfPorts(), cutDomain.GetIpV4Gateway(),
                     cutDomain.GetPort(0) == nullptr),
              "0|192.168.10.254|1");

    // A lone port cut short reads zeros for the missing fields.
    PORTDataReader port;
    Bytes portBytes(kTreeValue.begin() + 18, kTreeValue.begin() + 47);
    EXPECT_FALSE(UnpackExact(port, portBytes, 20));
    EXPECT_EQ(Fields(port.GetIpV4(), port.GetControllerIndex(), port.GetCardModel()),
              "192.168.10.11|0|0");
}

TEST(ConfigurationStepRecord, StepsAreByteExactAndCountsCannotOverreach) {
    CONFIGURATIONStepWriter writer;
    writer.AddStep(1, 0), writer.AddStep(3, 1), writer.AddStep(7, 2);
    EXPECT_EQ(writer.GetPackedSizeBytes(), 10u);
    SETUPTlv tlv(CHOOSE_TLV_SIZE_BY_VERSION(MESSAGE_VERSION_5));
    writer.AddToTLV(tlv, 3);
    const Bytes entry = {0x03, 0x00, 0x0A, 0x03, 0x00, 0x00, 0x00,
                         0x01, 0x00, 0x03, 0x01, 0x07, 0x02};
    EXPECT_EQ(EntryOf(tlv), entry);

    CONFIGURATIONStepReader reader;
    SETUPTlvIterator it(tlv);
    EXPECT_TRUE(reader.UnpackData(it.getValue(), it.getLen()));
    // Blank past the end, either way.
    EXPECT_EQ(
        Fields(reader.GetNumberOfSteps(), reader.GetStep(1).configurationStepId,
               reader.GetStep(1).configurationStepStatus, reader.GetStep(2).configurationStepId,
               reader.GetStep(3).configurationStepId, reader.GetStep(-1).configurationStepId),
        "3|3|1|7|0|0");

    // The reader appends; the count is that of the last value.
    const Bytes one = {0x01, 0x00, 0x00, 0x00, 0x0B, 0x03};
    EXPECT_TRUE(UnpackExact(reader, one, one.size()));
    EXPECT_EQ(Fields(reader.GetNumberOfSteps(), reader.GetSteps().size(),
                     reader.GetStep(3).configurationStepId),
              "1|4|11");

    // Five promised, two in the entry: the bytes behind the entry would make five and are
    // not read.
    const Bytes lying = {0x05, 0x00, 0x00, 0x00, 0x01, 0x00, 0x02,
                         0x00, 0x03, 0x00, 0x04, 0x00, 0x05, 0x00};
    CONFIGURATIONStepReader shortReader;
    EXPECT_FALSE(UnpackExact(shortReader, lying, 8));
    EXPECT_EQ(Fields(shortReader.GetNumberOfSteps(), shortReader.GetStep(1).configurationStepId,
                     shortReader.GetStep(2).configurationStepId),
              "2|2|0");
    // A count of 2^32 - 1 and an odd byte: one step, then the end.
    const Bytes huge = {0xFF, 0xFF, 0xFF, 0xFF, 0x09, 0x00, 0x0A};
    CONFIGURATIONStepReader hugeReader;
    EXPECT_FALSE(UnpackExact(hugeReader, huge, huge.size()));
    EXPECT_EQ(hugeReader.GetNumberOfSteps(), 1u);
    // No count at all.
    CONFIGURATIONStepReader empty;
    EXPECT_FALSE(UnpackExact(empty, huge, 3));
    EXPECT_EQ(empty.GetNumberOfSteps(), 0u);
}

TEST(DiskRecord, DiskListIsByteExactAndBounded) {
    DISKConfigDataWriter writer;
    writer.AddDisk({1, 5, 0});
    writer.AddDisk({2, 300, -1});
    const Bytes expected = {0x02, 0,    0,    0,    0,    0,    0,    0,      // count
                            0x01, 0,    0,    0,    0,    0,    0,    0,      // enclosure index
                            0x05, 0,    0,    0,    0,    0,    0,    0,      // enclosure position
                            0x00, 0,    0,    0,    0,    0,    0,    0,      // status
                            0x02, 0,    0,    0,    0,    0,    0,    0,      //
                            0x2C, 0x01, 0,    0,    0,    0,    0,    0,      // 300
                            0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};  // -1
    EXPECT_EQ(writer.GetPackedSizeBytes(), 56u);
    EXPECT_EQ(ToBytes(writer.Pack()), expected);

    DISKConfigDataReader reader;
    EXPECT_TRUE(UnpackExact(reader, expected, expected.size()));
    EXPECT_EQ(Fields(reader.GetNumberOfDisks(), reader.GetDisk(1).enclosurePosition,
                     reader.GetDisk(1).diskStatus, reader.GetDisk(2).enclosureIndex),
              "2|300|-1|0");

    // A count of 2^63 over one and a half disks keeps one.
    Bytes lying = expected;
    lying[7] = 0x80;
    DISKConfigDataReader shortReader;
    EXPECT_FALSE(UnpackExact(shortReader, lying, 8 + 24 + 12));
    EXPECT_EQ(Fields(shortReader.GetNumberOfDisks(), shortReader.GetDisk(0).enclosurePosition,
                     shortReader.GetDisk(1).enclosurePosition),
              "1|5|0");
}

TEST(DiskRecord, ExtendedDiskListIsByteExactAndBounded) {
    EXPECT_EQ(rawStringLength(""), 2u);
    DISKConfigExtra1DataWriter none;
    EXPECT_EQ(none.GetPackedSizeBytes(), 8u);
    EXPECT_EQ(ToBytes(none.Pack()), Bytes(8, 0));

    DISKConfigExtra1DataWriter writer;
    RAWDiskDataExtra1 disk;
    disk.diskclass = "SSD", disk.product = "X1", disk.disksize = 0x1000000000LL, disk.healthy = 1;
    writer.AddDisk(disk);
    writer.AddDisk(RAWDiskDataExtra1{});  // three empty strings take 2 bytes each
    const Bytes expected = {0x02, 0,    0,    0,    0,    0, 0, 0,  // count
                            0x03, 0x00, 'S',  'S',  'D',            // class
                            0x02, 0x00, 'X',  '1',                  // product
                            0x00, 0x00,                             // revision, empty
                            0,    0,    0,    0,    0x10, 0, 0, 0,  // size
                            0x01,                                   // healthy
                            0x00, 0x00, 0x00, 0x00, 0x00,  // second disk: three empty strings
                            0x00, 0,    0,    0,    0,    0, 0, 0, 0,  // size, health
                            0x00};
    ASSERT_EQ(writer.GetPackedSizeBytes(), expected.size());
    EXPECT_EQ(ToBytes(writer.Pack()), expected);

    DISKConfigExtra1DataReader reader;
    EXPECT_TRUE(UnpackExact(reader, expected, expected.size()));
    const RAWDiskDataExtra1 d = reader.GetDisk(0);
    EXPECT_EQ(Fields(reader.GetNumberOfDisks(), d.diskclass, d.product, d.revision, d.disksize,
                     d.healthy, reader.GetDisk(1).product, reader.GetDisk(5).diskclass),
              "2|SSD|X1||68719476736|1||");

    // A string that claims more than the entry holds ends the list before that disk.
    for (size_t length = 8; length < expected.size(); ++length) {
        DISKConfigExtra1DataReader cut;
        EXPECT_FALSE(UnpackExact(cut, expected, length)) << length;
        EXPECT_EQ(cut.GetNumberOfDisks(), length < 28 ? 0u : 1u) << length;
    }
    Bytes lying = expected;
    lying[8] = 0xF4, lying[9] = 0x01;  // a class of 500 bytes
    DISKConfigExtra1DataReader liar;
    EXPECT_FALSE(UnpackExact(liar, lying, lying.size()));
    EXPECT_EQ(Fields(liar.GetNumberOfDisks(), liar.GetDisk(0).diskclass), "0|");

    // A text of 65536 bytes keeps all its bytes but loses its length's high bits, and such
    // a record is too long for an entry, so it is not pushed.
    DISKConfigExtra1DataWriter big;
    RAWDiskDataExtra1 wide;
    wide.diskclass.assign(65536, 'a');
    big.AddDisk(wide);
    std::vector<char> packed = big.Pack();
    ASSERT_EQ(packed.size(), 8u + 65538u + 2u + 2u + 9u);
    EXPECT_EQ(Fields(packed[8], packed[9]), "0|0");
    SETUPTlv tlv(MAX_TLV_DATA_SIZE);
    big.AddToTLV(tlv, 3);
    EXPECT_EQ(tlv.getTlvBytesUsed(), 2);
}

SETUPTlv MakeBlock(const std::string& iSerial, uint16_t iNode) {
    SETUPTlv block(MAX_TLV_DATA_SIZE);
    block.pushBackEntry(7, static_cast<uint16_t>(iSerial.size()), iSerial.data());
    char node[2];
    PutLE16(node, iNode);
    block.pushBackEntry(34, 2, node);
    return block;
}

TEST(ControllerInfoRecord, NestedBlocksRoundTrip) {
    SETUPTlv top = MakeBlock("SN-TOP", 1);
    SETUPTlv empty(MAX_TLV_DATA_SIZE);
    ControllerInfoDataWriter writer;
    writer.AddController(top);
    writer.AddController(empty);
    writer.AddController(MakeBlock("SN-BOTTOM-LONGER", 2));

    const Bytes expectedHead = {0x03, 0x00, 0x00, 0x00,  // three blocks
                                0x00, 0x10,              // 16 bytes in use
                                0x07, 0x00, 0x06, 'S',  'N',  '-', 'T', 'O', 'P',  //
                                0x22, 0x00, 0x02, 0x01, 0x00,                      // node 1
                                0x00, 0x02};                                       // empty block
    ASSERT_EQ(writer.GetPackedSizeBytes(), 4u + 16u + 2u + 26u);
    SETUPTlv hello(CHOOSE_TLV_SIZE_BY_VERSION(MESSAGE_VERSION_4));
    writer.AddToTLV(hello, 41);
    SETUPTlvIterator it(hello);
    ASSERT_EQ(it.getType(), 41);
    ASSERT_EQ(it.getLen(), 48);
    const unsigned char* value = reinterpret_cast<const unsigned char*>(it.getValue());
    EXPECT_EQ(Bytes(value, value + expectedHead.size()), expectedHead);

    ControllerInfoDataReader reader;
    EXPECT_TRUE(reader.UnpackData(it.getValue(), it.getLen()));
    ASSERT_EQ(reader.GetNumberOfControllers(), 3u);
    // The blocks' bytes are proven by packing them again below; the last one walked here.
    SETUPTlvIterator inner(reader.GetController(2)->mControllerTlv);
    ASSERT_EQ(inner.getType(), 7);
    EXPECT_EQ(std::string(inner.getValue(), inner.getLen()), "SN-BOTTOM-LONGER");
    ASSERT_TRUE(inner.next());
    EXPECT_EQ(inner.getType(), 34);
    EXPECT_FALSE(inner.next());
    EXPECT_EQ(Fields(reader.GetController(3) == nullptr, reader.GetController(-1) == nullptr),
              "1|1");

    // Packing what was read gives the same bytes again.
    ControllerInfoDataWriter again;
    for (signed char i = 0; i < 3; ++i)
        again.AddController(reader.GetController(i)->mControllerTlv);
    EXPECT_EQ(ToBytes(again.Pack()), Bytes(value, value + it.getLen()));
}

TEST(ControllerInfoRecord, LyingLengthsAndCountsStopAtTheEntry) {
    // Count 4, one good block, then a block that claims more than is left.
    Bytes value = {0x04, 0x00, 0x00, 0x00, 0x00, 0x05, 0x01,
                   0x00, 0x00, 0x00, 0x40, 0x01, 0x00, 0x00};
    ControllerInfoDataReader reader;
    EXPECT_FALSE(UnpackExact(reader, value, value.size()));
    ASSERT_EQ(Fields(reader.GetNumberOfControllers(), reader.GetController(1) == nullptr), "1|1");
    EXPECT_EQ(reader.GetController(0)->mControllerTlv.getTlvBytesUsed(), 5);

    // Blocks whose length cannot even hold itself end the list rather than loop on it.
    for (unsigned char length : {0x00, 0x01}) {
        Bytes zero = {0xFF, 0xFF, 0xFF, 0xFF, 0x00, length, 0x00, 0x02};
        ControllerInfoDataReader looping;
        EXPECT_FALSE(UnpackExact(looping, zero, zero.size()));
        EXPECT_EQ(looping.GetNumberOfControllers(), 0u);
    }
    // A length byte cut in half.
    Bytes half = {0x01, 0x00, 0x00, 0x00, 0x00};
    ControllerInfoDataReader cut;
    EXPECT_FALSE(UnpackExact(cut, half, half.size()));
    EXPECT_EQ(cut.GetNumberOfControllers(), 0u);
}

}  // namespace
