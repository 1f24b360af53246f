#include "SimConfig.h"

// Keys and values are plain bytes: no conversion library needed.
#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>
#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>

#include "SimDecode.h"
#include "LSWConfig4/setupMessage.h"

namespace {

const char* const kMainSection = "cellsim";
const char* const kControllerPrefix = "controller ";
// A version 5 message's TLV block holds at most this many bytes.
const size_t kV5BlockCapacity = 45568;

const char* const kStepNames[] = {nullptr,
                                  "SubmitLicense",
                                  "EulaAccept",
                                  "ConfigureDisks",
                                  "JoinControllers",
                                  "EnableCache",
                                  "GenerateSSLKey",
                                  "ConfigureIoPorts",
                                  "ConfigureBackendPorts",
                                  "SetUserPassword",
                                  "ControllerUpdate",
                                  "SetControllerIPAddress",
                                  "SetManagementIPAddress",
                                  "ConfigureKeyManagementServer"};
const char* const kStepStatusNames[] = {"Complete", "InProgress", "ConfiguredNotRun", "Failed",
                                        "NotConfigured"};

// Refusal of a value: carries the key (and, for repeated keys, which one) up to where the
// section and file are known.
struct Refusal {
    std::string key;
    std::string why;
};

bool SameIgnoringCase(const std::string& a, const std::string& b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (tolower(static_cast<unsigned char>(a[i])) != tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

std::string Trim(const std::string& iText) {
    size_t b = 0, e = iText.size();
    while (b < e && isspace(static_cast<unsigned char>(iText[b])))
        ++b;
    while (e > b && isspace(static_cast<unsigned char>(iText[e - 1])))
        --e;
    return iText.substr(b, e - b);
}

// --- Scalar values --------------------------------------------------------------------

bool ParseSigned(const std::string& iText, long long iMin, long long iMax, long long& oValue) {
    std::string t = Trim(iText);
    if (t.empty())
        return false;
    errno = 0;
    char* end = nullptr;
    long long v = strtoll(t.c_str(), &end, 0);
    if (errno != 0 || !end || *end != '\0' || v < iMin || v > iMax)
        return false;
    oValue = v;
    return true;
}

bool ParseBoolText(const std::string& iText, bool& oValue) {
    std::string t = Trim(iText);
    for (const char* yes : {"true", "yes", "on", "1"})
        if (SameIgnoringCase(t, yes)) {
            oValue = true;
            return true;
        }
    for (const char* no : {"false", "no", "off", "0"})
        if (SameIgnoringCase(t, no)) {
            oValue = false;
            return true;
        }
    return false;
}

bool ParseIPv4Text(const std::string& iText, SimIPv4& oAddress) {
    std::string t = Trim(iText);
    return inet_pton(AF_INET, t.c_str(), oAddress.data()) == 1;
}

bool ParseIPv6Text(const std::string& iText, SimIPv6& oAddress) {
    std::string t = Trim(iText);
    return inet_pton(AF_INET6, t.c_str(), oAddress.data()) == 1;
}

bool ParseMacText(const std::string& iText, unsigned char* oMac) {
    std::string t = Trim(iText);
    if (t.size() != 17)
        return false;
    for (int i = 0; i < 6; ++i) {
        if (i > 0 && t[i * 3 - 1] != ':' && t[i * 3 - 1] != '-')
            return false;
        char hex[3] = {t[i * 3], t[i * 3 + 1], 0};
        if (!isxdigit(static_cast<unsigned char>(hex[0])) ||
            !isxdigit(static_cast<unsigned char>(hex[1])))
            return false;
        oMac[i] = static_cast<unsigned char>(strtoul(hex, nullptr, 16));
    }
    return true;
}

bool ParseNamed(const std::string& iText, const char* const* iNames, size_t iCount, size_t iFirst,
                uint8_t& oValue) {
    std::string t = Trim(iText);
    for (size_t i = iFirst; i < iCount; ++i)
        if (iNames[i] && SameIgnoringCase(t, iNames[i])) {
            oValue = static_cast<uint8_t>(i);
            return true;
        }
    long long v = 0;
    if (!ParseSigned(t, 0, 255, v))
        return false;
    oValue = static_cast<uint8_t>(v);
    return true;
}

// "name=value name2="quoted value" ..." into an ordered list; false on a malformed token.
bool SplitAttributes(const std::string& iText,
                     std::vector<std::pair<std::string, std::string>>& oAttrs, std::string& oWhy) {
    size_t i = 0;
    const size_t n = iText.size();
    while (i < n) {
        while (i < n && isspace(static_cast<unsigned char>(iText[i])))
            ++i;
        if (i >= n)
            break;
        size_t nameStart = i;
        while (i < n && iText[i] != '=' && !isspace(static_cast<unsigned char>(iText[i])))
            ++i;
        std::string name = iText.substr(nameStart, i - nameStart);
        if (i >= n || iText[i] != '=' || name.empty()) {
            oWhy = "expected name=value, found '" + name + "'";
            return false;
        }
        ++i;
        std::string value;
        if (i < n && iText[i] == '"') {
            size_t close = iText.find('"', i + 1);
            if (close == std::string::npos) {
                oWhy = "unterminated quote in the value of '" + name + "'";
                return false;
            }
            value = iText.substr(i + 1, close - i - 1);
            i = close + 1;
        } else {
            size_t valueStart = i;
            while (i < n && !isspace(static_cast<unsigned char>(iText[i])))
                ++i;
            value = iText.substr(valueStart, i - valueStart);
        }
        for (const auto& a : oAttrs)
            if (SameIgnoringCase(a.first, name)) {
                oWhy = "attribute '" + name + "' given twice";
                return false;
            }
        oAttrs.emplace_back(name, value);
    }
    return true;
}

// Reads the attributes of one repeated key by a table of handlers.
class AttributeReader {
public:
    using Handler = std::function<bool(const std::string&)>;

    void Add(const char* iName, const char* iExpect, Handler iHandler) {
        m_handlers.push_back({iName, iExpect, std::move(iHandler)});
    }

    bool Read(const std::string& iText, std::string& oWhy) {
        std::vector<std::pair<std::string, std::string>> attrs;
        if (!SplitAttributes(iText, attrs, oWhy))
            return false;
        for (const auto& a : attrs) {
            const Entry* found = nullptr;
            for (const auto& h : m_handlers)
                if (SameIgnoringCase(a.first, h.name))
                    found = &h;
            if (!found) {
                oWhy = "unknown attribute '" + a.first + "' (known: " + Known() + ")";
                return false;
            }
            if (!found->handler(a.second)) {
                oWhy = "attribute " + a.first + "='" + a.second + "' is not " + found->expect;
                return false;
            }
        }
        return true;
    }

private:
    std::string Known() const {
        std::string k;
        for (const auto& h : m_handlers)
            k += (k.empty() ? "" : ", ") + std::string(h.name);
        return k;
    }
    struct Entry {
        const char* name;
        const char* expect;
        Handler handler;
    };
    std::vector<Entry> m_handlers;
};

template <typename T>
AttributeReader::Handler IntInto(T& oField, long long iMin, long long iMax) {
    return [&oField, iMin, iMax](const std::string& t) {
        long long v = 0;
        if (!ParseSigned(t, iMin, iMax, v))
            return false;
        oField = static_cast<T>(v);
        return true;
    };
}
AttributeReader::Handler BoolInto(bool& oField) {
    return [&oField](const std::string& t) { return ParseBoolText(t, oField); };
}
AttributeReader::Handler AddressInto(SimIPv4& oField) {
    return [&oField](const std::string& t) { return ParseIPv4Text(t, oField); };
}
AttributeReader::Handler TextInto(std::string& oField) {
    return [&oField](const std::string& t) {
        oField = t;
        return true;
    };
}

const char* kByte = "a number from -128 to 127";
const char* kAddress = "an IPv4 address";
const char* kBool = "true or false";

// --- One section ----------------------------------------------------------------------

// The keys of a section, read once each; repeated keys only where allowed.
class SectionReader {
public:
    SectionReader(CSimpleIniA& iIni, const std::string& iSection)
        : m_ini(iIni), m_section(iSection) {}

    // All values of a key, in file order; empty when absent.
    std::vector<std::string> All(const char* iKey) {
        m_known.insert(Lower(iKey));
        CSimpleIniA::TNamesDepend values;
        m_ini.GetAllValues(m_section.c_str(), iKey, values);
        values.sort(CSimpleIniA::Entry::LoadOrder());
        std::vector<std::string> out;
        for (const auto& v : values)
            out.push_back(Trim(v.pItem));
        return out;
    }

    // The one value of a key; throws a Refusal if it is given twice.
    std::optional<std::string> One(const char* iKey) {
        std::vector<std::string> all = All(iKey);
        if (all.empty())
            return std::nullopt;
        if (all.size() > 1)
            throw Refusal{iKey, "given " + std::to_string(all.size()) + " times; give it once"};
        return all.front();
    }

    std::string Required(const char* iKey) {
        auto v = One(iKey);
        if (!v || v->empty())
            throw Refusal{iKey, "missing; this key is required"};
        return *v;
    }

    template <typename T>
    void Int(const char* iKey, T& oField, long long iMin, long long iMax) {
        auto v = One(iKey);
        if (!v)
            return;
        long long n = 0;
        if (!ParseSigned(*v, iMin, iMax, n))
            throw Refusal{iKey, "'" + *v + "' is not a whole number from " + std::to_string(iMin) +
                                    " to " + std::to_string(iMax)};
        oField = static_cast<T>(n);
    }
    template <typename T>
    void Int(const char* iKey, std::optional<T>& oField, long long iMin, long long iMax) {
        T value{};
        bool had = One(iKey).has_value();
        Int(iKey, value, iMin, iMax);
        if (had)
            oField = value;
    }

    void Bool(const char* iKey, bool& oField) {
        auto v = One(iKey);
        if (v && !ParseBoolText(*v, oField))
            throw Refusal{iKey, "'" + *v + "' is not true or false"};
    }
    void Bool(const char* iKey, std::optional<bool>& oField) {
        bool value = false;
        bool had = One(iKey).has_value();
        Bool(iKey, value);
        if (had)
            oField = value;
    }

    void Text(const char* iKey, std::string& oField, size_t iMax) {
        auto v = One(iKey);
        if (!v)
            return;
        if (v->size() > iMax)
            throw Refusal{iKey, "longer than " + std::to_string(iMax) + " bytes"};
        oField = *v;
    }

    void IPv4(const char* iKey, std::optional<SimIPv4>& oField) {
        auto v = One(iKey);
        if (!v || v->empty())
            return;
        SimIPv4 a{};
        if (!ParseIPv4Text(*v, a))
            throw Refusal{iKey, "'" + *v + "' is not an IPv4 address"};
        oField = a;
    }
    void IPv6(const char* iKey, std::optional<SimIPv6>& oField) {
        auto v = One(iKey);
        if (!v || v->empty())
            return;
        SimIPv6 a{};
        if (!ParseIPv6Text(*v, a))
            throw Refusal{iKey, "'" + *v + "' is not an IPv6 address"};
        oField = a;
    }

    // Keys present in the section that no reader asked for.
    std::vector<std::string> Unknown() {
        CSimpleIniA::TNamesDepend keys;
        m_ini.GetAllKeys(m_section.c_str(), keys);
        keys.sort(CSimpleIniA::Entry::LoadOrder());
        std::vector<std::string> out;
        for (const auto& k : keys)
            if (!m_known.count(Lower(k.pItem)))
                out.push_back(k.pItem);
        return out;
    }

private:
    static std::string Lower(const std::string& iText) {
        std::string l = iText;
        for (char& c : l)
            c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
        return l;
    }

    CSimpleIniA& m_ini;
    std::string m_section;
    std::set<std::string> m_known;
};

std::string Ordinal(size_t iIndex, size_t iCount) {
    return iCount > 1 ? " #" + std::to_string(iIndex + 1) : std::string();
}

void ReadFaultDomains(SectionReader& ioSection, CSimControllerConfig& ioCtl) {
    std::vector<std::string> values = ioSection.All("fault_domain");
    for (size_t i = 0; i < values.size(); ++i) {
        CSimFaultDomain fd;
        bool hasId = false;
        AttributeReader r;
        r.Add("id", kByte, [&](const std::string& t) {
            hasId = true;
            return IntInto(fd.id, -128, 127)(t);
        });
        r.Add("ip", kAddress, AddressInto(fd.ip));
        r.Add("netmask", kAddress, AddressInto(fd.netmask));
        r.Add("gateway", kAddress, AddressInto(fd.gateway));
        r.Add("transport", kByte, IntInto(fd.transport, -128, 127));
        r.Add("embedded", kBool, BoolInto(fd.embedded));
        std::string why;
        std::string key = "fault_domain" + Ordinal(i, values.size());
        if (!r.Read(values[i], why))
            throw Refusal{key, why};
        if (!hasId)
            throw Refusal{key, "attribute 'id' is missing"};
        for (const auto& other : ioCtl.faultDomains)
            if (other.id == fd.id)
                throw Refusal{key, "fault domain id " + std::to_string(fd.id) + " given twice"};
        ioCtl.faultDomains.push_back(fd);
    }
    if (ioCtl.faultDomains.size() > 127)
        throw Refusal{"fault_domain", "more than 127 fault domains"};
}

void ReadPorts(SectionReader& ioSection, CSimControllerConfig& ioCtl) {
    std::vector<std::string> values = ioSection.All("port");
    std::map<int, int> perDomain;
    for (size_t i = 0; i < values.size(); ++i) {
        CSimPort p;
        bool hasFd = false;
        AttributeReader r;
        r.Add("fd", kByte, [&](const std::string& t) {
            hasFd = true;
            return IntInto(p.faultDomain, -128, 127)(t);
        });
        r.Add("slot", kByte, IntInto(p.slot, -128, 127));
        r.Add("slot_port", kByte, IntInto(p.slotPort, -128, 127));
        r.Add("ip", kAddress, AddressInto(p.ip));
        r.Add("netmask", kAddress, AddressInto(p.netmask));
        r.Add("gateway", kAddress, AddressInto(p.gateway));
        r.Add("transport", kByte, IntInto(p.transport, -128, 127));
        r.Add("configured", kBool, BoolInto(p.configured));
        r.Add("embedded", kBool, BoolInto(p.embedded));
        r.Add("network", kByte, IntInto(p.network, -128, 127));
        r.Add("status", kByte, IntInto(p.status, -128, 127));
        r.Add("location", kByte, IntInto(p.location, -128, 127));
        r.Add("controller_index", "a whole number",
              IntInto(p.controllerIndex, LLONG_MIN, LLONG_MAX));
        r.Add("card_model", kByte, IntInto(p.cardModel, -128, 127));
        std::string why;
        std::string key = "port" + Ordinal(i, values.size());
        if (!r.Read(values[i], why))
            throw Refusal{key, why};
        if (!hasFd)
            throw Refusal{key, "attribute 'fd' is missing: name the fault domain of the port"};
        bool known = false;
        for (const auto& fd : ioCtl.faultDomains)
            known = known || fd.id == p.faultDomain;
        if (!known)
            throw Refusal{key, "fault domain " + std::to_string(p.faultDomain) +
                                   " is not given by a fault_domain key"};
        if (++perDomain[p.faultDomain] > 127)
            throw Refusal{key, "more than 127 ports in one fault domain"};
        ioCtl.ports.push_back(p);
    }
}

void ReadDisks(SectionReader& ioSection, CSimControllerConfig& ioCtl) {
    std::vector<std::string> values = ioSection.All("disk");
    for (size_t i = 0; i < values.size(); ++i) {
        CSimDisk d;
        AttributeReader r;
        const char* kWhole = "a whole number";
        r.Add("enclosure", kWhole, IntInto(d.enclosure, LLONG_MIN, LLONG_MAX));
        r.Add("position", kWhole, IntInto(d.position, LLONG_MIN, LLONG_MAX));
        r.Add("status", kWhole, IntInto(d.status, LLONG_MIN, LLONG_MAX));
        r.Add("class", "text", TextInto(d.diskClass));
        r.Add("product", "text", TextInto(d.product));
        r.Add("revision", "text", TextInto(d.revision));
        r.Add("size", kWhole, IntInto(d.size, LLONG_MIN, LLONG_MAX));
        r.Add("healthy", kBool, [&d](const std::string& t) {
            bool b = false;
            if (!ParseBoolText(t, b))
                return false;
            d.healthy = b ? 1 : 0;
            return true;
        });
        std::string why;
        std::string key = "disk" + Ordinal(i, values.size());
        if (!r.Read(values[i], why))
            throw Refusal{key, why};
        ioCtl.disks.push_back(d);
    }
    size_t generated = 0;
    ioSection.Int("disk_count", generated, 0, 5000);
    // Generated disks fill shelves of 24 behind the listed ones.
    for (size_t i = 0; i < generated; ++i) {
        CSimDisk d;
        d.enclosure = static_cast<int64_t>(i / 24);
        d.position = static_cast<int64_t>(i % 24);
        d.status = 0;
        d.diskClass = "SAS";
        d.product = "SIM-HDD-4T";
        d.revision = "1.0";
        d.size = 4000787030016LL;
        d.healthy = 1;
        ioCtl.disks.push_back(d);
    }
    if (auto lists = ioSection.One("disk_lists")) {
        std::string l = Trim(*lists);
        if (SameIgnoringCase(l, "both")) {
            ioCtl.plainDiskList = ioCtl.extendedDiskList = true;
        } else if (SameIgnoringCase(l, "plain")) {
            ioCtl.plainDiskList = true;
            ioCtl.extendedDiskList = false;
        } else if (SameIgnoringCase(l, "extended")) {
            ioCtl.plainDiskList = false;
            ioCtl.extendedDiskList = true;
        } else if (SameIgnoringCase(l, "none")) {
            ioCtl.plainDiskList = ioCtl.extendedDiskList = false;
        } else {
            throw Refusal{"disk_lists", "'" + l + "' is not both, plain, extended or none"};
        }
    }
    for (const auto& d : ioCtl.disks)
        for (const std::string* s : {&d.diskClass, &d.product, &d.revision})
            if (s->size() > 1024)
                throw Refusal{"disk", "a disk text is longer than 1024 bytes"};
    size_t bytes = SimDiskReplyBytes(ioCtl, ioCtl.disks.size());
    if (ioCtl.speaksV5 && bytes > kV5BlockCapacity)
        throw Refusal{values.empty() ? "disk_count" : "disk",
                      "the disk reply would be " + std::to_string(bytes) +
                          " bytes; a message holds at most " + std::to_string(kV5BlockCapacity)};
}

void ReadSteps(SectionReader& ioSection, CSimControllerConfig& ioCtl) {
    std::vector<std::string> values = ioSection.All("steps");
    for (size_t i = 0; i < values.size(); ++i) {
        std::string key = "steps" + Ordinal(i, values.size());
        std::vector<CSimStep> list;
        std::istringstream in(values[i]);
        std::string token;
        while (in >> token) {
            size_t colon = token.find(':');
            CSimStep s;
            if (colon == std::string::npos ||
                !ParseNamed(token.substr(0, colon), kStepNames, 14, 1, s.id) ||
                !ParseNamed(token.substr(colon + 1), kStepStatusNames, 5, 0, s.status))
                throw Refusal{key, "'" + token +
                                       "' is not STEP:STATUS (a step name such as SubmitLicense "
                                       "or a number, a status such as Complete, InProgress, "
                                       "ConfiguredNotRun, Failed, NotConfigured or a number)"};
            list.push_back(s);
        }
        if (list.size() > 1000)
            throw Refusal{key, "more than 1000 steps in one list"};
        ioCtl.steps.push_back(list);
    }
}

void ReadFaults(SectionReader& ioSection, CSimControllerConfig& ioCtl) {
    ioSection.Int("drop_every", ioCtl.faults.dropEvery, 0, 1000000);
    ioSection.Int("delay_ms", ioCtl.faults.delayMs, 0, 600000);
    ioSection.Bool("corrupt_checksum", ioCtl.faults.corruptChecksum);
    ioSection.Bool("reverse_fragments", ioCtl.faults.reverseFragments);
    ioSection.Int("answer_first", ioCtl.faults.answerFirst, 0, 1000000000);
    if (auto kinds = ioSection.One("silent_to")) {
        static const unsigned kRequests[] = {PAYLOADHeader::HELLO_REQ, PAYLOADHeader::BLINK_REQ,
                                             PAYLOADHeader::SETUP_REQ,
                                             PAYLOADHeader::CONFIG_STATUS_REQ,
                                             PAYLOADHeader::DISK_CONFIG_REQ};
        std::string list = *kinds;
        std::replace(list.begin(), list.end(), ',', ' ');
        std::istringstream in(list);
        std::string name;
        while (in >> name) {
            auto it = std::find_if(std::begin(kRequests), std::end(kRequests),
                                   [&name](unsigned op) { return SimOpcodeName(op) == name; });
            if (it == std::end(kRequests))
                throw Refusal{"silent_to", "'" + name +
                                               "' is not a request that gets an answer (HELLO_REQ, "
                                               "BLINK_REQ, SETUP_REQ, CONFIG_STATUS_REQ, "
                                               "DISK_CONFIG_REQ)"};
            ioCtl.faults.silentTo.insert(*it);
        }
    }
}

void ReadController(SectionReader& s, CSimControllerConfig& c) {
    std::string mac = s.Required("mac");
    if (!ParseMacText(mac, c.mac))
        throw Refusal{"mac",
                      "'" + mac + "' is not a MAC address (six hex pairs, 02:00:00:00:00:01)"};
    if (c.mac[0] & 1)
        throw Refusal{"mac", "'" + mac + "' is a group address; a controller needs a unicast one"};
    if (std::all_of(c.mac, c.mac + 6, [](unsigned char b) { return b == 0; }))
        throw Refusal{"mac", "the all-zero address cannot be a controller's"};

    c.serial = s.Required("serial");
    c.hardwareSerial = c.serial;
    s.Text("hardware_serial", c.hardwareSerial, 255);
    if (c.hardwareSerial.empty())
        throw Refusal{"hardware_serial", "empty; leave the key out to use the serial"};
    c.serviceTag = s.Required("service_tag");
    s.Int("model", c.model, 0, 65535);
    s.Int("family", c.family, 0, 65535);

    if (auto versions = s.One("versions")) {
        c.speaksV4 = c.speaksV5 = false;
        std::string list = *versions;
        std::replace(list.begin(), list.end(), ',', ' ');
        std::istringstream in(list);
        std::string v;
        while (in >> v) {
            if (v == "4")
                c.speaksV4 = true;
            else if (v == "5")
                c.speaksV5 = true;
            else
                throw Refusal{"versions", "unknown protocol version '" + v +
                                              "'; a controller speaks 4, 5 or both (4,5)"};
        }
        if (!c.speaksV4 && !c.speaksV5)
            throw Refusal{"versions", "empty; give 4, 5 or 4,5"};
    }

    s.Bool("initialized", c.initialized);
    s.Bool("ip_configured", c.ipConfigured);
    s.Bool("primary", c.primary);
    s.Int("canister", c.canister, 0, 65535);
    s.Int("model_number", c.modelNumber, 0, 65535);
    s.IPv4("management_ip", c.managementIp);
    s.IPv4("eth0_ip", c.eth0Ip);
    s.IPv4("eth0_netmask", c.eth0Netmask);
    s.IPv4("eth0_gateway", c.eth0Gateway);
    s.IPv4("primary_dns", c.primaryDns);
    s.IPv4("secondary_dns", c.secondaryDns);
    s.IPv4("bmc_ip", c.bmcIp);
    s.IPv4("bmc_gateway", c.bmcGateway);
    s.IPv4("bmc_netmask", c.bmcNetmask);
    s.IPv6("management_ipv6", c.managementIpv6);
    s.IPv6("eth0_ipv6", c.eth0Ipv6);
    s.Int("eth0_ipv6_prefix", c.eth0Ipv6Prefix, 0, 128);
    s.Text("system_name", c.systemName, 255);
    s.Text("domain_name", c.domainName, 255);
    s.Text("ethernet_device", c.ethernetDevice, 255);
    s.Text("raid_level", c.raidLevel, 255);
    s.Text("locale", c.locale, 255);
    if (auto version = s.One("software_version")) {
        unsigned a = 0, b = 0, d = 0;
        char tail = 0;
        if (sscanf(version->c_str(), "%u.%u.%u%c", &a, &b, &d, &tail) != 3 || a > 255 || b > 255 ||
            d > 255)
            throw Refusal{"software_version",
                          "'" + *version + "' is not MAJOR.MINOR.MAINTENANCE, each 0 to 255"};
        c.major = static_cast<uint8_t>(a);
        c.minor = static_cast<uint8_t>(b);
        c.maintenance = static_cast<uint8_t>(d);
    }
    s.Int("licensed_controllers", c.licensedControllers, 0, 65535);
    s.Int("iscsi_ports", c.iscsiPorts, 0, 65535);
    s.Bool("unified_block_file", c.unifiedBlockFile);
    s.Int("vlan_id", c.vlanId, 0, 65535);
    s.Bool("dcb_on", c.dcbOn);
    s.Int("status_error", c.statusErrorInfo, 0, 65535);

    ReadFaultDomains(s, c);
    ReadPorts(s, c);
    ReadDisks(s, c);
    s.Int("disk_error_state", c.diskErrorState, 0, 65535);

    s.Int("setup_status", c.setupStatus, 0, 255);
    s.Int("password_failure_status", c.passwordFailureStatus, 0, 255);

    ReadSteps(s, c);
    s.Text("step_error", c.stepError, 1024);
    s.Int("status_code", c.statusCode, 0, 65535);
    s.Int("orchestrator_state", c.orchestratorState, 0, 65535);

    s.Int("blink", c.blinkValue, 0, 65535);
    s.Int("blink_status", c.blinkStatus, 0, 4294967295LL);
    s.Bool("blink_follows_command", c.blinkFollowsCommand);

    ReadFaults(s, c);
}

bool ValidName(const std::string& iName) {
    if (iName.empty() || iName.size() > 64)
        return false;
    return std::all_of(iName.begin(), iName.end(), [](char ch) {
        return isalnum(static_cast<unsigned char>(ch)) || ch == '_' || ch == '-' || ch == '.';
    });
}

}  // namespace

const char* SimStepName(uint8_t iId) {
    return iId >= 1 && iId <= 13 ? kStepNames[iId] : nullptr;
}

const char* SimStepStatusName(uint8_t iStatus) {
    return iStatus <= 4 ? kStepStatusNames[iStatus] : nullptr;
}

std::string SimMacText(const unsigned char* iMac) {
    char t[18];
    snprintf(t, sizeof(t), "%02x:%02x:%02x:%02x:%02x:%02x", iMac[0], iMac[1], iMac[2], iMac[3],
             iMac[4], iMac[5]);
    return t;
}

size_t SimDiskReplyBytes(const CSimControllerConfig& iController, size_t iCount) {
    size_t n = std::min(iCount, iController.disks.size());
    size_t bytes = 2 + 3 + 2;  // block length, error state entry
    if (iController.plainDiskList)
        bytes += 3 + 8 + 24 * n;
    if (iController.extendedDiskList) {
        bytes += 3 + 8;
        for (size_t i = 0; i < n; ++i) {
            const CSimDisk& d = iController.disks[i];
            bytes += 6 + d.diskClass.size() + d.product.size() + d.revision.size() + 9;
        }
    }
    return bytes;
}

bool ParseSimConfig(const std::string& iText, const std::string& iFileName,
                    const std::string& iInterface, CSimConfig& oConfig, std::string& oError) {
    oConfig = CSimConfig();
    oConfig.file = iFileName;
    CSimpleIniA ini(false, true, false);  // keys without case, repeated keys kept
    if (ini.LoadData(iText.data(), iText.size()) < 0) {
        oError = iFileName + ": not a readable INI file";
        return false;
    }

    std::string section;
    try {
        CSimpleIniA::TNamesDepend sections;
        ini.GetAllSections(sections);
        sections.sort(CSimpleIniA::Entry::LoadOrder());
        bool sawMain = false;
        for (const auto& entry : sections) {
            section = entry.pItem;
            SectionReader s(ini, section);
            if (section.empty()) {
                std::vector<std::string> stray = s.Unknown();
                if (!stray.empty())
                    throw Refusal{stray.front(),
                                  "stands before any section; put it under "
                                  "[cellsim] or a [controller NAME] section"};
                continue;
            }
            if (SameIgnoringCase(section, kMainSection)) {
                sawMain = true;
                s.Text("interface", oConfig.interface, 255);
            } else if (section.size() > strlen(kControllerPrefix) &&
                       SameIgnoringCase(section.substr(0, strlen(kControllerPrefix)),
                                        kControllerPrefix)) {
                CSimControllerConfig c;
                c.section = section;
                c.name = Trim(section.substr(strlen(kControllerPrefix)));
                if (!ValidName(c.name))
                    throw Refusal{"", "the controller name '" + c.name +
                                          "' must be 1 to 64 letters, digits, '_', '-' or '.'"};
                for (const auto& other : oConfig.controllers)
                    if (other.name == c.name)
                        throw Refusal{"", "a second controller named '" + c.name + "'"};
                ReadController(s, c);
                for (const auto& other : oConfig.controllers)
                    if (memcmp(other.mac, c.mac, 6) == 0)
                        throw Refusal{"mac", SimMacText(c.mac) + " is already the MAC of [" +
                                                 other.section + "]"};
                oConfig.controllers.push_back(std::move(c));
            } else {
                throw Refusal{"", "unknown section; use [cellsim] and [controller NAME]"};
            }
            std::vector<std::string> unknown = s.Unknown();
            if (!unknown.empty())
                throw Refusal{unknown.front(), "unknown key"};
        }
        section = kMainSection;
        if (!iInterface.empty())
            oConfig.interface = iInterface;
        if (oConfig.interface.empty())
            throw Refusal{"interface", sawMain ? "missing; name the interface (or give --interface)"
                                               : "missing: no [cellsim] section names the "
                                                 "interface (or give --interface)"};
        if (oConfig.controllers.empty()) {
            section.clear();
            throw Refusal{"", "no [controller NAME] section: nothing to simulate"};
        }
    } catch (const Refusal& r) {
        oError = iFileName + ":";
        if (!section.empty())
            oError += " [" + section + "]";
        if (!r.key.empty())
            oError += " " + r.key + ":";
        oError += " " + r.why;
        return false;
    }
    return true;
}

bool LoadSimConfig(const std::string& iPath, const std::string& iInterface, CSimConfig& oConfig,
                   std::string& oError) {
    std::ifstream in(iPath, std::ios::binary);
    if (!in) {
        oError = iPath + ": cannot be read: " + strerror(errno);
        return false;
    }
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) {
        oError = iPath + ": cannot be read";
        return false;
    }
    return ParseSimConfig(text.str(), iPath, iInterface, oConfig, oError);
}
