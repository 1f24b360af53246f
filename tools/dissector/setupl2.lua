-- setupl2: the Storage Cell's layer-2 setup protocol, for Wireshark and tshark.
--
-- The wizard and the controllers talk in IEEE 802.3 frames with a SNAP header (OUI 00:09:8A,
-- protocol id 0x0001): a payload header (version, opcode, body length, frames of the message,
-- this frame's place, checksum) and a body that is one TLV block, cut into frames when long.
--
-- Install: copy this file into the personal Lua plugin folder (~/.local/lib/wireshark/plugins/
-- on Linux; Help > About Wireshark > Folders names it), or load it for one run with
-- `tshark -X lua_script:setupl2.lua`. Display filter: setupl2.
--
-- Every length and count in a frame is hostile until proven: each read is checked against the
-- bytes that are there, and what points past them is shown as malformed, never read.

local p = Proto("setupl2", "Storage Cell Setup Protocol")

local SNAP = "AAAA0300098A0001"
local PAYLOAD_HEADER = 12
local FRAME_BODY = 1458        -- the most body one untagged frame carries
local PARTIAL_SECONDS = 15     -- a receiver forgets an incomplete message after this

---------------------------------------------------------------------------------------------
-- Names

local OPCODES = {
    [1] = "HELLO_REQ", [2] = "HELLO_RSP", [3] = "BLINK_REQ", [4] = "BLINK_RSP",
    [5] = "SETUP_REQ", [6] = "SETUP_RSP", [9] = "CONFIG_STATUS_REQ", [10] = "CONFIG_STATUS_RSP",
    [11] = "DISK_CONFIG_REQ", [12] = "DISK_CONFIG_RSP", [13] = "PREJOIN_REQ",
}

local STEP_IDS = {
    [1] = "ConfigStepSubmitLicense", [2] = "ConfigStepEulaAccept",
    [3] = "ConfigStepConfigureDisks", [4] = "ConfigStepJoinControllers",
    [5] = "ConfigStepEnableCache", [6] = "ConfigStepGenerateSSLKey",
    [7] = "ConfigStepConfigureIoPorts", [8] = "ConfigStepConfigureBackendPorts",
    [9] = "ConfigStepSetUserPassword", [10] = "ConfigStepControllerUpdate",
    [11] = "ConfigStepSetControllerIPAddress", [12] = "ConfigStepSetManagementIPAddress",
    [13] = "ConfigStepConfigureKeyManagementServer",
}

local STEP_STATUSES = {
    [0] = "StepStatusComplete", [1] = "StepStatusInProgress", [2] = "StepStatusConfiguredNotRun",
    [3] = "StepStatusFailed", [4] = "StepStatusNotConfigured",
}

-- The entries of each message: code -> { name, kind }. Kinds say how a value is read:
--   str      the text's bytes         le16/le32  little-endian      be16  big-endian
--   u8       one byte                 bool       one byte, not 0 is true
--   ip4net   IPv4, first octet first  ip4rev     IPv4, last octet first
--   ip6      IPv6                     password   RSA ciphertext, shown by its length only
--   ports, steps, disks, disks1      packed records      bytes  not read by the receiver
local LOCALE_ONLY = { [1] = { "LOCALIZATION_PARAMETER", "str" } }

local ENTRIES = {
    [1] = LOCALE_ONLY,
    [2] = {
        [1] = { "KELT_SERVICE_TAG", "str" }, [2] = { "DISK_INFO", "bytes" },
        [3] = { "PRODUCT_FAMILY", "le16" }, [4] = { "VLAN_ID", "be16" },
        [5] = { "DCB_ON", "bool" }, [6] = { "IPV4_MANAGEMENT_IP_ADDRESS", "ip4rev" },
        [7] = { "HARDWARE_SN", "str" }, [8] = { "ETH0_IPV4_ADDRESS", "ip4rev" },
        [9] = { "ETH0_IPV4_NETMASK", "ip4rev" }, [10] = { "ETH0_IPV4_DEFAULT_GATEWAY", "ip4rev" },
        [11] = { "IPV6_MANAGEMENT_IP_ADDRESS", "ip6" }, [12] = { "ETH0_IPV6_ADDRESS", "ip6" },
        [13] = { "ETH0_IPV6_PREFIX_LENGTH", "be16" }, [14] = { "STORAGECELL_NAME", "str" },
        [15] = { "DOMAIN_NAME", "str" }, [16] = { "PRIMARY_DNS_SERVER", "ip4rev" },
        [17] = { "SECONDARY_DNS_SERVER", "ip4rev" }, [18] = { "RSA_PUBLIC_KEY_LENGTH", "le16" },
        [19] = { "RSA_PUBLIC_KEY", "str" }, [20] = { "NUM_LICENSED_CONTROLLERS", "le16" },
        [21] = { "NUM_ISCSI_PORTS", "le16" }, [22] = { "PRODUCT_LINE", "le16" },
        [23] = { "IP_INITIALIZATION_STATE", "bool" }, [24] = { "ETHERNET_DEVICE_NAME", "str" },
        [25] = { "RAID_LEVEL", "str" }, [26] = { "MAJOR_VERSION", "u8" },
        [27] = { "MINOR_VERSION", "u8" }, [28] = { "MAINTENANCE_VERSION", "u8" },
        [29] = { "BMC_IP_SOURCE", "bytes" }, [30] = { "BMC_IPV4_ADDRESS", "ip4rev" },
        [31] = { "BMC_IPV6_ADDRESS", "bytes" }, [32] = { "BMC_IPV4_DEFAULT_ROUTE", "ip4rev" },
        [33] = { "BMC_IPV6_DEFAULT_ROUTE", "bytes" }, [34] = { "NODE_NUMBER", "le16" },
        [35] = { "PORT_CONFIG_DATA", "ports" }, [36] = { "ARRAY_INITIALIZATION_STATE", "bool" },
        [37] = { "BLINK_STATE", "le16" }, [38] = { "STATUS_ERROR_INFO", "le16" },
        [39] = { "CONTROLLER_MODEL_NUMBER", "le16" }, [40] = { "CONTROLLER_IS_PRIMARY", "bool" },
        [41] = { "CONTROLLER_INFO", "bytes" }, [42] = { "BMC_IPV4_NETMASK", "ip4rev" },
        [43] = { "IS_BACKEND_SAS_CONNECTED", "bytes" },
        [44] = { "UNIFIED_BLOCK_FILE_ENABLED", "bool" }, [45] = { "LOCALIZATION_PARAMETER", "str" },
    },
    [3] = { [1] = { "BLINK_REQUEST_STATUS", "u8" }, [2] = { "LOCALIZATION_PARAMETER", "str" } },
    [4] = { [1] = { "BLINK_STATUS", "le32" }, [2] = { "BLINK_VALUE", "le16" } },
    [5] = {
        [1] = { "DCB_VLAN_ID", "bytes" }, [2] = { "IPV4_MANAGEMENT_IP_ADDRESS", "ip4net" },
        [3] = { "HARDWARE_SN", "bytes" }, [4] = { "TOP_CTRL_ETH0_IPV4_ADDRESS", "ip4net" },
        [5] = { "TOP_CTRL_ETH0_IPV4_NETMASK", "ip4net" },
        [6] = { "TOP_CTRL_ETH0_IPV4_DEFAULT_GATEWAY", "ip4net" },
        [7] = { "TOP_CTRL_IPV6_MANAGEMENT_IP_ADDRESS", "ip6" },
        [8] = { "TOP_CTRL_ETH0_IPV6_ADDRESS", "ip6" },
        [9] = { "TOP_CTRL_ETH0_IPV6_PREFIX_LENGTH", "u8" }, [10] = { "DOMAIN_NAME", "str" },
        [11] = { "PRIMARY_DNS_SERVER", "ip4net" }, [12] = { "SECONDARY_DNS_SERVER", "ip4net" },
        [13] = { "DEFAULT_USER_PASSWORD", "password" }, [14] = { "STORAGECELL_NAME", "str" },
        [15] = { "DEFAULT_USER_EMAIL", "str" }, [16] = { "NEW_GROUP", "bytes" },
        [17] = { "ETHERNET_DEVICE_NAME", "bytes" }, [18] = { "ETHERNET_INDEX", "bytes" },
        [19] = { "RAID_LEVEL", "bytes" }, [20] = { "GROUP_NAME", "bytes" },
        [21] = { "MANAGEMENT_PASSWORD", "bytes" }, [22] = { "ADD_TO_GROUP_PASSWORD", "bytes" },
        [23] = { "VSS_CONTROL_NAME", "bytes" }, [24] = { "VSS_CONTROL_PASSWORD", "bytes" },
        [25] = { "TOP_CTRL_BMC_IP_SOURCE", "bytes" },
        [26] = { "TOP_CTRL_BMC_IPV4_ADDRESS", "ip4net" },
        [27] = { "TOP_CTRL_BMC_IPV6_ADDRESS", "bytes" },
        [28] = { "TOP_CTRL_BMC_IPV4_DEFAULT_ROUTE", "ip4net" },
        [29] = { "TOP_CTRL_BMC_IPV6_DEFAULT_ROUTE", "bytes" }, [30] = { "NODE_NUMBER", "bytes" },
        [31] = { "PORT_CONFIG_DATA", "ports" }, [32] = { "EULA_CUSTOMER_NAME", "bytes" },
        [33] = { "EULA_CUSTOMER_TITLE", "bytes" },
        [34] = { "BOTTOM_CTRL_ETH0_IPV4_ADDRESS", "ip4net" },
        [35] = { "BOTTOM_CTRL_ETH0_IPV4_NETMASK", "ip4net" },
        [36] = { "BOTTOM_CTRL_ETH0_IPV4_DEFAULT_GATEWAY", "ip4net" },
        [37] = { "BOTTOM_CTRL_ETH0_IPV6_ADDRESS", "bytes" },
        [38] = { "BOTTOM_CTRL_ETH0_IPV6_PREFIX_LENGTH", "bytes" },
        [39] = { "TOP_CTRL_BMC_NETMASK", "ip4net" }, [40] = { "BOTTOM_CTRL_BMC_IP_SOURCE", "bytes" },
        [41] = { "BOTTOM_CTRL_BMC_IPV4_ADDRESS", "ip4net" },
        [42] = { "BOTTOM_CTRL_BMC_IPV6_ADDRESS", "bytes" },
        [43] = { "BOTTOM_CTRL_BMC_IPV4_DEFAULT_ROUTE", "ip4net" },
        [44] = { "BOTTOM_CTRL_BMC_IPV6_DEFAULT_ROUTE", "bytes" },
        [45] = { "BOTTOM_CTRL_BMC_NETMASK", "ip4net" }, [46] = { "LOCALIZATION_PARAMETER", "str" },
    },
    [9] = LOCALE_ONLY,
    [10] = {
        [1] = { "CONFIG_STATUS_RESPONSE_CODE", "le16" }, [2] = { "ERROR_MESSAGE", "str" },
        [3] = { "CONFIGURATION_STEPS", "steps" }, [4] = { "ORCHESTRATOR_STATE", "le16" },
    },
    [11] = LOCALE_ONLY,
    [12] = {
        [1] = { "ERROR_STATE", "le16" }, [2] = { "DISK_LIST", "disks" },
        [3] = { "DISK_LIST_EXTRA1", "disks1" },
    },
    [13] = {},
}

---------------------------------------------------------------------------------------------
-- Fields

local f = {
    version = ProtoField.uint16("setupl2.version", "version", base.DEC),
    opcode = ProtoField.uint16("setupl2.opcode", "opcode", base.DEC, OPCODES),
    length = ProtoField.uint16("setupl2.length", "length", base.DEC),
    packets = ProtoField.uint8("setupl2.packets", "numberOfPackets", base.DEC),
    packet_id = ProtoField.uint8("setupl2.packet_id", "packetId", base.DEC),
    checksum = ProtoField.uint32("setupl2.checksum", "dataChecksum", base.HEX),
    checksum_status = ProtoField.uint8("setupl2.checksum.status", "checksum status", base.DEC,
        { [0] = "Bad", [1] = "Good", [2] = "Unverified" }),
    checksum_computed = ProtoField.uint32("setupl2.checksum.computed", "computed checksum",
        base.HEX),
    message = ProtoField.none("setupl2.message", "message"),
    total = ProtoField.uint16("setupl2.tlv.total", "total length", base.DEC),
    entry = ProtoField.none("setupl2.tlv", "entry"),
    entry_type = ProtoField.uint8("setupl2.tlv.type", "type", base.DEC),
    entry_length = ProtoField.uint16("setupl2.tlv.length", "length", base.DEC),
    padding = ProtoField.bytes("setupl2.padding", "padding"),
    setup_status = ProtoField.uint8("setupl2.setup_status", "status", base.DEC),
    fragment = ProtoField.framenum("setupl2.fragment", "fragment", base.NONE),
    fragment_data = ProtoField.bytes("setupl2.fragment.data", "fragment data"),
    reassembled_in = ProtoField.framenum("setupl2.reassembled_in", "reassembled in", base.NONE),
    reassembled_length = ProtoField.uint32("setupl2.reassembled.length", "reassembled length",
        base.DEC),

    steps_count = ProtoField.uint32("setupl2.steps.count", "mNumberOfSteps", base.DEC),
    step = ProtoField.none("setupl2.step", "step"),
    step_id = ProtoField.uint8("setupl2.step.id", "configurationStepId", base.DEC, STEP_IDS),
    step_status = ProtoField.uint8("setupl2.step.status", "configurationStepStatus", base.DEC,
        STEP_STATUSES),

    disks_count = ProtoField.uint64("setupl2.disks.count", "mNumberOfDisks", base.DEC),
    disk = ProtoField.none("setupl2.disk", "disk"),
    disk_enclosure = ProtoField.int64("setupl2.disk.enclosure", "enclosureIndex", base.DEC),
    disk_position = ProtoField.int64("setupl2.disk.position", "enclosurePosition", base.DEC),
    disk_status = ProtoField.int64("setupl2.disk.status", "diskStatus", base.DEC),
    disk_class = ProtoField.string("setupl2.disk.class", "diskclass"),
    disk_product = ProtoField.string("setupl2.disk.product", "product"),
    disk_revision = ProtoField.string("setupl2.disk.revision", "revision"),
    disk_size = ProtoField.int64("setupl2.disk.size", "disksize", base.DEC),
    disk_healthy = ProtoField.bool("setupl2.disk.healthy", "healthy", base.NONE),

    controllers = ProtoField.uint8("setupl2.ports.controllers", "numberOfControllers", base.DEC),
    controller = ProtoField.none("setupl2.ports.controller", "controller"),
    domains = ProtoField.uint8("setupl2.ports.fault_domains", "numberOfFaultDomains", base.DEC),
    domain = ProtoField.none("setupl2.fd", "fault domain"),
    fd_id = ProtoField.uint8("setupl2.fd.id", "id", base.DEC),
    fd_ip = ProtoField.ipv4("setupl2.fd.ip", "faultDomainIpV4"),
    fd_netmask = ProtoField.ipv4("setupl2.fd.netmask", "faultDomainNetmaskIpV4"),
    fd_gateway = ProtoField.ipv4("setupl2.fd.gateway", "faultDomainGatewayIpV4"),
    fd_ports = ProtoField.uint8("setupl2.fd.ports", "numberOfPorts", base.DEC),
    fd_transport = ProtoField.uint8("setupl2.fd.transport", "transportType", base.DEC),
    fd_embedded = ProtoField.bool("setupl2.fd.embedded", "embedded", base.NONE),
    port = ProtoField.none("setupl2.port", "port"),
    port_slot = ProtoField.uint8("setupl2.port.slot", "slotNumber", base.DEC),
    port_ip = ProtoField.ipv4("setupl2.port.ip", "portIpV4"),
    port_netmask = ProtoField.ipv4("setupl2.port.netmask", "portNetmaskIpV4"),
    port_gateway = ProtoField.ipv4("setupl2.port.gateway", "portGatewayIpV4"),
    port_transport = ProtoField.uint8("setupl2.port.transport", "transportType", base.DEC),
    port_location = ProtoField.uint8("setupl2.port.location", "portLocation", base.DEC),
    port_slot_port = ProtoField.uint8("setupl2.port.slot_port", "slotPortNumber", base.DEC),
    port_configured = ProtoField.bool("setupl2.port.configured", "isConfigured", base.NONE),
    port_embedded = ProtoField.bool("setupl2.port.embedded", "isEmbedded", base.NONE),
    port_network = ProtoField.uint8("setupl2.port.network", "network", base.DEC),
    port_status = ProtoField.uint8("setupl2.port.status", "status", base.DEC),
    port_controller = ProtoField.int64("setupl2.port.controller_index", "controllerIndex",
        base.DEC),
    port_card = ProtoField.uint8("setupl2.port.card_model", "cardModel", base.DEC),
    slack = ProtoField.bytes("setupl2.ports.slack", "slack"),
}

-- One field per entry of each message: setupl2.<message>.<entry>, e.g.
-- setupl2.hello_rsp.eth0_ipv4_address.
local VALUE_FIELD = {
    str = function(a, n) return ProtoField.string(a, n) end,
    le16 = function(a, n) return ProtoField.uint16(a, n, base.DEC) end,
    be16 = function(a, n) return ProtoField.uint16(a, n, base.DEC) end,
    le32 = function(a, n) return ProtoField.uint32(a, n, base.DEC) end,
    u8 = function(a, n) return ProtoField.uint8(a, n, base.DEC) end,
    bool = function(a, n) return ProtoField.bool(a, n, base.NONE) end,
    ip4net = function(a, n) return ProtoField.ipv4(a, n) end,
    ip4rev = function(a, n) return ProtoField.ipv4(a, n) end,
    ip6 = function(a, n) return ProtoField.ipv6(a, n) end,
    password = function(a, n) return ProtoField.uint16(a, n, base.DEC) end,
    bytes = function(a, n) return ProtoField.bytes(a, n) end,
    ports = function(a, n) return ProtoField.none(a, n) end,
    steps = function(a, n) return ProtoField.none(a, n) end,
    disks = function(a, n) return ProtoField.none(a, n) end,
    disks1 = function(a, n) return ProtoField.none(a, n) end,
}
local entry_fields = {}
for opcode, codes in pairs(ENTRIES) do
    entry_fields[opcode] = {}
    local prefix = "setupl2." .. OPCODES[opcode]:lower() .. "."
    for code, def in pairs(codes) do
        local field = VALUE_FIELD[def[2]](prefix .. def[1]:lower(), def[1])
        entry_fields[opcode][code] = field
        f["e" .. opcode .. "_" .. code] = field
    end
end
local unknown_value = ProtoField.bytes("setupl2.unknown", "value")
f.unknown = unknown_value
p.fields = f

local e = {
    checksum_bad = ProtoExpert.new("setupl2.checksum.bad", "Bad checksum", expert.group.CHECKSUM,
        expert.severity.WARN),
    malformed = ProtoExpert.new("setupl2.malformed", "Malformed", expert.group.MALFORMED,
        expert.severity.ERROR),
    odd_length = ProtoExpert.new("setupl2.odd_length", "Value of an unexpected length",
        expert.group.PROTOCOL, expert.severity.WARN),
    unknown = ProtoExpert.new("setupl2.unknown_code", "Unknown code", expert.group.UNDECODED,
        expert.severity.NOTE),
    fragment = ProtoExpert.new("setupl2.fragment.bad", "Fragment out of place",
        expert.group.SEQUENCE, expert.severity.WARN),
    reassembled = ProtoExpert.new("setupl2.reassembled", "Message reassembled",
        expert.group.REASSEMBLE, expert.severity.CHAT),
}
p.experts = e

---------------------------------------------------------------------------------------------
-- SHA-256, of which the protocol keeps the first four bytes

local band, bor, bxor, bnot = bit32.band, bit32.bor, bit32.bxor, bit32.bnot
local rrotate, rshift = bit32.rrotate, bit32.rshift
local K = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2,
}

