// The Wireshark dissector, read through tshark, against a capture that cellsim recorded in a
// test bed (scripts/netns-run) while the layer-2 road ran real exchanges with it: every
// exchange decodes by name with the values that crossed, a spoiled checksum is flagged, and
// frames cut short or spoiled at random decode without a Lua error.
#include <gtest/gtest.h>
#include <pcap/pcap.h>

#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "LSWConfig4/LSWConfigAPI.h"
#include "LSWConfig4/LSWConfigMgr.h"
#include "LSWConfig4/LSWConfigModel.h"
#include "support/CellsimProcess.h"
#include "support/NetnsPeer.h"

namespace {

using Arrays = std::vector<std::shared_ptr<IlswArray>>;

const char kCapture[] = DISSECTOR_CAPTURE;

// A pair whose primary speaks version 4 alone, a controller with 200 disks, one whose
// checksums are spoiled and one that sends its frames last first.
std::string Cell() {
    return "[cellsim]\ninterface = ctl0\n" +
           CellsimSection(
               "top", "02:d1:55:00:01:01", "DP-1", "DPAIR",
               "primary = true\ncanister = 1\nversions = 4\nmanagement_ip = 10.1.0.5\n"
               "eth0_ip = 10.1.0.11\neth0_netmask = 255.255.0.0\nsoftware_version = 7.1.2\n"
               "fault_domain = id=1 ip=10.10.1.0 netmask=255.255.255.0 gateway=10.10.1.1 "
               "transport=1\nport = fd=1 slot=1 slot_port=1 ip=10.10.1.11 "
               "netmask=255.255.255.0 gateway=10.10.1.1\n"
               "steps = SubmitLicense:InProgress SetUserPassword:ConfiguredNotRun\n"
               "steps = SubmitLicense:Complete SetUserPassword:Complete\n") +
           CellsimSection("bottom", "02:d1:55:00:01:02", "DP-2", "DPAIR",
                          "canister = 2\neth0_ip = 10.1.0.12\n") +
           CellsimSection("disks", "02:d1:55:00:02:01", "DD-1", "DDISK",
                          "primary = true\nversions = 5\ndisk_count = 200\nblink_status = 7\n"
                          "blink_follows_command = true\n") +
           CellsimSection("spoiled", "02:d1:55:00:03:01", "DS-1", "DSPOIL",
                          "primary = true\nversions = 5\ncorrupt_checksum = true\n") +
           CellsimSection(
               "reversed", "02:d1:55:00:04:01", "DR-1", "DREV",
               "primary = true\nversions = 5\ndisk_count = 100\nreverse_fragments = true\n");
}

// tshark with the dissector, two passes; its output and errors together.
std::string Tshark(const std::string& iCapture, const std::string& iArgs) {
    std::string out;
    EXPECT_EQ(0, RunCommand("tshark -n -2 -X lua_script:" DISSECTOR_SCRIPT " -r " + iCapture + " " +
                                iArgs + " 2>&1",
                            out))
        << out;
    EXPECT_TRUE(out.find("Lua Error") == std::string::npos &&
                out.find("Lua: Error") == std::string::npos)
        << out.substr(0, 4000);
    return out;
}

// One line per frame, the fields in the order asked: frame -> field -> value (occurrences
// joined by commas).
using Frames = std::vector<std::map<std::string, std::string>>;
Frames Fields(const std::string& iCapture, const std::vector<std::string>& iFields,
              const std::string& iFilter = "setupl2") {
    std::string args = "-Y '" + iFilter + "' -T fields -E occurrence=a -E aggregator=,";
    for (const auto& f : iFields)
        args += " -e " + f;
    std::istringstream in(Tshark(iCapture, args));
    Frames frames;
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("Running as user", 0) == 0)
            continue;
        std::map<std::string, std::string> row;
        std::istringstream cells(line);
        std::string cell;
        for (const auto& f : iFields) {
            std::getline(cells, cell, '\t');
            row[f] = cell;
        }
        frames.push_back(row);
    }
    return frames;
}

