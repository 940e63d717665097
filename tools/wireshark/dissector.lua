-- The serial line between the display terminal and its power controller: packets of "dov-line tap"
-- and of its recordings, link type 147. Each has the sender, what happened, and then the bytes
-- that went over the line together; a frame may be spread over several packets, and a packet may
-- hold several frames.
--
-- The table "protocol" stands before this text; it is made of the daemon's own catalogue.

local header_size = 2 -- sender, what happened
local senders = {[0] = "host", [1] = "controller"}
local records = {[0] = "bytes", [1] = "hang-up", [2] = "connection", [3] = "gap"}
local host = 0

local dov = Proto("dov", "Display terminal's line to the power controller")

-- Fields ------------------------------------------------------------------------------------------

local message_labels = {}
for id, message in pairs(protocol.messages) do
    message_labels[id] = message.label
end

local own = {
    sender = ProtoField.uint8("dov.sender", "Sender", base.DEC, senders),
    record = ProtoField.uint8("dov.record", "What happened", base.DEC, records),
    number = ProtoField.uint32("dov.number", "Number"),
    kind = ProtoField.string("dov.kind", "Kind"),
    skipped = ProtoField.bytes("dov.skipped", "Skipped bytes"),
    unfinished = ProtoField.bytes("dov.unfinished", "Bytes of what goes on in a later packet"),
    begins_in = ProtoField.framenum("dov.begins_in", "Begins in packet"),
    source = ProtoField.uint8("dov.source", "Source", base.HEX),
    destination = ProtoField.uint8("dov.destination", "Destination", base.HEX),
    id = ProtoField.uint8("dov.id", "Identifier", base.HEX, message_labels),
    message = ProtoField.string("dov.message", "Message"),
    checksum = ProtoField.uint8("dov.checksum", "Checksum", base.HEX),
    request = ProtoField.uint32("dov.request", "Answers number"),
    request_in = ProtoField.framenum("dov.request_in", "Request in packet", base.NONE,
                                     frametype.REQUEST),
    answer = ProtoField.uint32("dov.answer", "Answered by number"),
    answer_in = ProtoField.framenum("dov.answer_in", "Answer in packet", base.NONE,
                                    frametype.RESPONSE),
    response_time = ProtoField.relative_time("dov.response_time", "Response time"),
    late = ProtoField.bool("dov.late", "Late"),
}

local experts = {
    checksum = ProtoExpert.new("dov.wrong_checksum", "Wrong checksum",
                               expert.group.CHECKSUM, expert.severity.ERROR),
    skipped = ProtoExpert.new("dov.skipped_bytes", "Bytes of no frame",
                              expert.group.MALFORMED, expert.severity.WARN),
    addresses = ProtoExpert.new("dov.wrong_addresses", "Wrong addresses",
                                expert.group.PROTOCOL, expert.severity.WARN),
    unknown = ProtoExpert.new("dov.unknown_identifier", "Unknown identifier",
                              expert.group.UNDECODED, expert.severity.WARN),
    unanswered = ProtoExpert.new("dov.unanswered", "No answer in time",
                                 expert.group.SEQUENCE, expert.severity.WARN),
    late = ProtoExpert.new("dov.late_answer", "Late answer",
                           expert.group.SEQUENCE, expert.severity.WARN),
    gap = ProtoExpert.new("dov.gap", "Records are missing here",
                          expert.group.SEQUENCE, expert.severity.WARN),
    hang_up = ProtoExpert.new("dov.hang_up", "The line went away",
                              expert.group.SEQUENCE, expert.severity.WARN),
}

