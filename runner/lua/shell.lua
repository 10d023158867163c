-- What the shell shows of values.
local core, layer = ...

local most = 100 -- elements of a list that are shown

local escapes = { ["\n"] = "\\n", ["\r"] = "\\r", ["\t"] = "\\t", ['"'] = '\\"', ["\\"] = "\\\\" }

local function quoted(text)
  local escaped = text:gsub('[%c"\\]', function(c) return escapes[c] or ("\\%03d"):format(c:byte()) end)
  return '"' .. escaped .. '"'
end

local keywords = {}
layer.keywords = keywords
for word in ([[and break do else elseif end false for function goto if in local nil not or repeat
    return then true until while]]):gmatch("%a+") do
  keywords[word] = true
end

function layer.is_name(key)
  return type(key) == "string" and key:find("^[%a_][%w_]*$") and not keywords[key]
end

-- The keys of a table behind those of its list, in the order of their texts.
local function other_keys(value, length)
  local keys = {}
  for key in next, value do
    local is_of_list = math.type(key) == "integer" and key >= 1 and key <= length
    if not is_of_list then keys[#keys + 1] = key end
  end
  table.sort(keys, function(a, b) return tostring(a) < tostring(b) end)
  return keys
end

local shown

-- The elements of a table as texts: "value" of the list, then "key = value".
local function elements(value, room, outer)
  local texts, length = {}, rawlen(value)
  for i = 1, math.min(length, most) do texts[i] = shown(rawget(value, i), room, outer) end
  if length > most then texts[#texts + 1] = ("… %d more"):format(length - most) end
  for _, key in ipairs(other_keys(value, length)) do
    local name = layer.is_name(key) and key or "[" .. shown(key, room, outer) .. "]"
    texts[#texts + 1] = name .. " = " .. shown(rawget(value, key), room - #name - 3, outer)
  end
  return texts
end

-- A value as text, on one line when it fits into the room.
function shown(value, room, outer)
  if type(value) == "string" then return quoted(value) end
  local meta = type(value) == "table" and getmetatable(value)
  local is_plain = type(value) == "table" and not (type(meta) == "table" and meta.__tostring)
  if not is_plain then return tostring(value) end
  if outer[value] then return "{…}" end
  outer[value] = true
  local texts = elements(value, room - 2, outer)
  outer[value] = nil
  local line = "{ " .. table.concat(texts, ", ") .. " }"
  if #texts == 0 then return "{}" end
  if not line:find("\n") and (utf8.len(line) or #line) <= room then return line end
  return "{\n  " .. table.concat(texts, ",\n"):gsub("\n", "\n  ") .. "\n}"
end

-- show(value...): prints what a line of the shell answers.
function core.show(...)
  if select("#", ...) == 0 then return end
  if getmetatable((...)) == core.rows_type then return core.print_rows((...), most) end
  local texts = {}
  for i = 1, select("#", ...) do
    local value = select(i, ...)
    texts[i] = type(value) == "table" and shown(value, core.width(), {}) or tostring(value)
  end
  print(table.concat(texts, "\t"))
end
