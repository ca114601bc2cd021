-- quorvid.lua: a Wireshark dissector for the protocol of docs/protocol.md: requests, replies, the
-- fleet and car streams. Wireshark 3.6 or later with Lua.
--
-- Connections are recognised by their request, wherever the server listens; where the capture begins
-- later, by the port (preference "TCP ports") or the tags of what the server sends. Every length
-- that the wire states is held to the protocol's limits before anything is waited for or shown.
-- A parser takes (tvb, offset, pinfo, tree, state) and returns how many bytes it took, or nothing and
-- how many more bytes the record has. Where that isn't known yet it asks for a segment: Wireshark
-- bears no second question about the same bytes.

local quorvid = Proto("quorvid", "Quorvid vehicle video")

local MOST_PAYLOAD, MOST_ITEMS, MOST_EXTRA, MOST_RELAY = 131072, 200, 2364, 508
local MOST_UNITS = 256 -- of a frame, shown one by one
local HEADER, RECORD = 124, 280 -- of replies
local BYTES = { " byte", " bytes" }
local SUCCESS = 32769
local KINDS = { [0x56] = "video", [0x41] = "audio" }
local COMMANDS = { [130] = "device list", [134] = "relay lookup", [SUCCESS] = "success" }
local UNITS = { [1] = "slice", [2] = "partition A", [3] = "partition B", [4] = "partition C",
  [5] = "slice of an IDR picture", [6] = "SEI", [7] = "sequence parameter set",
  [8] = "picture parameter set", [9] = "delimiter", [12] = "filler" }

local f = {}
local function field(key, make, name, ...)
  f[key] = ProtoField[make]("quorvid." .. key, name, ...)
end
local function length(key, name) field(key, "int32", name, base.UNIT_STRING, BYTES) end

field("request.tag", "string", "Tag")
field("request.version", "int32", "Version word", base.DEC)
field("request.size", "int32", "Size word", base.UNIT_STRING, BYTES)
field("request.command", "int32", "Command", base.DEC, COMMANDS)
field("request.account", "stringz", "Account")
field("request.password", "stringz", "Password")
field("request.token", "stringz", "Token")
field("request.text3", "stringz", "Third text")
field("request.device", "stringz", "Device")
field("request.channel", "string", "Channel, counted from 0, two digits")
field("request.channel_from_1", "int32", "Channel, counted from 1", base.DEC)
field("request.live", "string", "Kind of stream")
field("request.options", "bytes", "Options")
field("request.relay_asked", "int32", "A relay is asked for", base.DEC, { [0] = "no", [1] = "yes" })
field("request.words", "int32", "Word", base.DEC)
field("zero", "bytes", "Zeros")
field("skipped", "bytes", "Skipped")
field("fleet.status", "int32", "Answer status", base.DEC, { [0] = "accepted" })
field("fleet.kind", "uint8", "Packet kind", base.HEX, KINDS)
length("fleet.length", "Payload length")
field("car.tag", "string", "Tag")
field("car.number", "int32", "Frame number", base.DEC)
length("car.length", "Payload length")
field("car.info", "bytes", "Info")
field("car.type", "int8", "Frame type", base.DEC, { [3] = "continues the frame before" })
field("payload", "bytes", "Access unit (H.264, Annex B)")
field("audio", "bytes", "Audio")
field("unit.type", "uint8", "H.264 unit", base.DEC, UNITS, 0x1F)
length("unit.length", "Unit length")
field("reply.tag", "string", "Tag")
field("reply.command", "int32", "Reply command", base.DEC, COMMANDS)
length("reply.length", "Reply length")
field("reply.items", "int32", "Records", base.DEC)
field("reply.relay", "ipv4", "Relay address")
field("reply.relay_port", "int32", "Relay port", base.DEC)
length("item.length", "Record length")
for _, name in ipairs({ "blk64", "blkA32", "blkB32", "blk9", "blk128" }) do
  field("item." .. name, "bytes", name)