class DissectorNetns : public ::testing::Test {
protected:
    // One recorded run for the whole suite: a discovery, disks, blink, prejoin, a setup and
    // its status polls.
    static void SetUpTestSuite() {
        NetnsBed bed;
        std::string why;
        ASSERT_TRUE(NetnsBed::FromEnvironment(bed, why)) << why;
        remove(kCapture);
        CellsimProcess sim(CELLSIM_BINARY, bed.ctl, "ctl0", Cell(), false,
                           {"--pcap", kCapture, "--quiet"});
        ASSERT_TRUE(sim.WaitReady()) << sim.Stderr();

        Arrays arrays;
        std::string message;
        ASSERT_EQ(0, _GetArrays(arrays, 11, message, "", false, 3, "")) << message;
        // In service tag order; the spoiled controller's answers fail the checksum.
        std::string tags;
        for (const auto& a : arrays)
            tags += a->getArrayId() + " ";
        ASSERT_EQ(tags, "DDISK DPAIR DREV ");
        auto disks = std::dynamic_pointer_cast<IlswVesperController>(arrays[0]->getController(0));
        auto pair = arrays[1];
        auto reversed =
            std::dynamic_pointer_cast<IlswVesperController>(arrays[2]->getController(0));
        ASSERT_EQ(2u, pair->getControllerCount());
        for (auto c : {disks, reversed}) {
            std::vector<std::shared_ptr<IlswDiskInfo>> list;
            ASSERT_EQ(0, c->getDiskInfo(list).resultCode);
            ASSERT_EQ(c == disks ? 200u : 100u, list.size());
        }
        std::shared_ptr<IlswBlinkResponse> blink;
        ASSERT_EQ(0, disks->blinkController(1, blink).resultCode);
        ASSERT_EQ(0, pair->preJoin().resultCode);

        const char* eth0[] = {"10.20.0.11", "10.20.0.12"};
        for (unsigned i = 0; i < 2; ++i) {
            auto c = std::dynamic_pointer_cast<IlswVesperController>(pair->getController(i));
            c->setMgmtIp4Address("10.20.0.5");
            c->setEth0Ip4Address(eth0[i]);
            c->setEth0Ip4Netmask("255.255.255.0");
            c->setEth0Ip4Gateway("10.20.0.1");
            c->setPrimaryDns("10.20.0.53");
            c->setScName("Dissected Cell");
        }
        std::dynamic_pointer_cast<IlswVesperController>(pair->getController(0))
            ->setPassword("dissect me");
        ASSERT_EQ(0, pair->initialize().resultCode);
        std::shared_ptr<IlswConfigurationStatusResponse> status;
        for (int i = 0; i < 2; ++i)
            ASSERT_EQ(0, pair->getController(0)->getInitializeStatus(status).resultCode);
        ASSERT_EQ(0, sim.Stop());
    }
};

}  // namespace