local function sha256_prefix(data)
    local len = #data
    local tail = len % 64
    data = data .. "\128" .. string.rep("\0", (tail < 56 and 55 or 119) - tail)
        .. string.char(0, 0, 0, 0, band(rshift(len, 21), 0xff), band(rshift(len, 13), 0xff),
            band(rshift(len, 5), 0xff), band(len * 8, 0xff))
    local h = { 0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19 }
    local w = {}
    for chunk = 1, #data, 64 do
        for i = 0, 15 do
            local a, b, c, d = data:byte(chunk + i * 4, chunk + i * 4 + 3)
            w[i] = bor(a * 0x1000000, b * 0x10000, c * 0x100, d)
        end
        for i = 16, 63 do
            local s0 = bxor(rrotate(w[i - 15], 7), rrotate(w[i - 15], 18), rshift(w[i - 15], 3))
            local s1 = bxor(rrotate(w[i - 2], 17), rrotate(w[i - 2], 19), rshift(w[i - 2], 10))
            w[i] = band(w[i - 16] + s0 + w[i - 7] + s1, 0xffffffff)
        end
        local a, b, c, d, e5, f5, g, hh = h[1], h[2], h[3], h[4], h[5], h[6], h[7], h[8]
        for i = 0, 63 do
            local s1 = bxor(rrotate(e5, 6), rrotate(e5, 11), rrotate(e5, 25))
            local ch = bxor(band(e5, f5), band(bnot(e5), g))
            local t1 = hh + s1 + ch + K[i + 1] + w[i]
            local s0 = bxor(rrotate(a, 2), rrotate(a, 13), rrotate(a, 22))
            local maj = bxor(band(a, b), band(a, c), band(b, c))
            hh, g, f5, e5, d, c, b, a =
                g, f5, e5, band(d + t1, 0xffffffff), c, b, a, band(t1 + s0 + maj, 0xffffffff)
        end
        h[1], h[2], h[3], h[4] = band(h[1] + a, 0xffffffff), band(h[2] + b, 0xffffffff),
            band(h[3] + c, 0xffffffff), band(h[4] + d, 0xffffffff)
        h[5], h[6], h[7], h[8] = band(h[5] + e5, 0xffffffff), band(h[6] + f5, 0xffffffff),
            band(h[7] + g, 0xffffffff), band(h[8] + hh, 0xffffffff)
    end
    return h[1]
