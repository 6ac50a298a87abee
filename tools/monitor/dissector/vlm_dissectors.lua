-- The records of the bus: what a publisher sent, 64 bytes of its own channel and the message.

local bus = Proto("vlm_bus", "Camera message bus")
local udp = Proto("vlm_udp", "Camera control over UDP")

local message_types = {[3] = "CONTROL_CAMERA", [255] = "PROBE"}
for number, name in pairs(notifications) do message_types[number] = name end

local f = {
  sender = ProtoField.string("vlm_bus.sender", "Sender's channel"),
  kind = ProtoField.string("vlm_bus.kind", "Kind"),
  type = ProtoField.uint8("vlm_bus.type", "Message type", base.DEC, message_types),
  code = ProtoField.uint16("vlm_bus.code", "Command", base.DEC, commands),
  name = ProtoField.string("vlm_bus.name", "Name"),
  err = ProtoField.uint16("vlm_bus.err", "Result", base.DEC, results),
  payload = ProtoField.bytes("vlm_bus.payload", "Payload"),
  message = ProtoField.bytes("vlm_bus.message", "Message"),
  side = ProtoField.uint32("vlm_bus.side", "Side channel", base.DEC, side_messages),
  fps = ProtoField.uint32("vlm_bus.side.fps", "Frames per second"),
  flag = ProtoField.uint8("vlm_bus.side.flag", "Flag"),
  card_status = ProtoField.uint8("vlm_bus.card.status", "Card status", base.DEC, nil, 0x07),
  card_id = ProtoField.uint8("vlm_bus.card.id", "Storage", base.DEC, nil, 0x38),
  card_count = ProtoField.uint8("vlm_bus.card.count", "Count less one", base.DEC, nil, 0xc0),
  roll = ProtoField.float("vlm_bus.image.roll", "Roll"),
  pitch = ProtoField.float("vlm_bus.image.pitch", "Pitch"),
  yaw = ProtoField.float("vlm_bus.image.yaw", "Yaw"),
  latitude = ProtoField.double("vlm_bus.image.latitude", "Latitude"),
  longitude = ProtoField.double("vlm_bus.image.longitude", "Longitude"),
  altitude = ProtoField.float("vlm_bus.image.altitude", "Altitude"),
  url = ProtoField.string("vlm_bus.image.url", "File"),
  index = ProtoField.uint32("vlm_bus.image.index", "Number"),
  result = ProtoField.int8("vlm_bus.image.result", "Result"),
}

local short = ProtoExpert.new("vlm_bus.short", "The packet is too short", expert.group.MALFORMED,
  expert.severity.ERROR)
local failed = ProtoExpert.new("vlm_bus.failed", "The camera refused", expert.group.RESPONSE_CODE,
  expert.severity.WARN)
bus.experts = {short, failed}

-- A field of the catalogue as Wireshark shows it.
local makers = {
  bool = "uint", choice = "uint", u8 = "uint", u16 = "uint", u32 = "uint", u64 = "uint",
  s8 = "int", s16 = "int", s32 = "int", float = "float", ratio = "ratio", text = "string",
  bytes = "bytes",
}

local function proto_field(field)
  local abbreviation = "vlm_bus." .. field.name
  local kind = makers[field.type]
  if kind == "uint" or kind == "int" then
    return ProtoField[kind .. field.width * 8](abbreviation, field.name, base.DEC, field.choices)
  elseif kind == "ratio" then
    return ProtoField.string(abbreviation, field.name)
  end
  return ProtoField[kind](abbreviation, field.name)
end

-- A text that fills its bytes has no terminator.
local function text_in(range)
  return (range:raw():match("^[^%z]*"):gsub("[^\32-\126]", "."))
end

local requests, replies = {}, {}  -- code -> fields
local known = {}                  -- name -> field of the protocol

local function learn(field)
  if not known[field.name] then
    known[field.name] = proto_field(field)
    f[field.name] = known[field.name]
  end