local all_fields = {}
for _, field in pairs(own) do
    all_fields[#all_fields + 1] = field
end

local function add_field(field)
    all_fields[#all_fields + 1] = field
    return field
end

-- Each number with its meaning; none for a field of which none has one.
local function meanings_of(codes)
    if #codes == 0 then
        return nil
    end
    local meanings = {}
    for _, code in ipairs(codes) do
        for number = code[1], code[2] do
            meanings[number] = code[3]
        end
    end
    return meanings
end

local number_fields = {u8 = ProtoField.uint8, i8 = ProtoField.int8, u16 = ProtoField.uint16,
                       flag = ProtoField.uint8, one_more = ProtoField.uint8,
                       bits = ProtoField.uint8, two_bits = ProtoField.uint8}

-- The fields "dov.NAME" that messages share have one name and each its own meanings.
local function define(row)
    assert(own[row.name] == nil, "the dissector has a field of this name itself: " .. row.name)
    local name = "dov." .. row.name
    if row.type == "bytes" then
        row.field = add_field(ProtoField.bytes(name, row.label))
    elseif row.type == "version" then
        row.field = add_field(ProtoField.string(name, row.label))
    elseif row.type == "bits" or row.type == "two_bits" then
        row.field = add_field(number_fields[row.type](name, row.label, base.HEX))
        row.parts = {}
        for i = 0, row.count - 1 do
            row.parts[i] = add_field(ProtoField.uint8(name .. "." .. i, row.label .. " " .. i,
                                                      base.DEC, meanings_of(row.codes)))
        end
    else
        local how = row.style == "hexadecimal" and row.type ~= "i8" and base.HEX or base.DEC
        row.field = add_field(number_fields[row.type](name, row.label, how,
                                                      meanings_of(row.codes)))
    end
    if row.scale ~= 1 then
        row.value = add_field(ProtoField.double(name .. ".value", row.label .. " in " .. row.unit))
    end
end

for _, message in pairs(protocol.messages) do
    for _, row in ipairs(message.fields) do
        define(row)
    end
end
dov.fields = all_fields

local all_experts = {}
for _, one in pairs(experts) do
    all_experts[#all_experts + 1] = one
end
dov.experts = all_experts

-- Numbers and texts of fields, as dov-line writes them --------------------------------------------

-- Byte `at` of a message, from 0.
local function byte_of(message, at)
    return message:byte(at + 1)
end

local function number_of(row, message)
    local byte = byte_of(message, row.first)
    if row.type == "i8" then
        return byte < 128 and byte or byte - 256
    elseif row.type == "u16" then
        return byte * 256 + byte_of(message, row.first + 1)
    elseif row.type == "flag" then
        return byte ~= 0 and 1 or 0
    elseif row.type == "one_more" then
        return (byte - 1) % 256
    end
    return byte
end

local function hexadecimal(bytes)
    return (bytes:gsub(".", function(byte) return ("%02x"):format(byte:byte()) end))
end

local function code_text(row, number)
    for _, code in ipairs(row.codes) do
        if number >= code[1] and number <= code[2] then
            return code[3]
        end
    end
    return ("0x%02x"):format(number)
end

-- Input or output `i` of a byte.
local function part_of(row, number, i)
    local bits = row.type == "bits" and 1 or 2
    return math.floor(number / 2 ^ (bits * i)) % 2 ^ bits
end

local function text_of(row, message)
    local number = number_of(row, message)
    if row.type == "bits" or row.type == "two_bits" then
        local texts = {}
        for i = 0, row.count - 1 do
            local part = part_of(row, number, i)
            texts[#texts + 1] = row.type == "bits" and ("%d"):format(part) or code_text(row, part)
        end
        return table.concat(texts, row.type == "bits" and "" or " ")
    elseif row.type == "version" then
        return ("v%d.%d.%d"):format(byte_of(message, row.first + 2), byte_of(message, row.first + 1),
                                    number)
    elseif row.type == "bytes" then
        return hexadecimal(message:sub(row.first + 1, row.first + row.size)):upper()
    end
    local text = row.style == "named" and code_text(row, number) or
                 (row.style == "hexadecimal" and "0x%02x" or "%d"):format(number)
    return row.line_unit == "" and text or text .. " " .. row.line_unit
end

-- What one side sends, cut into frames and what lies between them ---------------------------------

local sync = string.char(protocol.sync_1, protocol.sync_2)

local Scanner = {}
Scanner.__index = Scanner

local function new_scanner(sender)
    return setmetatable({sender = sender, bytes = "", arrivals = {}}, Scanner)
end

-- Takes the bytes of a packet. What is over of the packets before stays in front of them.
function Scanner:take(bytes, packet)
    self.bytes = self.bytes .. bytes
    self.arrivals[#self.arrivals + 1] = {last = #self.bytes, size = #bytes, packet = packet}
end

-- Where a frame may begin from `at` on; behind the end for nowhere.
function Scanner:find_beginning(at)
    local found = self.bytes:find(sync, at, true)
    if found ~= nil then
        return found
    end
    local last = #self.bytes
    return last >= at and self.bytes:byte(last) == protocol.sync_1 and last or last + 1
end

function Scanner:fits_at(at)
    return #self.bytes - at + 1 >= protocol.frame_size
end

function Scanner:is_good_at(at)
    local first = at + protocol.payload_at
    local sum = protocol.checksum_start
    for i = first, first + protocol.message_size - 1 do
        sum = sum + self.bytes:byte(i)
    end
    return sum % 256 == self.bytes:byte(first + protocol.message_size)
end

-- Goes through where frames may begin inside the one at `at`: whether one of those that are whole
-- is good, where, and whether one of them is not whole.
function Scanner:look_inside(at)
    local inner = self:find_beginning(at + 1)
    while inner < at + protocol.frame_size and inner <= #self.bytes do
        if not self:fits_at(inner) then
            return nil, true
        elseif self:is_good_at(inner) then
            return inner, false
        end
        inner = self:find_beginning(inner + 1)
    end
    return nil, false
end

-- Cuts off the first `count` bytes.
function Scanner:cut(kind, count)
    local piece = {kind = kind, sender = self.sender, bytes = self.bytes:sub(1, count),
                   begins_in = self.arrivals[1].packet}
    local newest = self.arrivals[#self.arrivals]
    -- Where it is in the newest packet, from 0; less when it began in one before.
    piece.at = newest.size - #self.bytes
    self.bytes = self.bytes:sub(count + 1)
    local left = {}
    for _, arrival in ipairs(self.arrivals) do
        if arrival.last > count then
            arrival.last = arrival.last - count
            left[#left + 1] = arrival
        end
    end
    self.arrivals = left
    return piece
end

-- The next piece that is decided; nil when that takes more bytes.
function Scanner:next()
    local at = 1
    while true do
        at = self:find_beginning(at)
        if at > #self.bytes or not self:fits_at(at) then
            return at > 1 and self:cut("skipped", at - 1) or nil
        end
        local inner, may_hide_one
        local is_good = self:is_good_at(at)
        if not is_good then
            inner, may_hide_one = self:look_inside(at)
        end
        if inner ~= nil then
            at = inner
        elseif at > 1 then
            return self:cut("skipped", at - 1)
        elseif may_hide_one then
            return nil
        else
            return self:cut(is_good and "frame" or "broken", protocol.frame_size)
        end
    end
end

-- Requests with their answers ---------------------------------------------------------------------

local capture -- all that is known of the capture file

local function begin_capture()
    capture = {
        scanners = {[0] = new_scanner(0), [1] = new_scanner(1)},
        last_number = 0,
        now_us = 0,
        waiting = {},    -- by identifier, requests, oldest first
        overdue = {},    -- by identifier, the request whose answer would be late
        packets = {},    -- by number, what each showed
    }
end

local function is_overdue(request)
    return capture.now_us - request.time_us > protocol.response_time_ms * 1000
end

-- Moves the requests of an identifier whose time is over.
local function settle(id)
    local waiting = capture.waiting[id]
    while waiting ~= nil and #waiting > 0 and is_overdue(waiting[1]) do
        local request = table.remove(waiting, 1)
        if #waiting == 0 then
            capture.overdue[id] = request
        end
    end
end

local function take_request(event)
    capture.overdue[event.id] = nil
    capture.waiting[event.id] = capture.waiting[event.id] or {}
    table.insert(capture.waiting[event.id], event)
end

local function take_answer(event)
    local id = event.id - 1
    local waiting = capture.waiting[id]
    local request
    if waiting ~= nil and #waiting > 0 then
        request = table.remove(waiting, 1)
        request.answer = event
        event.is_late = false
    else
        request = capture.overdue[id]
        capture.overdue[id] = nil
        event.is_late = request ~= nil
    end
    if request ~= nil then
        event.request = request
        event.response_us = event.time_us - request.time_us
    end
end

local function new_event(packet, kind, sender)
    capture.last_number = capture.last_number + 1
    return {number = capture.last_number, packet = packet, kind = kind, sender = sender,
            time_us = capture.now_us}
end

-- A piece becomes an event.
local function add_piece(packet, piece)
    local event = new_event(packet, piece.kind, piece.sender)
    event.bytes = piece.bytes
    event.at = piece.at
    event.begins_in = piece.begins_in
    if piece.kind == "frame" then
        event.id = piece.bytes:byte(protocol.payload_at + 1)
        settle(event.sender == host and event.id or event.id - 1)
        if event.sender == host then
            take_request(event)
        else
            take_answer(event)
        end
    end
    return event
end

-- Looks at a packet for the first time; packets come in their order. Returns what to show of it.
local function see(packet, time_us, sender, record, bytes)
    capture.now_us = math.max(capture.now_us, time_us)
    local events = {}
    if record ~= 0 then
        events[1] = new_event(packet, records[record], sender)
        return {events = events}
    end
    local scanner = capture.scanners[sender]
    scanner:take(bytes, packet)
    local piece = scanner:next()
    while piece ~= nil do
        events[#events + 1] = add_piece(packet, piece)
        piece = scanner:next()
    end
    return {events = events, unfinished = math.min(#scanner.bytes, #bytes)}
end

-- What is shown -----------------------------------------------------------------------------------

-- The bytes of an event: where they are in the packet, or, spread over several, put together.
local function range_of(tvb, event)
    if event.bytes == nil then
        return tvb(0, header_size)
    elseif event.at >= 0 then
        return tvb(header_size + event.at, #event.bytes)
    end
    return ByteArray.new(event.bytes, true):tvb("Put together")()
end

local function generated(tree, field, value)
    return tree:add(field, value):set_generated()
end

local function show_field(tree, row, range, message)
    local number = number_of(row, message)
    local text = text_of(row, message)
    local item
    if row.type == "bytes" then
        item = tree:add(row.field, range)
    elseif row.type == "version" then
        item = tree:add(row.field, range, text)
    else
        item = tree:add(row.field, range, number)
    end
    item:set_text(row.label .. ": " .. text)
    for i, part in pairs(row.parts or {}) do
        item:add(part, range, math.floor(part_of(row, number, i)))
    end
    if row.value ~= nil then
        item:add(row.value, range, number * row.scale):set_generated()
    end
    return row.label .. " " .. text
end

local function show_message(tree, event, range)
    local message = event.bytes:sub(protocol.payload_at + 1,
                                    protocol.payload_at + protocol.message_size)
    local kind = protocol.messages[event.id]
    local item = tree:add(own.id, range(protocol.payload_at, 1))
    if kind == nil then
        tree:add_proto_expert_info(experts.unknown)
        return "unknown " .. hexadecimal(message)
    end
    generated(tree, own.message, kind.name)
    local texts = {}
    for _, row in ipairs(kind.fields) do
        local part = range(protocol.payload_at + row.first, row.size)
        texts[#texts + 1] = show_field(tree, row, part, message)
    end
    local text = kind.label .. (#texts > 0 and ": " .. table.concat(texts, ", ") or "")
    return ("0x%02x "):format(event.id) .. text
end

local function seconds(us)
    return NSTime.new(math.floor(us / 1000000), math.floor(us % 1000000) * 1000)
end

local function show_partner(tree, event)
    if event.request ~= nil then
        generated(tree, own.request, event.request.number)
        generated(tree, own.request_in, event.request.packet)
        generated(tree, own.response_time, seconds(event.response_us))
        local late = generated(tree, own.late, event.is_late)
        if event.is_late then
            late:add_proto_expert_info(experts.late)
        end
    elseif event.answer ~= nil then
        generated(tree, own.answer, event.answer.number)
        generated(tree, own.answer_in, event.answer.packet)
        generated(tree, own.response_time, seconds(event.answer.response_us))
    elseif event.sender == host and is_overdue(event) then
        tree:add_proto_expert_info(experts.unanswered)
    end
end

local function has_right_addresses(event)
    local source = event.bytes:byte(protocol.source_at + 1)
    local destination = event.bytes:byte(protocol.destination_at + 1)
    if event.sender == host then
        return source == protocol.host_address and destination == protocol.controller_address
    end
    return source == protocol.controller_address and destination == protocol.host_address
end

local function show_frame(tree, event, range)
    local source = tree:add(own.source, range(protocol.source_at, 1))
    tree:add(own.destination, range(protocol.destination_at, 1))
    if not has_right_addresses(event) then
        source:add_proto_expert_info(experts.addresses)
    end
    local text = show_message(tree, event, range)
    tree:add(own.checksum, range(protocol.payload_at + protocol.message_size, 1))
    show_partner(tree, event)
    return text
end

local function show_broken(tree, event, range)
    local checksum = tree:add(own.checksum, range(protocol.payload_at + protocol.message_size, 1))
    checksum:add_proto_expert_info(experts.checksum)
    return "broken " .. hexadecimal(event.bytes)
end

local function show_skipped(tree, event, range)
    tree:add(own.skipped, range):add_proto_expert_info(experts.skipped)
    return "skipped " .. hexadecimal(event.bytes)
end

local function show_line(tree, event)
    if event.kind == "hang-up" then
        tree:add_proto_expert_info(experts.hang_up)
    elseif event.kind == "gap" then
        tree:add_proto_expert_info(experts.gap)
    end
    return event.kind
end

local show_kind = {frame = show_frame, broken = show_broken, skipped = show_skipped,
                   ["hang-up"] = show_line, connection = show_line, gap = show_line}

-- Returns the event in words.
local function show_event(tree, tvb, packet, event)
    local range = range_of(tvb, event)
    local item = tree:add(dov, range)
    generated(item, own.number, event.number)
    generated(item, own.kind, event.kind)
    if event.begins_in ~= nil and event.begins_in ~= packet then
        generated(item, own.begins_in, event.begins_in)
    end
    local text = show_kind[event.kind](item, event, range)
    item:set_text(("Line to the power controller, %s: %s"):format(senders[event.sender], text))
    return text
end

-- Others may use the link type too.
local encapsulations = DissectorTable.get("wtap_encap")
local other = encapsulations:get_dissector(wtap.USER0)

local function is_of_the_line(tvb)
    return tvb:len() >= header_size and senders[tvb(0, 1):uint()] ~= nil and
           records[tvb(1, 1):uint()] ~= nil
end

function dov.init()
    begin_capture()
end

function dov.dissector(tvb, pinfo, tree)
    if not is_of_the_line(tvb) then
        return other ~= nil and other:call(tvb, pinfo, tree) or 0
    end
    local sender = tvb(0, 1):uint()
    local record = tvb(1, 1):uint()
    if not pinfo.visited then
        local time_us = math.floor(pinfo.abs_ts * 1000000 + 0.5)
        local bytes = tvb:len() > header_size and tvb:raw(header_size) or ""
        capture.packets[pinfo.number] = see(pinfo.number, time_us, sender, record, bytes)
    end
    local shown = capture.packets[pinfo.number]

    pinfo.cols.protocol = "DOV"
    pinfo.cols.src = senders[sender]
    pinfo.cols.dst = senders[1 - sender]
    local header = tree:add(dov, tvb(0, header_size), "Line to the power controller")
    header:add(own.sender, tvb(0, 1))
    header:add(own.record, tvb(1, 1))
    local texts = {}
    for _, event in ipairs(shown.events) do
        texts[#texts + 1] = show_event(tree, tvb, pinfo.number, event)
    end
    if (shown.unfinished or 0) > 0 then
        header:add(own.unfinished, tvb(tvb:len() - shown.unfinished))
        texts[#texts + 1] = "..."
    end
    pinfo.cols.info = table.concat(texts, "; ")
    return tvb:len()
end

encapsulations:add(wtap.USER0, dov)