end

---------------------------------------------------------------------------------------------
-- Reading inside bounds

local function malformed(item, text)
    item:add_proto_expert_info(e.malformed, text)
end

-- A cursor over a TvbRange: every read checks that its bytes are there first.
local Cursor = {}
Cursor.__index = Cursor
local function cursor(range) return setmetatable({ r = range, off = 0 }, Cursor) end
function Cursor:left() return self.r:len() - self.off end
function Cursor:take(n)
    if n > self:left() then return nil end
    local r = self.r:range(self.off, n)
    self.off = self.off + n
    return r
end
function Cursor:rest()
    return self:left() > 0 and self.r:range(self.off) or nil
end

-- Adds field over the next n bytes (little-endian when le); nil when they are not there.
local function add_next(tree, c, field, n, le, what)
    local r = c:take(n)
    if not r then
        malformed(tree, (what or "record") .. " ends before its " .. n .. " bytes")
        return nil
    end
    if le then return tree:add_le(field, r) end
    return tree:add(field, r)
end

---------------------------------------------------------------------------------------------
-- Packed records

local function records_count(tree, c, field, width, record_min, what)
    local r = c:take(width)
    if not r then
        malformed(tree, what .. " count cut short")
        return nil
    end
    local item = tree:add_le(field, r)
    local count = width == 8 and r:le_uint64() or UInt64.new(r:le_uint())
    -- A count cannot promise more records than the bytes that follow can hold.
    local fits = math.floor(c:left() / record_min)
    if count > UInt64.new(fits) then
        malformed(item, "count " .. tostring(count) .. " is more than the " .. c:left() ..
            " bytes that follow hold")
        return fits
    end
    return count:tonumber()