end
for _, name in ipairs({ "numA", "numB" }) do field("item." .. name, "int32", name, base.DEC) end
for _, name in ipairs({ "byteA", "byteB", "byteC" }) do
  field("item." .. name, "uint8", name, base.DEC)
end
local fields = {}
for _, made in pairs(f) do fields[#fields + 1] = made end
quorvid.fields = fields

local severity, group = expert.severity, expert.group
local function problem(key, text, how)
  return ProtoExpert.new("quorvid." .. key, text, group.MALFORMED, how)
end
local e = {
  request = problem("request.unknown", "No request of the protocol", severity.ERROR),
  text = problem("text.unterminated", "The text fills its field, without a NUL", severity.WARN),
  channel = problem("channel.wrong", "The channel is no number from 0 to 7", severity.WARN),
  zero = problem("zero.set", "Bytes that are zero in the protocol are not", severity.NOTE),
  status = problem("fleet.refused", "The server refused the stream", severity.WARN),
  kind = problem("fleet.kind.wrong", "Neither V nor A: clients end the connection", severity.ERROR),
  length = problem("length.wrong", "The length is out of its limits: clients end the connection",
    severity.ERROR),
  garbage = problem("tag.searched", "Bytes before a tag are skipped", severity.NOTE),
  command = problem("reply.failure", "No reply of success: clients end the connection",
    severity.ERROR),
  items = problem("reply.items.cut", "At most 200 records are read", severity.WARN),
  broken = problem("broken", "Behind what ended the stream; nothing is read here", severity.NOTE),
}
quorvid.experts = e

-- By the two ends: what was asked for from a frame on, and how that stream began or ended. (The
-- number of the TCP stream isn't there while Wireshark reads a file for the first time.)
local streams = {}
function quorvid.init() streams = {} end

local function is_zero(raw) return not raw:find("[^\0]") end

local function add_text(tree, key, tvb, offset, width)
  local item = tree:add(f[key], tvb(offset, width))
  if not tvb:raw(offset, width):find("\0", 1, true) then item:add_proto_expert_info(e.text) end
end
local function add_zeros(tree, tvb, offset, width)
  if width <= 0 then return end
  local item = tree:add(f["zero"], tvb(offset, width))
  if not is_zero(tvb:raw(offset, width)) then item:add_proto_expert_info(e.zero) end
end
local function skip(tree, tvb, offset, width)
  if width > 0 then tree:add(f["skipped"], tvb(offset, width)) end
end
local function says(pinfo, ...) pinfo.cols.info:append(" " .. string.format(...)) end

-- The bytes that are there belong to nothing that a client reads.
local function end_stream(tvb, offset, pinfo, tree, state, why, at)
  at:add_proto_expert_info(why)
  if not state.broken or pinfo.number < state.broken then state.broken = pinfo.number end
  return tvb:len() - offset
end

-- ---- Requests

local function channel_from_1(tree, tvb, offset, width)
  local item = tree:add_le(f["request.channel_from_1"], tvb(offset, width))
  local value = tvb(offset, width):le_int()
  if value < 1 or value > 8 then item:add_proto_expert_info(e.channel) end
  return value - 1
end

local function fleet_request(tvb, at, pinfo, tree)
  tree:add(f["request.tag"], tvb(at, 3))
  add_text(tree, "request.device", tvb, at + 3, 32)
  local channel = tree:add(f["request.channel"], tvb(at + 35, 2))
  local digits = tvb:raw(at + 35, 2)
  if not digits:find("^0[0-7]$") then channel:add_proto_expert_info(e.channel) end
  tree:add(f["request.live"], tvb(at + 37, 1))
  add_zeros(tree, tvb, at + 38, 43)
  says(pinfo, "fleet video request, device %s, channel %s", tvb(at + 3, 32):stringz(), digits)
end

local function car_request(tvb, at, pinfo, tree)
  tree:add(f["request.tag"], tvb(at, 8))
  tree:add_le(f["request.version"], tvb(at + 8, 4))
  tree:add_le(f["request.size"], tvb(at + 12, 4))
  add_text(tree, "request.account", tvb, at + 16, 32)
  add_text(tree, "request.password", tvb, at + 48, 32)
  add_text(tree, "request.token", tvb, at + 80, 32)
  add_text(tree, "request.device", tvb, at + 112, 64)
  tree:add(f["request.options"], tvb(at + 176, 2))
  local channel = channel_from_1(tree, tvb, at + 178, 1)
  tree:add(f["request.options"], tvb(at + 179, 1))
  add_zeros(tree, tvb, at + 180, 320)
  says(pinfo, "car video request, device %s, channel %d", tvb(at + 112, 64):stringz(), channel)
end

local function query_request(tvb, at, pinfo, tree)
  local command = tvb(at + 12, 4):le_int()
  tree:add(f["request.tag"], tvb(at, 8))
  tree:add_le(f["request.version"], tvb(at + 8, 4))
  tree:add_le(f["request.command"], tvb(at + 12, 4))
  tree:add_le(f["request.size"], tvb(at + 16, 4))
  add_text(tree, "request.account", tvb, at + 20, 32)
  add_text(tree, "request.password", tvb, at + 52, 32)
  add_text(tree, command == 134 and "request.token" or "request.text3", tvb, at + 84, 32)
  tree:add_le(f["request.relay_asked"], tvb(at + 116, 4))
  says(pinfo, "%s request, account %s", COMMANDS[command], tvb(at + 20, 32):stringz())
  if command == 130 then return add_zeros(tree, tvb, at + 120, 380) end
  tree:add_le(f["request.size"], tvb(at + 120, 4))
  tree:add_le(f["request.words"], tvb(at + 124, 4))
  add_text(tree, "request.device", tvb, at + 128, 64)
  says(pinfo, "device %s, channel %d", tvb(at + 128, 64):stringz(),
    channel_from_1(tree, tvb, at + 192, 4))
  tree:add_le(f["request.words"], tvb(at + 196, 4))
  tree:add_le(f["request.words"], tvb(at + 200, 4))
  add_zeros(tree, tvb, at + 204, 296)
end

-- Which request begins there: its kind, size and parser. Nothing where none does.
local function request_at(tvb, at)
  local left = tvb:len() - at
  local tag = tvb:raw(at, math.min(left, 8))
  if left >= 38 and tvb:raw(at, 38):find("^001.+%d%dL$") then return "fleet", 81, fleet_request end
  if tag == "3GTXV100" then return "car", 500, car_request end
  if tag ~= "3GAPV104" or left < 16 then return end
  local command = tvb(at + 12, 4):le_int()
  if command == 130 then return "list", 500, query_request end
  if command == 134 then return "relay", 500, query_request end
end

local function request(tvb, at, pinfo, tree, state)
  local kind, size, parse = request_at(tvb, at)
  local left = tvb:len() - at
  if kind == nil and left < 38 then return nil end
  if kind ~= nil and left < size then return nil, size - left end
  local part = tree:add(quorvid, tvb(at, size or left), "Quorvid request")
  if kind == nil then return end_stream(tvb, at, pinfo, tree, state, e.request, part) end
  state.kind = kind
  parse(tvb, at, pinfo, part)
  return size
end

-- ---- Streams

-- The units by their start codes, with the zeros between them.
local function add_units(tree, tvb, at, size)
  local raw = tvb:raw(at, size)
  local from = raw:find("\0\0\1", 1, true)
  for _ = 1, MOST_UNITS do
    if from == nil or from + 3 > size then return end
    local next = raw:find("\0\0\1", from + 3, true)
    local unit = tvb(at + from + 2, (next or size + 1) - from - 3)
    if unit:len() == 0 then return end
    local item = tree:add(f["unit.type"], unit(0, 1))
    item:add(f["unit.length"], unit, unit:len()):set_generated()
    from = next
  end
end

local function fleet_answer(tvb, at, pinfo, tree, state)
  local left = tvb:len() - at
  if left < 18 then return nil, 18 - left end
  local part = tree:add(quorvid, tvb(at, 18), "Quorvid fleet answer")
  local status = part:add_le(f["fleet.status"], tvb(at, 4))
  skip(part, tvb, at + 4, 14)
  state.answer = state.answer or pinfo.number
  says(pinfo, "answer %d", tvb(at, 4):le_int())
  if tvb(at, 4):le_int() == 0 then return 18 end
  return end_stream(tvb, at, pinfo, part, state, e.status, status)
end

-- The answer is the connection's first record; it begins with the status, 0, and a packet with a
-- letter.
local function fleet(tvb, at, pinfo, tree, state)
  local first = tvb(at, 1):uint()
  local is_early = state.answer == nil or pinfo.number <= state.answer
  if is_early and KINDS[first] == nil then return fleet_answer(tvb, at, pinfo, tree, state) end
  local left = tvb:len() - at
  if left < 5 then return nil end
  local size = tvb(at + 1, 4):le_int()
  local is_right = KINDS[first] ~= nil and size >= 0 and size <= MOST_PAYLOAD
  if is_right and left < 19 + size then return nil, 19 + size - left end
  local part = tree:add(quorvid, tvb(at, is_right and 19 + size or left), "Quorvid fleet packet")
  local kind = part:add(f["fleet.kind"], tvb(at, 1))
  local stated = part:add_le(f["fleet.length"], tvb(at + 1, 4))
  if not is_right then
    local why = KINDS[first] == nil and e.kind or e.length
    return end_stream(tvb, at, pinfo, part, state, why, why == e.kind and kind or stated)
  end
  skip(part, tvb, at + 5, 14)
  says(pinfo, "%s %d", KINDS[first], size)
  if size > 0 then
    local is_video = first == 0x56
    local payload = part:add(is_video and f["payload"] or f["audio"], tvb(at + 19, size))
    if is_video then add_units(payload, tvb, at + 19, size) end
  end
  return 19 + size
end

-- How far the next of the tags is; or how many bytes can be none's. 7 may be the beginning of one.
local function search(tvb, at, tags)
  local raw = tvb:raw(at, tvb:len() - at)
  local nearest
  for _, tag in ipairs(tags) do
    local found = raw:find(tag, 1, true)
    if found and (nearest == nil or found < nearest) then nearest = found end
  end
  if nearest ~= nil then return nearest - 1, true end
  return math.max(0, #raw - 7), false
end

-- Takes the garbage before a tag; nil where a tag stands.
local function garbage(tvb, at, tree, tags)
  local count, is_found = search(tvb, at, tags)
  if count > 0 then
    tree:add(f["skipped"], tvb(at, count)):add_proto_expert_info(e.garbage)
    return count
  end
  if not is_found then return 0 end
end

local function car(tvb, at, pinfo, tree, state)
  local taken = garbage(tvb, at, tree, { "3GTSV100" })
  if taken == 0 then return nil end
  if taken then return taken end
  local left = tvb:len() - at
  if left < 36 then return nil end
  local size = tvb(at + 16, 4):le_int()
  local is_right = size >= 0 and size <= MOST_PAYLOAD
  if is_right and left < 36 + size then return nil, 36 + size - left end
  local part = tree:add(quorvid, tvb(at, is_right and 36 + size or left), "Quorvid car frame")
  part:add(f["car.tag"], tvb(at, 8))
  part:add_le(f["car.number"], tvb(at + 8, 4))
  skip(part, tvb, at + 12, 4)
  local stated = part:add_le(f["car.length"], tvb(at + 16, 4))
  part:add(f["car.info"], tvb(at + 20, 16))
  part:add(f["car.type"], tvb(at + 33, 1))
  says(pinfo, "frame %d, %d", tvb(at + 8, 4):le_int(), size)
  if not is_right then return end_stream(tvb, at, pinfo, part, state, e.length, stated) end
  if size > 0 then
    add_units(part:add(f["payload"], tvb(at + 36, size)), tvb, at + 36, size)
  end
  return 36 + size
end

-- ---- Replies

-- Where each record begins, and the reply's end; nothing while it isn't all there.
local function records_of(tvb, at, count)
  local begins, offset = {}, at + HEADER
  for i = 1, count do
    if offset + RECORD > tvb:len() then return nil end
    local stated = tvb(offset, 4):le_int()
    local extra = stated >= RECORD + 4 and stated - RECORD or 0
    begins[i] = { offset, extra }
    if extra > MOST_EXTRA then return begins, tvb:len() end
    offset = offset + RECORD + extra
    if offset > tvb:len() then return nil end
  end
  return begins, offset
end

local function add_record(tvb, at, tree, extra)
  local size = math.min(RECORD + extra, tvb:len() - at)
  local part = tree:add(quorvid, tvb(at, size), "Device record")
  local stated = part:add_le(f["item.length"], tvb(at, 4))
  if extra > MOST_EXTRA then stated:add_proto_expert_info(e.length) end
  local offset = at + 4
  for _, it in ipairs({ { "blk64", 64 }, { "blkA32", 32 }, { "blkB32", 32 }, { "numA", 4 },
    { "numB", 4 }, { "byteA", 1 }, { "byteB", 1 }, { "byteC", 1 }, { "blk9", 9 },
    { "blk128", 128 } }) do
    part:add_le(f["item." .. it[1]], tvb(offset, it[2]))
    offset = offset + it[2]
  end
  skip(part, tvb, at + RECORD, size - RECORD)
end

local function add_reply_header(tvb, at, size, tree)
  local part = tree:add(quorvid, tvb(at, size), "Quorvid reply")
  part:add(f["reply.tag"], tvb(at, 8))
  skip(part, tvb, at + 8, 4)
  local command = part:add_le(f["reply.command"], tvb(at + 12, 4))
  return part, command, part:add_le(f["reply.length"], tvb(at + 16, 4))
end

local function list_reply(tvb, at, pinfo, tree, state)
  local count = tvb(at + 120, 4):le_int()
  local begins, last = records_of(tvb, at, math.max(0, math.min(count, MOST_ITEMS)))
  if begins == nil then return nil end
  local part = add_reply_header(tvb, at, last - at, tree)
  skip(part, tvb, at + 20, 100)
  local items = part:add_le(f["reply.items"], tvb(at + 120, 4))
  if count > MOST_ITEMS then items:add_proto_expert_info(e.items) end
  says(pinfo, "reply, %d records", count)
  for _, it in ipairs(begins) do add_record(tvb, it[1], part, it[2]) end
  if count < 1 then return end_stream(tvb, at, pinfo, part, state, e.length, items) end
  return last - at
end

local function relay_reply(tvb, at, pinfo, tree, state)
  local size = tvb(at + 16, 4):le_int()
  local missing = HEADER + size - (tvb:len() - at)
  if size <= MOST_RELAY and missing > 0 then return nil, missing end
  local whole = size > MOST_RELAY and tvb:len() - at or HEADER + size
  local part, _, stated = add_reply_header(tvb, at, whole, tree)
  if size > MOST_RELAY then return end_stream(tvb, at, pinfo, part, state, e.length, stated) end
  skip(part, tvb, at + 20, 104 + size - 8)
  local place = at + HEADER + size - 8
  part:add(f["reply.relay"], tvb(place, 4))
  part:add_le(f["reply.relay_port"], tvb(place + 4, 4))
  says(pinfo, "relay %s:%d", tostring(tvb(place, 4):ipv4()), tvb(place + 4, 4):le_int())
  return HEADER + size
end

local function reply(tvb, at, pinfo, tree, state)
  local taken = garbage(tvb, at, tree, { "3GAPV103", "3GAPV104", "3GAPV105" })
  if taken == 0 then return nil end
  if taken then return taken end
  local left = tvb:len() - at
  if left < HEADER then return nil end
  if tvb(at + 12, 4):le_int() ~= SUCCESS or tvb(at + 16, 4):le_int() < 8 then
    local part, command, stated = add_reply_header(tvb, at, left, tree)
    local isFailure = tvb(at + 12, 4):le_int() ~= SUCCESS
    return end_stream(tvb, at, pinfo, part, state, isFailure and e.command or e.length,
      isFailure and command or stated)
  end
  return (state.kind == "relay" and relay_reply or list_reply)(tvb, at, pinfo, tree, state)
end

-- ---- Connections

local ANSWERS = { fleet = fleet, car = car, list = reply, relay = reply }

-- What the server of a connection sends whose request was not captured.
local function answer_kind(tvb)
  local head = tvb:raw(0, math.min(tvb:len(), 8))
  if head == "3GTSV100" then return "car" end
  if head:find("^3GAPV10[345]$") then return "list" end
  return "fleet"
end

-- A request begins a new one: ports are used again.
local function state_of(tvb, pinfo)
  local from = tostring(pinfo.src) .. " " .. pinfo.src_port
  local to = tostring(pinfo.dst) .. " " .. pinfo.dst_port
  local key = from < to and from .. " " .. to or to .. " " .. from
  local all = streams[key] or {}
  streams[key] = all
  local last = all[#all]
  local asks = request_at(tvb, 0) ~= nil and (last == nil or last.client == from)
  if not pinfo.visited and (last == nil or (asks and last.from < pinfo.number)) then
    all[#all + 1] = { from = pinfo.number, client = asks and from or to,
      kind = not asks and answer_kind(tvb) or nil }
  end
  local i = #all
  while i > 1 and all[i].from > pinfo.number do i = i - 1 end
  local state = all[i] or { from = pinfo.number, client = to }
  return state, state.client == from and request or ANSWERS[state.kind] or fleet
end

function quorvid.dissector(tvb, pinfo, tree)
  pinfo.cols.protocol = "Quorvid"
  pinfo.cols.info = "Quorvid"
  local at = 0
  while at < tvb:len() do
    local state, parse = state_of(tvb, pinfo)
    if parse ~= request and state.broken and pinfo.number > state.broken then
      tree:add(quorvid, tvb(at)):add_proto_expert_info(e.broken)
      return tvb:len()
    end
    local taken, needed = parse(tvb, at, pinfo, tree, state)
    if taken == nil then
      pinfo.desegment_offset = at
      pinfo.desegment_len = needed or DESEGMENT_ONE_MORE_SEGMENT
      return tvb:len()
    end
    at = at + taken
  end
  return tvb:len()
end

-- What was asked for stays this protocol's, in both directions.
quorvid:register_heuristic("tcp", function(tvb, pinfo, tree)
  local head = tvb:raw(0, math.min(tvb:len(), 8))
  local is_ours = head == "3GTSV100" or head:find("^3GAPV10[345]$") or request_at(tvb, 0) ~= nil
  if not is_ours then return false end
  quorvid.dissector(tvb, pinfo, tree)
  pinfo.conversation = quorvid
  return true
end)

local ports = DissectorTable.get("tcp.port")
local registered = ""
quorvid.prefs.ports = Pref.range("TCP ports", "", "Ports of servers, where a capture has no request",
  65535)
function quorvid.prefs_changed()
  if registered ~= "" then ports:remove(registered, quorvid) end
  registered = tostring(quorvid.prefs.ports)
  if registered ~= "" then ports:add(registered, quorvid) end
end