// Each exchange by name, its values in the order and byte order the message uses.
TEST_F(DissectorNetns, EveryExchangeReadsByNameWithItsValues) {
    // Frames matching a filter, and what fields of each must read.
    const std::string top = "setupl2.opcode == 2 && eth.src == 02:d1:55:00:01:01";
    const std::vector<std::pair<std::string, std::map<std::string, std::string>>> cases = {
        {"setupl2.opcode == 1 && setupl2.version == 4", {{"setupl2.length", "1458"}}},
        {"setupl2.opcode == 1 && setupl2.version == 5", {{"setupl2.length", "34"}}},
        // Hello answers: IPv4 last octet first on the wire, shown as the address.
        {top,
         {{"setupl2.version", "4"},
          {"setupl2.hello_rsp.eth0_ipv4_address", "10.1.0.11"},
          {"setupl2.hello_rsp.ipv4_management_ip_address", "10.1.0.5"},
          {"setupl2.hello_rsp.eth0_ipv4_netmask", "255.255.0.0"},
          {"setupl2.hello_rsp.hardware_sn", "DP-1"},
          {"setupl2.hello_rsp.major_version", "7"},
          {"setupl2.port.ip", "10.10.1.11"},
          {"setupl2.fd.gateway", "10.10.1.1"}}},
        {"setupl2.opcode == 2 && eth.src == 02:d1:55:00:01:02 && setupl2.version == 5",
         {{"setupl2.hello_rsp.eth0_ipv4_address", "10.1.0.12"}}},
        // The setup request: network order; the password only as its length.
        {"setupl2.opcode == 5",
         {{"setupl2.setup_req.top_ctrl_eth0_ipv4_address", "10.20.0.11"},
          {"setupl2.setup_req.bottom_ctrl_eth0_ipv4_address", "10.20.0.12"},
          {"setupl2.setup_req.storagecell_name", "Dissected Cell"}}},
        {"setupl2.opcode == 6", {{"setupl2.setup_status", "0"}}},
        {"setupl2.opcode == 3", {{"setupl2.blink_req.blink_request_status", "1"}}},
        {"setupl2.opcode == 4",
         {{"setupl2.blink_rsp.blink_status", "7"}, {"setupl2.blink_rsp.blink_value", "1"}}},
        {"setupl2.opcode == 13", {{"setupl2.checksum", "0xfcf0a6c7"}}},
        // Every message but the spoiled controller's checks out; its own never do.
        {"setupl2.checksum.status && !(eth.src == 02:d1:55:00:03:01)",
         {{"setupl2.checksum.status", "1"}}},
        {"eth.src == 02:d1:55:00:03:01", {{"setupl2.checksum.status", "0"}}},
    };
    for (const auto& c : cases) {
        std::vector<std::string> names = {"frame.number"};
        for (const auto& field : c.second)
            names.push_back(field.first);
        Frames frames = Fields(kCapture, names, c.first);
        EXPECT_FALSE(frames.empty()) << c.first;
        for (const auto& f : frames)
            for (const auto& field : c.second)
                EXPECT_EQ(field.second, f.at(field.first))
                    << c.first << ", frame " << f.at("frame.number");
    }

    // Two discoveries of two Hellos, each written once though every controller's session
    // read it, and no Hello answer before its request.
    EXPECT_EQ(4u, Fields(kCapture, {"frame.number"}, "setupl2.opcode == 1").size());
    std::set<std::string> asked;
    for (const auto& f :
         Fields(kCapture, {"setupl2.opcode", "setupl2.version"}, "setupl2.opcode <= 2")) {
        if (f.at("setupl2.opcode") == "1")
            asked.insert(f.at("setupl2.version"));
        else
            EXPECT_TRUE(asked.count(f.at("setupl2.version"))) << "v" << f.at("setupl2.version");
    }

    // Names, as the tree shows them.
    std::string tree = Tshark(kCapture, "-V");
    for (const char* line :
         {"opcode: HELLO_RSP (2)", "opcode: PREJOIN_REQ (13)", "opcode: DISK_CONFIG_RSP (12)",
          "Step 1: ConfigStepSubmitLicense, StepStatusInProgress",
          "Step 2: ConfigStepSetUserPassword, StepStatusConfiguredNotRun",
          "Step 2: ConfigStepSetUserPassword, StepStatusComplete",
          "DEFAULT_USER_PASSWORD: 256 bytes, encrypted",
          "RSA_PUBLIC_KEY [truncated]: -----BEGIN RSA PUBLIC KEY-----\\nMII", "product: SIM-HDD-4T",
          "[Expert Info (Warning/Checksum): Bad checksum]"})
        EXPECT_NE(std::string::npos, tree.find(line)) << line;
    for (const char* never : {"Malformed", "Fragment out of place", "Unknown code"})
        EXPECT_EQ(std::string::npos, tree.find(never)) << never;
}

// The disk answer's frames name their place and the frame that completes them.
TEST_F(DissectorNetns, AMultiFrameAnswerComesTogetherInItsLastFrame) {
    struct Case {
        const char* sender;
        const char* disks;  // both lists
        bool reversed;      // the frames went out last first
    };
    for (const Case& c : {Case{"02:d1:55:00:02:01", "200,200", false},
                          Case{"02:d1:55:00:04:01", "100,100", true}}) {
        Frames frames = Fields(
            kCapture,
            {"frame.number", "setupl2.packets", "setupl2.packet_id", "setupl2.reassembled_in",
             "setupl2.fragment", "setupl2.disks.count", "setupl2.checksum.status"},
            std::string("setupl2.opcode == 12 && eth.src == ") + c.sender);
        ASSERT_GE(frames.size(), 3u) << c.sender;
        const auto& last = frames.back();
        std::vector<std::string> inIdOrder(frames.size());
        for (size_t i = 0; i < frames.size(); ++i) {
            const auto& f = frames[i];
            EXPECT_EQ(std::to_string(frames.size()), f.at("setupl2.packets"));
            EXPECT_EQ(std::to_string(c.reversed ? frames.size() - i : i + 1),
                      f.at("setupl2.packet_id"));
            EXPECT_EQ(last.at("frame.number"), f.at("setupl2.reassembled_in"));
            EXPECT_EQ(&f == &last ? c.disks : "", f.at("setupl2.disks.count"));
            inIdOrder[std::stoul(f.at("setupl2.packet_id")) - 1] = f.at("frame.number");
        }
        std::string fragments;
        for (const auto& n : inIdOrder)
            fragments += (fragments.empty() ? "" : ",") + n;
        EXPECT_EQ(fragments, last.at("setupl2.fragment")) << c.sender;
        EXPECT_EQ("1", last.at("setupl2.checksum.status")) << c.sender;
    }
}

