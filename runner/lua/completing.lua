-- How the shell completes words, without running code of the program.
local core, layer = ...
local open, refs = layer.open, layer.Repository.refs

local function add_names(found, value, start, is_method)
  for _ = 1, 10 do
    for name, of in next, type(value) == "table" and value or {} do
      local is_wanted = layer.is_name(name) and name:sub(1, #start) == start and name:sub(1, 2) ~= "__"
      if is_wanted and (not is_method or type(of) == "function") then found[name] = true end
    end
    local meta = debug.getmetatable(value)
    value = type(meta) == "table" and rawget(meta, "__index")
    if type(value) ~= "table" then return end
  end
end

local function add_words(found, words, start)
  for _, word in ipairs(words) do
    if word:sub(1, #start) == start then found[word] = true end
  end
end

-- Where the text between quotes ends that begin at a place; nil when it does not end.
local function end_of_quoted(text, place)
  local quote = text:sub(place, place)
  repeat
    place = text:find('[\\"\']', place + 1)
    if place and text:sub(place, place) == "\\" then
      place = place + 1
    elseif place and text:sub(place, place) == quote then
      return place
    end
  until not place
end

-- What a text ends in the middle of, between quotes: {before = what stands before the bracket,
-- number = of the argument, texts = the arguments before that are texts}, what is quoted so far, and
-- the quote; nil outside of quotes.
local function open_quote(text)
  local calls, place = { { number = 1, texts = {} } }, 1
  while true do
    place = text:find("[\"'(){},%[%]]", place)
    if not place then return nil end
    local sign, call = text:sub(place, place), calls[#calls]
    if sign:find("[\"']") then
      local last = end_of_quoted(text, place)
      local name = text:sub(1, place - 1):match("[.:]([%a_][%w_]*)%s*$")
      if not last then
        if name then call = { before = text:sub(1, place - 1), number = 1, texts = {} } end
        return call, text:sub(place + 1), sign
      end
      call.texts[call.number] = text:sub(place + 1, last - 1)
      place = last
    elseif sign == "," then
      call.number = call.number + 1
    elseif sign:find("[({%[]") then
      calls[#calls + 1] = { before = sign == "(" and text:sub(1, place - 1), number = 1, texts = {} }
    elseif #calls > 1 then
      calls[#calls] = nil
    end
    place = place + 1
  end
end

local full = { branch = "refs/heads/", ["remote branch"] = "refs/remotes/", tag = "refs/tags/" }

-- The names of a repository's branches, and of other commits, in a form that the argument may have.
local function add_refs(found, folder, form, start)
  local is_there, repo = pcall(open, folder)
  if not is_there then return end
  local names = { (form == "full" or form == "commit") and "HEAD" or nil }
  for ref in refs(repo) do
    local is_branch = ref.kind == "branch" or ref.kind == "remote branch"
    if form == "id" then
      names[#names + 1] = ref.id
    elseif form == "full" then
      names[#names + 1] = full[ref.kind] and full[ref.kind] .. ref.name
    elseif is_branch or form == "commit" and ref.kind == "tag" then
      names[#names + 1] = ref.name
      names[#names + 1] = form == "checkout" and ref.name:match("^origin/(.+)") or nil
    end
  end
  add_words(found, names, start)
end

local method_forms = { branch = "branch", commit = "commit", start = "commit", old = "commit",
                       new = "commit", onto = "commit" }
local function_forms = { branch = "branch", reference = "full", start = "full" }

-- An argument of a function of the module.
local function add_values(found, name, call, start, parameters)
  local list, folder = parameters(name), "."
  for number, parameter in ipairs(list) do
    if parameter.name == "repository" then folder = call.texts[number] or folder end
  end
  local parameter = list[call.number]
  local form = parameter and (parameter.is_id and "id" or function_forms[parameter.name])
  if form then
    add_refs(found, folder, form, start)
  elseif parameter and parameter.words[1] then
    for _, word in ipairs(parameter.words) do
      add_words(found, { start:find("%l") and word:lower() or word }, start)
    end
  else
    return false
  end
  return true
end

-- An argument of a method of a repository.
local function add_method_values(found, name, call, start, folder)
  local names, text = layer.arguments_of(name)
  local argument = names[call.number]
  if method_forms[argument] then
    add_refs(found, folder, name == "checkout" and name or method_forms[argument], start)
  elseif argument == "mode" then
    for word in text:gmatch('"(%a+)"') do add_words(found, { word }, start) end
  else
    return false
  end
  return true
end

-- Adds what an argument between quotes may be; false when that is not known.
local function add_arguments(found, call, start, parameters)
  local path, sign, name = (call.before or ""):match("([%w_.:]*)([.:])([%a_][%w_]*)%s*$")
  if not name then return false end
  local object = path ~= "" and layer.value_of(path)
  if sign == "." then
    return object == git and add_values(found, name, call, start, parameters)
  end
  local opened = call.before:match("git%.open%s*%(?%s*[\"']([^\"']*)[\"']%s*%)?:[%w_]+%s*$")
  if object and not layer.is_repository(object) then return false end
  local folder = object and rawget(object, "path") or opened or "."
  return add_method_values(found, name, call, start, folder)
end

local function add_variables(found, text)
  local path, sign, start = text:match("([%a_][%w_.:]*)([.:])([%w_]*)$")
  local about = start or text:match("[%w_]*$")
  add_names(found, layer.value_of(path or ""), about, sign == ":")
  if path then return about end
  for word in next, layer.keywords do add_words(found, { word }, about) end
  if about == text then add_words(found, { "exit", "functions", "help" }, about) end
  return about
end

-- complete(text before the cursor, parameters) -> the part of a name at its end, the list of the
-- names that begin so; nil when files are to be completed. parameters(function) lists the arguments
-- of a function of the module: {name=, words=, is_id=}.
function core.complete(text, parameters)
  local found = {}
  local about = text:match('^help[%s(]+["\']?([%w_]*)$')
  local call, start, quote = open_quote(text)
  if about then
    call = nil
    add_names(found, git, about, true)
    add_names(found, _G, about)
  elseif call then
    about = start
    if not add_arguments(found, call, start, parameters) then return nil end
  else
    about = add_variables(found, text)
  end
  local names = {}
  for name in next, found do names[#names + 1] = name end
  table.sort(names)
  if call and #names == 1 then names[1] = names[1] .. quote end  -- as it is done with files
  return about, names
end