end

local function plural(n, word)
    return n .. " " .. word .. (n == 1 and "" or "s")
end

local function decode_steps(tree, range)
    local c = cursor(range)
    local n = records_count(tree, c, f.steps_count, 4, 2, "step")
    tree:append_text(": " .. plural(n or 0, "step"))
    for i = 1, n or 0 do
        local r = c:take(2)
        local st = tree:add(f.step, r)
        st:add(f.step_id, r:range(0, 1))
        st:add(f.step_status, r:range(1, 1))
        st:set_text(string.format("Step %d: %s, %s", i,
            STEP_IDS[r:range(0, 1):uint()] or ("step " .. r:range(0, 1):uint()),
            STEP_STATUSES[r:range(1, 1):uint()] or ("status " .. r:range(1, 1):uint())))
    end
    if c:left() > 0 then tree:add(f.padding, c:rest()) end
end

local function decode_disks(tree, range)
    local c = cursor(range)
    local n = records_count(tree, c, f.disks_count, 8, 24, "disk")
    tree:append_text(": " .. plural(n or 0, "disk"))
    for i = 1, n or 0 do
        local r = c:take(24)
        local d = tree:add(f.disk, r)
        d:add_le(f.disk_enclosure, r:range(0, 8))
        d:add_le(f.disk_position, r:range(8, 8))
        d:add_le(f.disk_status, r:range(16, 8))
        d:set_text(string.format("Disk %d: enclosure %s, position %s, status %s", i,
            tostring(r:range(0, 8):le_int64()), tostring(r:range(8, 8):le_int64()),
            tostring(r:range(16, 8):le_int64())))
    end
    if c:left() > 0 then tree:add(f.padding, c:rest()) end