// Every recorded frame cut short and spoiled at random, packed records of random bytes, and
// frames of others: no Lua error, and the filter takes exactly the protocol's frames.
TEST_F(DissectorNetns, HostileFramesDecodeWithoutALuaError) {
    char err[PCAP_ERRBUF_SIZE];
    std::unique_ptr<pcap_t, void (*)(pcap_t*)> in(pcap_open_offline(kCapture, err), pcap_close);
    ASSERT_TRUE(in) << err;
    const std::string hostile = std::string(kCapture) + ".hostile";
    std::unique_ptr<pcap_t, void (*)(pcap_t*)> dead(pcap_open_dead(DLT_EN10MB, 65535), pcap_close);
    std::unique_ptr<pcap_dumper_t, void (*)(pcap_dumper_t*)> out(
        pcap_dump_open(dead.get(), hostile.c_str()), pcap_dump_close);
    ASSERT_TRUE(out);
    auto dump = [&](std::vector<unsigned char> iFrame) {
        struct pcap_pkthdr h = {};
        h.caplen = h.len = static_cast<bpf_u_int32>(iFrame.size());
        pcap_dump(reinterpret_cast<u_char*>(out.get()), &h, iFrame.data());
    };
    std::mt19937 random(12);
    size_t ours = 0;
    struct pcap_pkthdr* h;
    const u_char* data;
    while (pcap_next_ex(in.get(), &h, &data) == 1) {
        std::vector<unsigned char> frame(data, data + h->caplen);
        if (ours == 0) {
            // A tagged copy of the first frame: the payload stands four bytes further on.
            std::vector<unsigned char> tagged = frame;
            tagged.insert(tagged.begin() + 12, {0x81, 0x00, 0x00, 0x05});
            dump(tagged), ++ours;
        }
        for (size_t cut : {22, 23, 30, 34, 35, 37, 40})
            if (cut < frame.size())
                dump(std::vector<unsigned char>(frame.begin(), frame.begin() + cut)), ++ours;
        for (int i = 0; i < 12; ++i) {
            std::vector<unsigned char> spoiled = frame;
            // Mostly the headers and the first entries, where lengths and counts stand.
            for (int k = 0; k < 4; ++k) {
                size_t at = 22 + random() % std::min<size_t>(spoiled.size() - 22, 80 + i * 100);
                spoiled[at] = static_cast<unsigned char>(random());
            }
            spoiled.resize(22 + random() % (spoiled.size() - 21));
            dump(spoiled), ++ours;
        }
    }
    std::vector<unsigned char> head = {1, 9, 0x8a, 0,    0,    1, 2, 0, 0,    0, 0,
                                       1, 0, 0x40, 0xaa, 0xaa, 3, 0, 9, 0x8a, 0, 1};
    // Whole messages of one packed record each, whose counts and lengths are mostly small
    // and sometimes anything: ports of a Hello answer, steps, disk lists plain and extended.
    const std::pair<unsigned char, unsigned char> records[] = {{2, 35}, {10, 3}, {12, 2}, {12, 3}};
    for (int i = 0; i < 400; ++i) {
        const auto& record = records[i % 4];
        std::vector<unsigned char> value;
        for (size_t n = random() % 64; n > 0; --n)
            value.push_back(static_cast<unsigned char>(random() % 4 ? random() % 3 : random()));
        const size_t total = 5 + value.size(), body = std::max<size_t>(total, 34);
        auto hi = [](size_t v) { return static_cast<unsigned char>(v >> 8); };
        auto lo = [](size_t v) { return static_cast<unsigned char>(v & 0xff); };
        std::vector<unsigned char> f = head;
        f[12] = hi(20 + body), f[13] = lo(20 + body);
        f.insert(f.end(), {0, 5, 0, record.first, hi(body), lo(body), 1, 1, 0, 0, 0, 0, hi(total),
                           lo(total), record.second, hi(value.size()), lo(value.size())});
        f.insert(f.end(), value.begin(), value.end());
        f.resize(22 + 12 + body);
        dump(f), ++ours;
    }
    // Not ours: another protocol id, and an Ethernet II frame.
    for (size_t at : {21, 12}) {
        std::vector<unsigned char> other = head;
        other[at] = 8;
        other.resize(80);
        dump(other);
    }
    out.reset();

    std::string text = Tshark(hostile, "-V");
    EXPECT_NE(std::string::npos, text.find("Malformed")) << "spoiled frames are marked";
    Frames selected = Fields(hostile, {"frame.number"});
    EXPECT_EQ(ours, selected.size()) << "the filter takes our frames and only those";
    EXPECT_EQ(
        1u,
        Fields(hostile, {"frame.number"}, "vlan.id == 5 && setupl2.checksum.status == 1").size());
    remove(hostile.c_str());
}