end

for _, row in ipairs(rows) do
  for _, field in ipairs(row.value) do learn(field) end
  for _, field in ipairs(row.parameters) do learn(field) end
  if row.get then
    requests[row.get] = row.parameters
    replies[row.get] = row.value
  end
  if row.set then requests[row.set] = row.value end
  if row.run then
    requests[row.run] = row.parameters
    replies[row.run] = row.value
  end
end
bus.fields = f

local function ratio_text(range)
  if range:len() == 2 then
    return string.format("%d/%d", range(0, 1):le_int(), range(1, 1):uint())
  end
  return string.format("%d/%d", range(0, 2):le_uint(), range(2, 2):le_uint())
end

local function add_value(tree, field, params, is_reply)
  local at = field.offset + (is_reply and field.reply_shift or 0)
  if at + field.width > params:len() then return nil end
  local range = params(at, field.width)
  local item
  if field.secret then
    item = tree:add(known[field.name], range, "***")
    return field.name .. "=***"
  elseif makers[field.type] == "ratio" then
    item = tree:add(known[field.name], range, ratio_text(range))
    return field.name .. "=" .. ratio_text(range)
  end
  local kind = makers[field.type]
  if kind == "string" then
    tree:add(known[field.name], range, text_in(range))
    return field.name .. "=" .. text_in(range)
  end
  item = tree:add_le(known[field.name], range)
  local value
  if kind == "float" then
    value = string.format("%.6g", range:le_float())
  elseif kind == "uint" then
    value = field.width == 8 and tostring(range:le_uint64()) or tostring(range:le_uint())
  elseif kind == "int" then
    value = tostring(range:le_int())
  else
    value = tostring(range:bytes()):lower()
  end
  if field.scale and tonumber(value) then
    value = string.format("%g", tonumber(value) / field.scale)
    item:append_text(" (" .. value .. (field.unit and " " .. field.unit or "") .. ")")
  elseif field.unit and kind ~= "bytes" then
    item:append_text(" " .. field.unit)
  end
  if field.choices then value = field.choices[tonumber(value)] or value end
  return field.name .. "=" .. value
end