end

local function add_raw_string(tree, c, field)
    local lr = c:take(2)
    if not lr then
        malformed(tree, "string length cut short")
        return false
    end
    local len = lr:le_uint()
    if len > c:left() then
        malformed(tree, "string of " .. len .. " bytes runs past the value")
        return false
    end
    if len == 0 then
        tree:add(field, lr, "")
    else
        tree:add(field, c:take(len))
    end
    return true
end

local function decode_disks1(tree, range)
    local c = cursor(range)
    -- The shortest extended record: three empty strings, the size and the health byte.
    local n = records_count(tree, c, f.disks_count, 8, 15, "disk")
    tree:append_text(": " .. plural(n or 0, "disk"))
    for i = 1, n or 0 do
        local start = c.off
        if c:left() == 0 then return malformed(tree, "disk " .. i .. " is missing") end
        local d = tree:add(f.disk, c.r:range(start, 1))
        local ok = add_raw_string(d, c, f.disk_class) and add_raw_string(d, c, f.disk_product)
            and add_raw_string(d, c, f.disk_revision)
            and add_next(d, c, f.disk_size, 8, true, "disk") and add_next(d, c, f.disk_healthy, 1)
        d:set_len(c.off - start)
        d:set_text("Disk " .. i)
        if not ok then return end
    end
    if c:left() > 0 then tree:add(f.padding, c:rest()) end
