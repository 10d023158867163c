-- What the shell's help says of the layer: the tables of docs/lua.md, whose text is layer.page, and
-- its paragraphs that begin with the name of an argument.
local core, layer = ...

local explained = {}  -- a row for each "repo:log", in `explained` itself in the order of the page
local notes = {}      -- arguments that several methods have

local function plain(text) return (text:gsub("`", ""):gsub("%[([^%]]*)%]%([%w._#-]*%)", "%1")) end

for line in layer.page:gmatch("[^\n]+") do
  local usage, text = line:match("^| (`%a+[.:][%a_]+%(.*) | (.+) |$")
  if usage then
    local row = { usage = plain(usage), text = plain(text):gsub("^%l", string.upper) .. "." }
    explained[#explained + 1] = row
    for name in row.usage:gmatch("%f[%a]%l+[.:][%a_]+") do explained[name] = row end
  end
end
for paragraph in layer.page:gmatch("%f[^\n]`%a+` .-\n\n") do
  notes[paragraph:match("%a+")] = plain(paragraph):gsub("%s+", " "):gsub(" $", "")
end

-- What stands behind a name, without running code of the program.
function layer.field(value, name)
  for _ = 1, 10 do
    if type(value) == "table" and rawget(value, name) ~= nil then return rawget(value, name) end
    local meta = debug.getmetatable(value)
    value = type(meta) == "table" and rawget(meta, "__index")
    if type(value) ~= "table" then return nil end
  end
end

-- What a path such as "repo.log" leads to. As long as there is no variable `repo` it is any repository.
function layer.value_of(path)
  local value = _G
  for name in path:gmatch("[%w_]+") do
    local inner = layer.field(value, name)
    if inner == nil and value == _G and name == "repo" then inner = layer.Repository end
    value = inner
  end
  return value
end

function layer.is_repository(value)
  return value == layer.Repository or type(value) == "table" and getmetatable(value) == layer.Repository
end

-- The names of a method's arguments: {"old", "new", "options"}.
function layer.arguments_of(method)
  local row, names = explained["repo:" .. method], {}
  local list = row and row.usage:match("%f[%a]" .. method .. "(%b())") or ""
  for name in list:gsub("%b{}", "options"):gmatch("[%a_]+") do names[#names + 1] = name end
  return names, row and row.text
end

local function explain(row)
  local texts = { row.usage, row.text }
  for name, text in pairs(notes) do
    if row.usage:find("%f[%a]" .. name .. "%f[%A]") then texts[#texts + 1] = text end
  end
  return table.concat(texts, "\n\n") .. "\n"
end

local function list_of(owner)
  local lines = {}
  for _, row in ipairs(explained) do
    if row.usage:match("^%l+") == owner then lines[#lines + 1] = "  " .. row.usage end
  end
  local example = owner == "repo" and "repo.log" or owner == "git" and "git.open" or "host.run"
  lines[#lines + 1] = ("`help(%s)` explains one of them."):format(example)
  if owner == "git" then lines[#lines + 1] = "`functions` lists the functions of the module." end
  return table.concat(lines, "\n") .. "\n"
end

-- help(what) -> an explanation, or the name of a function of the module; nil when there is no such
-- thing. It is a path such as "repo.log" or the name of a method.
function core.help(what)
  if not what:find("^[%a_][%w_.:]*$") then return nil end
  local value = layer.value_of(what) or layer.field(layer.Repository, what)
  if value == nil then return nil end
  if layer.is_repository(value) then return list_of("repo") end
  for owner, of in next, { git = git, host = host, repo = layer.Repository } do
    if value == of then return list_of(owner) end
    for name, inner in next, type(value) == "function" and of or {} do
      local row = explained[owner .. (owner == "repo" and ":" or ".") .. name]
      if inner == value and row then return explain(row) end
      if inner == value and owner == "git" then return name end
    end
  end
  return ("%s is a %s of this session.\n"):format(what, type(value))
end