local function add_values(tree, list, params, is_reply)
  local words = {}
  for _, field in ipairs(list or {}) do
    local word = add_value(tree, field, params, is_reply)
    if word then words[#words + 1] = word end
  end
  return words
end

local kWordsShown = 4  -- of a large record, in the list of packets

-- A request or a reply: the type, and a record of 132 bytes.
local function dissect_camera(message, tree, info, is_reply)
  if message:len() < 3 then
    tree:add_proto_expert_info(short)
    return
  end
  local code = message(1, 2):le_uint()
  local name = commands[code] or ("COMMAND_" .. code)
  info[1] = is_reply and "reply" or "request"
  info[2] = name
  tree:add_le(f.code, message(1, 2))
  tree:add(f.name, message(1, 2), name)
  local record_size = 133
  local err = 0
  if message:len() >= record_size then
    err = message(131, 2):le_uint()
    local item = tree:add_le(f.err, message(131, 2))
    if is_reply and err ~= 0 then item:add_proto_expert_info(failed) end
  else
    tree:add_proto_expert_info(short)
  end
  if is_reply then info[3] = err == 0 and "ok" or "error " .. err .. " (" .. (results[err] or "?") .. ")" end
  if message:len() <= 3 then return end
  local params = message(3, math.min(message:len(), 131) - 3):tvb()
  tree:add(f.payload, params())
  if is_reply and err ~= 0 then return end
  local words = add_values(tree, (is_reply and replies or requests)[code], params, is_reply)
  for i = 1, math.min(#words, kWordsShown) do info[#info + 1] = words[i] end
  if #words > kWordsShown then info[#info + 1] = "..." end
end

local function dissect_notification(message, tree, info, type)
  info[1] = "notification"
  info[2] = notifications[type]
  if type == 5 and message:len() >= 2 then
    tree:add(f.card_status, message(1, 1))
    tree:add(f.card_id, message(1, 1))
    tree:add(f.card_count, message(1, 1))
  elseif type == 6 then
    if message:len() < 102 then
      tree:add_proto_expert_info(short)
      return
    end
    local places = {
      {f.roll, 0, 4}, {f.pitch, 4, 4}, {f.yaw, 8, 4}, {f.latitude, 12, 8}, {f.longitude, 20, 8},
      {f.altitude, 28, 4}, {f.index, 96, 4}, {f.result, 100, 1},
    }
    tree:add(f.url, message(33, 64), text_in(message(33, 64)))
    for _, place in ipairs(places) do tree:add_le(place[1], message(1 + place[2], place[3])) end
  end
end

local function dissect_side(message, tree, info)
  if message:len() < 4 then
    tree:add_proto_expert_info(short)
    return
  end
  local code = message(0, 4):le_uint()
  local is_ack = code % 2 == 0
  info[1] = is_ack and "ack" or "side"
  info[2] = side_messages[code] or ("SIDE_" .. code)
  tree:add_le(f.side, message(0, 4))
  tree:add(f.name, message(0, 4), info[2])
  if code == 5 and message:len() >= 8 then
    tree:add_le(f.fps, message(4, 4))
    info[3] = "fps=" .. message(4, 4):le_uint()
  elseif code >= 7 and code <= 14 and code ~= 9 and code ~= 13 and message:len() >= 5 then
    tree:add(f.flag, message(4, 1))
    info[3] = "flag=" .. message(4, 1):uint()
  end
end

local interface_name = Field.new("frame.interface_name")
local camera_channels = {velmar_repeater_udp = true, velmar_udp_repeater = true}
local side_senders = {lcm_channel_from_udp = true, lcm_channel_to_rtsp = true}

function bus.dissector(tvb, pinfo, root)
  pinfo.cols.protocol = "VLM-BUS"
  local tree = root:add(bus, tvb())
  if tvb:len() == 0 then
    pinfo.cols.info = "note"
    return 0
  end
  if tvb:len() < 64 then
    tree:add_proto_expert_info(short)
    pinfo.cols.info = "too short"
    return tvb:len()
  end
  local sender = text_in(tvb(0, 64))
  tree:add(f.sender, tvb(0, 64), sender)
  pinfo.cols.src = sender
  local channel = interface_name() and tostring(interface_name().value)
  if channel then pinfo.cols.dst = channel end
  if tvb:len() == 64 then
    tree:add_proto_expert_info(short)
    pinfo.cols.info = "too short"
    return tvb:len()
  end
  local message = tvb(64):tvb()
  local type = message(0, 1):uint()
  local info = {"other"}
  if type == 255 then
    info = {"probe"}
    tree:add(f.type, message(0, 1))
  elseif side_senders[sender] then
    dissect_side(message, tree, info)
  else
    tree:add(f.type, message(0, 1))
    if channel and not camera_channels[channel] then
      tree:add(f.message, message())
    elseif type == 3 then
      -- A request names the channel where its answer is to come.
      dissect_camera(message, tree, info, sender == "velmar_repeater_udp")
    elseif notifications[type] then
      dissect_notification(message, tree, info, type)
    else
      tree:add(f.message, message())
    end
  end
  tree:add(f.kind, tvb(0, 64), info[1]):set_generated()
  pinfo.cols.info = table.concat(info, " ")
  return tvb:len()
end

-- The UDP protocol: big-endian, a CRC-16 from the length to the last data byte.

local kPort = 9528
local kRecord = 264

local u = {
  stx = ProtoField.uint8("vlm_udp.stx", "Start", base.HEX),
  len = ProtoField.uint8("vlm_udp.len", "Length of data and CRC"),
  seq = ProtoField.uint8("vlm_udp.seq", "Sequence"),
  sys = ProtoField.uint8("vlm_udp.sys", "System"),
  result = ProtoField.uint16("vlm_udp.result", "Result", base.DEC, results),
  option = ProtoField.uint16("vlm_udp.option", "Option", base.DEC, options),
  name = ProtoField.string("vlm_udp.name", "Name"),
  data = ProtoField.bytes("vlm_udp.data", "Data"),
  crc = ProtoField.uint16("vlm_udp.crc", "CRC", base.HEX),
  crc_good = ProtoField.bool("vlm_udp.crc.good", "CRC is good"),
}
udp.fields = u

local udp_short = ProtoExpert.new("vlm_udp.short", "The packet is shorter than its length says",
  expert.group.MALFORMED, expert.severity.ERROR)
local udp_crc = ProtoExpert.new("vlm_udp.crc.bad", "The CRC is wrong", expert.group.CHECKSUM,
  expert.severity.ERROR)
local udp_zero = ProtoExpert.new("vlm_udp.len.zero", "The length is 0", expert.group.MALFORMED,
  expert.severity.ERROR)
local udp_failed = ProtoExpert.new("vlm_udp.failed", "The service refused",
  expert.group.RESPONSE_CODE, expert.severity.WARN)
udp.experts = {udp_short, udp_crc, udp_zero, udp_failed}

-- CRC-16/MCRF4XX.
local function crc16(range)
  local register = 0xFFFF
  local bytes = range:bytes()
  for i = 0, bytes:len() - 1 do
    register = bit.bxor(register, bytes:get_index(i))
    for _ = 1, 8 do
      local carry = bit.band(register, 1)
      register = bit.rshift(register, 1)
      if carry == 1 then register = bit.bxor(register, 0x8408) end
    end
  end
  return register
end

function udp.dissector(tvb, pinfo, root)
  pinfo.cols.protocol = "VLM-UDP"
  local tree = root:add(udp, tvb())
  if tvb:len() < 8 then
    tree:add_proto_expert_info(udp_short)
    pinfo.cols.info = "too short"
    return tvb:len()
  end
  local len = tvb(1, 1):uint()
  local result = tvb(4, 2):uint()
  local option = tvb(6, 2):uint()
  local is_reply = pinfo.src_port == kPort
  tree:add(u.stx, tvb(0, 1))
  tree:add(u.len, tvb(1, 1))
  tree:add(u.seq, tvb(2, 1))
  tree:add(u.sys, tvb(3, 1))
  local item = tree:add(u.result, tvb(4, 2))
  if is_reply and result ~= 0 then item:add_proto_expert_info(udp_failed) end
  tree:add(u.option, tvb(6, 2))
  local name = options[option] or ("OPTION_" .. option)
  tree:add(u.name, tvb(6, 2), name)
  local words = {is_reply and "reply" or "request", name}
  if is_reply then words[3] = result == 0 and "ok" or "error " .. result .. " (" .. (results[result] or "?") .. ")" end
  -- A refusal is a whole record, its CRC that of a packet without data, whatever its length says.
  local refusal = is_reply and result ~= 0 and tvb:len() == kRecord
  local used = refusal and 2 or len
  if len == 0 and not refusal then
    tree:add_proto_expert_info(udp_zero)
  elseif used < 2 or tvb:len() < used + 8 then
    tree:add_proto_expert_info(udp_short)
    words[#words + 1] = "[short]"
  else
    if used > 2 then tree:add(u.data, tvb(8, used - 2)) end
    local crc_item = tree:add(u.crc, tvb(used + 6, 2))
    local good = crc16(tvb(1, used + 5)) == tvb(used + 6, 2):uint()
    tree:add(u.crc_good, tvb(used + 6, 2), good):set_generated()
    if not good then
      crc_item:add_proto_expert_info(udp_crc)
      words[#words + 1] = "[bad CRC]"
    end
  end
  pinfo.cols.info = table.concat(words, " ")
  return tvb:len()
end

DissectorTable.get("udp.port"):add(kPort, udp)