end

-- Field, offset, width, little-endian.
local PORT_LAYOUT = {
    { "port_slot", 0, 1 }, { "port_ip", 1, 4 }, { "port_netmask", 5, 4 },
    { "port_gateway", 9, 4 }, { "port_transport", 13, 1 }, { "port_location", 14, 1 },
    { "port_slot_port", 15, 1 }, { "port_configured", 16, 1 }, { "port_embedded", 17, 1 },
    { "port_network", 18, 1 }, { "port_status", 19, 1 }, { "port_controller", 20, 8, true },
    { "port_card", 28, 1 },
}
local DOMAIN_LAYOUT = {
    { "fd_id", 0, 1 }, { "fd_ip", 1, 4 }, { "fd_netmask", 5, 4 }, { "fd_gateway", 9, 4 },
    { "fd_ports", 13, 1 }, { "fd_transport", 14, 1 }, { "fd_embedded", 15, 1 },
}
local PORT_SIZE, DOMAIN_SIZE = 29, 16

local function add_layout(tree, r, layout)
    for _, fl in ipairs(layout) do
        local sub = r:range(fl[2], fl[3])
        if fl[4] then tree:add_le(f[fl[1]], sub) else tree:add(f[fl[1]], sub) end
    end
end

-- A nested count is read as a signed byte by the receiver: 128 and more hold nothing.
local function child_count(item, r)
    local n = r:uint()
    if n >= 128 then
        item:add_proto_expert_info(e.odd_length, "a count of 128 or more is read as none")
        return 0
    end
    return n
end

local function decode_ports(tree, range)
    local c = cursor(range)
    local r = c:take(1)
    if not r then return malformed(tree, "no controller count") end
    local nc = child_count(tree:add(f.controllers, r), r)
    tree:append_text(": " .. plural(nc, "controller"))
    for ci = 1, nc do
        r = c:take(1)
        if not r then return malformed(tree, "controller " .. ci .. " is missing") end
        local ct = tree:add(f.controller, r)
        ct:set_text("Controller " .. ci)
        local cstart = c.off - 1
        for di = 1, child_count(ct:add(f.domains, r), r) do
            local dr = c:take(DOMAIN_SIZE)
            if not dr then return malformed(ct, "fault domain " .. di .. " is cut short") end
            local dt = ct:add(f.domain, dr)
            dt:set_text("Fault domain " .. dr:range(0, 1):uint())
            add_layout(dt, dr, DOMAIN_LAYOUT)
            local dstart = c.off - DOMAIN_SIZE
            for pi = 1, child_count(dt, dr:range(13, 1)) do
                local pr = c:take(PORT_SIZE)
                if not pr then return malformed(dt, "port " .. pi .. " is cut short") end
                local pt = dt:add(f.port, pr)
                pt:set_text("Port " .. pi)
                add_layout(pt, pr, PORT_LAYOUT)
            end
            dt:set_len(c.off - dstart)
        end
        ct:set_len(c.off - cstart)
    end
    -- Each port reserves 32 bytes and fills 29: the slack collects at the end.
    if c:left() > 0 then tree:add(f.slack, c:rest()) end
end

local RECORDS = { ports = decode_ports, steps = decode_steps, disks = decode_disks,
                  disks1 = decode_disks1 }
local WIDTH = { le16 = 2, be16 = 2, le32 = 4, u8 = 1, bool = 1, ip4net = 4, ip4rev = 4, ip6 = 16 }
local LITTLE = { le16 = true, le32 = true, ip4rev = true }

---------------------------------------------------------------------------------------------
-- The TLV block

-- One entry's value; anchor (the entry's header) stands in for an empty value.
local function decode_entry(tree, opcode, code, value, vlen, anchor)
    local def = ENTRIES[opcode] and ENTRIES[opcode][code]
    local where = value or anchor
    if not def then
        local it = tree:add(unknown_value, where)
        it:add_proto_expert_info(e.unknown, "code " .. code .. " is not one of this message's")
        return "code " .. code
    end
    local name, kind = def[1], def[2]
    local field = entry_fields[opcode][code]
    local width = WIDTH[kind]
    if kind == "password" then
        -- Never the ciphertext itself: only how much of it there is.
        tree:add(field, where, vlen):set_text(name .. ": " .. vlen .. " bytes, encrypted")
    elseif kind == "str" and vlen == 0 then
        tree:add(field, anchor, "")
    elseif not value then
        tree:add(unknown_value, anchor):add_proto_expert_info(e.odd_length, name .. " is empty")
    elseif RECORDS[kind] then
        RECORDS[kind](tree:add(field, value), value)
    elseif width and vlen < width then
        malformed(tree:add(unknown_value, value), name .. " needs " .. width .. " bytes, has " .. vlen)
    elseif width then
        local r = value:range(0, width)
        local it = LITTLE[kind] and tree:add_le(field, r) or tree:add(field, r)
        if vlen > width then
            it:add_proto_expert_info(e.odd_length, name .. " has " .. vlen .. " bytes, reads " .. width)
        end
    else
        tree:add(field, value)
    end
    return name
end

local function decode_block(tree, data, opcode)
    if data:len() < 2 then
        malformed(tree, "no total length")
        return 0
    end
    local total = data:range(0, 2):uint()
    local ti = tree:add(f.total, data:range(0, 2))
    local limit = total
    if total < 2 or total > data:len() then
        malformed(ti, "total length " .. total .. " outside the " .. data:len() ..
            " bytes of the body")
        limit = math.min(math.max(total, 2), data:len())
    end
    local off, count = 2, 0
    while off < limit do
        local code = data:range(off, 1):uint()
        if code == 0 then break end
        if off + 3 > limit then
            malformed(tree:add(f.padding, data:range(off, limit - off)), "entry header cut short")
            break
        end
        local vlen = data:range(off + 1, 2):uint()
        local avail = math.min(vlen, limit - off - 3)
        local et = tree:add(f.entry, data:range(off, 3 + avail))
        et:add(f.entry_type, data:range(off, 1))
        et:add(f.entry_length, data:range(off + 1, 2))
        local value = avail > 0 and data:range(off + 3, avail) or nil
        if avail < vlen then
            malformed(et, "value of " .. vlen .. " bytes runs past the block")
            et:set_text("Entry " .. code .. ", length " .. vlen .. " (cut short)")
            break
        end
        local name = decode_entry(et, opcode, code, value, vlen, data:range(off, 3))
        et:set_text(string.format("%s (%d), length %d", name, code, vlen))
        off = off + 3 + vlen
        count = count + 1
    end
    if data:len() > limit then tree:add(f.padding, data:range(limit)) end
    return count
end

local function show_checksum(tree, item, wanted, data)
    local status = 2
    if data then
        local computed = sha256_prefix(data)
        tree:add(f.checksum_computed, computed):set_generated()
        status = computed == wanted and 1 or 0
    end
    tree:add(f.checksum_status, status):set_generated()
    if status == 0 then
        item:add_proto_expert_info(e.checksum_bad)
        item:append_text(" [incorrect]")
    elseif status == 1 then
        item:append_text(" [correct]")
    end
    return status
end

-- The whole message in data (a Tvb or TvbRange): its entries, and its checksum checked.
local function decode_message(tree, item, data, opcode, wanted)
    local mt = tree:add(f.message, data)
    if opcode == 6 then
        -- A setup answer is one status byte where a block would have its length.
        if data:len() < 1 then
            malformed(mt, "no status byte")
            return "", 2
        end
        mt:add(f.setup_status, data:range(0, 1))
        mt:set_text("Setup status " .. data:range(0, 1):uint())
        if data:len() > 1 then mt:add(f.padding, data:range(1)) end
        return ", status " .. data:range(0, 1):uint(),
            show_checksum(tree, item, wanted, data:range(0, 1):raw())
    end
    local count = decode_block(mt, data, opcode)
    mt:set_text(string.format("Message: %d entr%s", count, count == 1 and "y" or "ies"))
    -- A receiver sums the bytes in use as its buffer holds them: zeros past what arrived.
    local raw = nil
    if data:len() >= 2 then
        local total = data:range(0, 2):uint()
        local held = math.min(total, data:len())
        raw = (held > 0 and data:range(0, held):raw() or "") ..
            string.rep("\0", total - held)
    end
    return string.format(", %d entr%s", count, count == 1 and "y" or "ies"),
        show_checksum(tree, item, wanted, raw)
end

---------------------------------------------------------------------------------------------
-- Reassembly: frames of one message share source, destination, opcode and checksum. The
-- first pass in frame order decides everything; later passes (tshark -2, Wireshark's
-- redissection) only read what it stored, so each frame always shows the same thing.

local partial, fragments, complete

local function forget()
    partial = {}    -- key -> { n, slots = { [id] = { frame, bytes } }, since }
    fragments = {}  -- frame -> { id, n, done = frame that completed the message }
    complete = {}   -- frame -> { bytes = ByteArray, frames = { ... } }
end
forget()
p.init = forget

local function collect(pinfo, key, n, id, bytes)
    local part = partial[key]
    local now = pinfo.abs_ts
    if part and now - part.since > PARTIAL_SECONDS then part = nil end
    if not part then
        part = { n = n, slots = {}, since = now }
        partial[key] = part
    end
    local entry = { id = id, n = part.n }
    fragments[pinfo.number] = entry
    if id < 1 or id > part.n then
        entry.out_of_place = true
        return
    end
    part.slots[id] = { frame = pinfo.number, bytes = bytes }
    for i = 1, part.n do
        if not part.slots[i] then return end
    end
    local whole, frames = ByteArray.new(), {}
    for i = 1, part.n do
        whole:append(part.slots[i].bytes)
        frames[i] = part.slots[i].frame
        fragments[part.slots[i].frame].done = pinfo.number
    end
    complete[pinfo.number] = { bytes = whole, frames = frames }
    partial[key] = nil
end

---------------------------------------------------------------------------------------------
-- The frame

local function dissect_payload(tvb, pinfo, tree, off)
    pinfo.cols.protocol = "SETUPL2"
    local root = tree:add(p, tvb:len() > off and tvb:range(off) or tvb:range(14, off - 14))
    if tvb:len() < off + PAYLOAD_HEADER then
        malformed(root, "payload header cut short")
        pinfo.cols.info = "Setup protocol, payload header cut short"
        return
    end
    local version = tvb:range(off, 2):uint()
    local opcode = tvb:range(off + 2, 2):uint()
    local announced = tvb:range(off + 4, 2):uint()
    local n = tvb:range(off + 6, 1):uint()
    local id = tvb:range(off + 7, 1):uint()
    local wanted = tvb:range(off + 8, 4):uint()
    root:add(f.version, tvb:range(off, 2))
    local oi = root:add(f.opcode, tvb:range(off + 2, 2))
    local li = root:add(f.length, tvb:range(off + 4, 2))
    root:add(f.packets, tvb:range(off + 6, 1))
    root:add(f.packet_id, tvb:range(off + 7, 1))
    local ci = root:add(f.checksum, tvb:range(off + 8, 4))
    local name = OPCODES[opcode] or ("opcode " .. opcode)
    if not OPCODES[opcode] then oi:add_proto_expert_info(e.unknown, "unknown opcode") end
    if version ~= 4 and version ~= 5 then
        root:add_proto_expert_info(e.unknown, "version " .. version .. " is neither 4 nor 5")
    end
    root:append_text(string.format(", %s, version %d", name, version))
    local info = string.format("%s v%d", name, version)

    local boff = off + PAYLOAD_HEADER
    local blen = announced
    if boff + announced > tvb:len() then
        malformed(li, "announces " .. announced .. " bytes, the frame holds " .. (tvb:len() - boff))
        blen = tvb:len() - boff
    end
    local body = blen > 0 and tvb:range(boff, blen) or nil

    if version >= 5 and n > 1 then
        local src = tvb:range(6, 6):bytes():tohex()
        local dst = tvb:range(0, 6):bytes():tohex()
        if body then root:add(f.fragment_data, body) end
        if not pinfo.visited then
            -- A slot announced longer than a frame holds counts as filled, with no data, as
            -- a receiver takes it.
            local bytes = (body and announced <= FRAME_BODY) and body:bytes() or ByteArray.new()
            collect(pinfo, table.concat({ src, dst, opcode, wanted }, "/"), n, id, bytes)
        end
        local frag = fragments[pinfo.number]
        info = info .. string.format(", fragment %d of %d", id, frag and frag.n or n)
        root:append_text(string.format(", fragment %d of %d", id, frag and frag.n or n))
        if frag and frag.out_of_place then
            root:add_proto_expert_info(e.fragment, "packetId " .. id .. " outside 1.." .. frag.n)
        end
        if frag and frag.done then
            root:add(f.reassembled_in, frag.done):set_generated()
        end
        local whole = complete[pinfo.number]
        if whole then
            local rt = whole.bytes:tvb("Reassembled message")
            for _, fr in ipairs(whole.frames) do root:add(f.fragment, fr):set_generated() end
            root:add(f.reassembled_length, whole.bytes:len()):set_generated()
            root:add_proto_expert_info(e.reassembled, #whole.frames .. " frames reassembled")
            local more, status = decode_message(root, ci, rt(), opcode, wanted)
            info = info .. " (reassembled" .. more .. (status == 0 and ", bad checksum)" or ")")
        end
    elseif body then
        local more, status = decode_message(root, ci, body, opcode, wanted)
        info = info .. more .. (status == 0 and ", bad checksum" or "")
    else
        malformed(root, "no body")
    end
    pinfo.cols.info = info
end

-- Ours when the SNAP header says so, with or without a VLAN tag.
local function snap_offset(tvb)
    if tvb:len() >= 22 and tvb:range(12, 2):uint() <= 1500 and
        tvb:range(14, 8):bytes():tohex() == SNAP then
        return 22
    end
    if tvb:len() >= 26 and tvb:range(12, 2):uint() == 0x8100 and
        tvb:range(16, 2):uint() <= 1500 and tvb:range(18, 8):bytes():tohex() == SNAP then
        return 26
    end
    return nil
end

-- The Ethernet dissector offers every frame to its heuristics before it reads the header
-- itself: take ours, let it show the Ethernet and LLC headers, then add the payload.
local eth = Dissector.get("eth_withoutfcs")
local inside = false

local function heuristic(tvb, pinfo, tree)
    if inside then return false end
    local off = snap_offset(tvb)
    if not off then return false end
    inside = true
    local ok, err = pcall(function() eth:call(tvb, pinfo, tree) end)
    inside = false
    if not ok then error(err) end
    dissect_payload(tvb, pinfo, tree, off)
    return true
end

p:register_heuristic("eth", heuristic)
